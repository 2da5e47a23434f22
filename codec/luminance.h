#pragma once

#include <array>
#include <cstddef>

namespace depth_io {

/// Luminance of a pixel, truncated toward zero. Kept: because of the truncation some greys come out
/// one lower; the writer's read-back of its codes relies on finding these.
constexpr unsigned char luminance(int red, int green, int blue) {
  return static_cast<unsigned char>((0.299 * red + 0.587 * green) + 0.114 * blue);
}

/// Luminances of pixels whose three bytes are the same, as those of the code image are.
inline constexpr std::array<unsigned char, 256> kGreyLuminances = [] {
  std::array<unsigned char, 256> luminances{};
  for (int value = 0; value < 256; ++value) {
    luminances[static_cast<std::size_t>(value)] = luminance(value, value, value);
  }
  return luminances;
}();

}  // namespace depth_io
