#pragma once

#include <cstddef>
#include <span>

namespace depth_io {

/// A piece of memory.
struct MemoryRange {
  char* first;
  std::size_t size;
};

/// Asks the system to keep arrays that are gone through again and again on huge pages: small ones
/// are more than the processor remembers the places of. Sorts the ranges. Changes nothing but
/// speed; where the system cannot do it, or the arrays do not lie side by side, nothing happens.
void prefer_huge_pages(std::span<MemoryRange> ranges);

}  // namespace depth_io
