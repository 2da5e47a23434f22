#include "tools/viewer/frame_facts.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

#include "codec/frame_names.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/frame_check.h"
#include "tools/recording/frame_statistics.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

/// What is not known becomes 0.
template <typename Number>
std::uint32_t plain(Number number) {
  const auto most = static_cast<Number>(std::numeric_limits<std::int32_t>::max());
  return static_cast<std::uint32_t>(std::clamp(number, Number{0}, most));
}

ordered_json file_json(const std::string& name, const char* kind, std::uint32_t bytes) {
  return {{"name", name}, {"kind", kind}, {"bytes", bytes}};
}

}  // namespace

FrameFacts facts_of(const RecordingView& view, const RecordedFrame& frame) {
  const FrameStatistics all = statistics_of(view.recording->directory(), frame);
  FrameFacts facts;
  facts.colour_bytes = plain(all.bytes.colour);
  facts.code_bytes = plain(all.bytes.codes);
  facts.label_map_bytes = plain(all.bytes.label_map);
  facts.reference_bytes = plain(all.bytes.reference);
  facts.error_bytes = plain(all.bytes.errors);
  facts.labels = plain(all.labels.value_or(0));
  facts.runs = plain(all.runs.value_or(0));
  facts.error_records = plain(all.error_records.value_or(0));
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
