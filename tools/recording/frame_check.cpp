#include "tools/recording/frame_check.h"

#include <optional>
#include <utility>

#include "codec/frame_names.h"
#include "tools/recording/jpeg_check.h"
#include "tools/system/files.h"

namespace depth_io::tools {
namespace {

constexpr std::size_t kSizeLimit = std::size_t{64} << 20U;

/// Looks at the files of one frame.
class FrameCheck {
 public:
  FrameCheck(const Recording& recording, const RecordedFrame& frame, const FrameSize& size)
      : recording_(recording), frame_(frame), size_(size) {}

  void check_depth() {
    LabelMapContents map;
    if (const auto text = contents_of(frame_.has_label_map, kLabelMapEnding)) {
      map = read_label_map(*text, size_);
    }
    ReferenceContents references;
    if (const auto text = contents_of(frame_.has_reference, kReferenceEnding)) {
      references = read_references(*text);
    }
    if (map.fault.empty() && references.labels >= 0) {
      map.fault = find_label_fault(map.runs, references.labels);
    }
    add(depth_file(kLabelMapEnding), map.fault);
    add(depth_file(kReferenceEnding), references.fault);
    constexpr int kGrey = 1;
    check_image(frame_.has_codes, depth_file(kJpegEnding), kGrey);
    if (const auto bytes = contents_of(frame_.has_errors, kErrorEnding)) {
      const bool knows_runs = frame_.has_label_map && map.fault.empty() && !map.runs.empty();
      add(depth_file(kErrorEnding),
          find_correction_fault(*bytes, size_, knows_runs ? &map.runs : nullptr));
    }
  }

  void check_colour() {
    if (!frame_.has_colour && !recording_.wants_colour(frame_)) return;
    constexpr int kAny = 0;
    check_image(frame_.has_colour, frame_.colour_name() + kJpegEnding, kAny);
  }

  std::vector<FileFault> take_faults() { return std::move(faults_); }

 private:
  std::string depth_file(const char* ending) const { return frame_.depth_name() + ending; }
  std::string path_of(const std::string& file) const { return recording_.directory() + "/" + file; }

  void add(std::string file, std::string fault) {
    if (!fault.empty()) faults_.push_back({std::move(file), std::move(fault)});
  }

  void add_missing(std::string file) { faults_.push_back({std::move(file), "is missing", true}); }

  std::optional<std::string> contents_of(bool exists, const char* ending) {
    const std::string file = depth_file(ending);
    if (!exists) {
      add_missing(file);
      return {};
    }
    auto bytes = read_regular_file(path_of(file), kSizeLimit);
    if (!bytes) add(file, "cannot be read");
    return bytes;
  }

  void check_image(bool exists, const std::string& file, int components) {
    if (exists) {
      add(file, find_jpeg_fault(path_of(file), size_, components));
    } else {
      add_missing(file);
    }
  }

  const Recording& recording_;
  const RecordedFrame& frame_;
  FrameSize size_;
  std::vector<FileFault> faults_;
};

std::vector<std::string> texts_of(const std::vector<FileFault>& faults) {
  std::vector<std::string> texts;
  texts.reserve(faults.size());
  for (const FileFault& fault : faults) texts.push_back(fault.text());
  return texts;
}

}  // namespace

std::vector<FileFault> find_file_faults(const Recording& recording, const RecordedFrame& frame,
                                        const FrameSize& size) {
  FrameCheck check(recording, frame, size);
  check.check_depth();
  check.check_colour();
  return check.take_faults();
}

std::vector<std::string> find_faults(const Recording& recording, const RecordedFrame& frame) {
  return texts_of(find_file_faults(recording, frame));
}

std::vector<std::string> find_depth_faults(const Recording& recording, const RecordedFrame& frame) {
  FrameCheck check(recording, frame, {});
  check.check_depth();
  return texts_of(check.take_faults());
}

std::vector<std::string> find_colour_faults(const Recording& recording,
                                            const RecordedFrame& frame) {
  FrameCheck check(recording, frame, {});
  check.check_colour();
  return texts_of(check.take_faults());
}

}  // namespace depth_io::tools
