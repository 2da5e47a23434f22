#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/export/exporter.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// What became of a frame.
struct FrameOutcome {
  ExportPiece piece;
  bool is_kept = false;       ///< an earlier run's files are whole
  bool is_damaged = false;    ///< passed over, or exported as damaged
  bool has_colour = false;    ///< exported with its colour image
  bool lacks_colour = false;  ///< exported though its colour image is missing
  std::vector<std::string> faults;
  std::vector<std::string> library_lines;  ///< that explain the faults
  std::optional<CameraModel> camera;       ///< of a frame that was read
};

/// Reads frames and hands them to an exporter: one object for each thread. What it is given
/// outlives it.
class FrameExport {
 public:
  FrameExport(const ExportTask& task, const Exporter& exporter, LibraryLog& log);

  /// Throws `Failure` when files cannot be written.
  FrameOutcome operator()(const ExportFrame& place);

 private:
  bool is_there(const ExportFrame& place, bool with_colour) const;
  bool read(const RecordedFrame& recorded, FrameOutcome& outcome);
  void make(const ExportFrame& place, bool has_depth, FrameOutcome& outcome);

  const ExportTask& task_;
  const Exporter& exporter_;
  LibraryLog& log_;
  std::unique_ptr<FrameReader> reader_ = std::make_unique<FrameReader>();
  Frame frame_;
};

}  // namespace depth_io::tools
