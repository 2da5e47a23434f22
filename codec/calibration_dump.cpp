#include "codec/calibration_dump.h"

#include <bit>
#include <cstddef>
#include <cstdint>

#include "codec/console.h"
#include "codec/file_io.h"

using depth_io::print;

namespace {

constexpr std::int32_t kHeight = 480;
constexpr std::int32_t kWidth = 640;

// The file is a memory image of its numbers.
static_assert(std::endian::native == std::endian::little);

bool write_dump(const char* path, const float* depth) {
  // Kept: the height stands before the width.
  const std::int32_t size[] = {kHeight, kWidth};
  constexpr std::size_t kDepthBytes = sizeof(float) * kHeight * kWidth;
  depth_io::OutputFile file(path);
  file.write(reinterpret_cast<const char*>(size), sizeof size);
  file.write(reinterpret_cast<const char*>(depth), kDepthBytes);
  return file.close();
}

}  // namespace

void calibration_save_uncompressed(int /*WW*/, int /*HH*/, float* depthMap,
                                   char* depth_raw_filename) {
  depth_io::print_line("calibration_save_uncompressed");
  print("calibration_save_uncompressed depth '%s'\n", depth_raw_filename);
  if (depthMap == nullptr || !write_dump(depth_raw_filename, depthMap)) {
    print("calibration_save_uncomressed - failed to open '%s' for writing\n", depth_raw_filename);
  }
}
