#pragma once

#include <memory>
#include <string>

#include "tools/recording/recording.h"
#include "tools/system/directory_lock.h"

namespace depth_io::tools {

/// Moves frames out of a recording into another directory, where they keep their paths relative to
/// the recording. Nothing is deleted before it is safe in its new place, and nothing that lies
/// there is replaced. Keeps the recording locked against recorders as long as it lives.
class Quarantine {
 public:
  /// Makes the directory. Throws `Failure` when that is not possible, a recorder is at work, or
  /// both directories are the same.
  Quarantine(const std::string& recording, std::string directory);

  /// Moves the files of a frame. Returns why that was not possible; empty when all were moved. A
  /// frame of which some file cannot be moved stays as it was, as far as that can be.
  std::string take(const RecordedFrame& frame);

 private:
  std::string recording_;
  std::string directory_;
  std::unique_ptr<DirectoryLock> lock_;
};

}  // namespace depth_io::tools
