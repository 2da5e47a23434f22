#pragma once

#include <cstdint>
#include <string>

#include "tools/viewer/viewed_recording.h"

namespace depth_io::tools {

/// What the files of a frame tell without being decoded; 0 for what is missing or damaged.
struct FrameFacts {
  std::uint32_t colour_bytes = 0;
  std::uint32_t code_bytes = 0;
  std::uint32_t label_map_bytes = 0;
  std::uint32_t reference_bytes = 0;
  std::uint32_t error_bytes = 0;
  std::uint32_t labels = 0;
  std::uint32_t runs = 0;
  std::uint32_t error_records = 0;
};

FrameFacts facts_of(const RecordingView& view, const RecordedFrame& frame);

/// A frame by its name, time, files and faults, JSON; looks into all of its files.
std::string frame_description(const RecordingView& view, std::size_t index);

}  // namespace depth_io::tools
