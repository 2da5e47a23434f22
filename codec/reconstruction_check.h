#pragma once

#include "codec/export.h"
#include "codec/working_record.h"

/// Checks a frame that was written and read back against the truth. `Write` is the writer's record
/// (sizes and object mask), `Check` the reader's; `MapX`, `MapY`, `MapZ` are the true maps
/// ([height*width] float, metres, row-major) with their intrinsics. Pixels that the mask leaves out
/// are not compared. Returns true when intrinsics agree to 0.01, depths to 0.2 m, X and Y to 0.1 m;
/// otherwise false after a printed line. Different sizes or intrinsics wait for a key.
CAMERA_DEPTH_RW_EXPORT bool check_camera_depth_refbased(struct_read_write_depth& Write,
                                                        struct_read_write_depth& Check, float* MapX,
                                                        float* MapY, float* MapZ, int width,
                                                        int height, float a11, float a22, float cx,
                                                        float cy);
