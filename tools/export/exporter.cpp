#include "tools/export/exporter.h"

#include <filesystem>

#include "codec/frame_names.h"

namespace depth_io::tools {

bool is_newer(const std::string& file, const Recording& recording, const RecordedFrame& frame) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::file_time_type written = fs::last_write_time(file, error);
  if (error) return false;
  const std::string depth = recording.directory() + "/" + frame.depth_name();
  const std::string colour = recording.directory() + "/" + frame.colour_name();
  const std::string sources[] = {depth + kLabelMapEnding, depth + kReferenceEnding,
                                 depth + kJpegEnding, depth + kErrorEnding, colour + kJpegEnding};
  for (const std::string& source : sources) {
    const fs::file_time_type recorded = fs::last_write_time(source, error);
    if (!error && recorded > written) return false;
  }
  return true;
}

std::unique_ptr<Exporter> make_exporter(const ExportTask& task) {
  switch (task.settings.format) {
    case ExportFormat::kTum:
    case ExportFormat::kPng:
    case ExportFormat::kOpen3d:
      return make_image_exporter(task);
    case ExportFormat::kPly:
      return make_cloud_exporter(task);
    case ExportFormat::kVideo:
      return make_video_exporter(task);
    case ExportFormat::kCsv:
      return make_table_exporter(task);
  }
  return nullptr;
}

}  // namespace depth_io::tools
