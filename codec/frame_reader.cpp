#include "codec/frame_reader.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string_view>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/file_io.h"
#include "codec/frame_files.h"
#include "codec/frame_names.h"
#include "codec/jpeg_rows.h"
#include "codec/pixel_kernels.h"
#include "codec/unused_references.h"

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
  depth_io::FrameDamage damage = {};

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

  /// The same without a trace in the record.
  std::optional<depth_io::FileBytes> look_into(const char* ending, std::span<char> room) const {
    PathText path = name;
    path.cut_to(0);
    path.append(base_name).append(ending);
    if (!path.fits()) return {};
    return depth_io::read_regular_file(path.c_str(), room);
  }
};

FrameRead speaking_read(struct_read_write_depth& record, const char* base_name, int debug) {
  return {.record = record,
          .base_name = base_name,
          .speaks = true,
          .debug = debug,
          .name = PathText(depth_io::kReaderNameSize)};
}

/// Makes the per-pixel arrays of the record, each row once and all of them together while it is in
/// the caches: labels, exact codes, depths and metric maps. Whatever happens, all rows are complete
/// at the end; depths that could not be rebuilt are 0, so that nobody takes those of the frame
/// before for them.
class RowRebuilder {
 public:
  explicit RowRebuilder(struct_read_write_depth& record)
      : record_(record), unused_references_(record) {}
  ~RowRebuilder() {
    while (row_ < record_.height) pass_over_row();
  }
  RowRebuilder(const RowRebuilder&) = delete;
  RowRebuilder& operator=(const RowRebuilder&) = delete;

  void set_labels(std::string_view label_map) {
    if (depth_io::pixel_count(record_) > 0) {
      runs_.emplace(label_map, depth_io::pixel_count(record_));
    }
  }
  void set_label_count(int count) {
    label_count_ = count;
    unused_references_.keep_first(count);
  }
  void set_exact_codes(std::span<const unsigned char> error_file) {
    error_file_ = error_file;
    errors_.emplace(error_file);
  }
  /// Records that do not stand in the order of their rows are taken at the end, all at once.
  bool can_take_rows() const { return errors_ && errors_->are_in_order(); }
  std::size_t first_pixel() const { return static_cast<std::size_t>(row_) * width(); }
  bool is_complete() const { return row_ == record_.height; }
  bool found_bad_label() const { return found_bad_label_; }
  bool ran_out_of_labels() const { return runs_ && runs_->ended_early(); }

  /// The next row of the code image. Exact codes take the place of those that the JPEG spoiled.
  void take_row(unsigned char* codes) {
    start_row(codes);
    if (found_bad_label_) {
      fill_labels();
      clear_depths(0);
    } else {
      rebuild_depths(codes);
    }
    unused_references_.clear_row();
    ++row_;
  }

  /// Forgets the rows that were taken: the code image was not whole.
  void start_anew() {
    const std::size_t taken = first_pixel();
    std::fill_n(record_.ErrorCorrect, taken, -1);
    std::fill_n(record_.LoadedDepth, taken, 0.0F);
    std::fill_n(record_.LoadedMapX, taken, 0.0F);
    std::fill_n(record_.LoadedMapY, taken, 0.0F);
    errors_.reset();
  }

 private:
  static constexpr std::size_t kLongRun = 64;

  std::size_t width() const { return static_cast<std::size_t>(record_.width); }

  /// `codes` is null for a row that is not rebuilt.
  void start_row(unsigned char* codes) {
    if (row_ == 0 && errors_ && !errors_->are_in_order()) put_all_exact_codes();
    int* const exact_codes = record_.ErrorCorrect + first_pixel();
    if (exact_codes_are_there_) {
      if (codes != nullptr) take_over(exact_codes, codes);
      return;
    }
    std::fill_n(exact_codes, width(), -1);
    if (errors_) errors_->put_next_row(exact_codes, codes, record_.width);
  }

  void take_over(const int* exact_codes, unsigned char* codes) const {
    for (std::size_t column = 0; column < width(); ++column) {
      if (exact_codes[column] >= 0) codes[column] = static_cast<unsigned char>(exact_codes[column]);
    }
  }

  void put_all_exact_codes() {
    std::fill_n(record_.ErrorCorrect, depth_io::pixel_count(record_), -1);
    depth_io::ErrorFileParser parser(error_file_);
    parser.for_each_record([&](int /*down*/, int /*across*/, const depth_io::ErrorRecord& exact) {
      if (exact.row >= record_.height || exact.column >= record_.width) return;
      record_.ErrorCorrect[static_cast<std::size_t>(exact.row) * width() +
                           static_cast<std::size_t>(exact.column)] = exact.code;
    });
    exact_codes_are_there_ = true;
  }

  void pass_over_row() {
    start_row(nullptr);
    fill_labels();
    clear_depths(0);
    ++row_;
  }

  void fill_labels() {
    int* const labels = record_.Label + first_pixel();
    std::size_t column = 0;
    while (column < width()) column += put_run(labels + column, width() - column);
  }

  /// Puts the next run, as much of it as there is room for; returns its length.
  std::size_t put_run(int* labels, std::size_t room) {
    const std::size_t count = runs_ ? std::min(runs_->length(), room) : room;
    const int label = runs_ ? runs_->label() : -1;
    if (count < kLongRun) {
      std::fill_n(labels, count, label);
    } else {
      // Mostly those of the frame before: what is not written need not be written back.
      depth_io::pixel_kernels().refill(labels, count, static_cast<std::uint32_t>(label));
    }
    if (runs_) runs_->take(count);
    return count;
  }

  void clear_depths(std::size_t column) {
    const std::size_t pixel = first_pixel() + column;
    clear(pixel, width() - column);
  }

  void clear(std::size_t pixel, std::size_t count) {
    std::fill_n(record_.LoadedDepth + pixel, count, 0.0F);
    std::fill_n(record_.LoadedMapX + pixel, count, 0.0F);
    std::fill_n(record_.LoadedMapY + pixel, count, 0.0F);
  }

  /// Kept: rows go with cx and a11, columns with cy and a22; the checks pair them alike.
  void rebuild_depths(const unsigned char* codes) {
    const depth_io::PixelKernels& kernels = depth_io::pixel_kernels();
    const depth_io::RowGeometry geometry{static_cast<float>(row_) - record_.loaded_cx,
                                         record_.loaded_a11, record_.loaded_a22, record_.loaded_cy};
    for (std::size_t column = 0; column < width();) {
      const std::size_t pixel = first_pixel() + column;
      const std::size_t count = put_run(record_.Label + pixel, width() - column);
      const int label = record_.Label[pixel];
      found_bad_label_ = found_bad_label_ || label < -1 || label >= label_count_;
      if (found_bad_label_ || label == -1) {
        clear(pixel, count);
      } else {
        kernels.rebuild_pixels({codes + column, record_.LoadedDepth + pixel,
                                record_.LoadedMapX + pixel, record_.LoadedMapY + pixel},
                               count, width() - column, record_.LabelRefZ[label],
                               static_cast<int>(column), geometry);
      }
      column += count;
    }
  }

  struct_read_write_depth& record_;
  depth_io::UnusedReferences unused_references_;
  std::optional<depth_io::LabelRuns> runs_;
  std::optional<depth_io::ErrorRows> errors_;
  std::span<const unsigned char> error_file_;
  bool exact_codes_are_there_ = false;
  int label_count_ = 0;
  int row_ = 0;
  bool found_bad_label_ = false;
};

bool report_unopened(const FrameRead& frame, const char* ending) {
  if (frame.speaks) {
    print(" - WARNING - load_compressed_data - failed to open '%s%s'\n", frame.base_name, ending);
  }
  frame.wait_when_traced();
  return false;
}

bool report_wrong_word(const FrameRead& frame, const char* complaint) {
  frame.say(complaint);
  frame.wait();
  return false;
}

enum class Loaded { kFailed, kNothingMore, kGoOn };

Loaded load_references(FrameRead& frame) {
  // A line a label. The other files' rooms and this one may all be on the stack of a small thread.
  constexpr std::size_t kUsualReferences = 8 * 1024;
  char room[kUsualReferences];
  const auto file = frame.open(depth_io::kReferenceEnding, room);
  if (!file) {
    report_unopened(frame, depth_io::kReferenceEnding);
    return Loaded::kFailed;
  }
  const auto outcome = depth_io::parse_reference(file->text(), frame.record, frame.label_count);
  frame.damage.references = depth_io::ends_early(file->text(), frame.record, frame.label_count);
  switch (outcome) {
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

/// Hands the rows of the code image on while they are decoded.
struct CodeRows {
  RowRebuilder& rebuilder;
  int width;

  static void take(void* context, unsigned char* grey, int width) {
    const auto& rows = *static_cast<CodeRows*>(context);
    if (width == rows.width && !rows.rebuilder.is_complete()) rows.rebuilder.take_row(grey);
  }
};

bool load_code_image(FrameRead& frame, RowRebuilder& rebuilder) {
  const char* const name = frame.name_with(depth_io::kJpegEnding);
  const std::span<unsigned char> codes(frame.record.EncodeUC,
                                       kBytesPerPixel * depth_io::pixel_count(frame.record));
  CodeRows rows{rebuilder, frame.record.width};
  depth_io::RowSink sink{};
  if (rebuilder.can_take_rows()) sink = {CodeRows::take, &rows};
  depth_io::JpegReadResult image;
  if (frame.name.fits()) image = depth_io::read_jpeg_file(name, codes, sink);
  frame.damage.codes = image.warnings > 0;
  if (image.decoded) return true;
  rebuilder.start_anew();
  frame.say(" - ERROR - load_compressed_data - loading JpegFileToRGB failed !!!");
  frame.wait_when_traced();
  return false;
}

bool report_no_corrections(const FrameRead& frame) {
  if (frame.speaks) {
    print(" - ERROR - load_compressed_data - failed to load '%s%s'\n", frame.base_name,
          depth_io::kErrorEnding);
  }
  frame.wait_when_traced();
  return false;
}

bool report_bad_pixel(const FrameRead& frame, const char* complaint) {
  frame.say(complaint);
  frame.wait_when_traced();
  return false;
}

/// Rows that were not taken while the image was decoded: the record's own image tells them.
bool rebuild_rows_left(FrameRead& frame, RowRebuilder& rebuilder) {
  const auto width = static_cast<std::size_t>(frame.record.width);
  if (rebuilder.is_complete() || width == 0) return true;
  const std::unique_ptr<unsigned char[]> row(new (std::nothrow) unsigned char[width]);
  if (row == nullptr) {
    frame.say("Memory error");
    return false;
  }
  while (!rebuilder.is_complete()) {
    const unsigned char* const codes =
        frame.record.EncodeUC + kBytesPerPixel * rebuilder.first_pixel();
    for (std::size_t column = 0; column < width; ++column) {
      row[column] = codes[kBytesPerPixel * column];
    }
    rebuilder.take_row(row.get());
  }
  return true;
}

/// What follows once labels and references are known.
bool read_depths(FrameRead& frame, RowRebuilder& rebuilder,
                 const std::optional<depth_io::FileBytes>& errors) {
  if (errors) rebuilder.set_exact_codes(errors->bytes());
  frame.trace("DEBUG - load_compressed_data  - 5");
  if (!load_code_image(frame, rebuilder)) return false;
  frame.trace("DEBUG - load_compressed_data  - 6");
  frame.name_with(depth_io::kErrorEnding);
  if (!errors) return report_no_corrections(frame);
  frame.trace("DEBUG - load_compressed_data  - 6 b");
  frame.trace("DEBUG - load_compressed_data  - 7");
  frame.damage.errors = !depth_io::ErrorFileParser(errors->bytes()).has_announced_size();
  if (!rebuild_rows_left(frame, rebuilder)) return false;
  if (rebuilder.found_bad_label()) {
    return report_bad_pixel(frame, " - ERROR - load_compressed_data - label wrong");
  }
  frame.trace("DEBUG - load_compressed_data  - done");
  frame.wait_when_traced();
  return true;
}

bool read_frame(FrameRead& frame) {
  if (frame.base_name == nullptr || frame.record.Label == nullptr) return false;
  if (frame.traces()) print("DEBUG - load_compressed_data  - 1 '%s'\n", frame.base_name);
  // The rebuilder completes its rows at the end of its life, out of these files.
  char label_map_room[depth_io::kUsualFile];
  char errors_room[depth_io::kUsualFile];
  std::optional<depth_io::FileBytes> label_map;
  std::optional<depth_io::FileBytes> errors;
  RowRebuilder rebuilder(frame.record);
  frame.trace("DEBUG - load_compressed_data  - 2 ");
  if (frame.speaks) print("reading compressed data '%s'\n", frame.base_name);
  frame.trace("DEBUG - load_compressed_data  - 3");
  label_map = frame.open(depth_io::kLabelMapEnding, label_map_room);
  if (!label_map) return report_unopened(frame, depth_io::kLabelMapEnding);
  rebuilder.set_labels(label_map->text());
  frame.trace("DEBUG - load_compressed_data  - 4");
  const Loaded references = load_references(frame);
  rebuilder.set_label_count(frame.label_count);
  if (references != Loaded::kGoOn) return references == Loaded::kNothingMore;
  errors = frame.look_into(depth_io::kErrorEnding, errors_room);
  const bool is_read = read_depths(frame, rebuilder, errors);
  frame.damage.label_map = rebuilder.ran_out_of_labels();
  return is_read;
}

}  // namespace

bool load_compressed_data(struct_read_write_depth& src, char* FILENAME, int debug) {
  FrameRead frame = speaking_read(src, FILENAME, debug);
  return read_frame(frame);
}

bool load_compressed_data_vostrel(struct_read_write_depth& src, char* depth_filename) {
  FrameRead frame{.record = src,
                  .base_name = depth_filename,
                  .speaks = false,
                  .debug = 0,
                  .name = PathText(depth_io::kQuietReaderNameSize)};
  return read_frame(frame);
}

bool depth_io::load_and_check(struct_read_write_depth& src, const char* base_name,
                              FrameDamage& damage) {
  FrameRead frame = speaking_read(src, base_name, 0);
  const bool is_read = read_frame(frame);
  damage = frame.damage;
  return is_read;
}
