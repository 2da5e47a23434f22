#include "tools/export/export_arguments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <thread>
#include <utility>

#include "tools/recording/recording_info.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

constexpr std::array<std::pair<ExportFormat, const char*>, 6> kFormats{
    {{ExportFormat::kTum, "tum"},
     {ExportFormat::kPng, "png"},
     {ExportFormat::kOpen3d, "open3d"},
     {ExportFormat::kPly, "ply"},
     {ExportFormat::kVideo, "video"},
     {ExportFormat::kCsv, "csv"}}};

constexpr int kMostJobs = 256;
constexpr long kWidestStride = 1000000000;
constexpr double kTumUnitsPerMetre = 5000;
constexpr double kMillimetres = 1000;
constexpr double kFinestScale = 1e6;

void require(bool condition, const std::string& message) {
  if (!condition) throw UsageFailure(message);
}

bool has_depth_images(ExportFormat format) {
  return format == ExportFormat::kTum || format == ExportFormat::kPng ||
         format == ExportFormat::kOpen3d;
}

int usual_jobs() {
  return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostJobs);
}

ColourFiles colour_files_of(const ExportArguments& a, ExportFormat format) {
  if (!a.colour) return ColourFiles::kPng;
  require(has_depth_images(format), "--colour belongs to --to tum, png and open3d");
  require(format != ExportFormat::kOpen3d || *a.colour != "none",
          "--to open3d wants colour images: give --colour png or jpg");
  if (*a.colour == "png") return ColourFiles::kPng;
  if (*a.colour == "jpg") return ColourFiles::kJpeg;
  require(*a.colour == "none", "--colour must be png, jpg or none");
  return ColourFiles::kNone;
}

Axes axes_of(const ExportArguments& a, ExportFormat format) {
  if (!a.axes) return Axes::kCamera;
  require(format == ExportFormat::kPly, "--axes belongs to --to ply");
  require(*a.axes == "camera" || *a.axes == "gl", "--axes must be camera or gl");
  return *a.axes == "gl" ? Axes::kGl : Axes::kCamera;
}

double units_per_metre_of(const ExportArguments& a, ExportFormat format) {
  const bool is_tum = format == ExportFormat::kTum;
  if (!a.depth_scale) return is_tum ? kTumUnitsPerMetre : kMillimetres;
  require(is_tum || format == ExportFormat::kPng,
          "--depth-scale belongs to --to tum and png: the others are in millimetres or metres");
  require(*a.depth_scale >= 1 && *a.depth_scale <= kFinestScale,
          "--depth-scale must be from 1 to 1000000 units per metre");
  return *a.depth_scale;
}

}  // namespace

const char* format_name(ExportFormat format) {
  return std::find_if(kFormats.begin(), kFormats.end(),
                      [&](const auto& entry) { return entry.first == format; })
      ->second;
}

std::optional<ExportFormat> format_named(const std::string& name) {
  for (const auto& [format, text] : kFormats) {
    if (name == text) return format;
  }
  return {};
}

ExportSettings export_settings(const ExportArguments& a) {
  const std::optional<ExportFormat> format = format_named(a.format);
  require(format.has_value(), "--to must be tum, png, open3d, ply, video or csv");
  require(!a.out.empty(), "--out must name a directory");
  require(a.out != "-" || *format == ExportFormat::kCsv,
          "--out - (standard output) belongs to --to csv");
  require(a.out != "-" || !a.json, "--json and --out - exclude each other");
  require(a.stride >= 1 && a.stride <= kWidestStride,
          "--stride must be from 1 to 1000000000 frames");
  require(!a.jobs || (*a.jobs >= 1 && *a.jobs <= kMostJobs), "--jobs must be from 1 to 256");
  require(!a.fps || (*a.fps >= kLowestFps && *a.fps <= kHighestFps),
          "--fps must be a number from 0.000001 to 1000000");
  ExportSettings settings;
  settings.format = *format;
  settings.range = time_range_of(a.range);
  settings.stride = static_cast<std::size_t>(a.stride);
  settings.jobs = a.jobs.value_or(usual_jobs());
  settings.units_per_metre = units_per_metre_of(a, *format);
  settings.colour = colour_files_of(a, *format);
  settings.axes = axes_of(a, *format);
  settings.swap_principal_point = a.swap_principal_point;
  settings.fps = a.fps.value_or(settings.fps);
  return settings;
}

}  // namespace depth_io::tools
