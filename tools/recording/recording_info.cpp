#include "tools/recording/recording_info.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "tools/frame/frame.h"
#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/json_text.h"

namespace depth_io::tools {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr char kFormat[] = "camera_depth_rw recording";
constexpr int kFormatVersion = 1;
constexpr std::size_t kSizeLimit = std::size_t{1} << 20U;
constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();

const std::string kSourceTimes = "source";
const std::string kEvenTimes = "even";

constexpr char kName[] = "recording.json";
constexpr char kEarlierPrefix[] = "recording-";
constexpr char kEnding[] = ".json";

std::string path_in(const std::string& directory) { return directory + "/" + kName; }

template <typename Value>
ordered_json or_null(const std::optional<Value>& value) {
  return value ? ordered_json(*value) : ordered_json();
}

std::optional<double> number_or_none(const json& object, const char* key) {
  const auto value = object.find(key);
  if (value == object.end() || value->is_null()) return {};
  return value->get<double>();
}

/// A whole number from `first` to `last`; a number of another kind or size is damage.
std::int64_t whole_number(const json& object, const char* key, std::int64_t first,
                          std::int64_t last) {
  const json& value = object.at(key);
  if (!value.is_number_integer()) throw Failure(std::string("'") + key + "' is no whole number");
  const auto number = value.get<std::int64_t>();
  if (number < first || number > last) throw Failure(std::string("'") + key + "' is out of range");
  return number;
}

/// A group of fields that descriptions of other versions may lack.
json group_or_none(const json& object, const char* key) {
  json group = object.value(key, json(json::object()));
  if (!group.is_object()) throw Failure(std::string("'") + key + "' is no group of fields");
  return group;
}

/// A count that descriptions of other versions may lack.
long count_or_zero(const json& object, const char* key) {
  return object.contains(key) ? whole_number(object, key, 0, kMost) : 0;
}

double positive_number(const json& object, const char* key) {
  const double value = object.at(key).get<double>();
  if (!std::isfinite(value) || value <= 0) {
    throw Failure(std::string("'") + key + "' is out of range");
  }
  return value;
}

ordered_json camera_json(int camera_type) {
  const Intrinsics camera = intrinsics_of(camera_type);
  return {{"type", camera_type},
          {"a11", camera.a11},
          {"a22", camera.a22},
          {"cx", camera.cx},
          {"cy", camera.cy}};
}

ordered_json frames_json(const RecordingInfo& info) {
  ordered_json frames;
  frames["offered"] = info.frames_offered;
  frames["recorded"] = info.frames_recorded;
  frames["failed"] = info.frames_failed;
  frames["dropped"] = info.frames_dropped;
  frames["missed"] = info.frames_missed;
  frames["kept"] = {{"motion", info.kept.motion},
                    {"period", info.kept.period},
                    {"request", info.kept.request},
                    {"history", info.kept.history}};
  frames["skipped"] = {{"not_triggered", info.skipped.not_triggered},
                       {"rate_limit", info.skipped.rate_limit},
                       {"already_recorded", info.skipped.already_recorded}};
  return frames;
}

void parse_frames(const json& frames, RecordingInfo& info) {
  info.frames_offered = whole_number(frames, "offered", 0, kMost);
  info.frames_recorded = whole_number(frames, "recorded", 0, kMost);
  info.frames_failed = whole_number(frames, "failed", 0, kMost);
  info.frames_dropped = count_or_zero(frames, "dropped");
  info.frames_missed = count_or_zero(frames, "missed");
  const json kept = group_or_none(frames, "kept");
  info.kept = {count_or_zero(kept, "motion"), count_or_zero(kept, "period"),
               count_or_zero(kept, "request"), count_or_zero(kept, "history")};
  const json skipped = group_or_none(frames, "skipped");
  info.skipped = {count_or_zero(skipped, "not_triggered"), count_or_zero(skipped, "rate_limit"),
                  count_or_zero(skipped, "already_recorded")};
}

void parse_how(const json& root, RecordingInfo& info) {
  info.fps = positive_number(root, "fps");
  if (info.fps < kLowestFps || info.fps > kHighestFps) throw Failure("'fps' is out of range");
  info.source_times = root.value("times", kEvenTimes) == kSourceTimes;
  const std::optional<Moment> start = parse_moment(root.at("start").get<std::string>());
  if (!start) throw Failure("'start' is no time");
  info.start = *start;
  const auto layout = layout_named(root.at("layout").get<std::string>());
  if (!layout) throw Failure("'layout' is none that this program knows");
  info.layout = *layout;
  info.naming = root.at("name_by").get<std::string>() == "time" ? Naming::kTime : Naming::kNumber;
  info.per_directory = static_cast<int>(count_or_zero(root, "per_directory"));
  info.camera_type = static_cast<int>(count_or_zero(group_or_none(root, "camera"), "type"));
  info.colour = root.at("colour").get<bool>();
  info.max_depth = positive_number(root, "max_depth");
  info.max_fps = number_or_none(root, "max_fps");
  info.history = static_cast<int>(whole_number(root, "history", 1, kMost));
  info.trigger = trigger_named(root.value("trigger", "always")).value_or(Trigger::kAlways);
  info.motion_percent = number_or_none(root, "motion_percent");
  if (!root.at("every").is_null()) info.every = whole_number(root, "every", 1, kMost);
  info.before_seconds = number_or_none(root, "before_seconds").value_or(0);
  info.after_seconds = number_or_none(root, "after_seconds").value_or(0);
  info.realtime = root.value("realtime", false);
  info.live = root.value("live", false);
}

RecordingInfo parse(const json& root) {
  if (root.at("format").get<std::string>() != kFormat) throw Failure("it has another format");
  if (whole_number(root, "format_version", 0, kMost) != kFormatVersion) {
    throw Failure("it has a version that this program does not know");
  }
  RecordingInfo info;
  info.program = root.at("program").get<std::string>();
  const json& source = root.at("source");
  info.source = source.at("text").get<std::string>();
  info.seed = static_cast<std::uint32_t>(
      whole_number(source, "seed", 0, std::numeric_limits<std::uint32_t>::max()));
  info.scale = number_or_none(source, "scale");
  info.loop = source.value("loop", false);
  info.max_gap = source.value("max_gap", info.max_gap);
  parse_how(root, info);
  info.complete = root.at("complete").get<bool>();
  info.end = root.value("end", "");
  parse_frames(root.at("frames"), info);
  const json steps = group_or_none(root, "clock_steps");
  info.clock_steps = {count_or_zero(steps, "count"), steps.value("largest_seconds", 0.0)};
  const json signals = group_or_none(root, "signals");
  info.signals = count_or_zero(signals, "count");
  info.signal_times = signals.value("times", std::vector<std::string>());
  info.readings_cut = static_cast<std::uint64_t>(
      whole_number(root, "readings_cut", 0, std::numeric_limits<std::int64_t>::max()));
  return info;
}

std::optional<RecordingInfo> read_info_file(const std::string& path) {
  const std::optional<std::string> text = read_regular_file(path, kSizeLimit);
  if (!text) {
    if (regular_file_size(path)) throw Failure("cannot read '" + path + "'");
    return {};
  }
  const JsonMemory memory;
  try {
    return parse(json::parse(*text));
  } catch (const json::exception& error) {
    throw Failure("'" + path + "' is damaged: " + error.what());
  } catch (const Failure& failure) {
    throw Failure("'" + path + "' is damaged: " + failure.what());
  }
}

}  // namespace

ordered_json recording_json(const RecordingInfo& info) {
  ordered_json root;
  root["format"] = kFormat;
  root["format_version"] = kFormatVersion;
  root["program"] = info.program;
  root["complete"] = info.complete;
  root["end"] = info.end;
  root["layout"] = layout_name(info.layout);
  root["name_by"] = info.naming == Naming::kTime ? "time" : "number";
  root["per_directory"] = info.per_directory;
  root["source"] = {{"text", info.source},
                    {"seed", info.seed},
                    {"scale", or_null(info.scale)},
                    {"loop", info.loop},
                    {"max_gap", info.max_gap}};
  root["fps"] = info.fps;
  root["times"] = info.source_times ? kSourceTimes : kEvenTimes;
  root["start"] = stamp_text(info.start);
  root["realtime"] = info.realtime;
  root["live"] = info.live;
  root["camera"] = camera_json(info.camera_type);
  root["colour"] = info.colour;
  root["max_depth"] = info.max_depth;
  root["max_fps"] = or_null(info.max_fps);
  root["history"] = info.history;
  root["trigger"] = trigger_name(info.trigger);
  root["motion_percent"] = or_null(info.motion_percent);
  root["every"] = or_null(info.every);
  root["before_seconds"] = info.before_seconds;
  root["after_seconds"] = info.after_seconds;
  root["frames"] = frames_json(info);
  root["signals"] = {{"count", info.signals}, {"times", info.signal_times}};
  root["clock_steps"] = {{"count", info.clock_steps.count},
                         {"largest_seconds", info.clock_steps.largest_seconds}};
  root["readings_cut"] = info.readings_cut;
  return root;
}

std::string recording_text(const RecordingInfo& info) {
  const JsonMemory memory;
  return json_text(recording_json(info)) + "\n";
}

void write_recording_info(const std::string& directory, const RecordingInfo& info) {
  write_file_atomically(path_in(directory), recording_text(info));
}

std::optional<RecordingInfo> read_recording_info(const std::string& directory) {
  return read_info_file(path_in(directory));
}

bool recorded_nothing(const RecordingInfo& info) {
  return info.complete && info.frames_recorded == 0 && info.frames_failed == 0;
}

void put_recording_info_aside(const std::string& directory) {
  const std::optional<RecordingInfo> info = read_recording_info(directory);
  // A run that is started again and again without success must not leave a file each time.
  if (!info || recorded_nothing(*info)) return;
  const std::string path = directory + "/" + kEarlierPrefix + stamp_text(info->start) + kEnding;
  write_file_atomically(path, recording_text(*info));
}

std::vector<RecordingInfo> read_all_recording_infos(const std::string& directory) {
  std::vector<RecordingInfo> infos;
  for (const std::string& name : listed_names(directory)) {
    const bool is_earlier = name.starts_with(kEarlierPrefix) && name.ends_with(kEnding);
    if (!is_earlier && name != kName) continue;
    if (auto info = read_info_file(directory + "/" + name)) infos.push_back(std::move(*info));
  }
  const auto by_start = [](const RecordingInfo& a, const RecordingInfo& b) {
    return stamp_text(a.start) < stamp_text(b.start);
  };
  std::sort(infos.begin(), infos.end(), by_start);
  // A run that ended between putting its predecessor aside and describing itself left that twice.
  const auto same_start = [](const RecordingInfo& a, const RecordingInfo& b) {
    return stamp_text(a.start) == stamp_text(b.start);
  };
  infos.erase(std::unique(infos.begin(), infos.end(), same_start), infos.end());
  return infos;
}

}  // namespace depth_io::tools
