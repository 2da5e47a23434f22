#pragma once

#include <string>
#include <vector>

#include "tools/frame/frame.h"
#include "tools/picture/picture.h"

namespace depth_io::tools {

/// A frame's depth in colours with its colour image beside it, its name, and the legend.
Picture frame_picture(const Frame& frame, const std::string& caption);

/// One picture of a whole recording: a few of its frames, evenly spread.
class ContactSheet {
 public:
  /// A sheet for a recording of `frame_count` frames, with or without colour.
  ContactSheet(std::string title, long frame_count, bool with_colour);

  /// True when the frame at this place of the recording belongs on the sheet.
  bool wants(long position) const;
  void add(const Frame& frame, const std::string& caption);
  Picture draw() const;

 private:
  struct Cell {
    Picture picture;
    std::string caption;
  };

  std::string title_;
  bool with_colour_;
  std::vector<long> positions_;
  std::vector<Cell> cells_;
};

}  // namespace depth_io::tools
