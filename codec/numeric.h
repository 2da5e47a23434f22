#pragma once

#include "codec/export.h"

// Small numeric helpers. The divisions go through single-precision floats: recorded file names and
// history slots depend on it, so it is kept. Results that do not fit an int are 0.

/// `a` to the power `b`, computed in double and rounded half away from zero; 0 when out of range.
CAMERA_DEPTH_RW_EXPORT int _Power(int a, int b);

/// Absolute value.
CAMERA_DEPTH_RW_EXPORT float __GetAbsf(float A);

///@{
/// Remainder of `source` by `Mode`; the quotient is the single-precision one, truncated toward
/// zero. A `Mode` of 0 gives quotient 0 and so the source itself.
CAMERA_DEPTH_RW_EXPORT int __Modulo(int Mode, int source);
CAMERA_DEPTH_RW_EXPORT int __Modulo(int Mode, int source, int& quotient);
CAMERA_DEPTH_RW_EXPORT void __Modulo(int Mode, int source, int& out_quotient, int& out_remainder);
///@}

///@{
/// Length of a vector. The form for ints squares in int (wrapping) and sums in single precision.
CAMERA_DEPTH_RW_EXPORT float _Magnitudef(float x, float y, float z);
CAMERA_DEPTH_RW_EXPORT float _Magnitudef(float x, float y);
CAMERA_DEPTH_RW_EXPORT float _Magnitudef(int x, int y, int z);
///@}

namespace depth_io {

/// `value` truncated toward zero; 0 when it is not a number or does not fit an int.
CAMERA_DEPTH_RW_EXPORT int truncate_to_int(double value);

/// `value` rounded half away from zero; 0 when it is not a number or does not fit an int.
CAMERA_DEPTH_RW_EXPORT int round_half_away(double value);

///@{
/// Sums, differences and products that wrap around in two's complement instead of overflowing.
constexpr int wrapping_add(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int wrapping_subtract(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int wrapping_multiply(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}
///@}

}  // namespace depth_io
