#pragma once

#include <optional>
#include <string>

#include "tools/recording/file_bytes.h"
#include "tools/recording/frame_files.h"

namespace depth_io::tools {

/// What the files of a frame tell without being decoded. A number is missing when its file is, or
/// is damaged at its beginning.
struct FrameStatistics {
  FileBytes bytes;
  std::optional<long> labels;
  std::optional<long> runs;
  std::optional<long> error_records;
};

/// Of a frame of the recording in `directory`.
FrameStatistics statistics_of(const std::string& directory, const RecordedFrame& frame);

}  // namespace depth_io::tools
