#pragma once

#include <vector>

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
  int find(float depth) const;
  /// Opens a label with reference `depth` and returns it.
  int add(float depth);

 private:
  int find_indexed(float depth) const;
  void index_label(int label);

  float* references_;
  int capacity_;
  int count_ = 0;
  // Only frames with very many labels get an index: chains of labels by the cell of their depth.
  std::vector<int> first_in_cell_;
  std::vector<int> next_in_cell_;
};

}  // namespace depth_io
