#include "codec/number_text.h"

#include <cmath>
#include <cstdint>
#include <cstring>

#include "codec/console.h"
#include "codec/numeric.h"

namespace {

constexpr int kMostDigits = 10;

/// Magnitude of `source` in single precision; INT_MIN included.
float magnitude(int source) { return std::fabs(static_cast<float>(source)); }

}  // namespace

void __vsip_itoa(int source, char* dest) {
  if (source < 0 || source > 9) return;
  dest[0] = static_cast<char>('0' + source);
  dest[1] = '\0';
}

int __GetNbDigit(int NB) {
  const float A = magnitude(NB);
  if (A < 1.0F) return 1;
  // Powers of ten in floating point: beyond 10^9 they do not fit an int.
  for (int i = 0; i < 1000; ++i) {
    if (A / static_cast<float>(std::pow(10.0, i)) < 1.0F) return i;
  }
  return 1000;
}

void __TransfromIntsChars(int source, int nb_digits, char* dest) {
  if (nb_digits < 0) nb_digits = 0;
  if (nb_digits > kMostDigits) nb_digits = kMostDigits;
  int digits[kMostDigits] = {};
  // The number is rounded to float once; its quotients are kept in double, so that no digit below
  // 2^24 is lost.
  double temp = static_cast<double>(magnitude(source));
  for (int i = 0; temp >= 1.0 && i < nb_digits; ++i) {
    temp = std::trunc(temp) / 10.0;
    digits[nb_digits - i - 1] = depth_io::round_half_away((temp - std::trunc(temp)) * 10.0);
  }
  if (source < 0) *dest++ = '-';
  *dest = '\0';
  for (int i = 0; i < nb_digits; ++i) __vsip_itoa(digits[i], dest + i);
}

int __GetStringFromInt(char* dest, int source) {
  const int nb_digits = __GetNbDigit(source);
  __TransfromIntsChars(source, nb_digits, dest);
  return nb_digits;
}

void __GetStringFromInt(char* dest, int nbdigits, int source) {
  __TransfromIntsChars(source, nbdigits, dest);
}

int __GetIntFromString(char* string) {
  constexpr std::int64_t kOutOfRange = std::int64_t{1} << 40;
  const bool negative = string != nullptr && string[0] == '-';
  const char* digit = string == nullptr ? "?" : string + (negative ? 1 : 0);
  std::int64_t value = 0;
  for (; *digit != '\0'; ++digit) {
    if (*digit < '0' || *digit > '9') {
      depth_io::print(
          " ---ERROR--- PROBLEM IN GetIntFromString(..) -> NOT A INTEGER IN STRING '%s'\n",
          string == nullptr ? "(null)" : string);
      depth_io::wait_for_key();
      return -1;
    }
    if (value < kOutOfRange) value = value * 10 + (*digit - '0');
  }
  if (negative) value = -value;
  const bool fits = value >= INT32_MIN && value <= INT32_MAX;
  return fits ? static_cast<int>(value) : 0;
}
