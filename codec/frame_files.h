#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "codec/frame_format.h"
#include "codec/text_parser.h"
#include "codec/working_record.h"

/// Writes and parses the files of one frame, see docs/format.md. Parsing works on bytes in memory
/// and trusts none of them.
namespace depth_io {

struct Intrinsics {
  float a11 = 0.0F;  ///< focal lengths, pixels
  float a22 = 0.0F;
  float cx = 0.0F;  ///< principal point, pixels
  float cy = 0.0F;
};

/// Writes the record's runs as the label map; false when the file could not be written whole.
bool write_label_map_file(const char* path, const struct_read_write_depth& record);

/// Writes intrinsics and reference depths; false when the file could not be written whole.
bool write_reference_file(const char* path, const Intrinsics& intrinsics,
                          std::span<const float> references);

/// Number of error records of each region.
struct RegionCounts {
  int of[kRegionCount] = {};
};

/// Counts the flagged pixels of each region.
RegionCounts count_errors(const struct_read_write_depth& record);

enum class ErrorFileOutcome { kWritten, kNotWritten, kCountTooLarge, kRecordOutOfRange };

/// Writes the exact code of every flagged pixel. A count that does not fit two bytes ends the file
/// after the counts before it.
ErrorFileOutcome write_error_file(const char* path, const struct_read_write_depth& record,
                                  const RegionCounts& counts);

/// The runs of a label map, one after the other. Together they cover all pixels: what the map does
/// not describe is one last run of -1.
class LabelRuns {
 public:
  /// Of so many pixels, at least one.
  LabelRuns(std::string_view text, std::size_t pixels);

  /// Label of the next pixel.
  int label() const { return label_; }
  /// How many pixels from the next one on have it.
  std::size_t length() const { return length_; }
  /// Whether the text described fewer pixels than there are, as far as they were taken.
  bool ended_early() const { return ended_early_; }
  /// Passes over so many of them.
  void take(std::size_t count) {
    length_ -= count;
    left_ -= count;
    if (length_ == 0 && left_ > 0) read_run();
  }

 private:
  void read_run();
  bool read_pair(int& length, int& label);

  TextParser parser_;
  int runs_left_;
  std::size_t left_;  ///< pixels, those of this run included
  int label_ = -1;
  std::size_t length_ = 0;
  bool ended_early_ = false;
};

/// Fills the record's labels from a label map.
void parse_label_map(std::string_view text, struct_read_write_depth& record);

enum class ReferenceOutcome {
  kComplete,
  kNoLabels,
  kBadLabelCountWord,
  kBadA11Word,
  kBadA22Word,
  kBadCxWord,
  kBadCyWord
};

/// Fills the record's intrinsics and reference depths and sets `label_count`, at most the number of
/// pixels; what stands before a wrong word is kept. A reference depth that cannot be read, and each
/// behind it, is `kNoReference`.
ReferenceOutcome parse_reference(std::string_view text, struct_read_write_depth& record,
                                 int& label_count);

/// Whether the text of a reference file that was parsed ends within its references, or behind too
/// few of them.
bool ends_early(std::string_view text, const struct_read_write_depth& record, int label_count);

/// One exact code: where it lies in its region, and in the image.
struct ErrorRecord {
  int row_in_region;
  int column_in_region;
  int row;
  int column;
  int code;
};

/// Walks through an error file. Whatever is missing at its end is no record.
class ErrorFileParser {
 public:
  static constexpr std::size_t kCountsSize = 2 * kRegionCount;
  static constexpr std::size_t kRecordSize = 3;

  explicit ErrorFileParser(std::span<const unsigned char> bytes);

  const RegionCounts& counts() const { return counts_; }
  /// Whether there are as many bytes of records as the counts say.
  bool has_announced_size() const { return has_announced_size_; }

  /// Calls `take(region_down, region_across, record)` for each record that the file holds.
  template <typename Take>
  void for_each_record(Take take) {
    for (int region = 0; region < kRegionCount; ++region) {
      const int down = region / kRegionsAcross;
      const int across = region % kRegionsAcross;
      for (int i = 0; i < counts_.of[region] && rest_.size() >= kRecordSize; ++i) {
        const int row = rest_[0];
        const int column = rest_[1];
        take(down, across,
             ErrorRecord{row, column, row + kRegionSize * down, column + kRegionSize * across,
                         rest_[2]});
        rest_ = rest_.subspan(kRecordSize);
      }
    }
  }

 private:
  std::span<const unsigned char> rest_;
  RegionCounts counts_;
  bool has_announced_size_ = false;
};

/// The records of an error file by rows, as the writer has put them; others are for
/// `ErrorFileParser`.
class ErrorRows {
 public:
  explicit ErrorRows(std::span<const unsigned char> bytes);

  /// Whether each region's records stand in the order of their rows.
  bool are_in_order() const { return in_order_; }

  /// Puts the codes of the next row into its `width` places and, if `codes` is not null, in the
  /// place of its codes.
  void put_next_row(int* exact_codes, unsigned char* codes, int width);

 private:
  std::span<const unsigned char> left_in_[kRegionCount];
  bool in_order_ = true;
  int row_ = 0;
};

}  // namespace depth_io
