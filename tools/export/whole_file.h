#pragma once

#include <string>

namespace depth_io::tools {

/// True when a PNG, JPEG or PLY file, by its ending, is there to its end.
bool is_whole_file(const std::string& path);

}  // namespace depth_io::tools
