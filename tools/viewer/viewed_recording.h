#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "tools/recording/recording.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// What is known of a recording at a moment. Many threads read it; it never changes.
struct RecordingView {
  std::shared_ptr<const Recording> recording;
  /// Frames keep their places as long as this stays the same.
  std::uint64_t generation = 1;

  const std::vector<RecordedFrame>& frames() const { return recording->frames(); }
  std::string path_of(const std::string& name) const { return recording->directory() + "/" + name; }
};

/// A recording on disk that may still grow. One at a time: it takes the library's diagnostics.
class ViewedRecording {
 public:
  /// Throws `Failure` when there is no such directory or no frame in it.
  explicit ViewedRecording(std::string directory);

  RecordingView view() const;

  /// Looks for new frames, unless that was done a moment ago.
  void look_again();

 private:
  std::string directory_;
  LibraryLog log_;
  mutable std::mutex mutex_;
  RecordingView view_;
  double looked_at_;  ///< on the monotonic clock
};

/// The form in which the page takes times: milliseconds since 1970 of the wall clock that the names
/// tell, whatever its zone.
std::int64_t page_time(const Moment& moment);

/// Description of the recording for the page, JSON.
std::string recording_description(const RecordingView& view);

/// Time and state of each frame for the page, little-endian: float64 time[frames] (as `page_time`,
/// the frame's number where times are not known), then uint8 state[frames] (bits: 1 lacks a file of
/// its depth, 2 lacks its colour image, 4 has a colour image).
std::string frame_index(const RecordingView& view);

}  // namespace depth_io::tools
