#pragma once

#include "codec/export.h"
#include "codec/working_record.h"

/// Writes one frame as the group of files that `docs/format.md` describes, and checks what it
/// wrote.
///
/// `src` is allocated for the frame's size; `MapZ` is [height*width] float, metres, row-major;
/// `colour_image` is [height*width*3] bytes and used only with `COLOUR_IMAGE_ON`. `directory` ends
/// with "/". File names carry `m_frameNb` in `number_digits` digits, or `timestamp` when
/// `SAVE_WITH_TIMESTAMP`, after the stem, or before it when `REVERSE_NAME`; a name of 250
/// characters or more is refused. `VERIFICATION` 0 compares the error file, 1 reads the whole frame
/// back, anything else checks nothing. `debug` 1 prints each step.
///
/// Returns 1; 0 after a printed message when a file could not be written or a check failed (files
/// already written stay). Most failures wait for a key; files that cannot be written do not.
CAMERA_DEPTH_RW_EXPORT int write_compressed_data(
    bool REVERSE_NAME, int VERIFICATION, struct_read_write_depth& src, char* directory,
    char* stem_depth, bool COLOUR_IMAGE_ON, char* stem_bgr, unsigned char* colour_image,
    bool SAVE_WITH_TIMESTAMP, int number_digits, int m_frameNb, char* timestamp, float* MapZ,
    float a11, float a22, float cx, float cy, int debug);

/// Tolerance of a decoded depth, metres: 0.01 below 1 m, and so on to 0.05 from 4 m. Not-a-number
/// prints an error, waits for a key and gives 0.05.
CAMERA_DEPTH_RW_EXPORT float GetCompressionErrorThreshold(float _Z1);
