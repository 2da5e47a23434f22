#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/frame/frame.h"
#include "tools/recording/frame_reader.h"
#include "tools/recording/recording_scan.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// The recorded frames of a directory, in any layout.
class Recording {
 public:
  /// Takes the frames of a range of time only. Throws `Failure` when there is no such directory or
  /// no frame in it.
  Recording(std::string directory, LibraryLog& log, const TimeRange& range = {});
  /// The same for those who only want to know what there is, or who have a console of their own.
  explicit Recording(std::string directory, const TimeRange& range = {});
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  const std::string& directory() const { return directory_; }
  /// In the order of their numbers or times.
  const std::vector<RecordedFrame>& frames() const { return frames_; }
  /// "tree", for example; "mixed" when there are several.
  std::string layout() const;
  /// How the recording was made, by each run of the recorder; empty when that is not known.
  const std::vector<RecordingInfo>& runs() const { return runs_; }
  /// What is wrong beside the frames themselves, a sentence each: damaged descriptions, folders
  /// that cannot be read.
  const std::vector<std::string>& troubles() const { return troubles_; }
  bool has_unreadable_folders() const { return has_unreadable_folders_; }
  bool has_colour() const { return has_colour_; }
  /// Whether a frame should have a colour image.
  bool wants_colour(const RecordedFrame& frame) const;

  std::optional<Moment> time_of(const RecordedFrame& frame) const;
  /// Which frame of its source it is; none when that cannot be told.
  std::optional<long> source_index(const RecordedFrame& frame) const;

  /// Plays a frame back. Returns why that did not work; empty when it did.
  std::string read(const RecordedFrame& recorded, Frame& frame);

 private:
  Recording(std::string directory, LibraryLog* log, const TimeRange& range);
  void read_descriptions();
  void keep_frames_of(const TimeRange& range);
  /// The run that recorded a frame, as far as can be told; null when nothing is known.
  const RecordingInfo* run_of(const RecordedFrame& frame) const;

  std::string directory_;
  LibraryLog* log_;
  std::vector<RecordedFrame> frames_;
  std::vector<Layout> layouts_;
  std::vector<RecordingInfo> runs_;
  std::vector<std::string> troubles_;
  bool has_unreadable_folders_ = false;
  bool has_colour_ = false;
  std::unique_ptr<FrameReader> reader_;  ///< made by the first `read`
};

/// Tells the user what is wrong beside the frames themselves.
void tell_troubles(const Recording& recording);

}  // namespace depth_io::tools
