#pragma once

#include <optional>

#include "codec/timestamps.h"

namespace depth_io::tools {

/// Notices when the wall clock is set while frames are recorded. Frame times go on evenly from the
/// start by another clock, so that no two frames get the same time and none goes back; but the user
/// wants to know that they differ from the wall clock now.
class ClockWatch {
 public:
  /// The wall clock shows `wall` while the even clock shows `even_seconds`.
  ClockWatch(const Moment& wall, double even_seconds);

  /// Seconds by which the wall clock was set since the last look; none when it just went on.
  std::optional<double> look(const Moment& wall, double even_seconds);

 private:
  Moment begin_;
  double offset_;
};

}  // namespace depth_io::tools
