#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "codec/pixel_kernels.h"
#include "codec/working_record.h"

namespace depth_io {

/// Sets the reference depths that no label has to -1. There is a place for each pixel, so this goes
/// row by row, beside work that leaves the memory idle; what is left is done at the end of its
/// life.
class UnusedReferences {
 public:
  explicit UnusedReferences(struct_read_write_depth& record)
      : record_(record), pixels_(pixel_count(record)) {}
  ~UnusedReferences() { clear(pixels_ - next_); }
  UnusedReferences(const UnusedReferences&) = delete;
  UnusedReferences& operator=(const UnusedReferences&) = delete;

  /// The first so many belong to labels; nothing has been cleared yet.
  void keep_first(int count) {
    next_ = std::min(static_cast<std::size_t>(std::max(count, 0)), pixels_);
  }

  /// Clears a row's worth of them.
  void clear_row() { clear(std::min(static_cast<std::size_t>(record_.width), pixels_ - next_)); }

 private:
  void clear(std::size_t count) {
    pixel_kernels().refill(record_.LabelRefZ + next_, count,
                           std::bit_cast<std::uint32_t>(kNoReference));
    next_ += count;
  }

  struct_read_write_depth& record_;
  std::size_t pixels_;
  std::size_t next_ = 0;
};

}  // namespace depth_io
