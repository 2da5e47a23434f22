#include "tools/recording/frame_files.h"

#include <charconv>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"

namespace depth_io::tools {
namespace {

/// The flag of a frame that tells of a file; null for a foreign file.
bool RecordedFrame::*flag_of(std::string_view stem, std::string_view ending) {
  if (stem == kColourStem) return ending == kJpegEnding ? &RecordedFrame::has_colour : nullptr;
  if (stem != kDepthStem) return nullptr;
  if (ending == kLabelMapEnding) return &RecordedFrame::has_label_map;
  if (ending == kReferenceEnding) return &RecordedFrame::has_reference;
  if (ending == kJpegEnding) return &RecordedFrame::has_codes;
  if (ending == kErrorEnding) return &RecordedFrame::has_errors;
  return nullptr;
}

}  // namespace

std::optional<FrameFile> frame_file(std::string_view name) {
  constexpr std::size_t kEndingSize = 4;
  if (name.size() <= kEndingSize) return {};
  const std::string_view base = name.substr(0, name.size() - kEndingSize);
  const std::string_view ending = name.substr(base.size());
  const std::size_t first = base.find('-');
  if (first == std::string_view::npos) return {};
  if (bool RecordedFrame::*const flag = flag_of(base.substr(0, first), ending)) {
    return FrameFile{base.substr(first + 1), false, flag};
  }
  const std::size_t last = base.rfind('-');
  if (bool RecordedFrame::*const flag = flag_of(base.substr(last + 1), ending)) {
    return FrameFile{base.substr(0, last), true, flag};
  }
  return {};
}

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

}  // namespace depth_io::tools
