#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "codec/depth_code.h"
#include "codec/pixel_kernels.h"

namespace depth_io {

/// The reference depths of a frame, in the order in which they were opened. Finds the first one
/// that fits a depth: exactly the lowest label, whatever their number.
class LabelTable {
 public:
  /// Keeps the references in the caller's array of `capacity` floats, and their number in `count`.
  LabelTable(float* references, int capacity, int& count);

  int count() const { return count_; }
  float reference(int label) const { return references_[label]; }

  /// Lowest label whose window holds `depth`; -1 when there is none.
  int find(float depth) {
    const LabelInterval& sure = sure_[sure_last_];
    if (depth >= sure.low && depth <= sure.high) return sure.label;
    return search(depth);
  }

  /// Opens a label with reference `depth` and returns it.
  int add(float depth);

  /// The same for depths that are no numbers: no other fits the label of each. Returns the first of
  /// the labels, which follow each other.
  int add_unfit(const float* depths, std::size_t count) {
    std::copy_n(depths, count, references_ + count_);
    const int first = count_;
    count_ += static_cast<int>(count);
    return first;
  }

  /// Labels that can be told without a search; the label found or opened last is tried first.
  LabelIntervals sure_intervals() const { return {sure_, sure_count_, sure_last_, sure_last_}; }

 private:
  /// Up to so many labels are searched one after the other; real frames have fewer. Infinities and
  /// not-a-number fit no depth, and are not among them.
  static constexpr int kSearchedInOrder = 64;

  int search(float depth);
  int search_indexed(float depth) const;
  LabelInterval find_sure_interval(int label) const;
  void index_label(int label);

  float* references_;
  int capacity_;
  int& count_;
  int sure_count_ = 0;
  int sure_last_ = 0;
  LabelInterval sure_[kSearchedInOrder];
  // Only frames with very many labels get an index: chains of labels by the cell of their depth.
  std::vector<int> first_in_cell_;
  std::vector<int> next_in_cell_;
};

}  // namespace depth_io
