#include "codec/numeric.h"

#include <cmath>

using depth_io::truncate_to_int;
using depth_io::wrapping_multiply;
using depth_io::wrapping_subtract;

namespace depth_io {

int truncate_to_int(double value) {
  const bool fits = value > -2147483649.0 && value < 2147483648.0;  // false for not-a-number
  return fits ? static_cast<int>(value) : 0;
}

int round_half_away(double value) {
  return truncate_to_int(value >= 0.0 ? value + 0.5 : value - 0.5);
}

}  // namespace depth_io

int _Power(int a, int b) { return depth_io::round_half_away(std::pow(a, b)); }

float __GetAbsf(float A) { return A < 0 ? -A : A; }

int __Modulo(int Mode, int source) {
  int quotient = 0;
  return __Modulo(Mode, source, quotient);
}

int __Modulo(int Mode, int source, int& quotient) {
  quotient = Mode == 0 ? 0
                       : truncate_to_int(static_cast<double>(static_cast<float>(source) /
                                                             static_cast<float>(Mode)));
  return wrapping_subtract(source, wrapping_multiply(Mode, quotient));
}

void __Modulo(int Mode, int source, int& out_quotient, int& out_remainder) {
  out_remainder = __Modulo(Mode, source, out_quotient);
}

float _Magnitudef(float x, float y, float z) { return std::sqrt((x * x + y * y) + z * z); }

float _Magnitudef(float x, float y) { return std::sqrt(x * x + y * y); }

float _Magnitudef(int x, int y, int z) {
  const auto square = [](int v) { return static_cast<float>(wrapping_multiply(v, v)); };
  return std::sqrt((square(x) + square(y)) + square(z));
}
