#pragma once

#include "codec/frame_files.h"
#include "codec/working_record.h"

/// How the writer checks what it wrote. Both print what they find and wait for a key.
namespace depth_io {

/// Compares the error file `name` with the record's codes and the counts written. False when the
/// file is gone or its counts differ; a record that differs is only told.
bool verify_error_file(const struct_read_write_depth& record, const char* name,
                       const RegionCounts& counts);

/// Reads the whole frame back and compares its depths with the record's quantised ones. False when
/// it cannot be read; depths that differ are only told.
bool verify_depth_content(const struct_read_write_depth& record, int label_count, char* base_name,
                          int debug);

}  // namespace depth_io
