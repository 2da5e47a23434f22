#pragma once

#include "codec/working_record.h"

namespace depth_io {

/// Gives every pixel of `depth_map` that the record's mask lets through the first label that fits,
/// and its code; opens labels as they are needed and sets their number. False after a message and a
/// wait for a key when a code does not give its depth back.
bool label_pixels(struct_read_write_depth& record, const float* depth_map, int& label_count);

}  // namespace depth_io
