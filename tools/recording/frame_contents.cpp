#include "tools/recording/frame_contents.h"

#include <array>

#include "tools/system/output.h"
#include "tools/system/strict_text.h"

namespace depth_io::tools {
namespace {

constexpr long kLongestRun = 30000;

std::string find_intrinsic_fault(const char* name, double value) {
  if (!std::isfinite(value)) return format_text("has a value of %s that is not finite", name);
  const bool is_focal_length = name[0] == 'a';
  if (is_focal_length && value == 0) return format_text("has a focal length %s of 0", name);
  return {};
}

std::string find_depth_fault(double metres, long label) {
  constexpr double kDeepest = 255;
  constexpr double kRounding = 0.02;  // rebuilt depths are clamped, within the tolerance
  if (metres >= -kRounding && metres <= kDeepest + kRounding) return {};
  return format_text("has a depth outside 0..255 m, label %ld", label);
}

/// The labels of all pixels, one after the other.
class LabelCursor {
 public:
  /// Without runs nothing is known of them.
  explicit LabelCursor(const std::vector<LabelRun>* runs) : runs_(runs) {}

  /// Pixels are asked for in any order.
  bool has_label(long pixel) { return runs_ == nullptr || label_at(pixel) >= 0; }

 private:
  long label_at(long pixel) {
    const std::vector<LabelRun>& runs = *runs_;
    if (pixel < run_begin_) {
      run_ = 0;
      run_begin_ = 0;
    }
    while (run_ < runs.size() && pixel >= run_begin_ + runs[run_].length) {
      run_begin_ += runs[run_].length;
      ++run_;
    }
    return run_ < runs.size() ? runs[run_].label : -1;
  }

  const std::vector<LabelRun>* runs_;
  std::size_t run_ = 0;
  long run_begin_ = 0;
};

constexpr int kRegionSize = 256;
constexpr int kRegionsAcross = 3;
constexpr std::size_t kRegionCount = 6;
constexpr std::size_t kHeaderSize = 2 * kRegionCount;
constexpr std::size_t kRecordSize = 3;

int byte_at(std::string_view bytes, std::size_t place) {
  return static_cast<unsigned char>(bytes[place]);
}

std::array<std::size_t, kRegionCount> records_of_regions(std::string_view bytes) {
  std::array<std::size_t, kRegionCount> counts{};
  for (std::size_t region = 0; region < kRegionCount; ++region) {
    counts[region] =
        static_cast<std::size_t>(byte_at(bytes, 2 * region) * 256 + byte_at(bytes, 2 * region + 1));
  }
  return counts;
}

/// Where a record says that its pixel is.
struct CorrectedPixel {
  int row;
  int column;
  int code;
};

std::string find_record_fault(const CorrectedPixel& pixel, const FrameSize& size,
                              LabelCursor& labels, std::vector<bool>& seen) {
  constexpr int kLargestCode = 250;
  if (pixel.row >= size.height || pixel.column >= size.width) {
    return format_text("has a record outside the image, row %d column %d", pixel.row, pixel.column);
  }
  if (pixel.code > kLargestCode) {
    return format_text("has the code %d, row %d column %d", pixel.code, pixel.row, pixel.column);
  }
  const long place = long{pixel.row} * size.width + pixel.column;
  if (!labels.has_label(place)) {
    return format_text("has a record of a pixel without label, row %d column %d", pixel.row,
                       pixel.column);
  }
  if (seen[static_cast<std::size_t>(place)]) {
    return format_text("has two records of a pixel, row %d column %d", pixel.row, pixel.column);
  }
  seen[static_cast<std::size_t>(place)] = true;
  return {};
}

}  // namespace

LabelMapContents read_label_map(std::string_view text, const FrameSize& size) {
  LabelMapContents contents;
  StrictText rest(text);
  const auto count = rest.integer_before('\n');
  if (!count || *count < 1 || *count > size.pixels()) {
    contents.fault = text.empty() ? "is empty" : "has no count of runs";
    return contents;
  }
  long pixels = 0;
  for (long run = 1; run <= *count; ++run) {
    const auto length = rest.integer_before(' ');
    const auto label = length ? rest.integer_before('\n') : std::nullopt;
    if (!label) {
      contents.fault = rest.in_last_line() ? "is cut off" : "is damaged";
      contents.fault += format_text(", run %ld of %ld", run, *count);
      return contents;
    }
    if (*length < 1 || *length > kLongestRun) {
      contents.fault = format_text("has a run of %ld pixels, run %ld of %ld", *length, run, *count);
      return contents;
    }
    contents.runs.push_back({*length, *label});
    pixels += *length;
  }
  if (pixels != size.pixels()) {
    contents.fault = format_text("describes %ld of %ld pixels", pixels, size.pixels());
  } else if (rest.at_end()) {
    contents.fault = "is cut off at its end";
  } else if (!rest.take("\n") || !rest.at_end()) {
    contents.fault = "goes on after its end";
  }
  return contents;
}

ReferenceContents read_references(std::string_view text) {
  ReferenceContents contents;
  const auto failed = [&](std::string fault) {
    contents.fault = std::move(fault);
    return contents;
  };
  StrictText rest(text);
  if (text.empty()) return failed("is empty");
  if (!rest.take("nblabels ")) return failed("does not begin with the number of labels");
  const auto labels = rest.integer_before(' ');
  if (!labels || *labels < 0) return failed("does not begin with the number of labels");
  contents.labels = *labels;
  for (const char* const name : {"a11", "a22", "cx", "cy"}) {
    const bool is_last = name == std::string_view("cy");
    const bool is_named = rest.take(name) && rest.take(" ");
    const auto value = is_named ? rest.decimal_before(is_last ? '\n' : ' ') : std::nullopt;
    if (!value) return failed(format_text("has no value of %s", name));
    std::string fault = find_intrinsic_fault(name, *value);
    if (!fault.empty()) return failed(std::move(fault));
  }
  for (long label = 0; label < *labels; ++label) {
    const bool may_be_cut = rest.in_last_line();
    const auto metres = rest.decimal_before('\n');
    if (!metres) {
      return failed(format_text("%s, label %ld of %ld", may_be_cut ? "is cut off" : "is damaged",
                                label, *labels));
    }
    std::string fault = find_depth_fault(*metres, label);
    if (!fault.empty()) return failed(std::move(fault));
  }
  return rest.at_end() ? contents : failed("goes on after its end");
}

std::string find_label_fault(const std::vector<LabelRun>& runs, long labels) {
  for (std::size_t run = 0; run < runs.size(); ++run) {
    const long label = runs[run].label;
    if (label >= -1 && label < labels) continue;
    return format_text("has the label %ld, of %ld labels, run %zu of %zu", label, labels, run + 1,
                       runs.size());
  }
  return {};
}

std::string find_correction_fault(std::string_view bytes, const FrameSize& size,
                                  const std::vector<LabelRun>* runs) {
  if (bytes.empty()) return "is empty";
  if (bytes.size() < kHeaderSize) return "is cut off in its header";
  const auto counts = records_of_regions(bytes);
  std::size_t expected = kHeaderSize;
  for (const std::size_t count : counts) expected += kRecordSize * count;
  if (bytes.size() < expected) {
    return format_text("is cut off, %zu of %zu bytes", bytes.size(), expected);
  }
  if (bytes.size() > expected) return "goes on after its end";
  LabelCursor labels(runs);
  std::vector<bool> seen(static_cast<std::size_t>(size.pixels()));
  std::size_t place = kHeaderSize;
  for (std::size_t region = 0; region < kRegionCount; ++region) {
    const int first_row = static_cast<int>(region) / kRegionsAcross * kRegionSize;
    const int first_column = static_cast<int>(region) % kRegionsAcross * kRegionSize;
    for (std::size_t record = 0; record < counts[region]; ++record, place += kRecordSize) {
      const CorrectedPixel pixel{first_row + byte_at(bytes, place),
                                 first_column + byte_at(bytes, place + 1),
                                 byte_at(bytes, place + 2)};
      std::string fault = find_record_fault(pixel, size, labels, seen);
      if (!fault.empty()) return fault;
    }
  }
  return {};
}

}  // namespace depth_io::tools
