#include "codec/pixel_coding.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/labelling.h"

namespace depth_io {
namespace {

constexpr float kOpenedLabelTolerance = 0.01F;
constexpr float kCodeTolerance = 0.005001F;

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

/// So many pixels are coded at once where one label holds them all.
constexpr int kBlock = 16;

/// Codes a block of pixels that the label found last is sure to be the first to fit; false when
/// there is none, or one of its pixels would be missed. The compiler makes vector code of the
/// loops.
bool code_block(struct_read_write_depth& record, const float* depth_map, const LabelTable& labels,
                std::size_t first) {
  const float* const depth = depth_map + first;
  const int* const mask = record.write_MapObject + first;
  int signs = 0;
  for (int i = 0; i < kBlock; ++i) signs |= mask[i];
  if (signs < 0 || !labels.fits_last(depth, kBlock)) return false;

  const int label = labels.last();
  const float reference = labels.reference(label);
  int codes[kBlock];
  int missed = 0;
  for (int i = 0; i < kBlock; ++i) {
    codes[i] = encode_depth(depth[i], reference);
    const float decoded = static_cast<float>(codes[i]) / kCodesPerMetre - kHalfWindow + reference;
    missed |= std::fabs(decoded - depth[i]) > kCodeTolerance ? 1 : 0;
  }
  if (missed != 0) return false;
  std::fill_n(record.Label + first, kBlock, label);
  std::copy_n(codes, kBlock, record.Encode + first);
  return true;
}

bool label_all_pixels(struct_read_write_depth& record, const float* depth_map, int& label_count) {
  const std::size_t pixels = pixel_count(record);
  LabelTable labels(record.LabelRefZ, static_cast<int>(pixels));
  for (std::size_t first = 0; first < pixels; first += kBlock) {
    const std::size_t end = std::min(first + kBlock, pixels);
    if (end - first == kBlock && code_block(record, depth_map, labels, first)) continue;
    for (std::size_t pixel = first; pixel < end; ++pixel) {
      if (record.write_MapObject[pixel] < 0) continue;
      if (!code_pixel(record, depth_map, labels, pixel)) return false;
    }
  }
  label_count = labels.count();
  return true;
}

}  // namespace

bool label_pixels(struct_read_write_depth& record, const float* depth_map, int& label_count) {
  // Only a frame of very many labels wants memory.
  try {
    return label_all_pixels(record, depth_map, label_count);
  } catch (const std::bad_alloc&) {
    print_line("Memory error");
    return false;
  }
}

}  // namespace depth_io
