#include "codec/frame_writer.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/file_io.h"
#include "codec/frame_files.h"
#include "codec/frame_names.h"
#include "codec/frame_reader.h"
#include "codec/labelling.h"
#include "codec/run_length.h"

using depth_io::decode_depth;
using depth_io::is_valid_code;
using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;
using depth_io::wait_for_key;

namespace {

constexpr float kOpenedLabelTolerance = 0.01F;
constexpr float kCodeTolerance = 0.005001F;
constexpr float kVerificationMargin = 0.001F;
constexpr int kBytesPerPixel = 3;

/// What is to be written, and what is known of it so far.
struct FrameWrite {
  struct_read_write_depth& record;
  const char* directory;
  const char* stem_depth;
  const char* stem_bgr;
  bool with_colour;
  unsigned char* colour_image;
  bool reverse_name;
  depth_io::FrameKey key;
  const float* depth;
  depth_io::Intrinsics intrinsics;
  int debug;

  PathText depth_name{depth_io::kWriterNameSize};
  PathText colour_name{depth_io::kWriterNameSize};
  std::size_t base_length = 0;
  int label_count = 0;
  int error_count = 0;
  depth_io::RegionCounts region_counts = {};

  bool traces() const { return debug == 1; }
  void trace(const char* text) const {
    if (traces()) print_line(text);
  }
  /// The depth files' name with another ending.
  char* name_with(const char* ending) {
    depth_name.cut_to(base_length);
    return depth_name.append(ending).data();
  }
  char* base_name() { return name_with(""); }
};

bool refuse(const char* complaint) {
  print_line_and_wait(complaint);
  return false;
}

bool report_unwritten(const char* name) {
  print("write_compressed_data - failed to write '%s'\n", name);
  return false;
}

/// Names are built before anything is written: one that does not fit writes nothing anywhere.
bool build_names(FrameWrite& frame) {
  append_frame_name(frame.depth_name, frame.directory, frame.stem_depth, frame.reverse_name,
                    frame.key);
  frame.base_length = frame.depth_name.length();
  frame.name_with(depth_io::kLabelMapEnding);
  if (!frame.depth_name.fits()) return report_unwritten(frame.depth_name.c_str());
  if (!frame.with_colour) return true;
  append_frame_name(frame.colour_name, frame.directory, frame.stem_bgr, frame.reverse_name,
                    frame.key);
  frame.colour_name.append(depth_io::kJpegEnding);
  return frame.colour_name.fits() || report_unwritten(frame.colour_name.c_str());
}

bool store_colour_image(FrameWrite& frame) {
  if (!frame.with_colour) return true;
  struct_read_write_depth& record = frame.record;
  char* const name = frame.colour_name.data();
  if (frame.traces()) {
    print(" - DEBUG - write_compressed_data - jpgfile saving '%s'\n", name);
  }
  if (!record.jpgfile.RGBToJpegFile(name, frame.colour_image, record.width, record.height, true,
                                    depth_io::kJpegQuality)) {
    print("write_compressed_data - liblinjpeg - failed to save encode jpeg '%s' %d x %d\n", name,
          record.width, record.height);
    return false;
  }
  frame.trace(" - DEBUG - write_compressed_data - jpgfile saved sucessfull");
  print_line("saving done");
  return true;
}

void announce(const FrameWrite& frame) {
  if (frame.with_colour) {
    print("saving '%s/%s|%s' index %d, timestamp %s\n", frame.directory, frame.stem_depth,
          frame.stem_bgr, frame.key.frame_number, frame.key.timestamp);
  } else {
    print("saving '%s/%s' index %d timestamp %s\n", frame.directory, frame.stem_depth,
          frame.key.frame_number, frame.key.timestamp);
  }
}

void clear_record(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - init");
  struct_read_write_depth& record = frame.record;
  const std::size_t pixels = depth_io::pixel_count(record);
  std::fill_n(record.Label, pixels, -1);
  std::fill_n(record.Encode, pixels, 0);
  std::fill_n(record.LabelRefZ, pixels, -1.0F);
  std::fill_n(record.ErrorMap, pixels, false);
}

bool report_missed_depth(const FrameWrite& frame, std::size_t pixel, int label, float reference,
                         int code, float decoded) {
  const auto width = static_cast<std::size_t>(frame.record.width);
  const float depth = frame.depth[pixel];
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
int open_label(depth_io::LabelTable& labels, float depth) {
  const float decoded = decode_depth(depth_io::kReferenceCode, depth);
  if (std::fabs(decoded - depth) > kOpenedLabelTolerance) {
    print("ERROR chcek dpth map saving %f vs %f, encode %d\n", static_cast<double>(decoded),
          static_cast<double>(depth), depth_io::kReferenceCode);
    wait_for_key();
    return -1;
  }
  return labels.add(depth);
}

/// Gives a pixel the first label that fits, and its code.
bool code_pixel(FrameWrite& frame, depth_io::LabelTable& labels, std::size_t pixel) {
  const float depth = frame.depth[pixel];
  int label = labels.find(depth);
  int code = depth_io::kReferenceCode;
  if (label >= 0) {
    const float reference = labels.reference(label);
    code = depth_io::encode_depth(depth, reference);
    if (!is_valid_code(code)) return refuse("error encode");
    const float decoded = decode_depth(code, reference);
    if (std::fabs(decoded - depth) > kCodeTolerance) {
      return report_missed_depth(frame, pixel, label, reference, code, decoded);
    }
  } else {
    label = open_label(labels, depth);
    if (label < 0) return false;
  }
  frame.record.Label[pixel] = label;
  frame.record.Encode[pixel] = code;
  return true;
}

/// So many pixels are coded at once where one label holds them all.
constexpr int kBlock = 16;

/// Codes a block of pixels that the label found last is sure to be the first to fit; false when
/// there is none, or one of its pixels would be missed. The compiler makes vector code of the
/// loops.
bool code_block(FrameWrite& frame, const depth_io::LabelTable& labels, std::size_t first) {
  const float* const depth = frame.depth + first;
  const int* const mask = frame.record.write_MapObject + first;
  int signs = 0;
  for (int i = 0; i < kBlock; ++i) signs |= mask[i];
  if (signs < 0 || !labels.fits_last(depth, kBlock)) return false;

  const int label = labels.last();
  const float reference = labels.reference(label);
  int codes[kBlock];
  int missed = 0;
  for (int i = 0; i < kBlock; ++i) {
    codes[i] = depth_io::encode_depth(depth[i], reference);
    const float decoded =
        static_cast<float>(codes[i]) / depth_io::kCodesPerMetre - depth_io::kHalfWindow + reference;
    missed |= std::fabs(decoded - depth[i]) > kCodeTolerance ? 1 : 0;
  }
  if (missed != 0) return false;
  std::fill_n(frame.record.Label + first, kBlock, label);
  std::copy_n(codes, kBlock, frame.record.Encode + first);
  return true;
}

/// Gives every pixel that the mask lets through the first label that fits, and its code.
bool label_pixels(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - label ref");
  const std::size_t pixels = depth_io::pixel_count(frame.record);
  depth_io::LabelTable labels(frame.record.LabelRefZ, static_cast<int>(pixels));
  for (std::size_t first = 0; first < pixels; first += kBlock) {
    const std::size_t end = std::min(first + kBlock, pixels);
    if (end - first == kBlock && code_block(frame, labels, first)) continue;
    for (std::size_t pixel = first; pixel < end; ++pixel) {
      if (frame.record.write_MapObject[pixel] < 0) continue;
      if (!code_pixel(frame, labels, pixel)) return false;
    }
  }
  frame.label_count = labels.count();
  return true;
}

bool store_label_map(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - rle init");
  frame.trace(" - DEBUG - write_compressed_data - rle exe");
  struct_read_write_depth& record = frame.record;
  rle(record.width, record.height, record.Label, record.RLE_Nb, record.RLE_Val, record.RLE_NbNb,
      depth_io::kLongestRun, 0);
  const char* const name = frame.name_with(depth_io::kLabelMapEnding);
  if (!depth_io::write_label_map_file(name, record)) return report_unwritten(name);
  frame.trace(" - DEBUG - write_compressed_data - rle success");
  return true;
}

bool store_references(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - ref");
  const char* const name = frame.name_with(depth_io::kReferenceEnding);
  const std::span<const float> references(frame.record.LabelRefZ,
                                          static_cast<std::size_t>(frame.label_count));
  return depth_io::write_reference_file(name, frame.intrinsics, references) ||
         report_unwritten(name);
}

bool store_code_image(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - jpg init");
  struct_read_write_depth& record = frame.record;
  const std::size_t pixels = depth_io::pixel_count(record);
  const int* const code_of = record.Encode;
  unsigned char* bytes = record.EncodeUC;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel, bytes += kBytesPerPixel) {
    const auto code = static_cast<unsigned char>(code_of[pixel]);
    bytes[0] = code;
    bytes[1] = code;
    bytes[2] = code;
  }
  char* const name = frame.name_with(depth_io::kJpegEnding);
  if (frame.traces()) print(" - DEBUG - write_compressed_data - jpg saving '%s'\n", name);
  if (!record.jpgfile.RGBToJpegFile(name, record.EncodeUC, record.width, record.height, false,
                                    depth_io::kJpegQuality)) {
    print("write_compressed_data - liblinjpeg - failed to save encode jpeg '%s' %d x %d\n", name,
          record.width, record.height);
    return false;
  }
  return true;
}

bool read_code_image_back(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - jpg saved");
  frame.trace(" - DEBUG - write_compressed_data - load jpg for err");
  struct_read_write_depth& record = frame.record;
  const char* const name = frame.name_with(depth_io::kJpegEnding);
  const std::span<unsigned char> read_back(record.EncodeUC2,
                                           kBytesPerPixel * depth_io::pixel_count(record));
  if (!depth_io::read_jpeg_file(name, read_back).decoded) {
    return refuse("ERROR - TOLVA_ReadJpgImage - JpegFileToRGB failed !!!");
  }
  frame.trace(" - DEBUG - write_compressed_data - loaded jpg");
  return true;
}

/// Code steps by which the JPEG may move a code of a label, whatever the rounding. Each step of the
/// tolerance is one code step, so fewer of them than the depth's own are within it; 0 where the
/// code has to be looked at, for it is near the ends of the range or no number.
class TolerableSteps {
 public:
  TolerableSteps(const float* references, int labels)
      : references_(references), tabled_(std::min(labels, kTabledLabels)) {
    for (int label = 0; label < tabled_; ++label) {
      for (int code = 0; code <= depth_io::kLargestCode; ++code) {
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
    const bool is_inside = depth >= depth_io::kSmallestDepth && depth <= kFarFromClamping;
    if (!is_inside) return 0;
    return 1 + int{depth >= 1.0F} + int{depth >= 2.0F} + int{depth >= 3.0F} + int{depth >= 4.0F};
  }

  const float* references_;
  int tabled_;
  unsigned char steps_[kTabledLabels][depth_io::kLargestCode + 1];
};

/// Flags the pixels that the JPEG moved beyond their tolerance.
bool find_errors(FrameWrite& frame) {
  const struct_read_write_depth& record = frame.record;
  const std::size_t pixels = depth_io::pixel_count(record);
  const int* const label_of = record.Label;
  const float* const references = record.LabelRefZ;
  const TolerableSteps tolerable(references, frame.label_count);
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
    if (!is_valid_code(written_code) || !is_valid_code(read_code)) return refuse("error encode4");
    if (std::abs(written_code - read_code) < tolerable.of(label, written_code)) continue;
    const float reference = references[label];
    const float written_depth = decode_depth(written_code, reference);
    const float read_depth = depth_io::clamp_depth(decode_depth(read_code, reference));
    if (std::fabs(written_depth - read_depth) > GetCompressionErrorThreshold(written_depth)) {
      record.ErrorMap[pixel] = true;
      ++frame.error_count;
    }
  }
  return true;
}

bool count_region_errors(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - err prep");
  if (frame.error_count == 0) return true;
  frame.region_counts = depth_io::count_errors(frame.record);
  int sum = 0;
  for (const int count : frame.region_counts.of) sum += count;
  if (sum == frame.error_count) return true;
  print("ERROR errors v2 check_NbErrors %d vs %d\n", sum, frame.error_count);
  wait_for_key();
  return false;
}

bool store_errors(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - err init");
  const char* const name = frame.name_with(depth_io::kErrorEnding);
  if (frame.traces()) print(" - DEBUG - write_compressed_data - err '%s'\n", name);
  switch (depth_io::write_error_file(name, frame.record, frame.region_counts)) {
    case depth_io::ErrorFileOutcome::kNotWritten:
      return report_unwritten(name);
    case depth_io::ErrorFileOutcome::kCountTooLarge:
      return refuse("error error modulo");
    case depth_io::ErrorFileOutcome::kRecordOutOfRange:
      return refuse("error errro 3");
    case depth_io::ErrorFileOutcome::kWritten:
      break;
  }
  frame.trace(" - DEBUG - write_compressed_data - err saved");
  return true;
}

/// Compares the error file with what was to be in it.
bool verify_error_file(FrameWrite& frame, int mode) {
  if (frame.traces()) print(" - DEBUG - write_compressed_data - verif mode %d\n", mode);
  const struct_read_write_depth& record = frame.record;
  const char* const name = frame.name_with(depth_io::kErrorEnding);
  const auto file = depth_io::read_regular_file(name);
  if (!file) return report_unwritten(name);
  depth_io::ErrorFileParser parser(file->bytes());
  for (int region = 0; region < depth_io::kRegionCount; ++region) {
    if (parser.counts().of[region] != frame.region_counts.of[region]) {
      return refuse("error error nb errors");
    }
  }
  parser.for_each_record([&](int down, int across, const depth_io::ErrorRecord& found) {
    if (found.row >= record.height || found.column >= record.width) return;
    const std::size_t pixel =
        static_cast<std::size_t>(found.row) * static_cast<std::size_t>(record.width) +
        static_cast<std::size_t>(found.column);
    if (found.code == record.Encode[pixel]) return;
    print("ERRRRRRRROR %d %d, %d %d\n", down, across, found.row_in_region, found.column_in_region);
    wait_for_key();
  });
  return true;
}

/// Compares a frame that was read back with the writer's quantised depths.
bool compare_read_back(const FrameWrite& frame, const struct_read_write_depth& read_back) {
  const struct_read_write_depth& record = frame.record;
  for (int row = 0; row < record.height; ++row) {
    for (int col = 0; col < record.width; ++col) {
      const std::size_t pixel =
          static_cast<std::size_t>(row) * static_cast<std::size_t>(record.width) +
          static_cast<std::size_t>(col);
      const int label = record.Label[pixel];
      if (label < -1 || label >= frame.label_count) return refuse("error encode3");
      // Kept: an unlabelled pixel is held against -1.25, so it is always reported.
      const float expected =
          decode_depth(record.Encode[pixel], label >= 0 ? record.LabelRefZ[label] : 0.0F);
      const float loaded = read_back.LoadedDepth[pixel];
      const float deviation = std::fabs(loaded - expected);
      const float threshold = GetCompressionErrorThreshold(expected);
      if (deviation > threshold + kVerificationMargin) {
        print("VERIFICATION - large dev : at %d %d: loaded %f vs gtZ %f ThresholdError %f vs %f\n",
              row, col, static_cast<double>(loaded), static_cast<double>(expected),
              static_cast<double>(deviation), static_cast<double>(threshold));
        wait_for_key();
      }
    }
  }
  return true;
}

/// A working record of its own, released on every way out.
struct OwnedRecord {
  struct_read_write_depth value;
  OwnedRecord() { InitStruct(value); }
  ~OwnedRecord() { depth_io::release_record(value); }
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;
};

/// Reads the whole frame back and compares its depths.
bool verify_depth_content(FrameWrite& frame) {
  print_line(" --- VERIFICATION of DEPTH CONTENT ---");
  OwnedRecord read_back;
  if (!Allocate(read_back.value, frame.record.width, frame.record.height)) {
    return refuse("ERROR VERIFICATION - init - 'read_compressed' init failed");
  }
  if (!load_compressed_data(read_back.value, frame.base_name(), frame.debug)) {
    return refuse("ERROR VERIFICATION apply - read_compressed failed");
  }
  return compare_read_back(frame, read_back.value);
}

bool verify(FrameWrite& frame, int mode) {
  switch (mode) {
    case 0:
      return verify_error_file(frame, mode);
    case 1:
      return verify_depth_content(frame);
    default:
      return true;
  }
}

}  // namespace

float GetCompressionErrorThreshold(float _Z1) {
  if (_Z1 < 1.0F) return 0.01F;
  if (_Z1 < 2.0F) return 0.02F;
  if (_Z1 < 3.0F) return 0.03F;
  if (_Z1 < 4.0F) return 0.04F;
  if (_Z1 < 5.0F) return 0.05F;
  if (_Z1 >= 5.0F) return 0.05F;
  print_line_and_wait("ERROR GetCompressionErrorThreshold");
  return 0.05F;
}

int write_compressed_data(bool REVERSE_NAME, int VERIFICATION, struct_read_write_depth& src,
                          char* directory, char* stem_depth, bool COLOUR_IMAGE_ON, char* stem_bgr,
                          unsigned char* colour_image, bool SAVE_WITH_TIMESTAMP, int number_digits,
                          int m_frameNb, char* timestamp, float* MapZ, float a11, float a22,
                          float cx, float cy, int debug) {
  FrameWrite frame{.record = src,
                   .directory = directory,
                   .stem_depth = stem_depth,
                   .stem_bgr = stem_bgr,
                   .with_colour = COLOUR_IMAGE_ON,
                   .colour_image = colour_image,
                   .reverse_name = REVERSE_NAME,
                   .key = {SAVE_WITH_TIMESTAMP, number_digits, m_frameNb, timestamp},
                   .depth = MapZ,
                   .intrinsics = {a11, a22, cx, cy},
                   .debug = debug};

  frame.trace(" - DEBUG - write_compressed_data");
  announce(frame);
  if (src.Label == nullptr && depth_io::pixel_count(src) > 0) return 0;
  if (!build_names(frame) || MapZ == nullptr) return 0;
  if (!store_colour_image(frame)) return 0;
  clear_record(frame);
  if (!label_pixels(frame)) return 0;
  if (!store_label_map(frame)) return 0;
  if (!store_references(frame)) return 0;
  if (!store_code_image(frame)) return 0;
  if (!read_code_image_back(frame)) return 0;
  if (!find_errors(frame)) return 0;
  if (!count_region_errors(frame)) return 0;
  if (!store_errors(frame)) return 0;
  if (!verify(frame, VERIFICATION)) return 0;
  frame.trace(" - DEBUG - write_compressed_data - done");
  return 1;
}
