#include "tools/export/export_frames.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "tools/frame/frame_time.h"

namespace depth_io::tools {
namespace {

constexpr double kMicro = 1e6;

bool all_have_times(const Recording& recording) {
  const auto& frames = recording.frames();
  return std::all_of(frames.begin(), frames.end(), [&](const RecordedFrame& frame) {
    return recording.time_of(frame).has_value();
  });
}

/// By its stamp, or by its number and the rate of the recording, which may be finer than stamps.
std::int64_t known_time(const Recording& recording, const RecordedFrame& frame) {
  if (frame.moment) return microseconds_of(*frame.moment);
  const RecordingInfo& run = recording.runs().front();
  return microseconds_of(run.start) + std::llround(frame.number / run.fps * kMicro);
}

/// Later frames never have the time of earlier ones: that is what distinguishes their names.
void make_times_increase(std::vector<ExportFrame>& frames) {
  for (std::size_t i = 1; i < frames.size(); ++i) {
    frames[i].microseconds = std::max(frames[i].microseconds, frames[i - 1].microseconds + 1);
  }
}

void keep_every(std::size_t stride, std::vector<ExportFrame>& frames) {
  std::vector<ExportFrame> kept;
  for (std::size_t i = 0; i < frames.size(); i += stride) kept.push_back(std::move(frames[i]));
  frames = std::move(kept);
}

/// Frames of different folders can have the same key.
void name_by_key(std::vector<ExportFrame>& frames) {
  std::unordered_set<std::string> taken;
  for (ExportFrame& frame : frames) {
    frame.name = frame.recorded->key;
    for (int again = 2; !taken.insert(frame.name).second; ++again) {
      frame.name = frame.recorded->key + "-" + std::to_string(again);
    }
  }
}

double median_step(const std::vector<ExportFrame>& frames, double usual) {
  std::vector<std::int64_t> steps;
  for (std::size_t i = 1; i < frames.size(); ++i) {
    steps.push_back(frames[i].microseconds - frames[i - 1].microseconds);
  }
  if (steps.empty()) return usual;
  const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
  std::nth_element(steps.begin(), middle, steps.end());
  return static_cast<double>(*middle);
}

}  // namespace

ExportFrames frames_to_export(const Recording& recording, const ExportSettings& settings) {
  ExportFrames all;
  all.have_times = all_have_times(recording);
  const bool have_numbers = !recording.frames().front().moment;
  for (const RecordedFrame& frame : recording.frames()) {
    const double place =
        have_numbers && !frame.moment ? frame.number : static_cast<double>(all.frames.size());
    all.frames.push_back({&frame, "",
                          all.have_times ? known_time(recording, frame)
                                         : std::llround(place / settings.fps * kMicro)});
  }
  std::stable_sort(
      all.frames.begin(), all.frames.end(),
      [](const ExportFrame& a, const ExportFrame& b) { return a.microseconds < b.microseconds; });
  make_times_increase(all.frames);
  keep_every(settings.stride, all.frames);
  if (settings.format == ExportFormat::kTum) {
    for (ExportFrame& frame : all.frames) frame.name = seconds_text(frame.microseconds);
  } else {
    name_by_key(all.frames);
  }
  all.median_step = median_step(all.frames, kMicro / settings.fps);
  return all;
}

std::string time_text(const ExportFrames& all, const ExportFrame& frame) {
  return all.have_times ? readable_text(moment_at(frame.microseconds)) : std::string();
}

}  // namespace depth_io::tools
