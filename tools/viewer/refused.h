#pragma once

#include <string>

namespace depth_io::tools {

/// Why a request cannot be met; thrown where that comes out.
struct Refused {
  int status;  ///< of HTTP, 4xx
  std::string reason;
};

}  // namespace depth_io::tools
