#include "tools/export/export_description.h"

#include "codec/frame_names.h"
#include "tools/export/export_directory.h"
#include "tools/frame/depth_units.h"
#include "tools/frame/frame_time.h"
#include "tools/system/files.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

/// Goes up when the same parameters begin to make other files.
constexpr int kContentsVersion = 1;

/// A digest of texts (64-bit FNV-1a).
class Digest {
 public:
  void add(std::string_view text) {
    for (const char c : text) add_byte(static_cast<unsigned char>(c));
    add_byte(0xFF);  // two texts are not their concatenation
  }
  std::string text() const { return format_text("%016jx", static_cast<std::uintmax_t>(state_)); }

 private:
  void add_byte(unsigned char byte) { state_ = (state_ ^ byte) * 0x100000001B3U; }

  std::uint64_t state_ = 0xCBF29CE484222325U;
};

/// Tells recordings apart, wherever they lie: by their first frame.
std::string recording_digest(const Recording& recording, const ExportFrames& frames) {
  constexpr std::size_t kEnough = 65536;
  Digest digest;
  const RecordedFrame& first = *frames.frames.front().recorded;
  digest.add(first.depth_name());
  for (const char* const ending : {kLabelMapEnding, kReferenceEnding, kErrorEnding}) {
    const std::string file = recording.directory() + "/" + first.depth_name() + ending;
    digest.add(read_start_of_file(file, kEnough).value_or(""));
  }
  return digest.text();
}

ordered_json moment_json(const std::optional<Moment>& moment) {
  return moment ? ordered_json(stamp_text(*moment)) : ordered_json();
}

const char* colour_name(ColourFiles colour) {
  switch (colour) {
    case ColourFiles::kPng:
      return "png";
    case ColourFiles::kJpeg:
      return "jpg";
    case ColourFiles::kNone:
      break;
  }
  return "none";
}

ordered_json depth_json(const ExportSettings& settings) {
  ordered_json depth;
  if (settings.format == ExportFormat::kPly || settings.format == ExportFormat::kCsv) {
    depth["unit"] = "metre";
  } else {
    const DepthUnits units(settings.units_per_metre);
    depth["units_per_metre"] = units.units_per_metre();
    depth["bits"] = 16;
    depth["deepest_metres"] = units.deepest();
    depth["no_reading"] = 0;
  }
  depth["least_metres"] = decimal(kLeastExportedReading);
  return depth;
}

ordered_json camera_json(const ExportAccount& account) {
  if (!account.camera) return {};
  const CameraModel& camera = *account.camera;
  return {{"width", kFrameWidth},
          {"height", kFrameHeight},
          {"fx", decimal(camera.fx)},
          {"fy", decimal(camera.fy)},
          {"principal_point_column", decimal(camera.column)},
          {"principal_point_row", decimal(camera.row)},
          {"swapped", account.settings.swap_principal_point}};
}

ordered_json time_json(const ExportFrames& frames) {
  ordered_json time;
  time["known"] = frames.have_times;
  time["zone"] = "none: the recorder's wall clock; seconds since 1970 count as if it were UTC";
  time["first_seconds"] = seconds_text(frames.frames.front().microseconds);
  time["last_seconds"] = seconds_text(frames.frames.back().microseconds);
  return time;
}

/// Tells whether two exports have the same frames.
std::string frames_digest(const ExportFrames& frames) {
  Digest digest;
  for (const ExportFrame& frame : frames.frames) {
    digest.add(frame.recorded->depth_name());
    digest.add(seconds_text(frame.microseconds));
  }
  return digest.text();
}

ordered_json counts_json(const ExportAccount& account) {
  const ExportCounts& counts = account.counts;
  return {{"wanted", counts.wanted},
          {"written", counts.written},
          {"kept", counts.kept},
          {"damaged", counts.damaged},
          {"without_colour", counts.without_colour},
          {"other_camera", counts.other_camera},
          {"readings_too_deep", counts.readings_lost},
          {"digest", frames_digest(account.frames)}};
}

ordered_json runs_json(const Recording& recording) {
  ordered_json runs = ordered_json::array();
  for (const RecordingInfo& run : recording.runs()) {
    runs.push_back(recording_json(run));
  }
  return runs;
}

}  // namespace

std::optional<EarlierFrames> earlier_frames(const ordered_json& description,
                                            const ExportFrames& frames) {
  // The file may hold anything.
  const auto member = [](const ordered_json& object, const char* key) {
    return object.is_object() && object.contains(key) ? object[key] : ordered_json();
  };
  const ordered_json counts = member(description, "frames");
  const ordered_json damaged = member(counts, "damaged");
  const bool is_finished = member(description, "complete") == true &&
                           member(counts, "digest") == frames_digest(frames) &&
                           damaged.is_number_unsigned() && damaged <= frames.frames.size();
  if (!is_finished) return {};
  return EarlierFrames{frames.frames.size(), damaged.get<std::size_t>()};
}

ordered_json export_parameters(const Recording& recording, const ExportSettings& settings,
                               const ExportFrames& frames) {
  ordered_json parameters;
  parameters["to"] = format_name(settings.format);
  parameters["recording"] = recording_digest(recording, frames);
  parameters["from"] = moment_json(settings.range.from);
  parameters["to_time"] = moment_json(settings.range.to);
  parameters["stride"] = settings.stride;
  parameters["depth_scale"] = settings.units_per_metre;
  parameters["colour"] = colour_name(settings.colour);
  parameters["axes"] = settings.axes == Axes::kGl ? "gl" : "camera";
  parameters["swap_principal_point"] = settings.swap_principal_point;
  parameters["fps"] = frames.have_times ? ordered_json() : ordered_json(settings.fps);
  parameters["contents_version"] = kContentsVersion;
  return parameters;
}

ordered_json export_description(const ExportAccount& account) {
  ordered_json root = begin_description();
  root["complete"] = account.complete;
  root["parameters"] = export_parameters(account.recording, account.settings, account.frames);
  root["depth"] = depth_json(account.settings);
  root["colour"] = account.with_colour;
  root["camera"] = camera_json(account);
  if (account.settings.format == ExportFormat::kPly) {
    root["axes"] = account.settings.axes == Axes::kGl ? "x right, y up, z backward"
                                                      : "x right, y down, z forward";
  }
  root["time"] = time_json(account.frames);
  root["frames"] = counts_json(account);
  root["damaged_frames"] = account.damaged;
  root["recording"] = runs_json(account.recording);
  return root;
}

}  // namespace depth_io::tools
