#include "tools/viewer/viewed_recording.h"

#include <algorithm>
#include <utility>

#include "codec/console.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"

namespace depth_io::tools {
namespace {

constexpr double kLeastSecondsBetweenLooks = 1;

bool is_same_frame(const RecordedFrame& a, const RecordedFrame& b) {
  return a.key == b.key && a.folder == b.folder && a.key_first == b.key_first;
}

/// Frames of a recording, the last one perhaps incomplete, that stand in another in the same
/// places.
bool goes_on(const std::vector<RecordedFrame>& before, const std::vector<RecordedFrame>& after) {
  return before.size() <= after.size() &&
         std::equal(before.begin(), before.end(), after.begin(), is_same_frame);
}

}  // namespace

ViewedRecording::ViewedRecording(std::string directory)
    : directory_(std::move(directory)), log_(false), looked_at_(monotonic_seconds()) {
  view_.recording = std::make_shared<const Recording>(directory_, log_);
  // Frames are read by many threads at a time, which the log is not made for; what is wrong with a
  // frame is told by looking at its files.
  set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  set_key_wait_handler([](void*) {}, nullptr);
}

RecordingView ViewedRecording::view() const {
  const std::lock_guard lock(mutex_);
  return view_;
}

void ViewedRecording::look_again() {
  {
    const std::lock_guard lock(mutex_);
    if (monotonic_seconds() - looked_at_ < kLeastSecondsBetweenLooks) return;
    looked_at_ = monotonic_seconds();
  }
  std::shared_ptr<const Recording> fresh;
  try {
    fresh = std::make_shared<const Recording>(directory_, log_);
  } catch (const Failure&) {
    return;  // it is gone or empty for the moment: what was seen last stays
  }
  const std::lock_guard lock(mutex_);
  if (!goes_on(view_.frames(), fresh->frames())) ++view_.generation;
  view_.recording = std::move(fresh);
}

}  // namespace depth_io::tools
