#pragma once

#include <cstddef>

#include "codec/export.h"
#include "codec/liblinjpeg.h"

/// All per-pixel arrays of one frame's coding and decoding (N = width * height). An owner calls
/// `InitStruct` before the first `Allocate`, `DeAllocate` before the record goes away, and releases
/// `LoadedColourImage` itself (array-delete): `DeAllocate` leaves it to its owner.
struct struct_read_write_depth {
  JpegFile jpgfile;              ///< holds no state
  char temp_filename[512] = {};  ///< scratch: the file name that the reader is at
  int width = 0;                 ///< pixels; 0 while no arrays are allocated
  int height = 0;                ///< pixels
  int* Label = nullptr;          ///< [N] label of each pixel; -1: carries no depth
  float* LabelRefZ = nullptr;    ///< [N] reference depth of each label, metres; the rest holds -1.0
  int* Encode = nullptr;  ///< [N] 8-bit code relative to the reference depth; 0 without label
  unsigned char* EncodeUC = nullptr;   ///< [3N] code image: as written, or as decoded
  unsigned char* EncodeUC2 = nullptr;  ///< [3N] the writer's read-back of its code image
  bool* ErrorMap = nullptr;            ///< [N] writer: the pixel gets an error record
  int* ErrorCorrect = nullptr;         ///< [N] reader: exact code from an error record, else -1
  int* RLE_Nb = nullptr;               ///< [N] run lengths of `Label`
  int* RLE_Val = nullptr;              ///< [N] run values of `Label`
  int RLE_NbNb = 0;                    ///< number of runs
  float loaded_a11 = 0.0F;             ///< focal length of the rows as read back, pixels
  float loaded_a22 = 0.0F;             ///< focal length of the columns, pixels
  float loaded_cx = 0.0F;              ///< principal point as read back, pixels; goes with the row
  float loaded_cy = 0.0F;              ///< goes with the column
  float* LoadedDepth = nullptr;        ///< [N] depth, metres; 0 without label
  float* LoadedMapX = nullptr;         ///< [N] (row - cx) * depth / a11, metres: down the image
  float* LoadedMapY = nullptr;         ///< [N] (column - cy) * depth / a22, metres: to the right
  unsigned char* LoadedColourImage = nullptr;  ///< [3N] colour image, filled by the engines
  int* write_MapObject = nullptr;              ///< [N] writer's mask: negative leaves a pixel out
};

/// Makes a fresh record empty. `LoadedColourImage` is left as it is.
CAMERA_DEPTH_RW_EXPORT void InitStruct(struct_read_write_depth& src);

/// Allocates every array for a frame of `_width` * `_height` pixels; `write_MapObject` is zero, the
/// others are cleared by the writer and the reader. A record that is not empty is refused with a
/// message and a wait for a key, a negative or too large size with a message; both give false.
CAMERA_DEPTH_RW_EXPORT bool Allocate(struct_read_write_depth& src, int _width, int _height);

/// Releases the arrays, except `LoadedColourImage`, and makes the record empty. A record of width 0
/// holds nothing to release; its `write_MapObject` then stays with its owner, too.
CAMERA_DEPTH_RW_EXPORT void DeAllocate(struct_read_write_depth& src);

namespace depth_io {

/// Number of pixels of an allocated record.
inline std::size_t pixel_count(const struct_read_write_depth& record) {
  return static_cast<std::size_t>(record.width) * static_cast<std::size_t>(record.height);
}

/// `DeAllocate`, and the colour image too: for the owner of the record.
CAMERA_DEPTH_RW_EXPORT void release_record(struct_read_write_depth& record);

}  // namespace depth_io
