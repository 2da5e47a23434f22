#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/export/export_arguments.h"
#include "tools/recording/recording.h"

namespace depth_io::tools {

/// A frame that is to be exported.
struct ExportFrame {
  const RecordedFrame* recorded = nullptr;
  std::string name;               ///< of its files, without ending; no other frame has it
  std::int64_t microseconds = 0;  ///< since 1970 by the recorder's clock; later than the one before
};

/// The frames of an export, in the order of time.
struct ExportFrames {
  std::vector<ExportFrame> frames;
  bool have_times = false;        ///< otherwise they count from 0 at the assumed rate
  double median_step = 1e6 / 30;  ///< microseconds from a frame to the next
};

/// Chooses every `stride`-th frame and names it. The recording outlives the result.
ExportFrames frames_to_export(const Recording& recording, const ExportSettings& settings);

/// When a frame was taken, for lists: 2013-04-09 14:05:07.042, or empty.
std::string time_text(const ExportFrames& all, const ExportFrame& frame);

}  // namespace depth_io::tools
