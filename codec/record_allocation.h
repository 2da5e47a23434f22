#pragma once

#include "codec/working_record.h"

namespace depth_io {

/// `Allocate` for a record that lives for one frame only: its arrays are left on the pages that
/// they are on, for preparing large ones takes longer than they would save.
bool allocate_short_lived(struct_read_write_depth& record, int width, int height);

}  // namespace depth_io
