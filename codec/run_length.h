#pragma once

#include "codec/export.h"

/// Run-length codes the `WW` * `HH` image `Buffer` in raster order; runs cross row ends and hold at
/// most `SaturateAt` pixels. Writes lengths and values to `o_Output_Nb` and `o_Output_Val` (each
/// with room for `WW` * `HH`) and their number to `o_NbNb`. With `debug` 1 prints each step and
/// waits for a key at each run.
CAMERA_DEPTH_RW_EXPORT void rle(int WW, int HH, int* Buffer, int* o_Output_Nb, int* o_Output_Val,
                                int& o_NbNb, int SaturateAt, int debug);

/// Extends the run of `CurrentValue` that stands at (`row`, `col`) with `Nb` pixels as far as it
/// goes; leaves its length in `Nb`, its last pixel in (`stoprow`, `stopcol`), and `KEEPON` false.
CAMERA_DEPTH_RW_EXPORT void _rle(bool& KEEPON, int& Nb, int row, int col, int CurrentValue,
                                 int& stoprow, int& stopcol, int WW, int HH, int* Buffer,
                                 int SaturateAt, int debug);
