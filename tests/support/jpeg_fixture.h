#pragma once

#include <gtest/gtest.h>
#include <jpeglib.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/temp_directory.h"

/// JPEG files made and read with libjpeg directly, to judge the library's own reading and writing.
namespace depth_io::test {

struct PlainJpeg {
  int width = 0;
  int height = 0;
  int components = 0;
  int first_quantisation_step = 0;
  bool progressive = false;
  std::vector<unsigned char> samples;
};

/// Decodes a good file; a bad one ends the test program with libjpeg's message.
inline PlainJpeg decode_plainly(const std::string& path) {
  PlainJpeg image;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    ADD_FAILURE() << "cannot open " << path;
    return image;
  }
  jpeg_decompress_struct decoder;
  jpeg_error_mgr errors;
  decoder.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&decoder);
  jpeg_stdio_src(&decoder, file);
  jpeg_read_header(&decoder, TRUE);
  image.first_quantisation_step = decoder.quant_tbl_ptrs[0]->quantval[0];
  image.progressive = decoder.progressive_mode != FALSE;
  jpeg_start_decompress(&decoder);
  image.width = static_cast<int>(decoder.output_width);
  image.height = static_cast<int>(decoder.output_height);
  image.components = decoder.output_components;
  const std::size_t row =
      std::size_t{decoder.output_width} * static_cast<std::size_t>(decoder.output_components);
  image.samples.resize(row * decoder.output_height);
  while (decoder.output_scanline < decoder.output_height) {
    unsigned char* line = image.samples.data() + row * decoder.output_scanline;
    jpeg_read_scanlines(&decoder, &line, 1);
  }
  jpeg_finish_decompress(&decoder);
  jpeg_destroy_decompress(&decoder);
  std::fclose(file);
  return image;
}

/// Writes `samples` (rows of `components` bytes per pixel) as a JPEG of quality 95, in the scans
/// given, or in one.
inline void encode_plainly(const std::string& path, int width, int height, int components,
                           std::vector<unsigned char> samples,
                           const std::vector<jpeg_scan_info>& scans = {}) {
  std::FILE* const file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr) << path;
  jpeg_compress_struct encoder;
  jpeg_error_mgr errors;
  encoder.err = jpeg_std_error(&errors);
  jpeg_create_compress(&encoder);
  jpeg_stdio_dest(&encoder, file);
  encoder.image_width = static_cast<JDIMENSION>(width);
  encoder.image_height = static_cast<JDIMENSION>(height);
  encoder.input_components = components;
  encoder.in_color_space = components == 1   ? JCS_GRAYSCALE
                           : components == 3 ? JCS_RGB
                           : components == 4 ? JCS_CMYK
                                             : JCS_UNKNOWN;
  jpeg_set_defaults(&encoder);
  jpeg_set_quality(&encoder, 95, TRUE);
  if (!scans.empty()) {
    encoder.scan_info = scans.data();
    encoder.num_scans = static_cast<int>(scans.size());
  }
  jpeg_start_compress(&encoder, TRUE);
  const std::size_t row = static_cast<std::size_t>(width) * static_cast<std::size_t>(components);
  ASSERT_EQ(samples.size(), row * static_cast<std::size_t>(height));
  while (encoder.next_scanline < encoder.image_height) {
    unsigned char* line = samples.data() + row * encoder.next_scanline;
    jpeg_write_scanlines(&encoder, &line, 1);
  }
  jpeg_finish_compress(&encoder);
  jpeg_destroy_compress(&encoder);
  std::fclose(file);
}

/// A JPEG in which every sample has the same value.
inline void encode_flat(const std::string& path, int width, int height, int components,
                        unsigned char value) {
  const std::size_t size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                           static_cast<std::size_t>(components);
  encode_plainly(path, width, height, components, std::vector<unsigned char>(size, value));
}

/// A legal grey script of 1 + 63 * (`refinements` + 1) scans: one coefficient and one bit at a
/// time.
inline std::vector<jpeg_scan_info> one_coefficient_scans(int refinements) {
  std::vector<jpeg_scan_info> scans;
  scans.push_back({1, {0}, 0, 0, 0, 0});
  for (int low_bit = refinements; low_bit >= 0; --low_bit) {
    const int high_bit = low_bit == refinements ? 0 : low_bit + 1;
    for (int k = 1; k < 64; ++k) scans.push_back({1, {0}, k, k, high_bit, low_bit});
  }
  return scans;
}

/// Repeats the last scan of a progressive JPEG: small, and slow for a reader without a limit.
inline std::string with_last_scan_repeated(const std::string& jpeg, int times) {
  const std::size_t scan = jpeg.rfind("\xFF\xDA");
  const std::size_t end = jpeg.rfind("\xFF\xD9");
  if (scan == std::string::npos || end == std::string::npos || end < scan) {
    ADD_FAILURE() << "no scan found";
    return jpeg;
  }
  std::string bomb = jpeg.substr(0, end);
  for (int i = 0; i < times; ++i) bomb.append(jpeg, scan, end - scan);
  return bomb + "\xFF\xD9";
}

}  // namespace depth_io::test
