#include "codec/pixel_coding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <numeric>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/labelling.h"
#include "codec/pixel_kernels.h"

namespace depth_io {
namespace {

constexpr float kOpenedLabelTolerance = 0.01F;

bool report_missed_depth(const struct_read_write_depth& record, const float* depth_map,
                         std::size_t pixel, int label, float reference, int code, float decoded) {
  const auto width = static_cast<std::size_t>(record.width);
  const float depth = depth_map[pixel];
  print(
      "ERROR dpth map saving - at %d %d Z %f bestreflabel %d Z %f -- encode %d estZ %f => error "
      "%f\n",
      static_cast<int>(pixel / width), static_cast<int>(pixel % width), static_cast<double>(depth),
      label, static_cast<double>(reference), code, static_cast<double>(decoded),
      static_cast<double>(std::fabs(decoded - depth)));
  wait_for_key();
  return false;
}

/// Opens a label at a pixel; -1 after a message when its code does not give the depth back.
int open_label(LabelTable& labels, float depth) {
  const float decoded = decode_depth(kReferenceCode, depth);
  if (std::fabs(decoded - depth) > kOpenedLabelTolerance) {
    print("ERROR chcek dpth map saving %f vs %f, encode %d\n", static_cast<double>(decoded),
          static_cast<double>(depth), kReferenceCode);
    wait_for_key();
    return -1;
  }
  return labels.add(depth);
}

/// Gives a pixel the first label that fits, and its code.
bool code_pixel(struct_read_write_depth& record, const float* depth_map, LabelTable& labels,
                std::size_t pixel) {
  const float depth = depth_map[pixel];
  int label = labels.find(depth);
  int code = kReferenceCode;
  if (label >= 0) {
    const float reference = labels.reference(label);
    code = encode_depth(depth, reference);
    if (!is_valid_code(code)) {
      print_line_and_wait("error encode");
      return false;
    }
    const float decoded = decode_depth(code, reference);
    if (std::fabs(decoded - depth) > kCodeTolerance) {
      return report_missed_depth(record, depth_map, pixel, label, reference, code, decoded);
    }
  } else {
    label = open_label(labels, depth);
    if (label < 0) return false;
  }
  record.Label[pixel] = label;
  record.Encode[pixel] = code;
  return true;
}

bool has_no_number(const struct_read_write_depth& record, const float* depth_map,
                   std::size_t pixel) {
  return std::isnan(depth_map[pixel]) && record.write_MapObject[pixel] >= 0;
}

/// Codes pixels one by one, in order, as far as they have numbers; false after a message at the
/// first that cannot be coded. `next` is the pixel after those that were.
bool code_one_by_one(struct_read_write_depth& record, const float* depth_map, LabelTable& labels,
                     std::size_t& next, std::size_t end) {
  for (; next < end && !has_no_number(record, depth_map, next); ++next) {
    if (record.write_MapObject[next] < 0) {
      record.Label[next] = -1;
      record.Encode[next] = 0;
    } else if (!code_pixel(record, depth_map, labels, next)) {
      return false;
    }
  }
  return true;
}

/// Codes pixels from `next` on as far as it goes without opening a label.
void code_at_once(struct_read_write_depth& record, const float* depth_map, const LabelTable& labels,
                  std::size_t& next, std::size_t pixels) {
  LabelIntervals intervals = labels.sure_intervals();
  next +=
      pixel_kernels().code_pixels(depth_map + next, record.write_MapObject + next, pixels - next,
                                  intervals, record.Label + next, record.Encode + next);
}

/// Gives each pixel from `next` on whose depth is no number a label of its own, as far as they
/// stand side by side.
void code_unfit(struct_read_write_depth& record, const float* depth_map, LabelTable& labels,
                std::size_t& next, std::size_t pixels) {
  std::size_t end = next;
  while (end < pixels && has_no_number(record, depth_map, end)) ++end;
  const int first_label = labels.add_unfit(depth_map + next, end - next);
  std::iota(record.Label + next, record.Label + end, first_label);
  std::fill(record.Encode + next, record.Encode + end, kReferenceCode);
  next = end;
}

/// Codes what is left before a pixel without a number, if that is less than a block, together with
/// pixels before it that have been coded since `first`.
void code_before_gap(struct_read_write_depth& record, const float* depth_map,
                     const LabelTable& labels, std::size_t first, std::size_t& next,
                     std::size_t end) {
  std::size_t gap = next;
  while (gap < end && !has_no_number(record, depth_map, gap)) ++gap;
  if (gap == end || gap < first + kCodedBlock) return;
  std::size_t again = gap - kCodedBlock;
  code_at_once(record, depth_map, labels, again, gap);
  if (again == gap) next = gap;
}

void leave_uncoded(struct_read_write_depth& record, std::size_t first) {
  std::fill(record.Label + first, record.Label + pixel_count(record), -1);
  std::fill(record.Encode + first, record.Encode + pixel_count(record), 0);
}

bool label_all_pixels(struct_read_write_depth& record, const float* depth_map, int& label_count) {
  const std::size_t pixels = pixel_count(record);
  LabelTable labels(record.LabelRefZ, static_cast<int>(pixels), label_count);
  for (std::size_t next = 0; next < pixels;) {
    code_unfit(record, depth_map, labels, next, pixels);
    const std::size_t first = next;
    code_at_once(record, depth_map, labels, next, pixels);
    const std::size_t end = std::min(next + kCodedBlock, pixels);
    code_before_gap(record, depth_map, labels, first, next, end);
    if (code_one_by_one(record, depth_map, labels, next, end)) continue;
    leave_uncoded(record, next);
    return false;
  }
  return true;
}

}  // namespace

bool label_pixels(struct_read_write_depth& record, const float* depth_map, int& label_count) {
  // Only a frame of very many labels wants memory.
  try {
    return label_all_pixels(record, depth_map, label_count);
  } catch (const std::bad_alloc&) {
    print_line("Memory error");
    leave_uncoded(record, 0);
    return false;
  }
}

}  // namespace depth_io
