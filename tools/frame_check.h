#pragma once

#include <string>
#include <vector>

#include "tools/recording.h"

namespace depth_io::tools {

/// Looks at the files of a recorded frame more closely than playback does, which takes a truncated
/// file for what it holds. Returns what is wrong, a sentence each; nothing when all is well.
std::vector<std::string> find_faults(const Recording& recording, const RecordedFrame& frame);

/// The same for the files of its depth, and for its colour image, each by itself.
std::vector<std::string> find_depth_faults(const Recording& recording, const RecordedFrame& frame);
std::vector<std::string> find_colour_faults(const Recording& recording, const RecordedFrame& frame);

}  // namespace depth_io::tools
