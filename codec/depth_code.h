#pragma once

#include <array>
#include <cmath>

#include "codec/frame_format.h"

/// Depth codes: single-precision arithmetic in a fixed order, for codes must be the same
/// everywhere.
namespace depth_io {

/// Code of `depth` (metres) relative to a `reference` whose window holds it, rounded half away from
/// zero.
inline int encode_depth(float depth, float reference) {
  const float steps = (kHalfWindow + (depth - reference)) * kCodesPerMetre;
  // Not negative within the window; what is left behind the point is exact.
  const int whole = static_cast<int>(steps);
  return whole + (steps - static_cast<float>(whole) >= 0.5F ? 1 : 0);
}

/// Distance from the reference depth that each code stands for, metres.
inline constexpr std::array<float, kLargestCode + 1> kCodeOffsets = [] {
  std::array<float, kLargestCode + 1> offsets{};
  for (int code = 0; code <= kLargestCode; ++code) {
    offsets[static_cast<std::size_t>(code)] =
        static_cast<float>(code) / kCodesPerMetre - kHalfWindow;
  }
  return offsets;
}();

/// The length of a code's step in two parts, metres. The product of a code and the first, of few
/// bits, is exact, and the sum of both products is, for every code, what dividing it by the steps
/// per metre gives, in fewer cycles.
inline constexpr float kStepLength = 0x1.47aep-7F;
inline constexpr float kStepLengthRest = 0x1.47ae14p-27F;
static_assert([] {
  for (int code = 0; code <= kLargestCode; ++code) {
    const auto steps = static_cast<float>(code);
    if (steps * kStepLength + steps * kStepLengthRest != steps / kCodesPerMetre) return false;
  }
  return true;
}());

/// How far a pixel's code may be from its depth, metres: half a step, and what rounding adds.
inline constexpr float kCodeTolerance = 0.005001F;

inline bool is_valid_code(int code) { return code >= 0 && code <= kLargestCode; }

/// Depth (metres) of a valid code.
inline float decode_depth(int code, float reference) {
  return kCodeOffsets[static_cast<std::size_t>(code)] + reference;
}

/// Not-a-number stays what it is.
inline float clamp_depth(float depth) {
  if (depth < kSmallestDepth) return kSmallestDepth;
  if (depth > kLargestDepth) return kLargestDepth;
  return depth;
}

/// Whether a label of this reference depth can code `depth`; never for not-a-number.
inline bool fits_window(float depth, float reference) {
  return std::fabs(depth - reference) <= kHalfWindow;
}

}  // namespace depth_io
