#pragma once

#include "codec/export.h"

/// Writes a binary PPM image from three planes of `Width` * `Height` floats, row-major. Each value
/// is truncated to an integer and its low 8 bits are stored: values outside 0..255 wrap around.
/// Returns false, prints an error and waits for a key when the file cannot be written.
CAMERA_DEPTH_RW_EXPORT bool __SaveAsPpm(int Width, int Height, float* Rinput, float* Ginput,
                                        float* Binput, char* filename);
