#include "tools/recording/recording.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <utility>

#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

std::optional<long> index_in_run(const RecordingInfo& run, const Moment& moment) {
  if (run.source_times) return {};  // the source knows
  const double place = seconds_between(run.start, moment) * run.fps;
  if (!(place > -0.5 && place < 1e10)) return {};
  const long index = std::lround(place);
  const Moment expected = moment_after(run.start, static_cast<double>(index) / run.fps);
  if (stamp_text(expected) != stamp_text(moment)) return {};
  return index;
}

}  // namespace

Recording::Recording(std::string directory, LibraryLog& log, const TimeRange& range)
    : Recording(std::move(directory), &log, range) {}

Recording::Recording(std::string directory, const TimeRange& range)
    : Recording(std::move(directory), nullptr, range) {}

Recording::Recording(std::string directory, LibraryLog* log, const TimeRange& range)
    : directory_(std::move(directory)), log_(log) {
  std::error_code error;
  if (!std::filesystem::is_directory(directory_, error)) {
    throw Failure("there is no directory '" + directory_ + "'");
  }
  read_descriptions();
  // Only a recorder that tells so is known to put each frame into the folders of its own time.
  const bool folders_are_exact = !runs_.empty();
  RecordingScan scan = scan_recording(directory_, folders_are_exact ? range : TimeRange());
  frames_ = std::move(scan.frames);
  layouts_ = std::move(scan.layouts);
  has_unreadable_folders_ = !scan.unreadable_folders.empty();
  for (const std::string& folder : scan.unreadable_folders) {
    troubles_.push_back("the folder '" + directory_ + "/" + folder + "' cannot be read");
  }
  if (!range.is_everything()) keep_frames_of(range);
  if (frames_.empty()) {
    throw Failure("there are no recorded frames in '" + directory_ + "'" +
                  (range.is_everything() ? "" : " in that range of time"));
  }
  has_colour_ =
      std::any_of(frames_.begin(), frames_.end(),
                  [](const RecordedFrame& frame) { return frame.has_colour; }) ||
      std::any_of(runs_.begin(), runs_.end(), [](const RecordingInfo& run) { return run.colour; });
}

void Recording::read_descriptions() {
  try {
    runs_ = read_all_recording_infos(directory_);
  } catch (const Failure& failure) {
    troubles_.emplace_back(failure.what());
  }
}

void Recording::keep_frames_of(const TimeRange& range) {
  const auto has_time = [this](const RecordedFrame& frame) { return time_of(frame).has_value(); };
  if (!std::all_of(frames_.begin(), frames_.end(), has_time)) {
    throw Failure("frames named by number have no times without 'recording.json'");
  }
  std::erase_if(frames_,
                [&](const RecordedFrame& frame) { return !range.contains(*time_of(frame)); });
}

std::string Recording::layout() const {
  return layouts_.size() == 1 ? layout_name(layouts_.front()) : "mixed";
}

const RecordingInfo* Recording::run_of(const RecordedFrame& frame) const {
  if (runs_.empty()) return nullptr;
  const auto began_later = [&](const RecordingInfo& run) {
    return frame.moment && is_before(*frame.moment, run.start);
  };
  const auto run = std::find_if_not(runs_.rbegin(), runs_.rend(), began_later);
  return run == runs_.rend() ? &runs_.front() : &*run;
}

bool Recording::wants_colour(const RecordedFrame& frame) const {
  const RecordingInfo* const run = run_of(frame);
  return run != nullptr ? run->colour : has_colour_;
}

std::optional<Moment> Recording::time_of(const RecordedFrame& frame) const {
  if (frame.moment) return frame.moment;
  if (runs_.empty()) return {};
  // A description that was made up must not lead beyond the calendar.
  constexpr double kMostSeconds = 1e11;
  const double seconds = frame.number / runs_.front().fps;
  if (seconds > kMostSeconds) return {};
  return moment_after(runs_.front().start, seconds);
}

std::optional<long> Recording::source_index(const RecordedFrame& frame) const {
  if (!frame.moment) return frame.number;
  // Runs overlap when the clock was set back between them: take the one that it fits.
  for (auto run = runs_.rbegin(); run != runs_.rend(); ++run) {
    if (const auto index = index_in_run(*run, *frame.moment)) return index;
  }
  return {};
}

std::string Recording::read(const RecordedFrame& recorded, Frame& frame) {
  if (log_ != nullptr) log_->start_operation();
  if (reader_ == nullptr) reader_ = std::make_unique<FrameReader>();
  if (!reader_->read(directory_, recorded, frame)) return "cannot be read";
  if (wants_colour(recorded) && !recorded.has_colour) return "has no colour image";
  return {};
}

void tell_troubles(const Recording& recording) {
  for (const std::string& trouble : recording.troubles()) write_message("%s", trouble.c_str());
}

}  // namespace depth_io::tools
