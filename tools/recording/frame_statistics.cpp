#include "tools/recording/frame_statistics.h"

#include <charconv>
#include <string_view>

#include "codec/frame_names.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

/// The number that stands in a text file behind a word at its beginning.
std::optional<long> leading_number(const std::string& path, std::string_view word) {
  constexpr std::size_t kEnough = 64;
  const std::optional<std::string> text = read_start_of_file(path, kEnough);
  if (!text || !text->starts_with(word)) return {};
  long count = 0;
  const auto result =
      std::from_chars(text->data() + word.size(), text->data() + text->size(), count);
  if (result.ec != std::errc() || count < 0) return {};
  return count;
}

/// Number of records that an error file tells at its beginning.
std::optional<long> error_record_count(const std::string& path) {
  constexpr std::size_t kHeaderSize = 12;
  const std::optional<std::string> bytes = read_start_of_file(path, kHeaderSize);
  if (!bytes || bytes->size() < kHeaderSize) return {};
  long count = 0;
  for (std::size_t i = 0; i < kHeaderSize; i += 2) {
    count +=
        static_cast<unsigned char>((*bytes)[i]) * 256 + static_cast<unsigned char>((*bytes)[i + 1]);
  }
  return count;
}

}  // namespace

FrameStatistics statistics_of(const std::string& directory, const RecordedFrame& frame) {
  const std::string depth = directory + "/" + frame.depth_name();
  const std::string colour = directory + "/" + frame.colour_name();
  const auto size = [](const std::string& path) { return regular_file_size(path).value_or(0); };
  FrameStatistics one;
  if (frame.has_colour) one.bytes.colour = size(colour + kJpegEnding);
  if (frame.has_label_map) one.bytes.label_map = size(depth + kLabelMapEnding);
  if (frame.has_reference) one.bytes.reference = size(depth + kReferenceEnding);
  if (frame.has_codes) one.bytes.codes = size(depth + kJpegEnding);
  if (frame.has_errors) one.bytes.errors = size(depth + kErrorEnding);
  one.labels = leading_number(depth + kReferenceEnding, "nblabels ");
  one.runs = leading_number(depth + kLabelMapEnding, "");
  one.error_records = error_record_count(depth + kErrorEnding);
  return one;
}

}  // namespace depth_io::tools
