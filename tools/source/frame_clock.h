#pragma once

#include <cstdint>
#include <vector>

#include "tools/source/frame_source.h"

namespace depth_io::tools {

/// When the frames of a source were taken, in seconds from the first one on.
class FrameClock {
 public:
  /// Evenly.
  explicit FrameClock(double fps) : fps_(fps) {}

  /// By the source's own times, to the millisecond: stamps hold no more, and no two frames get the
  /// same. The source has times and an end.
  explicit FrameClock(const FrameSource& source);

  double seconds_of(long index) const;
  /// The last frame that was taken up to then.
  long newest_at(double seconds) const;
  /// Number of frames that were taken before then.
  double frames_before(double seconds) const;
  /// Frames per second: the given ones, or by the median step.
  double fps() const { return fps_; }

 private:
  double fps_;
  std::vector<std::int64_t> milliseconds_;  ///< of each frame; empty when they come evenly
};

}  // namespace depth_io::tools
