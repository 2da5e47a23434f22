#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "python/frame_codec.h"
#include "tools/recorder/capture_engine.h"
#include "tools/system/directory_lock.h"

namespace depth_io::python {

/// How a recorder is to record.
struct RecorderSettings {
  std::string directory;
  tools::Layout layout = tools::Layout::kTree;  ///< or numbered
  int per_directory = 0;                        ///< frames of a numbered sub-directory
  int history = 1;                              ///< frames kept in memory
  int camera_type = 0;
  std::optional<double> motion;   ///< record when more than so many percent of the pixels moved
  std::optional<long> period;     ///< record when so many frames have passed
  std::optional<double> max_fps;  ///< most frames recorded per second
  bool colour = true;
  std::optional<double> max_depth;  ///< metres; deeper readings are recorded as none
  bool verify = false;              ///< read each frame back
};

/// Records frames with their times through the second or third generation engine. Its functions may
/// be called by several threads; one works at a time.
class StampedRecorder {
 public:
  /// Makes the directory if need be, and keeps it for this recorder. Throws `UsageFailure` when it
  /// holds something else, `Failure` when that does not work.
  explicit StampedRecorder(const RecorderSettings& settings);

  /// Offers a frame, with a colour image if the recorder records them. With `request` it is
  /// recorded whatever it shows, unless the limit of the rate forbids it. Throws `UsageFailure`
  /// when there is a frame of that time already, `Failure` when it could not be written.
  tools::Decision add(const FramePixels& pixels, const Moment& moment, bool request);

  /// Writes the frames of a range of time, both ends included, that are in memory and not on disk
  /// yet, oldest first. Returns how many. Throws `Failure` at the first one that fails.
  long save_range(const Moment& start, const Moment& stop);

  /// Times of the frames in memory, oldest first.
  std::vector<Moment> history() const;

  /// Gives memory and directory free. Calls after it throw `UsageFailure`, except this one.
  void close();

 private:
  struct KeptFrame {
    Moment moment;
    bool is_recorded;
  };

  void check_open() const;
  void check_time_is_new(const Moment& moment) const;
  void remember(const Moment& moment, bool is_recorded);

  mutable std::mutex mutex_;
  RecorderSettings settings_;
  tools::RecordingInfo info_;  ///< the engine looks into it
  std::unique_ptr<tools::DirectoryLock> directory_lock_;
  std::unique_ptr<tools::CaptureEngine> engine_;
  tools::Frame frame_;
  std::deque<KeptFrame> kept_;  ///< what the engine has in memory, oldest first
  std::optional<Moment> newest_;
  long next_index_ = 0;
  bool has_recorded_ = false;
};

}  // namespace depth_io::python
