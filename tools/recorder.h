#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "codec/timestamps.h"
#include "tools/frame.h"
#include "tools/library_log.h"
#include "tools/recording_info.h"

class KV_RGBD_CameraCompression;

namespace depth_io::tools {

/// Bytes on disk, by kind of file.
struct FileBytes {
  std::uintmax_t colour = 0;
  std::uintmax_t label_map = 0;
  std::uintmax_t reference = 0;
  std::uintmax_t codes = 0;
  std::uintmax_t errors = 0;

  std::uintmax_t sum() const { return colour + label_map + reference + codes + errors; }
  FileBytes& operator+=(const FileBytes& other);
};

struct RecorderOptions {
  std::string directory;
  Naming naming = Naming::kNumber;
  int history = 1;                       ///< frames kept in memory
  std::optional<double> motion_percent;  ///< record when more pixels move
  std::optional<long> every;             ///< record when so many frames have passed
  bool verify_writes = false;            ///< read each frame back
};

/// Puts frames through the recording engine into a directory.
class Recorder {
 public:
  Recorder(const RecorderOptions& options, LibraryLog& log);
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  /// Offers the next frame; true when it was written whole, false when the engine passed it over.
  /// Throws `Failure` when it could not be written.
  bool record(Frame& frame, long index, const Moment& moment);

  /// Of all frames written.
  const FileBytes& bytes() const { return bytes_; }

 private:
  void mark_readings();
  FileBytes measure_files(const Frame& frame, long index, const Moment& moment) const;

  RecorderOptions options_;
  LibraryLog& log_;
  std::unique_ptr<KV_RGBD_CameraCompression> engine_;
  FileBytes bytes_;
};

}  // namespace depth_io::tools
