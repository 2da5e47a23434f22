#include "codec/frame_verification.h"

#include <cmath>
#include <cstddef>
#include <new>

#include "codec/console.h"
#include "codec/depth_code.h"
#include "codec/file_io.h"
#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "codec/record_allocation.h"

namespace depth_io {
namespace {

constexpr float kVerificationMargin = 0.001F;

bool refuse(const char* complaint) {
  print_line_and_wait(complaint);
  return false;
}

/// False when there is no memory for another record of the size.
bool allocate_like(const struct_read_write_depth& record, struct_read_write_depth& other) {
  try {
    return allocate_short_lived(other, record.width, record.height);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

/// Compares a frame that was read back with the writer's quantised depths.
bool compare_read_back(const struct_read_write_depth& record, int label_count,
                       const struct_read_write_depth& read_back) {
  for (int row = 0; row < record.height; ++row) {
    for (int col = 0; col < record.width; ++col) {
      const std::size_t pixel =
          static_cast<std::size_t>(row) * static_cast<std::size_t>(record.width) +
          static_cast<std::size_t>(col);
      const int label = record.Label[pixel];
      if (label < -1 || label >= label_count) return refuse("error encode3");
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
  ~OwnedRecord() { release_record(value); }
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;
};

}  // namespace

bool verify_error_file(const struct_read_write_depth& record, const char* name,
                       const RegionCounts& counts) {
  char room[kUsualFile];
  const auto file = read_regular_file(name, room);
  if (!file) {
    print("write_compressed_data - failed to write '%s'\n", name);
    return false;
  }
  ErrorFileParser parser(file->bytes());
  for (int region = 0; region < kRegionCount; ++region) {
    if (parser.counts().of[region] != counts.of[region]) {
      return refuse("error error nb errors");
    }
  }
  parser.for_each_record([&](int down, int across, const ErrorRecord& found) {
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

bool verify_depth_content(const struct_read_write_depth& record, int label_count, char* base_name,
                          int debug) {
  print_line(" --- VERIFICATION of DEPTH CONTENT ---");
  OwnedRecord read_back;
  if (!allocate_like(record, read_back.value)) {
    return refuse("ERROR VERIFICATION - init - 'read_compressed' init failed");
  }
  if (!load_compressed_data(read_back.value, base_name, debug)) {
    return refuse("ERROR VERIFICATION apply - read_compressed failed");
  }
  return compare_read_back(record, label_count, read_back.value);
}

}  // namespace depth_io
