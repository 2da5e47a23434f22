#include "codec/liblinjpeg.h"

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

// libjpeg's headers want <cstdio> before them.
#include <jerror.h>
#include <jpeglib.h>

#include "codec/console.h"
#include "codec/file_io.h"
#include "codec/jpeg_rows.h"
#include "codec/luminance.h"
#include "codec/pixel_kernels.h"

using depth_io::print;
using depth_io::print_line;

namespace {

/// A legal file can hold so many passes over the image that decoding takes minutes; cameras write
/// one, progressive encoders about ten.
constexpr int kMostScans = 100;
constexpr long kMostDecoderMemory = 64L * 1024 * 1024;
constexpr int kBytesPerPixel = 3;

constexpr int kTooManyScans = 1000;
constexpr const char* kOurMessages[] = {"Too many scans"};

struct ErrorManager {
  jpeg_error_mgr base;  // libjpeg hands out pointers to this first member
  std::jmp_buf recovery;
};

/// Warnings are counted and never printed.
void count_warning(j_common_ptr cinfo, int level) {
  if (level < 0) ++cinfo->err->num_warnings;
}

jpeg_error_mgr* set_up(ErrorManager& errors) {
  jpeg_std_error(&errors.base);
  errors.base.error_exit = my_error_exit;
  errors.base.emit_message = count_warning;
  errors.base.addon_message_table = kOurMessages;
  errors.base.first_addon_message = kTooManyScans;
  errors.base.last_addon_message = kTooManyScans;
  return &errors.base;
}

/// libjpeg writes through a buffer of ours, so that a file goes out in few calls and every failed
/// write and close is noticed.
struct FileDestination {
  jpeg_destination_mgr base;  // libjpeg hands out pointers to this first member
  depth_io::OutputFile* file;
  JOCTET buffer[32 * 1024];
};

FileDestination& destination_of(j_compress_ptr cinfo) {
  return *reinterpret_cast<FileDestination*>(cinfo->dest);
}

void start_buffer(j_compress_ptr cinfo) {
  FileDestination& destination = destination_of(cinfo);
  destination.base.next_output_byte = destination.buffer;
  destination.base.free_in_buffer = sizeof destination.buffer;
}

void write_bytes(j_compress_ptr cinfo, std::size_t size) {
  FileDestination& destination = destination_of(cinfo);
  if (!destination.file->write(reinterpret_cast<const char*>(destination.buffer), size)) {
    ERREXIT(cinfo, JERR_FILE_WRITE);
  }
}

boolean empty_buffer(j_compress_ptr cinfo) {
  write_bytes(cinfo, sizeof destination_of(cinfo).buffer);
  start_buffer(cinfo);
  return TRUE;
}

void finish_file(j_compress_ptr cinfo) {
  FileDestination& destination = destination_of(cinfo);
  write_bytes(cinfo, sizeof destination.buffer - destination.base.free_in_buffer);
  if (!destination.file->close()) ERREXIT(cinfo, JERR_FILE_WRITE);
}

/// All that libjpeg's encoder works on. It lives in the caller of the function that sets the
/// recovery point: a jump back passes no destructor and spoils no local variable.
struct Encoder {
  ErrorManager errors;
  FileDestination destination;
  jpeg_compress_struct codec;
};

/// What is to be encoded.
struct Image {
  int width;
  int height;
  bool colour;
  int quality;
  depth_io::RowSource rows;
};

bool encode(Encoder& encoder, const Image& image) {
  jpeg_compress_struct& codec = encoder.codec;
  if (setjmp(encoder.errors.recovery) != 0) return false;
  codec.image_width = static_cast<JDIMENSION>(image.width);
  codec.image_height = static_cast<JDIMENSION>(image.height);
  codec.input_components = image.colour ? kBytesPerPixel : 1;
  codec.in_color_space = image.colour ? JCS_RGB : JCS_GRAYSCALE;
  jpeg_set_defaults(&codec);
  jpeg_set_quality(&codec, image.quality, TRUE);
  jpeg_start_compress(&codec, TRUE);
  while (codec.next_scanline < codec.image_height) {
    const unsigned char* const pixels =
        image.rows.row_of(image.rows.context, static_cast<int>(codec.next_scanline));
    // libjpeg does not write to its input rows.
    JSAMPROW row = const_cast<JSAMPROW>(pixels);
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  return true;
}

bool create_encoder(Encoder& encoder, depth_io::OutputFile& file) {
  std::memset(&encoder.codec, 0, sizeof encoder.codec);
  encoder.codec.err = set_up(encoder.errors);
  if (setjmp(encoder.errors.recovery) != 0) return false;
  jpeg_create_compress(&encoder.codec);
  encoder.destination.file = &file;
  encoder.destination.base.init_destination = start_buffer;
  encoder.destination.base.empty_output_buffer = empty_buffer;
  encoder.destination.base.term_destination = finish_file;
  encoder.codec.dest = &encoder.destination.base;
  return true;
}

bool write_jpeg(const char* file_name, const Image& image) {
  depth_io::OutputFile file(file_name);
  if (!file.is_open()) {
    print("JpegFile :\nCan't open %s\n", file_name);
    return false;
  }
  Encoder encoder;
  const bool written = create_encoder(encoder, file) && encode(encoder, image);
  jpeg_destroy_compress(&encoder.codec);
  return written;
}

/// A B, G, R image in memory, and room for one row of its luminances.
struct ColourPixels {
  const unsigned char* bytes;
  int width;
  unsigned char* grey_row;

  const unsigned char* row(int number) const {
    return bytes + static_cast<std::ptrdiff_t>(number) * width * kBytesPerPixel;
  }
};

const unsigned char* colour_row(void* context, int row) {
  return static_cast<const ColourPixels*>(context)->row(row);
}

const unsigned char* luminance_row(void* context, int row) {
  const ColourPixels& image = *static_cast<const ColourPixels*>(context);
  const unsigned char* pixel = image.row(row);
  for (int i = 0; i < image.width; ++i, pixel += kBytesPerPixel) {
    const bool is_grey = pixel[0] == pixel[1] && pixel[1] == pixel[2];
    image.grey_row[i] = is_grey ? depth_io::kGreyLuminances[pixel[0]]
                                : depth_io::luminance(pixel[0], pixel[1], pixel[2]);
  }
  return image.grey_row;
}

void stop_endless_scans(j_common_ptr cinfo) {
  if (reinterpret_cast<j_decompress_ptr>(cinfo)->input_scan_number > kMostScans) {
    ERREXIT(cinfo, kTooManyScans);
  }
}

/// All that libjpeg's decoder works on; see `Encoder`.
struct Decoder {
  ErrorManager errors;
  depth_io::RowSink sink;
  jpeg_progress_mgr progress;
  jpeg_decompress_struct codec;
  depth_io::JpegReadResult result;
};

/// Reads the header; false also when the image needs more than `capacity` bytes.
bool start_decoding(Decoder& decoder, std::string_view file, std::size_t capacity) {
  jpeg_decompress_struct& codec = decoder.codec;
  std::memset(&codec, 0, sizeof codec);
  codec.err = set_up(decoder.errors);
  if (setjmp(decoder.errors.recovery) != 0) return false;
  jpeg_create_decompress(&codec);
  codec.mem->max_memory_to_use = kMostDecoderMemory;
  decoder.progress.progress_monitor = stop_endless_scans;
  codec.progress = &decoder.progress;
  jpeg_mem_src(&codec, reinterpret_cast<const unsigned char*>(file.data()), file.size());
  jpeg_read_header(&codec, TRUE);
  const auto needed =
      std::uint64_t{codec.image_width} * std::uint64_t{codec.image_height} * kBytesPerPixel;
  return needed <= capacity;
}

/// Clears what the rows of the image will not fill of the `size` bytes of `pixels`.
void clear_unfilled(const jpeg_decompress_struct& codec, unsigned char* pixels, std::size_t size) {
  const bool fills_pixels =
      codec.output_components == kBytesPerPixel || codec.output_components == 1;
  const std::size_t filled =
      fills_pixels ? std::size_t{codec.output_width} * codec.output_height * kBytesPerPixel : 0;
  if (filled < size) std::memset(pixels + filled, 0, size - filled);
}

/// Decodes the rows of a B, G, R image to where they belong.
void decode_colour_rows(jpeg_decompress_struct& codec, unsigned char* pixels) {
  const std::size_t row_bytes = std::size_t{codec.output_width} * kBytesPerPixel;
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = pixels + codec.output_scanline * row_bytes;
    jpeg_read_scanlines(&codec, &row, 1);
  }
}

/// Decodes the rows of any other image, one by one; grey ones become B, G, R ones.
void decode_other_rows(Decoder& decoder, unsigned char* pixels) {
  jpeg_decompress_struct& codec = decoder.codec;
  const JDIMENSION row_size = codec.output_width * static_cast<JDIMENSION>(codec.output_components);
  const JSAMPARRAY line =
      (*codec.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&codec), JPOOL_IMAGE, row_size, 1);
  while (codec.output_scanline < codec.output_height) {
    jpeg_read_scanlines(&codec, line, 1);
    if (codec.output_components != 1) continue;
    const int row = static_cast<int>(codec.output_scanline) - 1;
    j_putGrayScanlineToRGB(line[0], decoder.result.width, pixels, row);
    if (decoder.sink.take != nullptr) {
      decoder.sink.take(decoder.sink.context, line[0], decoder.result.width);
    }
  }
}

/// Decodes all rows to `pixels`, of which `clearable` bytes are known to exist.
bool decode_rows(Decoder& decoder, unsigned char* pixels, std::size_t clearable) {
  jpeg_decompress_struct& codec = decoder.codec;
  if (setjmp(decoder.errors.recovery) != 0) return false;
  jpeg_start_decompress(&codec);
  decoder.result.width = static_cast<int>(codec.output_width);
  decoder.result.height = static_cast<int>(codec.output_height);
  clear_unfilled(codec, pixels, clearable);
  if (codec.output_components == kBytesPerPixel) {
    decode_colour_rows(codec, pixels);
  } else {
    decode_other_rows(decoder, pixels);
  }
  jpeg_finish_decompress(&codec);
  return true;
}

depth_io::JpegReadResult read_jpeg(const char* file_name, unsigned char* pixels,
                                   std::size_t capacity, std::size_t clearable,
                                   depth_io::RowSink sink = {}) {
  char room[depth_io::kUsualFile];
  const auto file = depth_io::read_regular_file(file_name, room);
  if (!file) {
    print("JPEG :\nCan't open %s\n", file_name);
    return {};
  }
  Decoder decoder = {};
  decoder.sink = sink;
  decoder.result.decoded =
      start_decoding(decoder, file->text(), capacity) && decode_rows(decoder, pixels, clearable);
  decoder.result.warnings = decoder.errors.base.num_warnings;
  jpeg_destroy_decompress(&decoder.codec);
  return decoder.result;
}

unsigned char* row_of(unsigned char* image, int width, int row) {
  return image + static_cast<std::ptrdiff_t>(row) * width * kBytesPerPixel;
}

}  // namespace

JpegFile::JpegFile() = default;
JpegFile::~JpegFile() = default;

bool JpegFile::RGBToJpegFile(char* fileName, unsigned char* dataBuf, int widthPix, int height,
                             bool color, int quality) {
  if (dataBuf == nullptr || widthPix <= 0 || height <= 0) return false;
  ColourPixels pixels{dataBuf, widthPix, nullptr};
  if (color) return write_jpeg(fileName, {widthPix, height, true, quality, {colour_row, &pixels}});

  const std::unique_ptr<unsigned char[]> grey_row(
      new (std::nothrow) unsigned char[static_cast<std::size_t>(widthPix)]);
  if (grey_row == nullptr) {
    print_line("Memory error");
    return false;
  }
  pixels.grey_row = grey_row.get();
  return write_jpeg(fileName, {widthPix, height, false, quality, {luminance_row, &pixels}});
}

bool JpegFile::JpegFileToRGB_fast(unsigned char* o_dataBuf, char* fileName, int& width,
                                  int& height) {
  if (o_dataBuf == nullptr) {
    print_line("JpegFile unsigned char stream needs to be allocated beforehand");
    return false;
  }
  constexpr std::size_t kUnknown = std::numeric_limits<std::size_t>::max();
  const depth_io::JpegReadResult result = read_jpeg(fileName, o_dataBuf, kUnknown, 0);
  width = result.width;
  height = result.height;
  return result.decoded;
}

void j_putRGBScanline(unsigned char* jpegline, int widthPix, unsigned char* outBuf, int row) {
  std::memcpy(row_of(outBuf, widthPix, row), jpegline,
              static_cast<std::size_t>(widthPix) * kBytesPerPixel);
}

void j_putGrayScanlineToRGB(unsigned char* jpegline, int widthPix, unsigned char* outBuf, int row) {
  if (widthPix <= 0) return;
  depth_io::pixel_kernels().expand_grey(jpegline, static_cast<std::size_t>(widthPix),
                                        row_of(outBuf, widthPix, row));
}

void my_error_exit(j_common_ptr cinfo) {
  char message[JMSG_LENGTH_MAX];
  (*cinfo->err->format_message)(cinfo, message);
  print("JPEG Fatal Error %s\n", message);
  std::longjmp(reinterpret_cast<ErrorManager*>(cinfo->err)->recovery, 1);
}

namespace depth_io {

JpegReadResult read_jpeg_file(const char* file_name, std::span<unsigned char> pixels) {
  return read_jpeg(file_name, pixels.data(), pixels.size(), pixels.size());
}

JpegReadResult read_jpeg_file(const char* file_name, std::span<unsigned char> pixels,
                              RowSink sink) {
  return read_jpeg(file_name, pixels.data(), pixels.size(), pixels.size(), sink);
}

bool write_grey_jpeg_file(const char* file_name, int width, int height, int quality,
                          RowSource source) {
  if (width <= 0 || height <= 0) return false;
  return write_jpeg(file_name, {width, height, false, quality, source});
}

}  // namespace depth_io
