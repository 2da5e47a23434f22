#pragma once

#include <cstddef>

namespace depth_io {

/// Starts to fetch what will be wanted soon: a frame's arrays do not fit the caches next to the
/// processor, and rows that are worked on between rows of a JPEG file come too seldom for it to see
/// what is next. Any address is good.
inline void prefetch(const void* first, std::size_t bytes) {
  constexpr std::size_t kCacheLine = 64;
  const char* const from = static_cast<const char*>(first);
  for (std::size_t i = 0; i < bytes; i += kCacheLine) __builtin_prefetch(from + i);
}

/// The same for what will be written.
inline void prefetch_to_write(const void* first, std::size_t bytes) {
  constexpr std::size_t kCacheLine = 64;
  const char* const from = static_cast<const char*>(first);
  for (std::size_t i = 0; i < bytes; i += kCacheLine) __builtin_prefetch(from + i, 1);
}

}  // namespace depth_io
