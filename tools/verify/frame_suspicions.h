#pragma once

#include <map>
#include <string>

#include "tools/recording/recording.h"

/// What can be wrong with a frame whose files are all well.
namespace depth_io::tools {

/// Why a frame of a tree does not belong into the folder in which it lies; empty when it does, or
/// nothing tells.
std::string find_misplacement(const RecordedFrame& frame);

/// Frames that look half overwritten, with the reason, by the name of their depth: the files
/// written first are seconds newer than those written after them, as when a recorder was cut short
/// while it replaced an older frame.
///
/// Only times tell, and copies often have their own. So a frame is named only when its files fall
/// into two groups, each in the order of writing, and nine of ten other frames are in order
/// altogether: then the times are those of the recorder. Steps of the clock that the recorder noted
/// are allowed for.
std::map<std::string, std::string> find_half_overwritten(const Recording& recording);

}  // namespace depth_io::tools
