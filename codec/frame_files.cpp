#include "codec/frame_files.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <optional>

#include "codec/depth_code.h"
#include "codec/error_detection.h"
#include "codec/file_io.h"
#include "codec/numeric.h"
#include "codec/text_parser.h"

namespace depth_io {
namespace {

/// Calls `visit(row_in_region, first_pixel, columns)` for each row of a region within the image.
template <typename Visit>
void for_each_row(const struct_read_write_depth& record, int region, Visit visit) {
  const int first_row = region / kRegionsAcross * kRegionSize;
  const int first_column = region % kRegionsAcross * kRegionSize;
  const int rows = std::min(kRegionSize, record.height - first_row);
  const int columns = std::min(kRegionSize, record.width - first_column);
  if (columns <= 0) return;
  for (int row = 0; row < rows; ++row) {
    const std::size_t first_pixel =
        static_cast<std::size_t>(first_row + row) * static_cast<std::size_t>(record.width) +
        static_cast<std::size_t>(first_column);
    visit(row, first_pixel, static_cast<std::size_t>(columns));
  }
}

bool write_counts(BufferedFile& file, const RegionCounts& counts) {
  for (const int count : counts.of) {
    int high = 0;
    const int low = __Modulo(256, count, high);
    if (!is_valid_code(high) || !is_valid_code(low)) return false;
    file.write_bytes({high, low});
  }
  return true;
}

bool write_records(BufferedFile& file, const struct_read_write_depth& record) {
  bool all_valid = true;
  for (int region = 0; region < kRegionCount; ++region) {
    for_each_row(record, region, [&](int row, std::size_t first_pixel, std::size_t columns) {
      const int* const codes = record.Encode + first_pixel;
      char* out = file.room_for(ErrorFileParser::kRecordSize * columns + sizeof(std::uint32_t));
      for_each_flag(record.ErrorMap + first_pixel, columns, [&](std::size_t column) {
        const auto code = static_cast<std::uint32_t>(codes[column]);
        all_valid = all_valid && is_valid_code(codes[column]);
        // Three bytes at once; the fourth is written over.
        const std::uint32_t bytes = static_cast<std::uint32_t>(row) |
                                    static_cast<std::uint32_t>(column) << 8U | code << 16U;
        std::memcpy(out, &bytes, sizeof bytes);
        out += all_valid ? ErrorFileParser::kRecordSize : 0;
      });
      file.use_room_to(out);
    });
  }
  return all_valid;
}

/// Reads `keyword` and the number behind it; false when another word stands there. A number that
/// cannot be read leaves `value` as it was.
bool parse_named_real(TextParser& parser, std::string_view keyword, float& value) {
  if (parser.word() != keyword) return false;
  value = parser.real().value_or(value);
  return true;
}

}  // namespace

bool write_label_map_file(const char* path, const struct_read_write_depth& record) {
  BufferedFile file(path);
  // Kept: the count goes out with the first run, so a map without runs has no count line.
  if (record.RLE_NbNb > 0) file.write_line(record.RLE_NbNb);
  for (int run = 0; run < record.RLE_NbNb; ++run) {
    file.write_line(record.RLE_Nb[run], record.RLE_Val[run]);
  }
  file.write("\n");
  return file.close();
}

bool write_reference_file(const char* path, const Intrinsics& intrinsics,
                          std::span<const float> references) {
  BufferedFile file(path);
  file.write("nblabels ");
  file.write_int(static_cast<int>(references.size()));
  file.write(" a11 ");
  file.write_fixed(intrinsics.a11);
  file.write(" a22 ");
  file.write_fixed(intrinsics.a22);
  file.write(" cx ");
  file.write_fixed(intrinsics.cx);
  file.write(" cy ");
  file.write_fixed(intrinsics.cy);
  file.write("\n");
  for (const float reference : references) {
    file.write_fixed_line(reference);
  }
  return file.close();
}

RegionCounts count_errors(const struct_read_write_depth& record) {
  RegionCounts counts;
  for (int region = 0; region < kRegionCount; ++region) {
    for_each_row(record, region, [&](int /*row*/, std::size_t first_pixel, std::size_t columns) {
      counts.of[region] += count_flags(record.ErrorMap + first_pixel, columns);
    });
  }
  return counts;
}

ErrorFileOutcome write_error_file(const char* path, const struct_read_write_depth& record,
                                  const RegionCounts& counts) {
  BufferedFile file(path);
  if (!file.is_open()) return ErrorFileOutcome::kNotWritten;
  ErrorFileOutcome outcome = ErrorFileOutcome::kWritten;
  if (!write_counts(file, counts)) {
    outcome = ErrorFileOutcome::kCountTooLarge;
  } else if (!write_records(file, record)) {
    outcome = ErrorFileOutcome::kRecordOutOfRange;
  }
  const bool written = file.close();
  return written || outcome != ErrorFileOutcome::kWritten ? outcome : ErrorFileOutcome::kNotWritten;
}

LabelRuns::LabelRuns(std::string_view text, std::size_t pixels)
    : parser_(text),
      // Never more runs than pixels: runs of no length do not keep us here.
      runs_left_(std::min(parser_.integer().value_or(0), static_cast<int>(pixels))),
      left_(pixels) {
  read_run();
}

/// False when there are no two numbers.
bool LabelRuns::read_pair(int& length, int& label) {
  if (parser_.short_pair(length, label)) return true;
  const std::optional<int> first = parser_.integer();
  const std::optional<int> second = first ? parser_.integer() : std::nullopt;
  if (!second) return false;
  length = *first;
  label = *second;
  return true;
}

void LabelRuns::read_run() {
  int length = 0;
  int label = 0;
  for (; runs_left_ > 0 && read_pair(length, label); --runs_left_) {
    if (length <= 0) continue;
    --runs_left_;
    label_ = label;
    length_ = std::min(static_cast<std::size_t>(length), left_);
    return;
  }
  runs_left_ = 0;
  label_ = -1;
  length_ = left_;
  ended_early_ = true;
}

void parse_label_map(std::string_view text, struct_read_write_depth& record) {
  const std::size_t pixels = pixel_count(record);
  if (pixels == 0) return;
  LabelRuns runs(text, pixels);
  for (std::size_t done = 0; done < pixels;) {
    const std::size_t length = runs.length();
    std::fill_n(record.Label + done, length, runs.label());
    done += length;
    runs.take(length);
  }
}

ReferenceOutcome parse_reference(std::string_view text, struct_read_write_depth& record,
                                 int& label_count) {
  TextParser parser(text);
  label_count = 0;
  if (parser.word() != "nblabels") return ReferenceOutcome::kBadLabelCountWord;
  const auto most_labels = static_cast<int>(pixel_count(record));
  label_count = std::min(parser.integer().value_or(0), most_labels);
  if (label_count < 1) return ReferenceOutcome::kNoLabels;
  std::fill_n(record.LabelRefZ, label_count, kNoReference);
  if (!parse_named_real(parser, "a11", record.loaded_a11)) return ReferenceOutcome::kBadA11Word;
  if (!parse_named_real(parser, "a22", record.loaded_a22)) return ReferenceOutcome::kBadA22Word;
  if (!parse_named_real(parser, "cx", record.loaded_cx)) return ReferenceOutcome::kBadCxWord;
  if (!parse_named_real(parser, "cy", record.loaded_cy)) return ReferenceOutcome::kBadCyWord;
  for (int label = 0; label < label_count; ++label) {
    const std::optional<float> reference = parser.real();
    if (!reference) break;
    record.LabelRefZ[label] = *reference;
  }
  return ReferenceOutcome::kComplete;
}

bool ends_early(std::string_view text, const struct_read_write_depth& record, int label_count) {
  if (label_count < 1) return false;
  // Where one is missing, all behind it are.
  return !text.ends_with('\n') || record.LabelRefZ[label_count - 1] == kNoReference;
}

ErrorFileParser::ErrorFileParser(std::span<const unsigned char> bytes) : rest_(bytes) {
  constexpr std::size_t kCountSize = 2;
  for (int& count : counts_.of) {
    if (rest_.size() < kCountSize) {
      rest_ = {};
      return;
    }
    count = rest_[0] * 256 + rest_[1];
    rest_ = rest_.subspan(kCountSize);
  }
  const int records = std::accumulate(std::begin(counts_.of), std::end(counts_.of), 0);
  has_announced_size_ = rest_.size() == static_cast<std::size_t>(records) * kRecordSize;
}

ErrorRows::ErrorRows(std::span<const unsigned char> bytes) {
  ErrorFileParser parser(bytes);
  std::size_t first = std::min(bytes.size(), ErrorFileParser::kCountsSize);
  for (int region = 0; region < kRegionCount; ++region) {
    const std::size_t wanted =
        static_cast<std::size_t>(parser.counts().of[region]) * ErrorFileParser::kRecordSize;
    const std::size_t whole =
        (bytes.size() - first) / ErrorFileParser::kRecordSize * ErrorFileParser::kRecordSize;
    const std::size_t size = std::min(wanted, whole);
    left_in_[region] = bytes.subspan(first, size);
    first += size;
    const auto& records = left_in_[region];
    for (std::size_t i = ErrorFileParser::kRecordSize; i < size;
         i += ErrorFileParser::kRecordSize) {
      in_order_ = in_order_ && records[i] >= records[i - ErrorFileParser::kRecordSize];
    }
  }
}

void ErrorRows::put_next_row(int* exact_codes, unsigned char* codes, int width) {
  const int down = row_ / kRegionSize;
  const int row_in_region = row_ % kRegionSize;
  ++row_;
  if (down >= kRegionsDown) return;
  for (int across = 0; across < kRegionsAcross; ++across) {
    std::span<const unsigned char>& records = left_in_[down * kRegionsAcross + across];
    const unsigned char* record = records.data();
    const unsigned char* const end = record + records.size();
    for (; record != end && record[0] == row_in_region; record += ErrorFileParser::kRecordSize) {
      const int column = record[1] + kRegionSize * across;
      if (column >= width) continue;
      exact_codes[column] = record[2];
      if (codes != nullptr) codes[column] = record[2];
    }
    records = {record, end};
  }
}

}  // namespace depth_io
