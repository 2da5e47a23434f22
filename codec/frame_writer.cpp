#include "codec/frame_writer.h"

#include <algorithm>
#include <cstddef>
#include <optional>

#include "codec/console.h"
#include "codec/error_detection.h"
#include "codec/frame_files.h"
#include "codec/frame_names.h"
#include "codec/frame_verification.h"
#include "codec/jpeg_rows.h"
#include "codec/pixel_coding.h"
#include "codec/pixel_kernels.h"
#include "codec/run_length.h"
#include "codec/unused_references.h"

using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;
using depth_io::wait_for_key;

namespace {

constexpr int kBytesPerPixel = 3;
/// Frames of the cameras are 640 pixels wide; rows up to this width are made in a buffer.
constexpr int kWidestRow = 4096;

/// Leaves nothing of a frame before behind the labels, and flags in the error map whatever becomes
/// of this one. Labels and codes are written for every pixel anyway, also when labelling fails.
class CleanRecord {
 public:
  explicit CleanRecord(struct_read_write_depth& record) : record_(record), references_(record) {}
  ~CleanRecord() {
    if (!has_flags_) std::fill_n(record_.ErrorMap, depth_io::pixel_count(record_), false);
  }
  CleanRecord(const CleanRecord&) = delete;
  CleanRecord& operator=(const CleanRecord&) = delete;

  void keep_references(int count) { references_.keep_first(count); }
  /// Row by row, beside work that leaves the memory idle; at the end of its life what is left.
  void clear_references_of_row() { references_.clear_row(); }
  void keep_flags() { has_flags_ = true; }

 private:
  struct_read_write_depth& record_;
  depth_io::UnusedReferences references_;
  bool has_flags_ = false;
};

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
  std::optional<CleanRecord> clean = {};
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
  frame.clean.emplace(frame.record);
}

bool label_pixels(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - label ref");
  const bool labelled = depth_io::label_pixels(frame.record, frame.depth, frame.label_count);
  frame.clean->keep_references(frame.label_count);
  return labelled;
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

/// Makes the code image row by row, as the encoder takes it. The error map keeps the codes, a byte
/// each, for the comparison with the read-back.
struct CodeRows {
  struct_read_write_depth& record;
  CleanRecord& clean;
  int made = 0;
  unsigned char grey[kWidestRow] = {};

  static const unsigned char* row_of(void* context, int /*row*/) {
    return static_cast<CodeRows*>(context)->make_row();
  }
  const unsigned char* make_row() {
    const auto width = static_cast<std::size_t>(record.width);
    const std::size_t first = static_cast<std::size_t>(made) * width;
    unsigned char* const codes = depth_io::codes_in_error_map(record) + first;
    depth_io::pixel_kernels().expand_codes(
        record.Encode + first, width,
        {.bgr = record.EncodeUC + kBytesPerPixel * first, .grey = grey, .codes = codes});
    clean.clear_references_of_row();
    ++made;
    return grey;
  }
  /// The record's image is complete, whatever became of the file.
  void make_all() {
    while (made < record.height) make_row();
  }
};

/// For frames that are wider than any camera's.
bool write_wide_code_image(struct_read_write_depth& record, char* name) {
  const std::size_t pixels = depth_io::pixel_count(record);
  unsigned char* const codes = depth_io::codes_in_error_map(record);
  unsigned char* bytes = record.EncodeUC;
  for (std::size_t pixel = 0; pixel < pixels; ++pixel, bytes += kBytesPerPixel) {
    codes[pixel] = static_cast<unsigned char>(record.Encode[pixel]);
    std::fill_n(bytes, kBytesPerPixel, codes[pixel]);
  }
  return record.jpgfile.RGBToJpegFile(name, record.EncodeUC, record.width, record.height, false,
                                      depth_io::kJpegQuality);
}

bool write_code_image(FrameWrite& frame, char* name) {
  struct_read_write_depth& record = frame.record;
  if (record.width > kWidestRow) return write_wide_code_image(record, name);
  CodeRows rows{record, *frame.clean};
  const bool written = depth_io::write_grey_jpeg_file(
      name, record.width, record.height, depth_io::kJpegQuality, {CodeRows::row_of, &rows});
  rows.make_all();
  return written;
}

bool store_code_image(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - jpg init");
  struct_read_write_depth& record = frame.record;
  char* const name = frame.name_with(depth_io::kJpegEnding);
  if (frame.traces()) print(" - DEBUG - write_compressed_data - jpg saving '%s'\n", name);
  const bool written = write_code_image(frame, name);
  if (!written) {
    print("write_compressed_data - liblinjpeg - failed to save encode jpeg '%s' %d x %d\n", name,
          record.width, record.height);
    return false;
  }
  return true;
}

/// Looks for errors in the rows of the read-back while they are decoded.
struct ReadBackRows {
  depth_io::ErrorFinder& finder;
  int width;
  int rows_left;

  static void take(void* context, unsigned char* grey, int width) {
    auto& rows = *static_cast<ReadBackRows*>(context);
    if (width != rows.width || rows.rows_left == 0) return;
    rows.finder.take_row(grey);
    --rows.rows_left;
  }
};

/// Reads the code image back and flags the pixels that it spoiled.
bool find_errors(FrameWrite& frame) {
  frame.trace(" - DEBUG - write_compressed_data - jpg saved");
  frame.trace(" - DEBUG - write_compressed_data - load jpg for err");
  struct_read_write_depth& record = frame.record;
  const char* const name = frame.name_with(depth_io::kJpegEnding);
  const std::span<unsigned char> read_back(record.EncodeUC2,
                                           kBytesPerPixel * depth_io::pixel_count(record));
  depth_io::ErrorFinder finder(record);
  ReadBackRows rows{finder, record.width, record.height};
  depth_io::RowSink sink{};
  if (finder.takes_rows()) sink = {ReadBackRows::take, &rows};
  if (!depth_io::read_jpeg_file(name, read_back, sink).decoded) {
    return refuse("ERROR - TOLVA_ReadJpgImage - JpegFileToRGB failed !!!");
  }
  frame.trace(" - DEBUG - write_compressed_data - loaded jpg");
  frame.error_count = finder.finish();
  frame.clean->keep_flags();
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

bool verify(FrameWrite& frame, int mode) {
  switch (mode) {
    case 0:
      if (frame.traces()) print(" - DEBUG - write_compressed_data - verif mode %d\n", mode);
      return depth_io::verify_error_file(frame.record, frame.name_with(depth_io::kErrorEnding),
                                         frame.region_counts);
    case 1:
      return depth_io::verify_depth_content(frame.record, frame.label_count, frame.base_name(),
                                            frame.debug);
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
  depth_io::report_depth_without_threshold();
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
  if (!find_errors(frame)) return 0;
  if (!count_region_errors(frame)) return 0;
  if (!store_errors(frame)) return 0;
  if (!verify(frame, VERIFICATION)) return 0;
  frame.trace(" - DEBUG - write_compressed_data - done");
  return 1;
}
