#pragma once

#include <string>

#include "tools/recording/frame_contents.h"

namespace depth_io::tools {

/// What is wrong with a JPEG file, which must be of `size`; empty when nothing is. `components` is
/// how many it must have, 0 when that does not matter. The decoder may print a line.
std::string find_jpeg_fault(const std::string& path, const FrameSize& size, int components);

}  // namespace depth_io::tools
