#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/export/exporter.h"
#include "tools/frame/camera_model.h"

namespace depth_io::tools {

/// What became of the frames of an export.
struct ExportCounts {
  std::size_t wanted = 0;
  std::size_t written = 0;          ///< by this run
  std::size_t kept = 0;             ///< there already, and whole
  std::size_t damaged = 0;          ///< passed over
  std::size_t without_colour = 0;   ///< exported though their colour image is missing
  std::size_t other_camera = 0;     ///< recorded with other intrinsics than the first
  std::uint64_t readings_lost = 0;  ///< deeper than the format holds, in the frames written
};

/// Everything that describes an export.
struct ExportAccount {
  const Recording& recording;
  const ExportSettings& settings;
  const ExportFrames& frames;
  bool with_colour = false;
  std::optional<CameraModel> camera;
  bool complete = false;
  ExportCounts counts;
  std::vector<nlohmann::ordered_json> damaged;  ///< name and faults of the first of them
};

/// What distinguishes an export from others of the same directory: two with the same parameters
/// make the same files.
nlohmann::ordered_json export_parameters(const Recording& recording, const ExportSettings& settings,
                                         const ExportFrames& frames);

/// The file `export.json`.
nlohmann::ordered_json export_description(const ExportAccount& account);

/// The file `README.txt`.
std::string export_readme(const ExportAccount& account);

/// What an earlier run, by its description, is through with; none when it did not come to the end
/// of these frames.
std::optional<EarlierFrames> earlier_frames(const nlohmann::ordered_json& description,
                                            const ExportFrames& frames);

}  // namespace depth_io::tools
