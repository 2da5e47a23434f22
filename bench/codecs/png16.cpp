#include <png.h>

#include <cstdlib>
#include <cstring>

#include "bench/codecs/depth_codecs.h"
#include "tools/frame/frame.h"

namespace depth_io::bench {
namespace {

constexpr std::size_t kWidth = tools::kFrameWidth;
constexpr std::size_t kHeight = tools::kFrameHeight;

/// The images are our own, so an error is a fault of this program.
[[noreturn]] void give_up(png_structp /*png*/, png_const_charp /*message*/) { std::abort(); }
void ignore(png_structp /*png*/, png_const_charp /*message*/) {}

void append(png_structp png, png_bytep data, png_size_t size) {
  auto& bytes = *static_cast<Buffer*>(png_get_io_ptr(png));
  bytes.insert(bytes.end(), data, data + size);
}
void flush(png_structp /*png*/) {}

void take(png_structp png, png_bytep data, png_size_t size) {
  auto& rest = *static_cast<Bytes*>(png_get_io_ptr(png));
  if (size > rest.size()) std::abort();
  std::memcpy(data, rest.data(), size);
  rest = rest.subspan(size);
}

}  // namespace

std::size_t encode_png(const Samples& samples, int level, Buffer& buffer) {
  buffer.clear();
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, give_up, ignore);
  png_infop info = png_create_info_struct(png);
  png_set_write_fn(png, &buffer, append, flush);
  png_set_compression_level(png, level);
  png_set_IHDR(png, info, kWidth, kHeight, 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_set_swap(png);
  for (std::size_t row = 0; row < kHeight; ++row) {
    png_write_row(png, reinterpret_cast<png_const_bytep>(samples.data() + row * kWidth));
  }
  png_write_end(png, info);
  png_destroy_write_struct(&png, &info);
  return buffer.size();
}

void decode_png(Bytes code, Samples& samples) {
  Bytes rest = code;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, give_up, ignore);
  png_infop info = png_create_info_struct(png);
  png_set_read_fn(png, &rest, take);
  png_read_info(png, info);
  png_set_swap(png);
  for (std::size_t row = 0; row < kHeight; ++row) {
    png_read_row(png, reinterpret_cast<png_bytep>(samples.data() + row * kWidth), nullptr);
  }
  png_read_end(png, nullptr);
  png_destroy_read_struct(&png, &info, nullptr);
}

}  // namespace depth_io::bench
