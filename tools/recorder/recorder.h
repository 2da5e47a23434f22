#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "tools/recorder/capture_engine.h"
#include "tools/recording/file_bytes.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// Puts frames through a recording engine into a directory, and counts in `recording` what becomes
/// of them.
///
/// A signal wants the frames of some seconds before and after it. Those before lie in the engine's
/// memory and are the backlog: they are written one by one, oldest first, when there is time
/// (`save_next`), at the latest when the memory needs their place. As long as there is a backlog,
/// new frames join it, so that frames are written in the order of time.
class Recorder {
 public:
  /// Called with the name of each frame, relative to the directory and without ending, right after
  /// it was written whole.
  using WrittenHandler = std::function<void(const std::string& name)>;

  Recorder(const EngineSettings& settings, RecordingInfo& recording, LibraryLog& log,
           WrittenHandler written);

  /// Offers the next frame. Throws `Failure` when it could not be written.
  void offer(Frame& frame, const Shot& shot);

  /// The user wants the time around now on disk. Returns the time of the newest frame, which is
  /// now; none when no frame was offered yet.
  std::optional<Moment> fire();

  bool has_backlog() const { return backlog_ > 0; }
  /// Writes the oldest frame of the backlog. Throws `Failure` when that does not work.
  void save_next();

  /// Of all frames written.
  const FileBytes& bytes() const { return bytes_; }

 private:
  /// A frame in the engine's memory.
  struct KeptFrame {
    Shot shot;
    bool has_colour = false;
    Decision decision = Decision::kNotAsked;
    bool is_wanted = false;  ///< on disk, but not there yet
  };

  bool is_in_signal_time(const Moment& moment) const;
  bool passes_rate_limit(const Moment& moment) const;
  void want(KeptFrame& kept);
  long& counter_of(Decision decision);
  void acknowledge(const KeptFrame& kept);
  FileBytes measure_files(const KeptFrame& kept) const;
  void check_keys(const Shot& shot) const;

  std::string directory_;
  RecordingInfo& recording_;
  LibraryLog& log_;
  WrittenHandler written_;
  std::unique_ptr<CaptureEngine> engine_;
  FileBytes bytes_;
  std::deque<KeptFrame> kept_;  ///< as many as the engine keeps, oldest first
  long backlog_ = 0;
  std::optional<Moment> last_signal_;
  std::optional<Moment> last_wanted_;  ///< frames up to here are on disk or will be
};

}  // namespace depth_io::tools
