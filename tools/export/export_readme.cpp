#include "tools/export/export_description.h"
#include "tools/frame/depth_units.h"
#include "tools/frame/frame_time.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

std::string files_text(const ExportSettings& settings) {
  const char* const colour = settings.colour == ColourFiles::kJpeg ? "jpg" : "png";
  switch (settings.format) {
    case ExportFormat::kTum:
      return format_text(
          "depth/SECONDS.png      16-bit depth\n"
          "rgb/SECONDS.%s         colour\n"
          "depth.txt, rgb.txt     time and file of each image\n"
          "associations.txt       colour and depth images that belong together\n"
          "scale                  units per metre of the depth images\n",
          colour);
    case ExportFormat::kPng:
      return format_text(
          "depth/NAME.png         16-bit depth\n"
          "rgb/NAME.%s            colour\n"
          "scale                  units per metre of the depth images\n",
          colour);
    case ExportFormat::kOpen3d:
      return format_text(
          "depth/NAME.png         16-bit depth\n"
          "color/NAME.%s          colour\n"
          "intrinsic.json         the camera, for PinholeCameraIntrinsic\n",
          colour);
    case ExportFormat::kPly:
      return "clouds/NAME.ply        point cloud of a frame: binary little-endian, float x y z,\n"
             "                       uchar red green blue if the recording has colour\n";
    case ExportFormat::kVideo:
      return "video.mkv              stream 0: depth, FFV1 (lossless), 16-bit grey, little-endian\n"
             "                       stream 1: colour, H.264, if the recording has colour\n";
    case ExportFormat::kCsv:
      return "frames.csv             a line for each frame; sizes in bytes, depths in metres,\n"
             "                       valid_percent of the pixels have a reading\n";
  }
  return {};
}

std::string depth_text(const ExportSettings& settings) {
  if (settings.format == ExportFormat::kPly) {
    const bool is_gl = settings.axes == Axes::kGl;
    return format_text("Points are in metres, seen from the camera: x to the right, y %s, z %s.\n",
                       is_gl ? "up" : "down", is_gl ? "backward (towards the viewer)" : "forward");
  }
  if (settings.format == ExportFormat::kCsv) return {};
  const DepthUnits units(settings.units_per_metre);
  return format_text(
      "Depth is distance along the camera's axis (z). Divide a pixel by %g to get metres; 0 is no\n"
      "reading. Readings beyond %.3f m do not fit 16 bits and became no reading.\n",
      units.units_per_metre(), units.deepest());
}

std::string camera_text(const ExportAccount& account) {
  if (!account.camera) return "The camera's intrinsics are not known.\n";
  const CameraModel& camera = *account.camera;
  return format_text(
      "Pinhole camera, %d x %d pixels, no distortion is known: fx %.4f, fy %.4f, principal point\n"
      "at column %.4f, row %.4f (pixels, from 0 at the upper left)%s.\n",
      kFrameWidth, kFrameHeight, decimal(camera.fx), decimal(camera.fy), decimal(camera.column),
      decimal(camera.row),
      account.settings.swap_principal_point ? "; its two numbers were exchanged" : "");
}

std::string time_paragraph(const ExportFrames& frames) {
  if (!frames.have_times) {
    return "The recording tells no times: seconds count from frame 0 at an assumed rate.\n";
  }
  return "Times are those of the recorder's wall clock. The recording holds no time zone: seconds\n"
         "since 1970 count as if that clock showed UTC, so `date -u -d @SECONDS` shows its time.\n";
}

}  // namespace

std::string export_readme(const ExportAccount& account) {
  const ExportSettings& settings = account.settings;
  std::string text = format_text("Frames of a depth camera, exported by depthrw %s --to %s\n\n",
                                 DEPTHRW_VERSION, format_name(settings.format));
  text += files_text(settings);
  if (settings.format != ExportFormat::kCsv) {
    text += "times.csv              recorded name, time and files of each frame\n";
  }
  text += "export.json            this and more for programs, with the recording's description\n\n";
  text += depth_text(settings);
  text += format_text("Readings nearer than %g m count as no reading.\n",
                      decimal(kLeastExportedReading));
  text += camera_text(account) + time_paragraph(account.frames);
  const ExportCounts& counts = account.counts;
  text += format_text("\n%zu of %zu frames are here%s.\n", counts.written + counts.kept,
                      counts.wanted, account.complete ? "" : "; the export was not finished");
  return text;
}

}  // namespace depth_io::tools
