#pragma once

#include <optional>
#include <string>

#include "tools/frame/time_range.h"

namespace depth_io::tools {

enum class ExportFormat { kTum, kPng, kOpen3d, kPly, kVideo, kCsv };

const char* format_name(ExportFormat format);
std::optional<ExportFormat> format_named(const std::string& name);

/// What colour images become.
enum class ColourFiles {
  kPng,
  kJpeg,  ///< coded anew, with a second loss
  kNone
};

/// Directions of the axes of point clouds.
enum class Axes {
  kCamera,  ///< x right, y down, z forward
  kGl       ///< x right, y up, z backward
};

/// What the user asks of `depthrw export`.
struct ExportArguments {
  std::string directory;
  std::string format;
  std::string out;
  TimeRangeArguments range{{}, {}, "--to-time"};
  long stride = 1;
  std::optional<int> jobs;
  std::optional<double> depth_scale;
  std::optional<std::string> colour;
  std::optional<std::string> axes;
  bool swap_principal_point = false;
  std::optional<double> fps;
  bool overwrite = false;
  bool json = false;
  bool verbose = false;
};

/// The arguments understood.
struct ExportSettings {
  ExportFormat format = ExportFormat::kPng;
  TimeRange range;
  std::size_t stride = 1;
  int jobs = 1;
  double units_per_metre = 1000;  ///< of 16-bit depth
  ColourFiles colour = ColourFiles::kPng;
  Axes axes = Axes::kCamera;
  bool swap_principal_point = false;
  double fps = 30;  ///< of frames without times
};

/// Throws `UsageFailure` when the arguments make no sense.
ExportSettings export_settings(const ExportArguments& arguments);

}  // namespace depth_io::tools
