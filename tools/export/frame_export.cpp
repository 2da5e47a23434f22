#include "tools/export/frame_export.h"

#include <algorithm>

#include "tools/export/whole_file.h"
#include "tools/recording/frame_check.h"

namespace depth_io::tools {

FrameExport::FrameExport(const ExportTask& task, const Exporter& exporter, LibraryLog& log)
    : task_(task), exporter_(exporter), log_(log) {}

FrameOutcome FrameExport::operator()(const ExportFrame& place) {
  const RecordedFrame& recorded = *place.recorded;
  FrameOutcome outcome;
  outcome.has_colour = task_.with_colour && recorded.has_colour;
  outcome.lacks_colour =
      task_.with_colour && !recorded.has_colour && task_.recording.wants_colour(recorded);
  if (is_there(place, outcome.has_colour)) {
    outcome.is_kept = true;
    return outcome;
  }
  log_.start_operation();
  const bool has_depth = read(recorded, outcome);
  outcome.is_damaged = !has_depth || (!outcome.faults.empty() && !outcome.lacks_colour) ||
                       (outcome.lacks_colour && exporter_.needs_colour());
  if (!outcome.is_damaged || exporter_.takes_damaged()) make(place, has_depth, outcome);
  if (!outcome.faults.empty()) outcome.library_lines = log_.last_lines();
  return outcome;
}

bool FrameExport::is_there(const ExportFrame& place, bool with_colour) const {
  const std::vector<std::string> files = exporter_.files_of(place, with_colour);
  return !files.empty() && std::all_of(files.begin(), files.end(), [&](const std::string& file) {
    const std::string path = task_.out + "/" + file;
    return is_whole_file(path) && is_newer(path, task_.recording, *place.recorded);
  });
}

/// Playback takes a truncated file for what it holds, so look at the files themselves, too. False
/// when there is no depth.
bool FrameExport::read(const RecordedFrame& recorded, FrameOutcome& outcome) {
  outcome.faults = find_depth_faults(task_.recording, recorded);
  const bool depth_is_good = outcome.faults.empty();
  if (task_.with_colour) {
    for (std::string& fault : find_colour_faults(task_.recording, recorded)) {
      outcome.faults.push_back(std::move(fault));
    }
  }
  if (!depth_is_good) return false;
  RecordedFrame wanted = recorded;
  wanted.has_colour = recorded.has_colour && exporter_.wants_colour_pixels();
  const bool loaded = reader_->read(task_.recording.directory(), wanted, frame_);
  if (!loaded && outcome.faults.empty()) outcome.faults.emplace_back("cannot be read");
  if (!loaded) return false;
  outcome.camera = camera_model(reader_->intrinsics(), task_.settings.swap_principal_point);
  return true;
}

void FrameExport::make(const ExportFrame& place, bool has_depth, FrameOutcome& outcome) {
  outcome.piece = exporter_.make({place, frame_, *reader_, has_depth, outcome.faults});
  if (outcome.piece.fault.empty()) return;
  outcome.is_damaged = true;
  outcome.faults.push_back(outcome.piece.fault);
}

}  // namespace depth_io::tools
