#pragma once

#include <string>
#include <vector>

#include "tools/recording/frame_contents.h"
#include "tools/recording/recording.h"

namespace depth_io::tools {

/// Something that is wrong with a file of a frame.
struct FileFault {
  std::string file;   ///< relative to the recording
  std::string fault;  ///< "is cut off", for example
  bool is_missing = false;

  std::string text() const { return "'" + file + "' " + fault; }
};

/// Looks at the files of a recorded frame more closely than playback does, which takes a truncated
/// file for what it holds. Empty when all is well; one fault of each file otherwise.
std::vector<FileFault> find_file_faults(const Recording& recording, const RecordedFrame& frame,
                                        const FrameSize& size = {});

/// The same as sentences.
std::vector<std::string> find_faults(const Recording& recording, const RecordedFrame& frame);

/// The same for the files of its depth, and for its colour image, each by itself.
std::vector<std::string> find_depth_faults(const Recording& recording, const RecordedFrame& frame);
std::vector<std::string> find_colour_faults(const Recording& recording, const RecordedFrame& frame);

}  // namespace depth_io::tools
