#include "codec/frame_reader.h"

#include <algorithm>
#include <cstddef>
#include <span>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/file_io.h"
#include "codec/frame_files.h"
#include "codec/frame_names.h"
#include "codec/pixel_kernels.h"
#include "codec/prefetch.h"

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
  std::optional<depth_io::FileBytes> open(const char* ending, std::span<char> room) {
    const char* const file_name = name_with(ending);
    if (!name.fits()) return {};
    return depth_io::read_regular_file(file_name, room);
  }
};

/// Of the maps, what has not been rebuilt at the end is 0: nobody takes the depths of the frame
/// before for those of a damaged one. Filling them first would write everything twice.
class RebuiltMaps {
 public:
  explicit RebuiltMaps(struct_read_write_depth& record) : record_(record) {}
  ~RebuiltMaps() { clear(depth_io::pixel_count(record_) - done_); }
  RebuiltMaps(const RebuiltMaps&) = delete;
  RebuiltMaps& operator=(const RebuiltMaps&) = delete;

  /// The next so many pixels have been rebuilt.
  void add(std::size_t count) { done_ += count; }
  /// The next so many pixels hold nothing.
  void clear(std::size_t count) {
    std::fill_n(record_.LoadedDepth + done_, count, 0.0F);
    std::fill_n(record_.LoadedMapX + done_, count, 0.0F);
    std::fill_n(record_.LoadedMapY + done_, count, 0.0F);
    done_ += count;
  }
  std::size_t done() const { return done_; }

 private:
  struct_read_write_depth& record_;
  std::size_t done_ = 0;
};

void clear_record(FrameRead& frame) {
  struct_read_write_depth& record = frame.record;
  const std::size_t pixels = depth_io::pixel_count(record);
  depth_io::pixel_kernels().refill(record.LabelRefZ, pixels, -1.0F);
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
  char room[depth_io::kUsualFile];
  const auto file = frame.open(depth_io::kLabelMapEnding, room);
  if (!file) {
    std::fill_n(frame.record.Label, depth_io::pixel_count(frame.record), -1);
    return report_unopened(frame, depth_io::kLabelMapEnding);
  }
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
  char room[depth_io::kUsualFile];
  const auto file = frame.open(depth_io::kReferenceEnding, room);
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
  char room[depth_io::kUsualFile];
  const auto file = frame.open(depth_io::kErrorEnding, room);
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

/// What the metric maps of a row are made with. Kept: rows go with cx and a11, columns with cy and
/// a22; the checks pair them alike.
depth_io::RowGeometry geometry_of(const struct_read_write_depth& record, int row) {
  return {static_cast<float>(row) - record.loaded_cx, record.loaded_a11, record.loaded_a22,
          record.loaded_cy};
}

/// What is read and written next, while this row is worked on.
void prefetch_row(const struct_read_write_depth& record, std::size_t first_pixel) {
  const std::size_t bytes = static_cast<std::size_t>(record.width) * sizeof(float);
  depth_io::prefetch(record.Label + first_pixel, bytes);
  depth_io::prefetch(record.ErrorCorrect + first_pixel, bytes);
  depth_io::prefetch_to_write(record.LoadedDepth + first_pixel, bytes);
  depth_io::prefetch_to_write(record.LoadedMapX + first_pixel, bytes);
  depth_io::prefetch_to_write(record.LoadedMapY + first_pixel, bytes);
}

/// Rebuilds a row, run by run of one label; false at a pixel that cannot be.
bool rebuild_row(const FrameRead& frame, int row, RebuiltMaps& maps) {
  const struct_read_write_depth& record = frame.record;
  const depth_io::PixelKernels& kernels = depth_io::pixel_kernels();
  const depth_io::RowGeometry geometry = geometry_of(record, row);
  const std::size_t end = maps.done() + static_cast<std::size_t>(record.width);
  while (maps.done() < end) {
    const std::size_t pixel = maps.done();
    const int label = record.Label[pixel];
    if (label < -1 || label >= frame.label_count) {
      return report_bad_pixel(frame, " - ERROR - load_compressed_data - label wrong");
    }
    const std::size_t count = kernels.run_length(record.Label + pixel, end - pixel);
    if (label == -1) {
      maps.clear(count);
      continue;
    }
    const int column = record.width - static_cast<int>(end - pixel);
    kernels.rebuild_pixels(
        {record.EncodeUC + kBytesPerPixel * pixel, record.ErrorCorrect + pixel,
         record.LoadedDepth + pixel, record.LoadedMapX + pixel, record.LoadedMapY + pixel},
        count, record.LabelRefZ[label], column, geometry);
    maps.add(count);
  }
  return true;
}

/// Depth and metric maps from labels, codes and corrections.
bool rebuild_depth(FrameRead& frame, RebuiltMaps& maps) {
  for (int row = 0; row < frame.record.height; ++row) {
    prefetch_row(frame.record, maps.done() + static_cast<std::size_t>(frame.record.width));
    if (!rebuild_row(frame, row, maps)) return false;
  }
  return true;
}

bool read_frame(FrameRead frame) {
  if (frame.base_name == nullptr || frame.record.Label == nullptr) return false;
  if (frame.traces()) print("DEBUG - load_compressed_data  - 1 '%s'\n", frame.base_name);
  RebuiltMaps maps(frame.record);
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
  if (!rebuild_depth(frame, maps)) return false;
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
