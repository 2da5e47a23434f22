#pragma once

#include <vector>

#include "codec/depth_code.h"

namespace depth_io {

/// The reference depths of a frame, in the order in which they were opened. Finds the first one
/// that fits a depth: exactly the lowest label, whatever their number.
class LabelTable {
 public:
  /// Keeps the references in the caller's array of `capacity` floats.
  LabelTable(float* references, int capacity);

  int count() const { return count_; }
  float reference(int label) const { return references_[label]; }

  /// Lowest label whose window holds `depth`; -1 when there is none.
  int find(float depth) {
    const Interval& sure = sure_of_[last_];
    if (depth >= sure.low && depth <= sure.high) return last_;
    return search(depth);
  }

  /// Whether the label found or opened last is sure to be the first to fit each of `count` depths.
  bool fits_last(const float* depth, int count) const {
    const Interval& sure = sure_of_[last_];
    int outside = 0;
    for (int i = 0; i < count; ++i) {
      outside |= depth[i] >= sure.low && depth[i] <= sure.high ? 0 : 1;
    }
    return outside == 0;
  }
  int last() const { return last_; }

  /// Opens a label with reference `depth` and returns it.
  int add(float depth);

 private:
  /// Up to so many labels are searched one after the other; real frames have fewer.
  static constexpr int kSearchedInOrder = 64;

  /// Depths that a label is sure to be the first to fit: its window without those of the labels
  /// before it and without what rounding could make doubtful. Neighbouring pixels mostly share a
  /// label, and this tells it in two comparisons.
  struct Interval {
    float low = 1.0F;
    float high = 0.0F;
  };

  int search(float depth);
  int search_indexed(float depth) const;
  Interval find_sure_interval(int label) const;
  void index_label(int label);

  float* references_;
  int capacity_;
  int count_ = 0;
  int last_ = 0;
  Interval sure_of_[kSearchedInOrder];
  // Only frames with very many labels get an index: chains of labels by the cell of their depth.
  std::vector<int> first_in_cell_;
  std::vector<int> next_in_cell_;
};

}  // namespace depth_io
