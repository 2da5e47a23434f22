#include "python/stamped_recorder.h"

#include <algorithm>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"
#include "tools/recorder/tree_end.h"
#include "tools/recording/recording_folders.h"
#include "tools/system/available_memory.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"

namespace depth_io::python {

using tools::CaptureEngine;
using tools::Decision;
using tools::DirectoryLock;
using tools::Failure;
using tools::Layout;
using tools::RecordingInfo;
using tools::Shot;
using tools::UsageFailure;

namespace {

RecordingInfo info_of(const RecorderSettings& settings) {
  RecordingInfo info;
  info.layout = settings.layout;
  info.naming = tools::Naming::kTime;
  info.per_directory = settings.per_directory;
  info.history = settings.history;
  info.camera_type = settings.camera_type;
  info.motion_percent = settings.motion;
  info.every = settings.period;
  info.max_fps = settings.max_fps;
  info.colour = settings.colour;
  return info;
}

void check_path_length(const std::string& directory) {
  // The engine wants names of whole files that fit.
  constexpr std::size_t kLongestDirectory = 180;
  if (directory.size() > kLongestDirectory) {
    throw UsageFailure("path must have at most 180 bytes, not " + std::to_string(directory.size()));
  }
}

void check_memory(int history) {
  constexpr double kBytesPerFrame =
      static_cast<double>(tools::kFramePixels * (sizeof(float) + 3) + 128);
  constexpr double kShareOfMemory = 0.8;
  if (history > 1 && history * kBytesPerFrame > tools::available_memory() * kShareOfMemory) {
    throw UsageFailure("history of " + std::to_string(history) +
                       " frames wants more memory than there is");
  }
}

/// A tree may go on; numbered sub-directories begin anew.
void check_contents_for(Layout layout, const std::string& directory) {
  if (layout == Layout::kTree) {
    tools::check_contents(directory, true);
    return;
  }
  const auto names = tools::sorted_names(directory);
  if (!names) throw Failure("cannot look into '" + directory + "'");
  if (!names->empty()) {
    throw UsageFailure("'" + directory + "' is not empty: numbered sub-directories begin anew");
  }
}

bool are_equal(const Moment& a, const Moment& b) {
  return !tools::is_before(a, b) && !tools::is_before(b, a);
}

/// Whether the last file of a frame is there.
bool has_frame(const std::string& folder, const Moment& moment) {
  const std::string stamp = tools::stamp_text(moment);
  PathText path;
  append_frame_name(path, folder.c_str(), tools::kDepthStem, true,
                    {true, tools::kNumberDigits, 0, stamp.c_str()});
  path.append(kErrorEnding);
  return path.fits() && tools::regular_file_size(path.c_str()).has_value();
}

}  // namespace

StampedRecorder::StampedRecorder(const RecorderSettings& settings)
    : settings_(settings), info_(info_of(settings)) {
  check_path_length(settings_.directory);
  check_memory(settings_.history);
  tools::make_directories(settings_.directory);
  directory_lock_ = std::make_unique<DirectoryLock>(settings_.directory);
  check_contents_for(settings_.layout, settings_.directory);
  engine_ = tools::make_capture_engine({settings_.directory, info_, settings_.verify});
}

Decision StampedRecorder::add(const FramePixels& pixels, const Moment& moment, bool request) {
  const std::lock_guard lock(mutex_);
  check_open();
  check_time_is_new(moment);
  take_pixels(pixels, settings_.max_depth, frame_);
  if (!engine_->capture(frame_, Shot{next_index_++, moment}, request)) {
    throw Failure("the frame of " + tools::readable_text(moment) + " could not be recorded");
  }
  const Decision decision = engine_->decision();
  remember(moment, tools::is_recorded(decision));
  return decision;
}

void StampedRecorder::check_open() const {
  if (engine_ == nullptr) throw UsageFailure("the recorder is closed");
}

/// A frame of the same time would take the place of the one that is there.
void StampedRecorder::check_time_is_new(const Moment& moment) const {
  const bool is_kept = newest_ && are_equal(*newest_, moment);
  const bool is_on_disk =
      settings_.layout == Layout::kTree
          ? tools::tree_has_frame(settings_.directory, moment)
          : has_recorded_ && has_frame(settings_.directory + "/" + engine_->folder(), moment);
  if (is_kept || is_on_disk) {
    throw UsageFailure("time: there is a frame of " + tools::readable_text(moment) + " already");
  }
}

void StampedRecorder::remember(const Moment& moment, bool is_recorded) {
  if (kept_.size() >= static_cast<std::size_t>(settings_.history)) kept_.pop_front();
  kept_.push_back({moment, is_recorded});
  newest_ = moment;
  has_recorded_ = has_recorded_ || is_recorded;
}

long StampedRecorder::save_range(const Moment& start, const Moment& stop) {
  const std::lock_guard lock(mutex_);
  check_open();
  long saved = 0;
  for (KeptFrame& kept : kept_) {
    const bool is_inside =
        !tools::is_before(kept.moment, start) && !tools::is_before(stop, kept.moment);
    if (kept.is_recorded || !is_inside) continue;
    // The engine does not look at the number of a frame that it has in memory.
    if (!engine_->save(Shot{0, kept.moment})) {
      throw Failure("the frame of " + tools::readable_text(kept.moment) +
                    " could not be saved out of the history (" + std::to_string(saved) +
                    " before it were)");
    }
    kept.is_recorded = true;
    has_recorded_ = true;
    ++saved;
  }
  return saved;
}

std::vector<Moment> StampedRecorder::history() const {
  const std::lock_guard lock(mutex_);
  check_open();
  std::vector<Moment> moments;
  for (const KeptFrame& kept : kept_) moments.push_back(kept.moment);
  return moments;
}

void StampedRecorder::close() {
  const std::lock_guard lock(mutex_);
  engine_.reset();
  directory_lock_.reset();
  kept_.clear();
}

}  // namespace depth_io::python
