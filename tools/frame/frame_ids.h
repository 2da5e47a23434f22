#pragma once

#include <cstdint>

namespace depth_io::tools {

/// Follows the numbers that a camera gives its frames, from 1.
class FrameIds {
 public:
  /// Takes the number of the frame that is there now; false when that was seen already, or is none.
  bool take(std::uint32_t id) {
    if (id == last_) return false;
    // The numbers begin anew when a recording is repeated.
    if (last_ != kNone && id > last_) missed_ += id - last_ - 1;
    last_ = id;
    return true;
  }

  std::uint32_t last() const { return last_; }
  /// Frames that were numbered and not seen.
  long missed() const { return missed_; }

 private:
  static constexpr std::uint32_t kNone = 0;
  std::uint32_t last_ = kNone;
  long missed_ = 0;
};

}  // namespace depth_io::tools
