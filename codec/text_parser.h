#pragma once

#include <emmintrin.h>

#include <bit>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

namespace depth_io {

/// Reads blank-delimited words and numbers from a text in memory, in every locale alike. A number
/// that does not fit becomes the nearest one that does. A failed read leaves the position at what
/// could not be read, so that every later number read fails as well.
class TextParser {
 public:
  explicit TextParser(std::string_view text) : rest_(text) {}

  /// The next word; empty at the end of the text.
  std::string_view word() {
    skip_blanks();
    std::size_t length = 0;
    while (length < rest_.size() && !is_blank(rest_[length])) ++length;
    const std::string_view found = rest_.substr(0, length);
    rest_.remove_prefix(length);
    return found;
  }

  std::optional<int> integer() {
    skip_blanks();
    if (const std::optional<int> number = short_number()) return number;
    const char* first = number_start();
    int value = 0;
    const auto [end, error] = std::from_chars(first, rest_.data() + rest_.size(), value);
    if (error == std::errc::invalid_argument) return {};
    if (error == std::errc::result_out_of_range) {
      value = *first == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
    }
    advance_to(end);
    return value;
  }

  /// Two integers of up to seven digits, with one blank between them and more text behind, at once.
  /// False, and no number is read, where something else comes next.
  bool short_pair(int& first, int& second) {
    constexpr std::size_t kCharacters = 16;
    skip_blanks();
    if (rest_.size() < kCharacters) return false;
    const char* const text = rest_.data();
    const unsigned others = characters_but_digits(text);
    const auto first_length = static_cast<unsigned>(std::countr_zero(others));
    const auto end = static_cast<unsigned>(std::countr_zero(others & (others - 1)));
    const unsigned second_length = end - first_length - 1;
    // Lengths less one: none becomes a very long one.
    if (first_length - 1 > 6 || second_length - 1 > 6) return false;
    if (!is_blank(text[first_length]) || !is_blank(text[end])) return false;
    rest_.remove_prefix(end + 1);
    first = digits_at(text, first_length);
    second = digits_at(text + first_length + 1, second_length);
    return true;
  }

  std::optional<float> real() {
    const char* first = number_start();
    const char* last = rest_.data() + rest_.size();
    float value = 0.0F;
    const auto [end, error] = std::from_chars(first, last, value);
    if (error == std::errc::invalid_argument) return {};
    if (error == std::errc::result_out_of_range) {
      // Beyond a float: the double tells whether it is too large or too close to 0.
      double wide = std::numeric_limits<double>::infinity();
      std::from_chars(first, last, wide);
      const bool too_large = wide > 1.0 || wide < -1.0;
      value = too_large ? std::numeric_limits<float>::infinity() : 0.0F;
      if (*first == '-') value = -value;
    }
    advance_to(end);
    return value;
  }

 private:
  static bool is_blank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  void skip_blanks() {
    std::size_t count = 0;
    while (count < rest_.size() && is_blank(rest_[count])) ++count;
    rest_.remove_prefix(count);
  }

  /// A number of up to seven digits before a blank, as nearly all are: read without a branch for
  /// each digit, which the processor could not foresee. Nothing where the text is too short to
  /// tell.
  std::optional<int> short_number() {
    std::uint64_t characters;
    if (rest_.size() < sizeof characters) return {};
    std::memcpy(&characters, rest_.data(), sizeof characters);
    const std::uint64_t digits = characters ^ 0x3030303030303030U;
    // The top bit of each byte that is no digit; a carry spoils bytes behind the first of them
    // only.
    const std::uint64_t others = ((digits + 0x7676767676767676U) | digits) & 0x8080808080808080U;
    const auto length = static_cast<unsigned>(std::countr_zero(others)) / 8U;
    if (length == 0 || length >= sizeof characters || !is_blank(rest_[length])) return {};
    rest_.remove_prefix(length);
    return value_of_digits(digits << (64U - 8U * length));
  }

  /// A bit for each of sixteen characters that is no digit.
  static unsigned characters_but_digits(const char* text) {
    __m128i characters;
    std::memcpy(&characters, text, sizeof characters);
    // Digits become the ten lowest signed numbers.
    const __m128i shifted = _mm_add_epi8(characters, _mm_set1_epi8(static_cast<char>(0x80 - '0')));
    const __m128i others = _mm_cmpgt_epi8(shifted, _mm_set1_epi8(static_cast<char>(0x80 + 9)));
    return static_cast<unsigned>(_mm_movemask_epi8(others));
  }

  /// The number of so many digits, one to seven; eight characters are there.
  static int digits_at(const char* text, unsigned length) {
    std::uint64_t characters;
    std::memcpy(&characters, text, sizeof characters);
    return value_of_digits((characters ^ 0x3030303030303030U) << (64U - 8U * length));
  }

  /// The number whose eight decimal digits are these bytes, the first in the lowest one.
  static int value_of_digits(std::uint64_t digits) {
    const std::uint64_t pairs = digits * 10U + (digits >> 8U);
    const std::uint64_t first_and_third = pairs & 0x000000FF000000FFU;
    const std::uint64_t second_and_fourth = (pairs >> 16U) & 0x000000FF000000FFU;
    constexpr std::uint64_t kMillionAndHundred = 0x000F424000000064U;
    constexpr std::uint64_t kTenThousandAndOne = 0x0000271000000001U;
    return static_cast<int>(
        (first_and_third * kMillionAndHundred + second_and_fourth * kTenThousandAndOne) >> 32U);
  }

  /// First character of a number; a leading '+' is passed over.
  const char* number_start() {
    skip_blanks();
    const bool plus = rest_.size() > 1 && rest_[0] == '+' && rest_[1] != '-';
    return rest_.data() + (plus ? 1 : 0);
  }

  void advance_to(const char* end) {
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
  }

  std::string_view rest_;
};

}  // namespace depth_io
