#include "codec/labelling.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace depth_io {
namespace {

/// Wider than the window, so that every reference that fits lies in the depth's own cell or in one
/// beside it. References are more than a half-window apart, so a cell holds two at most.
constexpr double kCellSize = 1.5;

double cell_of(float depth) { return std::floor(static_cast<double>(depth) / kCellSize); }

std::size_t bucket_of(double cell, std::size_t bucket_count) {
  // Adding zero turns -0.0 into 0.0: one cell, one bucket. Whole numbers have their bits at the top
  // of the mantissa, so the upper half of the product tells them apart.
  const auto bits = std::bit_cast<std::uint64_t>(cell + 0.0);
  return static_cast<std::size_t>(((bits ^ (bits >> 32U)) * 0x9E3779B97F4A7C15U) >> 36U) &
         (bucket_count - 1);
}

}  // namespace

LabelTable::LabelTable(float* references, int capacity, int& count)
    : references_(references), capacity_(capacity), count_(count) {
  count_ = 0;
  sure_[0] = {.low = 1.0F, .high = 0.0F, .reference = 0.0F, .label = -1};
}

int LabelTable::add(float depth) {
  const int label = add_unfit(&depth, 1);
  if (!std::isfinite(depth)) return label;
  if (sure_count_ < kSearchedInOrder) {
    sure_[sure_count_] = find_sure_interval(label);
    sure_last_ = sure_count_++;
  } else {
    index_label(label);
  }
  return label;
}

int LabelTable::search(float depth) {
  if (!std::isfinite(depth)) return -1;
  for (int i = 0; i < sure_count_; ++i) {
    if (!fits_window(depth, sure_[i].reference)) continue;
    sure_last_ = i;
    return sure_[i].label;
  }
  return first_in_cell_.empty() ? -1 : search_indexed(depth);
}

LabelInterval LabelTable::find_sure_interval(int label) const {
  const double reference = references_[label];
  const double window = kHalfWindow;
  // More than the rounding of the difference and of the interval's own ends.
  const double doubt = 1e-6 * (1.0 + std::fabs(reference));
  double low = reference - window + doubt;
  double high = reference + window - doubt;
  for (int before = 0; before < sure_count_; ++before) {
    const double other = sure_[before].reference;
    if (other < reference) low = std::max(low, other + window + doubt);
    if (other > reference) high = std::min(high, other - window - doubt);
  }
  return {static_cast<float>(low), static_cast<float>(high), references_[label], label};
}

int LabelTable::search_indexed(float depth) const {
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
  int& first = first_in_cell_[bucket_of(cell_of(references_[label]), first_in_cell_.size())];
  next_in_cell_[static_cast<std::size_t>(label)] = first;
  first = label;
}

}  // namespace depth_io
