#include "codec/frame_reader.h"

#include <algorithm>
#include <cstddef>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/file_io.h"
#include "codec/frame_files.h"
#include "codec/frame_names.h"

using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;
using depth_io::wait_for_key;

namespace {

constexpr std::size_t kBytesPerPixel = 3;

/// What is read, and how much is said about it.
struct FrameRead {
  struct_read_write_depth& record;
  const char* base_name;
  bool speaks;
  int debug;
  PathText name;
  int label_count = 0;

  bool traces() const { return speaks && debug == 1; }
  void trace(const char* text) const {
    if (traces()) print_line(text);
  }
  void say(const char* text) const {
    if (speaks) print_line(text);
  }
  void wait_when_traced() const {
    if (traces()) wait_for_key();
  }
  void wait() const {
    if (speaks) wait_for_key();
  }

  /// The name of the file with this ending. The speaking reader leaves it in its record, too.
  const char* name_with(const char* ending) {
    name.cut_to(0);
    name.append(base_name).append(ending);
    if (speaks && name.fits()) {
      depth_io::copy_text(record.temp_filename, sizeof record.temp_filename, name.c_str());
    }
    return name.c_str();
  }

  /// The bytes of the file with this ending; nothing when it cannot be read or its name is too
  /// long.
  std::optional<depth_io::FileBytes> open(const char* ending) {
    const char* const file_name = name_with(ending);
    if (!name.fits()) return {};
    return depth_io::read_regular_file(file_name);
  }
};

void clear_record(FrameRead& frame) {
  struct_read_write_depth& record = frame.record;
  const std::size_t pixels = depth_io::pixel_count(record);
  std::fill_n(record.LoadedDepth, pixels, 0.0F);
  std::fill_n(record.LoadedMapX, pixels, 0.0F);
  std::fill_n(record.LoadedMapY, pixels, 0.0F);
  std::fill_n(record.Label, pixels, -1);
  std::fill_n(record.LabelRefZ, pixels, -1.0F);
  std::fill_n(record.ErrorCorrect, pixels, -1);
}

bool report_unopened(const FrameRead& frame, const char* ending) {
  if (frame.speaks) {
    print(" - WARNING - load_compressed_data - failed to open '%s%s'\n", frame.base_name, ending);
  }
  frame.wait_when_traced();
  return false;
}

bool load_label_map(FrameRead& frame) {
  const auto file = frame.open(depth_io::kLabelMapEnding);
  if (!file) return report_unopened(frame, depth_io::kLabelMapEnding);
  depth_io::parse_label_map(file->text(), frame.record);
  return true;
}

bool report_wrong_word(const FrameRead& frame, const char* complaint) {
  frame.say(complaint);
  frame.wait();
  return false;
}

enum class Loaded { kFailed, kNothingMore, kGoOn };

Loaded load_references(FrameRead& frame) {
  const auto file = frame.open(depth_io::kReferenceEnding);
  if (!file) {
    report_unopened(frame, depth_io::kReferenceEnding);
    return Loaded::kFailed;
  }
  switch (depth_io::parse_reference(file->text(), frame.record, frame.label_count)) {
    case depth_io::ReferenceOutcome::kBadLabelCountWord:
      report_wrong_word(frame, " - ERROR - load_compressed_data - loading nblabels");
      return Loaded::kFailed;
    case depth_io::ReferenceOutcome::kNoLabels:
      frame.say(" - INFO - load_compressed_data - No loaded Labels");
      frame.wait_when_traced();
      return Loaded::kNothingMore;
    case depth_io::ReferenceOutcome::kBadA11Word:
      report_wrong_word(frame, " - ERROR - load_compressed_data - loading a11");
      return Loaded::kFailed;
    case depth_io::ReferenceOutcome::kBadA22Word:
      report_wrong_word(frame, " - ERROR - load_compressed_data - loading a22");
      return Loaded::kFailed;
    case depth_io::ReferenceOutcome::kBadCxWord:
      report_wrong_word(frame, " - ERROR - load_compressed_data - loading cx");
      return Loaded::kFailed;
    case depth_io::ReferenceOutcome::kBadCyWord:
      report_wrong_word(frame, " - ERROR - load_compressed_data - loading cy");
      return Loaded::kFailed;
    case depth_io::ReferenceOutcome::kComplete:
      break;
  }
  return Loaded::kGoOn;
}

bool load_code_image(FrameRead& frame) {
  const char* const name = frame.name_with(depth_io::kJpegEnding);
  const std::span<unsigned char> codes(frame.record.EncodeUC,
                                       kBytesPerPixel * depth_io::pixel_count(frame.record));
  if (frame.name.fits() && depth_io::read_jpeg_file(name, codes).decoded) return true;
  frame.say(" - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!");
  frame.wait_when_traced();
  return false;
}

bool load_corrections(FrameRead& frame) {
  struct_read_write_depth& record = frame.record;
  const auto file = frame.open(depth_io::kErrorEnding);
  if (!file) {
    if (frame.speaks) {
      print(" - ERROR - load_compressed_data - failed to load '%s%s'\n", frame.base_name,
            depth_io::kErrorEnding);
    }
    frame.wait_when_traced();
    return false;
  }
  depth_io::ErrorFileParser parser(file->bytes());
  parser.for_each_record([&](int /*down*/, int /*across*/, const depth_io::ErrorRecord& exact) {
    if (exact.row >= record.height || exact.column >= record.width) return;
    record
        .ErrorCorrect[static_cast<std::size_t>(exact.row) * static_cast<std::size_t>(record.width) +
                      static_cast<std::size_t>(exact.column)] = exact.code;
  });
  return true;
}

bool report_bad_pixel(const FrameRead& frame, const char* complaint) {
  frame.say(complaint);
  frame.wait_when_traced();
  return false;
}

/// Rebuilds the depths of a row; false at a pixel that cannot be. `all_labelled` turns false at a
/// pixel without label.
bool rebuild_row(const FrameRead& frame, std::size_t first_pixel, bool& all_labelled) {
  const struct_read_write_depth& record = frame.record;
  const int* const label_of = record.Label;
  const int* const exact_code_of = record.ErrorCorrect;
  const unsigned char* const codes = record.EncodeUC;
  const float* const references = record.LabelRefZ;
  float* const depth = record.LoadedDepth;
  const std::size_t end = first_pixel + static_cast<std::size_t>(record.width);
  for (std::size_t pixel = first_pixel; pixel < end; ++pixel) {
    const int label = label_of[pixel];
    if (label < -1 || label >= frame.label_count) {
      return report_bad_pixel(frame, " - ERROR - load_compressed_data - label wrong");
    }
    if (label == -1) {
      all_labelled = false;
      continue;
    }
    const int from_image = codes[kBytesPerPixel * pixel];
    if (!depth_io::is_valid_code(from_image)) {
      return report_bad_pixel(frame, " - ERROR - load_compressed_data - encode wrong");
    }
    const int exact = exact_code_of[pixel];
    depth[pixel] = depth_io::clamp_depth(
        depth_io::decode_depth(exact >= 0 ? exact : from_image, references[label]));
  }
  return true;
}

/// Metric X and Y of a row. Kept: rows go with cx and a11, columns with cy and a22; the checks pair
/// them alike.
void map_row(struct_read_write_depth& record, int row, std::size_t first_pixel) {
  const float* const depth = record.LoadedDepth + first_pixel;
  float* const map_x = record.LoadedMapX + first_pixel;
  float* const map_y = record.LoadedMapY + first_pixel;
  const float x = static_cast<float>(row) - record.loaded_cx;
  const float a11 = record.loaded_a11;
  const float a22 = record.loaded_a22;
  const float cy = record.loaded_cy;
  for (int col = 0; col < record.width; ++col) {
    map_x[col] = x * depth[col] / a11;
    map_y[col] = (static_cast<float>(col) - cy) * depth[col] / a22;
  }
}

void clear_unlabelled(struct_read_write_depth& record, std::size_t first_pixel) {
  const std::size_t end = first_pixel + static_cast<std::size_t>(record.width);
  for (std::size_t pixel = first_pixel; pixel < end; ++pixel) {
    if (record.Label[pixel] != -1) continue;
    record.LoadedMapX[pixel] = 0.0F;
    record.LoadedMapY[pixel] = 0.0F;
  }
}

/// Depth and metric maps from labels, codes and corrections.
bool rebuild_depth(FrameRead& frame) {
  struct_read_write_depth& record = frame.record;
  std::size_t first_pixel = 0;
  for (int row = 0; row < record.height; ++row) {
    bool all_labelled = true;
    if (!rebuild_row(frame, first_pixel, all_labelled)) return false;
    map_row(record, row, first_pixel);
    if (!all_labelled) clear_unlabelled(record, first_pixel);
    first_pixel += static_cast<std::size_t>(record.width);
  }
  return true;
}

bool read_frame(FrameRead frame) {
  if (frame.base_name == nullptr || frame.record.Label == nullptr) return false;
  if (frame.traces()) print("DEBUG - load_compressed_data  - 1 '%s'\n", frame.base_name);
  clear_record(frame);
  frame.trace("DEBUG - load_compressed_data  - 2 ");
  if (frame.speaks) print("reading compressed data '%s'\n", frame.base_name);
  frame.trace("DEBUG - load_compressed_data  - 3");
  if (!load_label_map(frame)) return false;
  frame.trace("DEBUG - load_compressed_data  - 4");
  const Loaded references = load_references(frame);
  if (references != Loaded::kGoOn) return references == Loaded::kNothingMore;
  frame.trace("DEBUG - load_compressed_data  - 5");
  if (!load_code_image(frame)) return false;
  frame.trace("DEBUG - load_compressed_data  - 6");
  if (!load_corrections(frame)) return false;
  frame.trace("DEBUG - load_compressed_data  - 6 b");
  frame.trace("DEBUG - load_compressed_data  - 7");
  if (!rebuild_depth(frame)) return false;
  frame.trace("DEBUG - load_compressed_data  - done");
  frame.wait_when_traced();
  return true;
}

}  // namespace

bool load_compressed_data(struct_read_write_depth& src, char* FILENAME, int debug) {
  return read_frame({.record = src,
                     .base_name = FILENAME,
                     .speaks = true,
                     .debug = debug,
                     .name = PathText(depth_io::kReaderNameSize)});
}

bool load_compressed_data_vostrel(struct_read_write_depth& src, char* depth_filename) {
  return read_frame({.record = src,
                     .base_name = depth_filename,
                     .speaks = false,
                     .debug = 0,
                     .name = PathText(depth_io::kQuietReaderNameSize)});
}
