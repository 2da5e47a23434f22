#include "tools/recording.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "codec/frame_names.h"
#include "engine/camera_depth_rw.h"
#include "tools/failure.h"
#include "tools/frame_time.h"

namespace depth_io::tools {
namespace {

namespace fs = std::filesystem;

/// A file name taken apart: stem, "-", key, ending.
struct NameParts {
  std::string_view stem;
  std::string_view key;
  std::string_view ending;
};
std::optional<NameParts> take_apart(std::string_view name) {
  constexpr std::size_t kEndingSize = 4;
  const std::size_t dash = name.find('-');
  if (dash == std::string_view::npos || name.size() < dash + 1 + kEndingSize) return {};
  const std::size_t end = name.size() - kEndingSize;
  return NameParts{name.substr(0, dash), name.substr(dash + 1, end - dash - 1), name.substr(end)};
}

/// The flag of a frame that tells of a file; null for a foreign file.
bool RecordedFrame::*flag_of(const NameParts& parts) {
  if (parts.stem == kColourStem) {
    return parts.ending == kJpegEnding ? &RecordedFrame::has_colour : nullptr;
  }
  if (parts.stem != kDepthStem) return nullptr;
  if (parts.ending == kLabelMapEnding) return &RecordedFrame::has_label_map;
  if (parts.ending == kReferenceEnding) return &RecordedFrame::has_reference;
  if (parts.ending == kJpegEnding) return &RecordedFrame::has_codes;
  if (parts.ending == kErrorEnding) return &RecordedFrame::has_errors;
  return nullptr;
}

/// Understands a key, if the engine would make the same text of it.
bool understand_key(RecordedFrame& frame) {
  constexpr std::size_t kMostDigits = 9;  // of the engine
  if (const std::optional<Moment> moment = parse_moment(frame.key)) {
    frame.moment = moment;
    return stamp_text(*moment) == frame.key;
  }
  const char* const end = frame.key.data() + frame.key.size();
  const auto result = std::from_chars(frame.key.data(), end, frame.number);
  if (result.ec != std::errc() || result.ptr != end || frame.key.size() > kMostDigits) return false;
  PathText text;
  text.append_number(static_cast<int>(frame.key.size()), frame.number);
  return frame.number >= 0 && frame.key == text.c_str();
}

}  // namespace

Recording::Recording(std::string directory, LibraryLog& log)
    : directory_(std::move(directory)), log_(log) {
  std::error_code error;
  if (!fs::is_directory(directory_, error)) {
    throw Failure("there is no directory '" + directory_ + "'");
  }
  list_frames();
  if (frames_.empty()) throw Failure("there are no recorded frames in '" + directory_ + "'");
  try {
    info_ = read_recording_info(directory_);
  } catch (const Failure& failure) {
    info_damage_ = failure.what();
  }
  has_colour_ = info_ ? info_->colour
                      : std::any_of(frames_.begin(), frames_.end(),
                                    [](const RecordedFrame& frame) { return frame.has_colour; });
  engine_ = std::make_unique<KV_RGBD_CameraCompression>();
}

Recording::~Recording() = default;

void Recording::list_frames() {
  std::map<std::string, RecordedFrame> found;
  std::error_code error;
  for (fs::directory_iterator entry(directory_, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const std::optional<NameParts> parts = take_apart(name);
    if (!parts) continue;
    bool RecordedFrame::*const flag = flag_of(*parts);
    if (flag == nullptr) continue;
    RecordedFrame& frame = found[std::string(parts->key)];
    frame.key = parts->key;
    frame.*flag = true;
  }
  if (error) throw Failure("cannot list '" + directory_ + "': " + error.message());
  for (auto& [key, frame] : found) {
    if (understand_key(frame)) frames_.push_back(std::move(frame));
  }
  // Stamp texts are in the order of time.
  std::sort(frames_.begin(), frames_.end(), [](const RecordedFrame& a, const RecordedFrame& b) {
    return std::tie(a.number, a.key) < std::tie(b.number, b.key);
  });
}

std::optional<Moment> Recording::time_of(const RecordedFrame& frame) const {
  if (frame.moment) return frame.moment;
  if (!info_) return {};
  return moment_after(info_->start, frame.number / info_->fps);
}

std::optional<long> Recording::source_index(const RecordedFrame& frame) const {
  if (!frame.moment) return frame.number;
  if (!info_) return {};
  const double place = seconds_between(info_->start, *frame.moment) * info_->fps;
  if (!(place > -0.5 && place < 1e9)) return {};
  const long index = std::lround(place);
  const Moment expected = moment_after(info_->start, static_cast<double>(index) / info_->fps);
  if (stamp_text(expected) != stamp_text(*frame.moment)) return {};
  return index;
}

std::string Recording::read(const RecordedFrame& recorded, Frame& frame) {
  log_.start_operation();
  std::string directory = directory_ + "/";
  std::string depth_stem = kDepthStem;
  std::string colour_stem = kColourStem;
  frame.has_colour = recorded.has_colour;
  const Moment m = recorded.moment.value_or(Moment{-1, -1, -1, -1, -1, -1, -1});
  const int digits = recorded.moment ? -1 : static_cast<int>(recorded.key.size());
  const bool by_time = recorded.moment.has_value();
  bool loaded = false;
  if (recorded.has_colour) {
    loaded = engine_->_read(frame.depth.data(), frame.bgr.data(), directory.data(),
                            depth_stem.data(), colour_stem.data(), by_time, digits, recorded.number,
                            m.year, m.month, m.day, m.hour, m.minute, m.second, m.millisecond) != 0;
  } else {
    loaded = engine_->_read(frame.depth.data(), directory.data(), depth_stem.data(), by_time,
                            digits, recorded.number, m.year, m.month, m.day, m.hour, m.minute,
                            m.second, m.millisecond) != 0;
  }
  if (!loaded) return "cannot be read";
  if (has_colour_ && !recorded.has_colour) return "has no colour image";
  return {};
}

}  // namespace depth_io::tools
