#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "codec/liblinjpeg.h"
#include "fuzz/fuzz_support.h"

// A JPEG file, read into a buffer that the first byte chooses.

namespace {

using depth_io::fuzz::require;

constexpr std::size_t kCapacities[] = {
    64 * 48 * 3, 0, 2, 3, 32 * 24 * 3, 64 * 48 * 3 - 1, 640 * 480 * 3, 255 * 255 * 3};
constexpr unsigned char kUntouched = 0xA5;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const depth_io::fuzz::ScratchDirectory directory;
  static const std::string path = directory.file("image.jpg");
  depth_io::fuzz::Input input(bytes, size);
  const std::size_t capacity = kCapacities[input.byte() % std::size(kCapacities)];
  depth_io::fuzz::write_file(path, input.rest());

  // Exactly as large as told: writing past it is then noticed.
  const std::unique_ptr<unsigned char[]> pixels(new unsigned char[capacity]);
  std::fill_n(pixels.get(), capacity, kUntouched);
  const std::size_t lines_before = depth_io::fuzz::printed_lines();
  const depth_io::JpegReadResult result =
      depth_io::read_jpeg_file(path.c_str(), {pixels.get(), capacity});
  if (!result.decoded) return 0;

  require(depth_io::fuzz::printed_lines() == lines_before, "nothing said of a decoded image");
  require(result.width > 0 && result.height > 0, "an image has a size");
  const std::size_t filled =
      static_cast<std::size_t>(result.width) * static_cast<std::size_t>(result.height) * 3;
  require(filled <= capacity, "an image that is too large is refused");
  require(std::all_of(pixels.get() + filled, pixels.get() + capacity,
                      [](unsigned char byte) { return byte == 0; }),
          "bytes that no row fills are 0");
  return 0;
}
