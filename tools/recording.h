#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codec/timestamps.h"
#include "tools/frame.h"
#include "tools/library_log.h"
#include "tools/recording_info.h"

class KV_RGBD_CameraCompression;

namespace depth_io::tools {

/// A frame found in a directory, whole or not.
struct RecordedFrame {
  std::string key;               ///< number or stamp text, as in the file names
  int number = -1;               ///< when named by number
  std::optional<Moment> moment;  ///< when named by time
  bool has_label_map = false;
  bool has_reference = false;
  bool has_codes = false;
  bool has_errors = false;
  bool has_colour = false;

  std::string depth_name() const { return std::string(kDepthStem) + "-" + key; }
  std::string colour_name() const { return std::string(kColourStem) + "-" + key; }
};

/// The recorded frames of a directory.
class Recording {
 public:
  /// Throws `Failure` when there is no such directory or no frame in it.
  Recording(std::string directory, LibraryLog& log);
  ~Recording();
  Recording(const Recording&) = delete;
  Recording& operator=(const Recording&) = delete;

  const std::string& directory() const { return directory_; }
  /// In the order of their numbers or times.
  const std::vector<RecordedFrame>& frames() const { return frames_; }
  /// How the recording was made, if that is known.
  const std::optional<RecordingInfo>& info() const { return info_; }
  /// Why that is not known although it was written down; empty when all is well.
  const std::string& info_damage() const { return info_damage_; }
  bool has_colour() const { return has_colour_; }

  std::optional<Moment> time_of(const RecordedFrame& frame) const;
  /// Which frame of its source it is; none when that cannot be told.
  std::optional<long> source_index(const RecordedFrame& frame) const;

  /// Plays a frame back. Returns why that did not work; empty when it did.
  std::string read(const RecordedFrame& recorded, Frame& frame);

 private:
  void list_frames();

  std::string directory_;
  LibraryLog& log_;
  std::vector<RecordedFrame> frames_;
  std::optional<RecordingInfo> info_;
  std::string info_damage_;
  bool has_colour_ = false;
  std::unique_ptr<KV_RGBD_CameraCompression> engine_;
};

}  // namespace depth_io::tools
