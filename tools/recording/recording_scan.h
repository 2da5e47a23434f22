#pragma once

#include <string>
#include <vector>

#include "tools/frame/time_range.h"
#include "tools/recording/frame_files.h"

namespace depth_io::tools {

/// What lies in the directory of a recording.
struct RecordingScan {
  std::vector<RecordedFrame> frames;  ///< by number or time
  std::vector<Layout> layouts;        ///< of which there are frames; usually one
  std::vector<std::string> unreadable_folders;
};

/// Looks for frames in a directory itself, in numbered sub-directories and in a tree of day, hour
/// and minute folders. Folders of a tree whose times lie outside `folders` are not looked into.
/// Throws `Failure` when the directory cannot be listed.
RecordingScan scan_recording(const std::string& directory, const TimeRange& folders);

}  // namespace depth_io::tools
