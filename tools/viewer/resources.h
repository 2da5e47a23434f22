#pragma once

#include <span>
#include <string_view>

namespace depth_io::tools {

/// A file of the page, compiled into the program.
struct Resource {
  std::string_view path;  ///< of its address
  std::string_view content_type;
  std::string_view bytes;
};

std::span<const Resource> page_resources();

}  // namespace depth_io::tools
