#pragma once

#include <set>
#include <string>

#include "tools/recording/frame_check.h"
#include "tools/recording/recording.h"
#include "tools/recording/recording_scan.h"
#include "tools/system/library_log.h"

namespace depth_io::test {

/// What a recorder left behind that was killed or failed, by the names of the depth maps.
struct Remains {
  std::set<std::string> whole;
  std::set<std::string> partial;
};

inline Remains look_at(const std::string& directory) {
  tools::LibraryLog log(false);
  Remains remains;
  if (tools::scan_recording(directory, {}).frames.empty()) return remains;
  const tools::Recording recording(directory, log);
  for (const tools::RecordedFrame& frame : recording.frames()) {
    const bool is_whole = tools::find_faults(recording, frame).empty();
    (is_whole ? remains.whole : remains.partial).insert(frame.depth_name());
  }
  return remains;
}

}  // namespace depth_io::test
