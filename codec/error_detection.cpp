#include "codec/error_detection.h"

#include <algorithm>
#include <cmath>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/frame_writer.h"
#include "codec/prefetch.h"

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

/// Depths of all codes of a label, and whether each can be moved by all steps of its tolerance.
struct LabelDepths {
  float written[kCodeCount];
  float read[kCodeCount];
  bool up_by_all[kCodeCount] = {};
  bool down_by_all[kCodeCount] = {};

  explicit LabelDepths(float reference) {
    for (int code = 0; code < kCodeCount; ++code) {
      written[code] = decode_depth(code, reference);
      read[code] = clamp_depth(written[code]);
    }
  }

  /// For codes from `first` to `end`, whose tolerance has so many steps.
  void find_moves(int first, int end, int steps) {
    const float threshold = kThresholds[steps - 1];
    for (int code = first; code < std::min(end, kCodeCount - steps); ++code) {
      up_by_all[code] = std::fabs(written[code] - read[code + steps]) <= threshold;
    }
    for (int code = std::max(first, steps); code < end; ++code) {
      down_by_all[code] = std::fabs(written[code] - read[code - steps]) <= threshold;
    }
  }
};

/// Each step of the tolerance is one code step, so fewer of them than the depth's own are within
/// it, and more are not; as many are mostly a matter of rounding.
void find_regular_range(int code, int steps, const LabelDepths& depths, LabelTolerance& tolerance) {
  const bool up = depths.up_by_all[code];
  const bool down = depths.down_by_all[code];
  if (up) tolerance.up_by_all.add(code);
  if (down) tolerance.down_by_all.add(code);
  tolerance.lowest[code] = static_cast<unsigned char>(std::max(code - steps + (down ? 0 : 1), 0));
  tolerance.highest[code] =
      static_cast<unsigned char>(std::min(code + steps - (up ? 0 : 1), kLargestCode));
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
  tolerance.fewest_steps = 1;
  tolerance.level_count = 0;
  int from[LabelTolerance::kLevels];
  for (int level = 0; level < LabelTolerance::kLevels; ++level) {
    from[level] = first_code_from(static_cast<float>(level + 1), reference);
    if (from[level] == 0) {
      ++tolerance.fewest_steps;
    } else if (from[level] < kLargestCode) {
      tolerance.one_more_from[tolerance.level_count++] = static_cast<unsigned char>(from[level]);
    }
  }
  // Depths that are clamped, or would be after a move, follow no rule, unless they are so near to 0
  // that all below them is within the least tolerance. Nor does the last code, which has no byte of
  // its own to tell it from none.
  constexpr float kNextToZero = 0.009F;
  constexpr float kClearOfZero = 0.0115F;
  constexpr float kFarFromClamping = 250.0F;
  LabelDepths depths(reference);
  for (int level = 0; level <= LabelTolerance::kLevels; ++level) {
    const int last = level == LabelTolerance::kLevels ? kCodeCount : from[level];
    depths.find_moves(level == 0 ? 0 : from[level - 1], last, level + 1);
  }
  const int zero = first_code_from(kSmallestDepth, reference);
  const int next_to_zero_end = first_code_from(kNextToZero, reference);
  const int first = first_code_from(kClearOfZero, reference);
  const int end = std::min(first_code_from(kFarFromClamping, reference), kLargestCode);
  for (int code = 0; code <= kLargestCode; ++code) {
    const bool is_next_to_zero = code >= zero && code < next_to_zero_end;
    if (code >= end || (code < first && !is_next_to_zero)) {
      tolerance.irregular.add(code);
      tolerance.has_special_codes = true;
      find_range(code, reference, tolerance);
      continue;
    }
    int steps = 1;
    for (const int level : from) steps += code >= level ? 1 : 0;
    find_regular_range(code, steps, depths, tolerance);
    if (is_next_to_zero) {
      tolerance.down_for_ever.add(code);
      tolerance.has_special_codes = true;
      tolerance.lowest[code] = 0;
    }
  }
  return tolerance;
}

ErrorFinder::ErrorFinder(struct_read_write_depth& record)
    : record_(record), has_mask_(has_mask(record)) {}

inline void ErrorFinder::take_run(int label, std::size_t count, std::size_t room,
                                  const unsigned char* read) {
  KnownLabel& known = known_[static_cast<std::size_t>(label) % kKnownLabels];
  if (known.label != label) learn(known, label);
  if (known.is_strange) {
    std::fill_n(record_.ErrorMap + pixel_, count, false);
    count_strange(record_.LabelRefZ[label], count);
    return;
  }
  count_ +=
      kernels_.flag_moved(codes_in_error_map(record_) + pixel_, read, count, room, known.tolerance);
}

void ErrorFinder::take_row(const unsigned char* read) {
  const auto width = static_cast<std::size_t>(record_.width);
  prefetch_to_write(record_.ErrorMap + pixel_ + width, width);
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

void ErrorFinder::learn(KnownLabel& known, int label) const {
  const float reference = record_.LabelRefZ[label];
  known.label = label;
  known.is_strange = !std::isfinite(reference);
  if (!known.is_strange) known.tolerance = find_tolerance(reference);
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
