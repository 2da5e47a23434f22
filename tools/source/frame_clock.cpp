#include "tools/source/frame_clock.h"

#include <algorithm>
#include <cmath>

#include "tools/frame/frame_time.h"
#include "tools/recording/recording_info.h"

namespace depth_io::tools {
namespace {

std::int64_t rounded_milliseconds(std::int64_t microseconds) {
  return microseconds_of(moment_at(microseconds)) / 1000;
}

double median_rate(const std::vector<std::int64_t>& milliseconds, double usual) {
  std::vector<std::int64_t> steps;
  for (std::size_t i = 1; i < milliseconds.size(); ++i) {
    steps.push_back(milliseconds[i] - milliseconds[i - 1]);
  }
  if (steps.empty()) return usual;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return std::max(1e3 / static_cast<double>(*middle), kLowestFps);
}

}  // namespace

FrameClock::FrameClock(const FrameSource& source) : fps_(30) {
  const long count = source.frame_count().value_or(0);
  const std::int64_t first = rounded_milliseconds(source.time_of(0).value_or(0));
  for (long i = 0; i < count; ++i) {
    const std::int64_t time = rounded_milliseconds(source.time_of(i).value_or(0)) - first;
    milliseconds_.push_back(i == 0 ? 0 : std::max(time, milliseconds_.back() + 1));
  }
  fps_ = median_rate(milliseconds_, fps_);
}

double FrameClock::seconds_of(long index) const {
  if (milliseconds_.empty()) return static_cast<double>(index) / fps_;
  return static_cast<double>(milliseconds_.at(static_cast<std::size_t>(index))) / 1e3;
}

long FrameClock::newest_at(double seconds) const {
  if (milliseconds_.empty()) return static_cast<long>(seconds * fps_);
  const auto later = std::upper_bound(milliseconds_.begin(), milliseconds_.end(),
                                      static_cast<std::int64_t>(std::floor(seconds * 1e3)));
  return static_cast<long>(later - milliseconds_.begin()) - 1;
}

double FrameClock::frames_before(double seconds) const {
  if (milliseconds_.empty()) return seconds * fps_;
  const auto first_not = std::lower_bound(milliseconds_.begin(), milliseconds_.end(),
                                          static_cast<std::int64_t>(std::ceil(seconds * 1e3)));
  return static_cast<double>(first_not - milliseconds_.begin());
}

}  // namespace depth_io::tools
