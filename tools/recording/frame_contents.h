#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/frame/frame.h"

/// The files of a frame held against docs/format.md: stricter than playback, which takes what it
/// can from a damaged file.
namespace depth_io::tools {

/// Of the images of a recording, pixels. The engines know one size only.
struct FrameSize {
  int width = kFrameWidth;
  int height = kFrameHeight;

  long pixels() const { return long{width} * height; }
  bool operator==(const FrameSize&) const = default;
};

struct LabelRun {
  long length;
  long label;
};

/// What a label map holds. `fault` is empty when all is well, else what is wrong; the runs are then
/// those in front of it.
struct LabelMapContents {
  std::string fault;
  std::vector<LabelRun> runs;
};
LabelMapContents read_label_map(std::string_view text, const FrameSize& size);

/// What a reference file holds. `labels` is -1 when the file does not tell.
struct ReferenceContents {
  std::string fault;
  long labels = -1;
};
ReferenceContents read_references(std::string_view text);

/// Why a label map cannot go with so many labels; empty when it can.
std::string find_label_fault(const std::vector<LabelRun>& runs, long labels);

/// What is wrong with the error records of a frame with these runs (null: they are not known);
/// empty when nothing is.
std::string find_correction_fault(std::string_view bytes, const FrameSize& size,
                                  const std::vector<LabelRun>* runs);

}  // namespace depth_io::tools
