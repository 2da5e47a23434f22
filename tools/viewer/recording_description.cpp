#include <bit>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tools/frame/frame.h"
#include "tools/frame/frame_time.h"
#include "tools/viewer/viewed_recording.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

constexpr Moment kEpoch{1970, 1, 1, 0, 0, 0, 0};

ordered_json signals_of(const RecordingInfo& run) {
  ordered_json times = ordered_json::array();
  for (const std::string& text : run.signal_times) {
    if (const auto moment = parse_moment(text)) times.push_back(page_time(*moment));
  }
  return times;
}

ordered_json run_json(const RecordingInfo& run) {
  ordered_json json;
  json["program"] = run.program;
  json["source"] = run.source;
  json["start"] = page_time(run.start);
  json["fps"] = run.fps;
  json["trigger"] = trigger_name(run.trigger);
  json["camera_type"] = run.camera_type;
  json["max_depth"] = run.max_depth;
  json["before_seconds"] = run.before_seconds;
  json["after_seconds"] = run.after_seconds;
  json["complete"] = run.complete;
  json["end"] = run.end;
  json["offered"] = run.frames_offered;
  json["recorded"] = run.frames_recorded;
  json["dropped"] = run.frames_dropped;
  json["failed"] = run.frames_failed;
  json["signal_count"] = run.signals;
  json["signals"] = signals_of(run);
  json["clock_steps"] = run.clock_steps.count;
  return json;
}

bool has_times(const Recording& recording) {
  const auto& frames = recording.frames();
  return std::all_of(frames.begin(), frames.end(), [&](const RecordedFrame& frame) {
    return recording.time_of(frame).has_value();
  });
}

std::string shown_name(const std::string& directory) {
  std::error_code error;
  const auto absolute = std::filesystem::canonical(directory, error);
  const std::string name = error ? std::string() : absolute.filename().string();
  return name.empty() ? directory : name;
}

enum StateBit : unsigned char { kLacksDepthFile = 1, kLacksColour = 2, kHasColour = 4 };

unsigned char state_of(const Recording& recording, const RecordedFrame& frame) {
  unsigned state = 0;
  if (!frame.has_depth_files()) state |= kLacksDepthFile;
  if (!frame.has_colour && recording.wants_colour(frame)) state |= kLacksColour;
  if (frame.has_colour) state |= kHasColour;
  return static_cast<unsigned char>(state);
}

}  // namespace

std::int64_t page_time(const Moment& moment) {
  return std::llround(seconds_between(kEpoch, moment) * 1e3);
}

std::string recording_description(const RecordingView& view) {
  const Recording& recording = *view.recording;
  ordered_json root;
  root["program"] = "depthrw " DEPTHRW_VERSION;
  root["name"] = shown_name(recording.directory());
  root["directory"] = recording.directory();
  root["generation"] = view.generation;
  root["layout"] = recording.layout();
  root["frames"] = recording.frames().size();
  root["width"] = kFrameWidth;
  root["height"] = kFrameHeight;
  root["has_times"] = has_times(recording);
  root["has_colour"] = recording.has_colour();
  ordered_json runs = ordered_json::array();
  for (const RecordingInfo& run : recording.runs()) runs.push_back(run_json(run));
  root["runs"] = std::move(runs);
  root["troubles"] = recording.troubles();
  return root.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string frame_index(const RecordingView& view) {
  static_assert(std::endian::native == std::endian::little);
  const Recording& recording = *view.recording;
  const auto& frames = recording.frames();
  const bool in_time = has_times(recording);
  std::string bytes(frames.size() * (sizeof(double) + 1), '\0');
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const double place = in_time ? static_cast<double>(page_time(*recording.time_of(frames[i])))
                                 : static_cast<double>(frames[i].number);
    std::memcpy(bytes.data() + i * sizeof place, &place, sizeof place);
    bytes[frames.size() * sizeof place + i] = static_cast<char>(state_of(recording, frames[i]));
  }
  return bytes;
}

}  // namespace depth_io::tools
