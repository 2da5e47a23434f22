#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "codec/frame_format.h"
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

/// Fills the record's labels from a label map; pixels that it does not describe stay -1.
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
/// pixels; what stands before a wrong word is kept.
ReferenceOutcome parse_reference(std::string_view text, struct_read_write_depth& record,
                                 int& label_count);

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
  explicit ErrorFileParser(std::span<const unsigned char> bytes);

  const RegionCounts& counts() const { return counts_; }

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
  static constexpr std::size_t kRecordSize = 3;

  std::span<const unsigned char> rest_;
  RegionCounts counts_;
};

}  // namespace depth_io
