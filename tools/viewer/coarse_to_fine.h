#pragma once

#include <bit>
#include <cstdint>

namespace depth_io::tools {

/// Walks through the numbers from 0 to `count` - 1 so that those visited at any moment lie evenly
/// spread: what is known early gives a rough picture of all.
class CoarseToFine {
 public:
  explicit CoarseToFine(std::uint32_t count)
      : count_(count), bits_(count > 1 ? static_cast<int>(std::bit_width(count - 1)) : 0) {}

  /// Sets the next number; false at the end.
  bool next(std::uint32_t& number) {
    for (; step_ < (std::uint64_t{1} << static_cast<unsigned>(bits_)); ++step_) {
      number = reversed(static_cast<std::uint32_t>(step_));
      if (number >= count_) continue;
      ++step_;
      return true;
    }
    return false;
  }

 private:
  std::uint32_t reversed(std::uint32_t step) const {
    std::uint32_t result = 0;
    for (int bit = 0; bit < bits_; ++bit, step >>= 1U) result = result << 1U | (step & 1U);
    return result;
  }

  std::uint32_t count_;
  int bits_;
  std::uint64_t step_ = 0;
};

}  // namespace depth_io::tools
