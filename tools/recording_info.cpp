#include "tools/recording_info.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

#include "tools/failure.h"
#include "tools/files.h"
#include "tools/frame_time.h"

namespace depth_io::tools {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr char kFormat[] = "camera_depth_rw recording";
constexpr int kFormatVersion = 1;
constexpr std::size_t kSizeLimit = std::size_t{1} << 20U;

std::string path_in(const std::string& directory) { return directory + "/recording.json"; }

template <typename Value>
ordered_json or_null(const std::optional<Value>& value) {
  return value ? ordered_json(*value) : ordered_json();
}

std::optional<double> number_or_none(const json& object, const char* key) {
  const json& value = object.at(key);
  if (value.is_null()) return {};
  return value.get<double>();
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

double positive_number(const json& object, const char* key) {
  const double value = object.at(key).get<double>();
  if (!std::isfinite(value) || value <= 0) {
    throw Failure(std::string("'") + key + "' is out of range");
  }
  return value;
}

RecordingInfo parse(const json& root) {
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
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
  info.fps = positive_number(root, "fps");
  const std::optional<Moment> start = parse_moment(root.at("start").get<std::string>());
  if (!start) throw Failure("'start' is no time");
  info.start = *start;
  info.naming = root.at("name_by").get<std::string>() == "time" ? Naming::kTime : Naming::kNumber;
  info.colour = root.at("colour").get<bool>();
  info.max_depth = positive_number(root, "max_depth");
  info.history = static_cast<int>(whole_number(root, "history", 1, kMost));
  info.motion_percent = number_or_none(root, "motion_percent");
  if (!root.at("every").is_null()) info.every = whole_number(root, "every", 1, kMost);
  info.complete = root.at("complete").get<bool>();
  const json& frames = root.at("frames");
  info.frames_offered = whole_number(frames, "offered", 0, kMost);
  info.frames_recorded = whole_number(frames, "recorded", 0, kMost);
  info.frames_failed = whole_number(frames, "failed", 0, kMost);
  info.readings_cut = static_cast<std::uint64_t>(
      whole_number(root, "readings_cut", 0, std::numeric_limits<std::int64_t>::max()));
  return info;
}

}  // namespace

void write_recording_info(const std::string& directory, const RecordingInfo& info) {
  ordered_json root;
  root["format"] = kFormat;
  root["format_version"] = kFormatVersion;
  root["program"] = info.program;
  root["complete"] = info.complete;
  root["layout"] = "flat";
  root["source"] = {{"text", info.source}, {"seed", info.seed}, {"scale", or_null(info.scale)}};
  root["fps"] = info.fps;
  root["start"] = stamp_text(info.start);
  root["name_by"] = info.naming == Naming::kTime ? "time" : "number";
  root["colour"] = info.colour;
  root["max_depth"] = info.max_depth;
  root["history"] = info.history;
  root["motion_percent"] = or_null(info.motion_percent);
  root["every"] = or_null(info.every);
  root["frames"] = {{"offered", info.frames_offered},
                    {"recorded", info.frames_recorded},
                    {"failed", info.frames_failed}};
  root["readings_cut"] = info.readings_cut;
  // File names need not be UTF-8, JSON texts are.
  const std::string text = root.dump(2, ' ', false, json::error_handler_t::replace);
  write_file_atomically(path_in(directory), text + "\n");
}

std::optional<RecordingInfo> read_recording_info(const std::string& directory) {
  const std::string path = path_in(directory);
  const std::optional<std::string> text = read_regular_file(path, kSizeLimit);
  if (!text) {
    if (regular_file_size(path)) throw Failure("cannot read '" + path + "'");
    return {};
  }
  try {
    return parse(json::parse(*text));
  } catch (const json::exception& error) {
    throw Failure("'" + path + "' is damaged: " + error.what());
  } catch (const Failure& failure) {
    throw Failure("'" + path + "' is damaged: " + failure.what());
  }
}

}  // namespace depth_io::tools
