#pragma once

#include <string>

#include "tools/recorder/recorder.h"

namespace depth_io::tools {

/// What a recording came to.
struct RecordSummary {
  const std::string& directory;
  const RecordingInfo& info;
  const FileBytes& bytes;
  double seconds;
};

/// Prints it as data: lines, or the description as JSON. `names_are_data`: standard output is a
/// list of frames, and the summary is a message.
void print_record_summary(const RecordSummary& summary, bool json, bool names_are_data);

}  // namespace depth_io::tools
