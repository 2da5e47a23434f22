#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/picture/picture.h"

namespace depth_io::tools {

/// A point in metres, with a colour if its cloud has any.
struct CloudPoint {
  float x = 0;
  float y = 0;
  float z = 0;
  Colour colour;
};

/// A binary little-endian PLY file: float x, y, z and, with `with_colour`, uchar red, green, blue.
/// Each of the comments becomes a line of the header.
std::string cloud_text(const std::vector<CloudPoint>& points, bool with_colour,
                       const std::vector<std::string>& comments);

/// True when a file begins as `cloud_text` does and is as long as it says.
bool is_whole_cloud(const std::string& path);

}  // namespace depth_io::tools
