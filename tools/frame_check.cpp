#include "tools/frame_check.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "codec/frame_names.h"
#include "codec/liblinjpeg.h"
#include "tools/files.h"
#include "tools/output.h"

namespace depth_io::tools {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{64} << 20U;

/// Takes blank-separated words off the front of a text.
class Words {
 public:
  explicit Words(std::string_view text) : rest_(text) {}

  /// The next word; empty at the end.
  std::string_view next() {
    constexpr std::string_view kBlanks = " \t\r\n";
    rest_.remove_prefix(std::min(rest_.find_first_not_of(kBlanks), rest_.size()));
    const std::string_view word = rest_.substr(0, rest_.find_first_of(kBlanks));
    rest_.remove_prefix(word.size());
    return word;
  }

  std::optional<long> next_number() {
    const std::string_view word = next();
    long number = 0;
    const auto result = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || result.ec != std::errc() || result.ptr != word.data() + word.size()) {
      return {};
    }
    return number;
  }

 private:
  std::string_view rest_;
};

constexpr char kNoFault[] = "";

std::string check_label_map(std::string_view text) {
  Words words(text);
  const std::optional<long> runs = words.next_number();
  if (!runs || *runs < 1 || *runs > static_cast<long>(kFramePixels)) return "has no count of runs";
  long pixels = 0;
  for (long run = 0; run < *runs; ++run) {
    const std::optional<long> length = words.next_number();
    const std::optional<long> label = words.next_number();
    if (!length || !label) return "is cut off";
    if (*length < 1 || *length > static_cast<long>(kFramePixels)) return "has a run of no length";
    pixels += *length;
  }
  if (!words.next().empty()) return "goes on after its end";
  if (pixels != static_cast<long>(kFramePixels)) {
    return format_text("describes %ld of %zu pixels", pixels, kFramePixels);
  }
  return kNoFault;
}

std::string check_reference(std::string_view text) {
  Words words(text);
  if (words.next() != "nblabels") return "does not begin with the number of labels";
  const std::optional<long> labels = words.next_number();
  if (!labels || *labels < 0) return "does not begin with the number of labels";
  constexpr int kIntrinsicsWords = 8;  // a name and a number each
  for (int i = 0; i < kIntrinsicsWords; ++i) words.next();
  for (long label = 0; label < *labels; ++label) {
    if (words.next().empty()) return "is cut off";
  }
  if (!text.ends_with('\n')) return "is cut off";
  if (!words.next().empty()) return "goes on after its end";
  return kNoFault;
}

std::string check_errors(std::string_view bytes) {
  constexpr std::size_t kHeaderSize = 12;
  constexpr std::size_t kRecordSize = 3;
  if (bytes.size() < kHeaderSize) return "is cut off";
  std::size_t records = 0;
  for (std::size_t i = 0; i < kHeaderSize; i += 2) {
    records += static_cast<std::size_t>(static_cast<unsigned char>(bytes[i])) * 256 +
               static_cast<std::size_t>(static_cast<unsigned char>(bytes[i + 1]));
  }
  const std::size_t expected = kHeaderSize + kRecordSize * records;
  if (bytes.size() < expected) return "is cut off";
  if (bytes.size() > expected) return "goes on after its end";
  return kNoFault;
}

std::string check_jpeg(const std::string& path) {
  std::vector<unsigned char> pixels(kFramePixels * 3);
  const JpegReadResult result = read_jpeg_file(path.c_str(), pixels);
  if (!result.decoded) return "cannot be decoded";
  if (result.width != kFrameWidth || result.height != kFrameHeight) {
    return format_text("is %d x %d pixels instead of %d x %d", result.width, result.height,
                       kFrameWidth, kFrameHeight);
  }
  if (result.warnings > 0) {
    return format_text("is damaged (%ld warning%s of the decoder)", result.warnings,
                       result.warnings == 1 ? "" : "s");
  }
  return kNoFault;
}

void add_fault(std::vector<std::string>& faults, const std::string& name,
               const std::string& fault) {
  if (!fault.empty()) faults.push_back("'" + name + "' " + fault);
}

void add_image_fault(const Recording& recording, bool exists, const std::string& name,
                     std::vector<std::string>& faults) {
  add_fault(faults, name, exists ? check_jpeg(recording.directory() + "/" + name) : "is missing");
}

}  // namespace

std::vector<std::string> find_depth_faults(const Recording& recording, const RecordedFrame& frame) {
  std::vector<std::string> faults;
  const std::string name = frame.depth_name();
  const auto check = [&](bool exists, const char* ending, auto check_contents) {
    if (!exists) {
      add_fault(faults, name + ending, "is missing");
      return;
    }
    const auto bytes = read_regular_file(recording.directory() + "/" + name + ending, kSizeLimit);
    add_fault(faults, name + ending, bytes ? check_contents(*bytes) : "cannot be read");
  };
  check(frame.has_label_map, kLabelMapEnding, check_label_map);
  check(frame.has_reference, kReferenceEnding, check_reference);
  add_image_fault(recording, frame.has_codes, name + kJpegEnding, faults);
  check(frame.has_errors, kErrorEnding, check_errors);
  return faults;
}

std::vector<std::string> find_colour_faults(const Recording& recording,
                                            const RecordedFrame& frame) {
  std::vector<std::string> faults;
  if (frame.has_colour || recording.wants_colour(frame)) {
    add_image_fault(recording, frame.has_colour, frame.colour_name() + kJpegEnding, faults);
  }
  return faults;
}

std::vector<std::string> find_faults(const Recording& recording, const RecordedFrame& frame) {
  std::vector<std::string> faults = find_depth_faults(recording, frame);
  if (!recording.wants_colour(frame)) return faults;
  for (std::string& fault : find_colour_faults(recording, frame)) {
    faults.push_back(std::move(fault));
  }
  return faults;
}

}  // namespace depth_io::tools
