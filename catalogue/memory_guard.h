#pragma once

#include <new>

#include "codec/console.h"

namespace depth_io {

/// Does work that wants memory in proportion to a directory, and returns its count; 0, after a
/// line, when there is not enough.
template <typename Work>
int count_or_report(const Work& work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    print_line("ERROR - not enough memory");
    return 0;
  }
}

}  // namespace depth_io
