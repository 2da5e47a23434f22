#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

namespace depth_io::tools {

/// Reads a text that is laid out in one way only: between two numbers stands one character.
class StrictText {
 public:
  explicit StrictText(std::string_view text) : rest_(text) {}

  bool take(std::string_view expected) {
    if (!rest_.starts_with(expected)) return false;
    rest_.remove_prefix(expected.size());
    return true;
  }

  /// The whole number in front of the next `end`, which is taken, too.
  std::optional<long> integer_before(char end) {
    const auto word = word_before(end);
    if (!word) return {};
    long number = 0;
    const auto result = std::from_chars(word->data(), word->data() + word->size(), number);
    if (result.ec != std::errc() || result.ptr != word->data() + word->size()) return {};
    return number;
  }

  /// The same for a number with six decimals, or one that is not finite.
  std::optional<double> decimal_before(char end) {
    constexpr std::size_t kDecimals = 6;
    const auto word = word_before(end);
    if (!word) return {};
    double number = 0;
    const auto result = std::from_chars(word->data(), word->data() + word->size(), number);
    if (result.ec != std::errc() || result.ptr != word->data() + word->size()) return {};
    if (!std::isfinite(number)) return number;
    const std::size_t point = word->find('.');
    const bool is_fixed = word->find_first_not_of("-0123456789.") == std::string_view::npos;
    if (!is_fixed || point == std::string_view::npos) return {};
    if (word->size() - point - 1 != kDecimals) return {};
    return number;
  }

  bool at_end() const { return rest_.empty(); }
  /// Nothing is left but a part of a line.
  bool in_last_line() const { return rest_.find('\n') == std::string_view::npos; }

 private:
  std::optional<std::string_view> word_before(char end) {
    const std::size_t length = rest_.find(end);
    if (length == std::string_view::npos) return {};
    const std::string_view word = rest_.substr(0, length);
    rest_.remove_prefix(length + 1);
    return word;
  }

  std::string_view rest_;
};

}  // namespace depth_io::tools
