#pragma once

#include "codec/working_record.h"

namespace depth_io {

/// Flags in `ErrorMap` the pixels that the JPEG moved beyond the tolerance of their depth: compares
/// the code image as written with its read-back. Sets the number of flags. Not-a-number prints a
/// message and waits for a key at each pixel.
bool find_errors(struct_read_write_depth& record, int label_count, int& error_count);

}  // namespace depth_io
