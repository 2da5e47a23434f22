#pragma once

#include "codec/working_record.h"

namespace depth_io::bench {

/// A working record, released with everything in it.
struct OwnedRecord {
  struct_read_write_depth value;

  OwnedRecord(int width, int height) {
    InitStruct(value);
    Allocate(value, width, height);
  }
  ~OwnedRecord() { release_record(value); }
  OwnedRecord(const OwnedRecord&) = delete;
  OwnedRecord& operator=(const OwnedRecord&) = delete;
};

}  // namespace depth_io::bench
