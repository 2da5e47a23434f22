#pragma once

#include "codec/export.h"

/// Writes a depth map uncompressed for a calibration tool: two 32-bit little-endian ints, height
/// 480 and width 640, then `depthMap` ([480*640] float, metres, row-major) as it is. `WW` and `HH`
/// are not looked at: the size is fixed. Prints its name, and a line when the file cannot be
/// written; never waits for a key.
CAMERA_DEPTH_RW_EXPORT void calibration_save_uncompressed(int WW, int HH, float* depthMap,
                                                          char* depth_raw_filename);
