#include "tools/recorder/clock_watch.h"

#include <cmath>

#include "tools/frame/frame_time.h"

namespace depth_io::tools {
namespace {

/// Smaller steps are a clock being kept in time.
constexpr double kSmallestStep = 0.5;

}  // namespace

ClockWatch::ClockWatch(const Moment& wall, double even_seconds)
    : begin_(wall), offset_(-even_seconds) {}

std::optional<double> ClockWatch::look(const Moment& wall, double even_seconds) {
  const double offset = seconds_between(begin_, wall) - even_seconds;
  const double step = offset - offset_;
  offset_ = offset;
  if (std::fabs(step) < kSmallestStep) return {};
  return step;
}

}  // namespace depth_io::tools
