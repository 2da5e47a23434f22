#include "codec/huge_pages.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace depth_io {
namespace {

constexpr std::uintptr_t kPage = 4096;
constexpr std::uintptr_t kHugePage = std::uintptr_t{2} * 1024 * 1024;
/// What the allocator may put between arrays that it gives out one after the other.
constexpr std::ptrdiff_t kLargestGap = 64 * 1024;

#ifdef MADV_COLLAPSE
constexpr int kCollapse = MADV_COLLAPSE;
#else
constexpr int kCollapse = 25;  // the kernel may be newer than the library's headers
#endif

/// Neither advice touches what stands in the memory.
void prefer_huge_pages(const char* first, const char* end) {
  const auto from = (reinterpret_cast<std::uintptr_t>(first) + kPage - 1) / kPage * kPage;
  const auto to = reinterpret_cast<std::uintptr_t>(end) / kPage * kPage;
  if (from >= to || to - from < kHugePage) return;
  const int error_before = errno;
  void* const start = reinterpret_cast<void*>(from);
  if (::madvise(start, to - from, MADV_HUGEPAGE) == 0) {
    static_cast<void>(::madvise(start, to - from, kCollapse));
  }
  errno = error_before;
}

}  // namespace

void prefer_huge_pages(std::span<MemoryRange> ranges) {
  std::sort(ranges.begin(), ranges.end(),
            [](const MemoryRange& a, const MemoryRange& b) { return a.first < b.first; });
  for (std::size_t i = 0; i < ranges.size();) {
    const char* const first = ranges[i].first;
    const char* end = first;
    for (; i < ranges.size() && ranges[i].first - end <= kLargestGap; ++i) {
      end = ranges[i].first + ranges[i].size;
    }
    prefer_huge_pages(first, end);
  }
}

}  // namespace depth_io
