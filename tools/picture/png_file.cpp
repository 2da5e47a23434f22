#include "tools/picture/png_file.h"

#include <png.h>

#include <bit>
#include <cstring>
#include <optional>

#include "tools/system/failure.h"
#include "tools/system/files.h"

// libpng reports errors by a long jump. Every function here that sets a jump point holds no object
// with a destructor; what needs one lives in the caller.

namespace depth_io::tools {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{64} << 20U;
constexpr png_uint_32 kLargestSide = 4096;

/// What libpng's callbacks work on.
struct Stream {
  const std::string* input = nullptr;
  std::size_t position = 0;
  std::string* output = nullptr;
  char error[160] = "unknown error";
};

[[noreturn]] void keep_error(png_structp png, png_const_charp message) {
  auto* const stream = static_cast<Stream*>(png_get_error_ptr(png));
  std::strncpy(stream->error, message, sizeof stream->error - 1);
  png_longjmp(png, 1);
}

void ignore_warning(png_structp /*png*/, png_const_charp /*message*/) {}

void read_bytes(png_structp png, png_bytep destination, std::size_t count) {
  auto* const stream = static_cast<Stream*>(png_get_io_ptr(png));
  if (count > stream->input->size() - stream->position) png_error(png, "the file is cut off");
  std::memcpy(destination, stream->input->data() + stream->position, count);
  stream->position += count;
}

void write_bytes(png_structp png, png_bytep bytes, std::size_t count) {
  auto* const stream = static_cast<Stream*>(png_get_io_ptr(png));
  bool stored = true;
  try {
    stream->output->append(reinterpret_cast<const char*>(bytes), count);
  } catch (...) {
    stored = false;
  }
  if (!stored) png_error(png, "out of memory");
}

void flush_nothing(png_structp /*png*/) {}

class Reader {
 public:
  explicit Reader(Stream& stream)
      : png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &stream, keep_error, ignore_warning)),
        info(png == nullptr ? nullptr : png_create_info_struct(png)) {
    if (info == nullptr) throw Failure("out of memory");
    png_set_read_fn(png, &stream, read_bytes);
    png_set_user_limits(png, kLargestSide, kLargestSide);
  }
  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  png_structp png;
  png_infop info;
};

class Writer {
 public:
  Writer(Stream& stream, PngEffort effort)
      : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &stream, keep_error, ignore_warning)),
        info(png == nullptr ? nullptr : png_create_info_struct(png)) {
    if (info == nullptr) throw Failure("out of memory");
    png_set_write_fn(png, &stream, write_bytes, flush_nothing);
    png_set_compression_level(png, effort == PngEffort::kFast ? 2 : 6);
    if (effort == PngEffort::kFast) png_set_filter(png, 0, PNG_FILTER_SUB | PNG_FILTER_UP);
  }
  ~Writer() { png_destroy_write_struct(&png, &info); }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  png_structp png;
  png_infop info;
};

enum class Kind { kGrey16, kColour8 };

/// Reads up to the pixels and asks for the wanted kind; false on an error.
bool begin_reading(png_structp png, png_infop info, Kind kind) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_read_info(png, info);
  if (kind == Kind::kGrey16) {
    if (png_get_bit_depth(png, info) != 16 ||
        png_get_color_type(png, info) != PNG_COLOR_TYPE_GRAY) {
      png_error(png, "it is no 16-bit grey image");
    }
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png);
  } else {
    png_set_expand(png);
    png_set_scale_16(png);
    png_set_gray_to_rgb(png);
    png_set_strip_alpha(png);
  }
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  return true;
}

bool read_rows(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_read_image(png, rows);
  png_read_end(png, nullptr);
  return true;
}

bool write_image(png_structp png, png_infop info, int width, int height, Kind kind,
                 png_bytepp rows) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height),
               kind == Kind::kGrey16 ? 16 : 8,
               kind == Kind::kGrey16 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  if (kind == Kind::kGrey16 && std::endian::native == std::endian::little) png_set_swap(png);
  png_write_image(png, rows);
  png_write_end(png, info);
  return true;
}

/// Reads a file of the given kind; `allocate` makes room for width and height and gives the bytes.
template <typename Allocate>
void read_png(const std::string& path, Kind kind, Allocate allocate) {
  const std::optional<std::string> bytes = read_regular_file(path, kSizeLimit);
  if (!bytes) throw Failure("cannot read '" + path + "'");
  Stream stream;
  stream.input = &*bytes;
  const Reader reader(stream);
  const auto fail = [&] { throw Failure("cannot read '" + path + "': " + stream.error); };
  if (!begin_reading(reader.png, reader.info, kind)) fail();
  const std::size_t height = png_get_image_height(reader.png, reader.info);
  const std::size_t width = png_get_image_width(reader.png, reader.info);
  unsigned char* const pixels = allocate(static_cast<int>(width), static_cast<int>(height));
  const std::size_t row_size = png_get_rowbytes(reader.png, reader.info);
  if (row_size != width * (kind == Kind::kGrey16 ? 2 : 3)) {
    throw Failure("cannot read '" + path + "': unexpected pixel format");
  }
  std::vector<png_bytep> rows(height);
  for (std::size_t y = 0; y < height; ++y) rows[y] = pixels + y * row_size;
  if (!read_rows(reader.png, rows.data())) fail();
}

void write_png(const std::string& path, Kind kind, int width, int height,
               const unsigned char* pixels, PngEffort effort) {
  std::string bytes;
  Stream stream;
  stream.output = &bytes;
  const Writer writer(stream, effort);
  const std::size_t row_size = static_cast<std::size_t>(width) * (kind == Kind::kGrey16 ? 2 : 3);
  std::vector<png_bytep> rows(static_cast<std::size_t>(height));
  for (std::size_t y = 0; y < rows.size(); ++y) {
    rows[y] = const_cast<png_bytep>(pixels + y * row_size);  // libpng does not write there
  }
  if (!write_image(writer.png, writer.info, width, height, kind, rows.data())) {
    throw Failure("cannot write '" + path + "': " + stream.error);
  }
  write_file_atomically(path, bytes);
}

}  // namespace

GreyImage read_grey_png(const std::string& path) {
  GreyImage image;
  read_png(path, Kind::kGrey16, [&image](int width, int height) {
    image.width = width;
    image.height = height;
    image.pixels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    return reinterpret_cast<unsigned char*>(image.pixels.data());
  });
  return image;
}

Picture read_colour_png(const std::string& path) {
  Picture picture;
  read_png(path, Kind::kColour8, [&picture](int width, int height) {
    picture = Picture(width, height);
    return picture.bytes().data();
  });
  return picture;
}

void write_grey_png(const std::string& path, const GreyImage& image, PngEffort effort) {
  write_png(path, Kind::kGrey16, image.width, image.height,
            reinterpret_cast<const unsigned char*>(image.pixels.data()), effort);
}

void write_colour_png(const std::string& path, const Picture& picture, PngEffort effort) {
  write_png(path, Kind::kColour8, picture.width(), picture.height(), picture.bytes().data(),
            effort);
}

}  // namespace depth_io::tools
