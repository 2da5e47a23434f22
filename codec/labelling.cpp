#include "codec/labelling.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "codec/depth_code.h"

namespace depth_io {
namespace {

/// Up to so many labels are searched one after the other; real frames have fewer.
constexpr int kSearchedInOrder = 64;

/// Wider than the window, so that every reference that fits lies in the depth's own cell or in one
/// beside it. References are more than a half-window apart, so a cell holds two at most.
constexpr double kCellSize = 1.5;

double cell_of(float depth) { return std::floor(static_cast<double>(depth) / kCellSize); }

std::size_t bucket_of(double cell, std::size_t bucket_count) {
  // Adding zero turns -0.0 into 0.0: one cell, one bucket.
  const auto bits = std::bit_cast<std::uint64_t>(cell + 0.0);
  return static_cast<std::size_t>((bits * 0x9E3779B97F4A7C15U) >> 20U) & (bucket_count - 1);
}

}  // namespace

LabelTable::LabelTable(float* references, int capacity)
    : references_(references), capacity_(capacity) {}

int LabelTable::find(float depth) const {
  const int in_order = count_ < kSearchedInOrder ? count_ : kSearchedInOrder;
  for (int label = 0; label < in_order; ++label) {
    if (fits_window(depth, references_[label])) return label;
  }
  return count_ > kSearchedInOrder ? find_indexed(depth) : -1;
}

int LabelTable::add(float depth) {
  references_[count_] = depth;
  if (count_ >= kSearchedInOrder) index_label(count_);
  return count_++;
}

int LabelTable::find_indexed(float depth) const {
  int best = -1;
  const double cell = cell_of(depth);
  for (const double near : {cell - 1.0, cell, cell + 1.0}) {
    int label = first_in_cell_[bucket_of(near, first_in_cell_.size())];
    for (; label >= 0; label = next_in_cell_[static_cast<std::size_t>(label)]) {
      if (fits_window(depth, references_[label]) && (best < 0 || label < best)) best = label;
    }
  }
  return best;
}

void LabelTable::index_label(int label) {
  if (first_in_cell_.empty()) {
    const auto size = static_cast<std::size_t>(capacity_);
    first_in_cell_.assign(std::bit_ceil(size), -1);
    next_in_cell_.assign(size, -1);
  }
  // Infinities and not-a-number fit no depth; keeping them out keeps the chains short.
  if (!std::isfinite(references_[label])) return;
  int& first = first_in_cell_[bucket_of(cell_of(references_[label]), first_in_cell_.size())];
  next_in_cell_[static_cast<std::size_t>(label)] = first;
  first = label;
}

}  // namespace depth_io
