#include "codec/error_detection.h"

#include <algorithm>
#include <cmath>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/frame_writer.h"

namespace depth_io {
namespace {

constexpr std::size_t kBytesPerPixel = 3;
constexpr int kCodeCount = kLargestCode + 1;
/// Tolerances of depths from 0, 1, 2, 3 and 4 metres on.
constexpr float kThresholds[] = {0.01F, 0.02F, 0.03F, 0.04F, 0.05F};

/// Whether a pixel that was written with one code and read with another gets an error record.
bool is_moved(int written_code, int read_code, float reference) {
  const float written_depth = decode_depth(written_code, reference);
  const float read_depth = clamp_depth(decode_depth(read_code, reference));
  return std::fabs(written_depth - read_depth) > GetCompressionErrorThreshold(written_depth);
}

/// Lowest code that stands for `depth` or more; `kCodeCount` when there is none.
int first_code_from(float depth, float reference) {
  int low = 0;
  int high = kCodeCount;
  while (low < high) {
    const int middle = (low + high) / 2;
    if (decode_depth(middle, reference) >= depth) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return low;
}

/// Codes that a code may be read as. The further it is moved, the further its depth: what is within
/// the tolerance lies side by side, with the code itself in it, if there is anything.
void find_range(int code, float reference, LabelTolerance& tolerance) {
  int lowest = code;
  int highest = code;
  if (is_moved(code, code, reference)) {
    lowest = kLargestCode;
    highest = 0;
  } else {
    while (lowest > 0 && !is_moved(code, lowest - 1, reference)) --lowest;
    while (highest < kLargestCode && !is_moved(code, highest + 1, reference)) ++highest;
  }
  tolerance.lowest[code] = static_cast<unsigned char>(lowest);
  tolerance.highest[code] = static_cast<unsigned char>(highest);
}

/// What decides how far the codes of a label may be moved.
struct LabelCodes {
  float written[kCodeCount];  ///< depths
  float read[kCodeCount];
  int steps[kCodeCount];  ///< that the tolerance of the depth has
  bool up_by_all[kCodeCount] = {};
  bool down_by_all[kCodeCount] = {};
  bool is_irregular[kCodeCount] = {};
  bool is_next_to_zero[kCodeCount] = {};

  explicit LabelCodes(float reference) {
    for (int code = 0; code < kCodeCount; ++code) {
      written[code] = decode_depth(code, reference);
      read[code] = clamp_depth(written[code]);
    }
  }

  /// Codes from `first` to `end` have a tolerance of so many steps. Each of these is one code step,
  /// so fewer of them are within it, and more are not; as many are mostly a matter of rounding.
  void find_moves(int first, int end, int step_count) {
    const float threshold = kThresholds[step_count - 1];
    std::fill(steps + first, steps + std::max(first, end), step_count);
    for (int code = first; code < std::min(end, kCodeCount - step_count); ++code) {
      up_by_all[code] = std::fabs(written[code] - read[code + step_count]) <= threshold;
    }
    for (int code = std::max(first, step_count); code < end; ++code) {
      down_by_all[code] = std::fabs(written[code] - read[code - step_count]) <= threshold;
    }
  }

  /// Depths that are clamped, or would be after a move, follow no rule, unless they are so near to
  /// 0 that all below them is within the least tolerance. Returns whether there are codes of either
  /// kind.
  bool find_special_codes(float reference) {
    constexpr float kNextToZero = 0.009F;
    constexpr float kClearOfZero = 0.0115F;
    constexpr float kFarFromClamping = 250.0F;
    const int zero = first_code_from(kSmallestDepth, reference);
    const int next_to_zero_end = first_code_from(kNextToZero, reference);
    const int first = first_code_from(kClearOfZero, reference);
    const int end = first_code_from(kFarFromClamping, reference);
    std::fill(is_irregular, is_irregular + first, true);
    std::fill(is_irregular + end, is_irregular + kCodeCount, true);
    for (int code = zero; code < std::min(next_to_zero_end, end); ++code) {
      is_irregular[code] = false;
      is_next_to_zero[code] = true;
    }
    return first > 0 || end < kCodeCount;
  }
};

void find_regular_ranges(const LabelCodes& codes, LabelTolerance& tolerance) {
  for (int code = 0; code < kCodeCount; ++code) {
    const int down = codes.steps[code] - (codes.down_by_all[code] ? 0 : 1);
    const int up = codes.steps[code] - (codes.up_by_all[code] ? 0 : 1);
    const int lowest = codes.is_next_to_zero[code] ? 0 : std::max(code - down, 0);
    tolerance.lowest[code] = static_cast<unsigned char>(lowest);
    tolerance.highest[code] = static_cast<unsigned char>(std::min(code + up, kLargestCode));
  }
}

bool has_mask(const struct_read_write_depth& record) {
  return std::any_of(record.RLE_Val, record.RLE_Val + record.RLE_NbNb,
                     [](int label) { return label < 0; });
}

}  // namespace

void report_depth_without_threshold() {
  print_whole_line("ERROR GetCompressionErrorThreshold\n");
  wait_for_key();
}

LabelTolerance find_tolerance(float reference) {
  LabelTolerance tolerance;
  LabelCodes codes(reference);
  int first = 0;
  for (int level = 0; level < LabelTolerance::kLevels; ++level) {
    const int from = first_code_from(static_cast<float>(level + 1), reference);
    codes.find_moves(first, from, level + 1);
    first = from;
    if (from == 0) {
      ++tolerance.fewest_steps;
    } else if (from < kCodeCount) {
      tolerance.one_more_from[tolerance.level_count++] = static_cast<unsigned char>(from);
    }
  }
  codes.find_moves(first, kCodeCount, LabelTolerance::kLevels + 1);
  tolerance.has_special_codes = codes.find_special_codes(reference);
  find_regular_ranges(codes, tolerance);
  tolerance.up_by_all = CodeSet(codes.up_by_all);
  tolerance.down_by_all = CodeSet(codes.down_by_all);
  if (!tolerance.has_special_codes) return tolerance;
  tolerance.down_for_ever = CodeSet(codes.is_next_to_zero);
  tolerance.irregular = CodeSet(codes.is_irregular);
  for (int code = 0; code < kCodeCount; ++code) {
    if (codes.is_irregular[code]) find_range(code, reference, tolerance);
  }
  return tolerance;
}

ErrorFinder::ErrorFinder(struct_read_write_depth& record)
    : record_(record), has_mask_(has_mask(record)) {}

inline void ErrorFinder::take_run(int label, std::size_t count, std::size_t room,
                                  const unsigned char* read) {
  KnownLabel& known = known_[static_cast<std::size_t>(label) % kKnownLabels];
  if (known.label != label && !learn(known, label, count)) {
    take_unknown_run(record_.LabelRefZ[label], count, read);
    return;
  }
  count_ +=
      kernels_.flag_moved(codes_in_error_map(record_) + pixel_, read, count, room, known.tolerance);
}

/// Some labels have so few pixels that these are sooner looked at than all codes. False when
/// nothing was learnt.
bool ErrorFinder::learn(KnownLabel& known, int label, std::size_t count) const {
  constexpr std::size_t kWorthLearning = 16;
  const float reference = record_.LabelRefZ[label];
  if (count < kWorthLearning || !std::isfinite(reference)) return false;
  known = {label, find_tolerance(reference)};
  return true;
}

void ErrorFinder::take_unknown_run(float reference, std::size_t count, const unsigned char* read) {
  const bool is_strange = !std::isfinite(reference);
  if (is_strange) count_strange(reference, count);
  for (std::size_t i = 0; i < count; ++i) {
    const int code = codes_in_error_map(record_)[pixel_ + i];
    flag(record_.ErrorMap[pixel_ + i], !is_strange && is_moved(code, read[i], reference));
  }
}

void ErrorFinder::take_row(const unsigned char* read) {
  const auto width = static_cast<std::size_t>(record_.width);
  for (std::size_t column = 0; column < width;) {
    column += take_strange_pixels(width - column);
    if (column == width) break;
    if (left_in_run_ == 0) left_in_run_ = static_cast<std::size_t>(record_.RLE_Nb[run_]);
    const std::size_t count = std::min(left_in_run_, width - column);
    take_run(record_.RLE_Val[run_], count, width - column, read + column);
    column += count;
    pixel_ += count;
    left_in_run_ -= count;
    if (left_in_run_ == 0) ++run_;
  }
}

/// Runs of a single pixel whose reference is no number stand side by side mostly. Returns how many
/// there were, of so many pixels at most.
std::size_t ErrorFinder::take_strange_pixels(std::size_t most) {
  std::size_t count = 0;
  for (; left_in_run_ == 0 && count < most && record_.RLE_Nb[run_] == 1; ++count, ++run_) {
    const float reference = record_.LabelRefZ[record_.RLE_Val[run_]];
    if (std::isfinite(reference)) break;
    record_.ErrorMap[pixel_ + count] = false;
    count_strange(reference, 1);
  }
  pixel_ += count;
  return count;
}

/// What these labels want is done once the whole image is known to be good.
void ErrorFinder::count_strange(float reference, std::size_t pixels) {
  if (std::isnan(reference)) {
    pixels_without_number_ += pixels;
  } else {
    has_infinite_labels_ = true;
  }
}

void ErrorFinder::flag(bool& flag, bool is_error) {
  flag = is_error;
  count_ += is_error ? 1 : 0;
}

int ErrorFinder::finish() {
  if (has_mask_) {
    look_at_all();
    return count_;
  }
  take_pixels_left();
  if (has_infinite_labels_) flag_infinite_labels();
  // No difference from what is no number is too large.
  for (std::size_t i = 0; i < pixels_without_number_; ++i) report_depth_without_threshold();
  return count_;
}

/// The image was smaller than the frame: somebody else wrote into the file.
void ErrorFinder::take_pixels_left() {
  for (const std::size_t pixels = pixel_count(record_); pixel_ < pixels; ++pixel_) {
    const float reference = record_.LabelRefZ[record_.Label[pixel_]];
    const bool is_strange = !std::isfinite(reference);
    if (is_strange) count_strange(reference, 1);
    flag(record_.ErrorMap[pixel_],
         !is_strange && is_moved(record_.Encode[pixel_], record_.EncodeUC2[kBytesPerPixel * pixel_],
                                 reference));
  }
}

void ErrorFinder::flag_infinite_labels() {
  std::size_t pixel = 0;
  for (int run = 0; run < record_.RLE_NbNb; ++run) {
    const float reference = record_.LabelRefZ[record_.RLE_Val[run]];
    const std::size_t end = pixel + static_cast<std::size_t>(record_.RLE_Nb[run]);
    for (std::size_t i = pixel; std::isinf(reference) && i < end; ++i) {
      flag(record_.ErrorMap[i],
           is_moved(record_.Encode[i], record_.EncodeUC2[kBytesPerPixel * i], reference));
    }
    pixel = end;
  }
}

/// Kept: the cursors move on at labelled pixels only, so with a mask the bytes compared behind the
/// first unlabelled pixel belong to an earlier one. Recordings depend on the records so chosen.
void ErrorFinder::look_at_all() {
  const std::size_t pixels = pixel_count(record_);
  std::fill_n(record_.ErrorMap, pixels, false);
  const unsigned char* written = record_.EncodeUC;
  const unsigned char* read = record_.EncodeUC2;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
    if (record_.Label[pixel] < 0) continue;
    flag(record_.ErrorMap[pixel],
         is_moved(*written, *read, record_.LabelRefZ[record_.Label[pixel]]));
    written += kBytesPerPixel;
    read += kBytesPerPixel;
  }
}

}  // namespace depth_io
