#include "codec/error_detection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/frame_writer.h"

namespace depth_io {
namespace {

constexpr int kBytesPerPixel = 3;

/// Code steps by which the JPEG may move a code of a label, whatever the rounding. Each step of the
/// tolerance is one code step, so fewer of them than the depth's own are within it; 0 where the
/// code has to be looked at, for it is near the ends of the range or no number.
class TolerableSteps {
 public:
  TolerableSteps(const float* references, int labels)
      : references_(references), tabled_(std::min(labels, kTabledLabels)) {
    for (int label = 0; label < tabled_; ++label) {
      for (int code = 0; code <= kLargestCode; ++code) {
        steps_[label][code] = static_cast<unsigned char>(find(label, code));
      }
    }
  }

  int of(int label, int code) const {
    return label < tabled_ ? steps_[label][code] : find(label, code);
  }

 private:
  /// Real frames have fewer labels.
  static constexpr int kTabledLabels = 32;

  int find(int label, int code) const {
    constexpr float kFarFromClamping = 250.0F;
    const float depth = decode_depth(code, references_[label]);
    const bool is_inside = depth >= kSmallestDepth && depth <= kFarFromClamping;
    if (!is_inside) return 0;
    return 1 + int{depth >= 1.0F} + int{depth >= 2.0F} + int{depth >= 3.0F} + int{depth >= 4.0F};
  }

  const float* references_;
  int tabled_;
  unsigned char steps_[kTabledLabels][kLargestCode + 1];
};

}  // namespace

bool find_errors(struct_read_write_depth& record, int label_count, int& error_count) {
  error_count = 0;
  const std::size_t pixels = pixel_count(record);
  const int* const label_of = record.Label;
  const float* const references = record.LabelRefZ;
  const TolerableSteps tolerable(references, label_count);
  // Kept: the cursors move on at labelled pixels only, so with a mask the bytes compared behind the
  // first unlabelled pixel belong to an earlier one. Recordings depend on the records so chosen.
  const unsigned char* written = record.EncodeUC;
  const unsigned char* read = record.EncodeUC2;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
    const int label = label_of[pixel];
    if (label < 0) continue;
    const int written_code = *written;
    const int read_code = *read;
    written += kBytesPerPixel;
    read += kBytesPerPixel;
    if (!is_valid_code(written_code) || !is_valid_code(read_code)) {
      print_line_and_wait("error encode4");
      return false;
    }
    if (std::abs(written_code - read_code) < tolerable.of(label, written_code)) continue;
    const float reference = references[label];
    const float written_depth = decode_depth(written_code, reference);
    const float read_depth = clamp_depth(decode_depth(read_code, reference));
    if (std::fabs(written_depth - read_depth) > GetCompressionErrorThreshold(written_depth)) {
      record.ErrorMap[pixel] = true;
      ++error_count;
    }
  }
  return true;
}

}  // namespace depth_io
