#include "tools/recording/recording_statistics.h"

#include <algorithm>

#include "tools/frame/frame_time.h"
#include "tools/recording/frame_statistics.h"
#include "tools/system/interruption.h"

namespace depth_io::tools {
namespace {

void add_files(const Recording& recording, const RecordedFrame& frame, RecordingStatistics& all) {
  const FrameStatistics one = statistics_of(recording.directory(), frame);
  all.bytes += one.bytes;
  if (one.labels) all.labels.add(*one.labels);
  if (one.error_records) all.error_records.add(*one.error_records);
  const bool is_unread =
      (frame.has_reference && !one.labels) || (frame.has_errors && !one.error_records);
  if (is_unread) ++all.unread;
  const bool is_complete =
      frame.has_depth_files() && (frame.has_colour || !recording.wants_colour(frame));
  if (!is_complete) ++all.incomplete;
}

/// Steps from each frame to the next: seconds, or numbers of frames.
std::vector<double> steps_of(const Recording& recording, bool in_seconds) {
  std::vector<double> steps;
  const auto& frames = recording.frames();
  for (std::size_t i = 1; i < frames.size(); ++i) {
    steps.push_back(in_seconds ? seconds_between(*recording.time_of(frames[i - 1]),
                                                 *recording.time_of(frames[i]))
                               : frames[i].number - frames[i - 1].number);
  }
  return steps;
}

void find_gaps(const Recording& recording, RecordingStatistics& all) {
  const auto& frames = recording.frames();
  all.steps_are_seconds =
      std::all_of(frames.begin(), frames.end(),
                  [&](const RecordedFrame& frame) { return recording.time_of(frame).has_value(); });
  if (all.steps_are_seconds) {
    all.first = recording.time_of(frames.front());
    all.last = recording.time_of(frames.back());
  }
  const std::vector<double> steps = steps_of(recording, all.steps_are_seconds);
  if (steps.empty()) return;
  std::vector<double> sorted = steps;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  all.median_step = *middle;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (steps[i] <= 2 * *all.median_step) continue;
    all.gaps.push_back({frames[i].depth_name(), frames[i + 1].depth_name(), steps[i]});
  }
}

}  // namespace

void Spread::add(long number) {
  ++count;
  sum += static_cast<double>(number);
  most = std::max(most, number);
}

RecordingStatistics statistics_of(const Recording& recording) {
  RecordingStatistics all;
  find_gaps(recording, all);
  for (const RecordedFrame& frame : recording.frames()) {
    if (interrupted()) break;
    add_files(recording, frame, all);
  }
  return all;
}

}  // namespace depth_io::tools
