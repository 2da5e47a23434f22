#include "bench/codecs/bare_jpeg.h"

#include <cstdio>

// libjpeg's headers want <cstdio> before them.
#include <jpeglib.h>

#include "codec/frame_format.h"

namespace depth_io::bench {

std::size_t encode_bare(const JpegImage& image, std::span<unsigned char> buffer) {
  jpeg_compress_struct codec;
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  unsigned char* bytes = buffer.data();
  unsigned long size = buffer.size();
  jpeg_mem_dest(&codec, &bytes, &size);
  codec.image_width = static_cast<JDIMENSION>(image.width);
  codec.image_height = static_cast<JDIMENSION>(image.height);
  codec.input_components = image.components;
  codec.in_color_space = image.components == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, kJpegQuality, TRUE);
  jpeg_start_compress(&codec, TRUE);
  const std::size_t stride =
      static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.components);
  while (codec.next_scanline < codec.image_height) {
    // libjpeg does not write to its input rows.
    JSAMPROW row = const_cast<JSAMPROW>(image.pixels + codec.next_scanline * stride);
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  return size;
}

void decode_bare(std::span<const unsigned char> bytes, std::vector<unsigned char>& image) {
  jpeg_decompress_struct codec;
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_mem_src(&codec, bytes.data(), bytes.size());
  jpeg_read_header(&codec, TRUE);
  jpeg_start_decompress(&codec);
  const std::size_t row_bytes =
      std::size_t{codec.output_width} * static_cast<std::size_t>(codec.output_components);
  image.resize(row_bytes * codec.output_height);
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = image.data() + row_bytes * codec.output_scanline;
    jpeg_read_scanlines(&codec, &row, 1);
  }
  jpeg_finish_decompress(&codec);
  jpeg_destroy_decompress(&codec);
}

}  // namespace depth_io::bench
