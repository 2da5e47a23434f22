#pragma once

#include "codec/export.h"
#include "codec/working_record.h"

/// Reads the frame whose files begin with `FILENAME` (no extension, under 508 characters) into
/// `src`, which is allocated for the frame's size: labels, references, intrinsics, codes,
/// corrections, and the rebuilt `LoadedDepth` (metres) with `LoadedMapX`, `LoadedMapY`. The colour
/// image is not touched. Returns false after a printed message when a file is missing or damaged;
/// waits for a key then only with `debug` 1, except for a damaged reference file, which always
/// waits. A frame without labels is a success with all depths 0; its intrinsics are not read.
CAMERA_DEPTH_RW_EXPORT bool load_compressed_data(struct_read_write_depth& src, char* FILENAME,
                                                 int debug);

/// The same reading without a word and without a wait, for names under 246 characters.
CAMERA_DEPTH_RW_EXPORT bool load_compressed_data_vostrel(struct_read_write_depth& src,
                                                         char* depth_filename);

namespace depth_io {

/// Files of a frame that hold less than they should.
struct FrameDamage {
  bool label_map = false;   ///< describes fewer pixels than there are
  bool references = false;  ///< ends before the last reference does
  bool codes = false;       ///< libjpeg warned, as it does of an image that is cut off
  bool errors = false;      ///< is not as long as its counts say
};

/// `load_compressed_data` without traces, which also tells whether what it read was whole: reading
/// takes files that were cut off for what they hold. `damage` counts after a success.
CAMERA_DEPTH_RW_EXPORT bool load_and_check(struct_read_write_depth& src, const char* base_name,
                                           FrameDamage& damage);

}  // namespace depth_io
