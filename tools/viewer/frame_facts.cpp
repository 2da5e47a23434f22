#include "tools/viewer/frame_facts.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "codec/frame_names.h"
#include "tools/file_heads.h"
#include "tools/files.h"
#include "tools/frame_check.h"
#include "tools/frame_time.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

std::uint32_t size_of(const std::string& path) {
  const std::uintmax_t most = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(regular_file_size(path).value_or(0), most));
}

/// A count that is not known becomes 0.
std::uint32_t plain(std::optional<long> count) {
  const long most = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::uint32_t>(std::min(count.value_or(0), most));
}

ordered_json file_json(const std::string& name, const char* kind, std::uint32_t bytes) {
  return {{"name", name}, {"kind", kind}, {"bytes", bytes}};
}

}  // namespace

FrameFacts facts_of(const RecordingView& view, const RecordedFrame& frame) {
  const std::string depth = view.path_of(frame.depth_name());
  FrameFacts facts;
  if (frame.has_colour)
    facts.colour_bytes = size_of(view.path_of(frame.colour_name()) + kJpegEnding);
  if (frame.has_codes) facts.code_bytes = size_of(depth + kJpegEnding);
  if (frame.has_label_map) {
    facts.label_map_bytes = size_of(depth + kLabelMapEnding);
    facts.runs = plain(run_count(depth + kLabelMapEnding));
  }
  if (frame.has_reference) {
    facts.reference_bytes = size_of(depth + kReferenceEnding);
    facts.labels = plain(label_count(depth + kReferenceEnding));
  }
  if (frame.has_errors) {
    facts.error_bytes = size_of(depth + kErrorEnding);
    facts.error_records = plain(error_record_count(depth + kErrorEnding));
  }
  return facts;
}

std::string frame_description(const RecordingView& view, std::size_t index) {
  const RecordedFrame& frame = view.frames()[index];
  const FrameFacts facts = facts_of(view, frame);
  const auto time = view.recording->time_of(frame);
  ordered_json root;
  root["index"] = index;
  root["name"] = frame.depth_name();
  root["time"] = time ? ordered_json(readable_text(*time)) : ordered_json();
  ordered_json files = ordered_json::array();
  const std::string depth = frame.depth_name();
  if (frame.has_colour) {
    files.push_back(file_json(frame.colour_name() + kJpegEnding, "colour", facts.colour_bytes));
  }
  if (frame.has_codes) files.push_back(file_json(depth + kJpegEnding, "codes", facts.code_bytes));
  if (frame.has_label_map) {
    files.push_back(file_json(depth + kLabelMapEnding, "label map", facts.label_map_bytes));
  }
  if (frame.has_reference) {
    files.push_back(file_json(depth + kReferenceEnding, "references", facts.reference_bytes));
  }
  if (frame.has_errors) {
    files.push_back(file_json(depth + kErrorEnding, "exact codes", facts.error_bytes));
  }
  root["files"] = std::move(files);
  root["labels"] = facts.labels;
  root["runs"] = facts.runs;
  root["error_records"] = facts.error_records;
  root["faults"] = find_faults(*view.recording, frame);
  return root.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace depth_io::tools
