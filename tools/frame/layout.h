#pragma once

#include <optional>
#include <string_view>

namespace depth_io::tools {

/// Where the frames of a recording lie.
enum class Layout {
  kFlat,      ///< all in one directory
  kNumbered,  ///< in sub-directories 00000000, 00000001, ... of a fixed number of frames
  kTree       ///< in a folder for each day, hour and minute
};

const char* layout_name(Layout layout);
std::optional<Layout> layout_named(std::string_view name);

}  // namespace depth_io::tools
