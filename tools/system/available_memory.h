#pragma once

namespace depth_io::tools {

/// Bytes of memory that this process can still have without harm to others; a large number when
/// that is not known.
double available_memory();

}  // namespace depth_io::tools
