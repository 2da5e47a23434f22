#pragma once

#include <cstddef>
#include <span>

#include "codec/export.h"

struct jpeg_common_struct;

/// Reads and writes images of 3 bytes per pixel (interleaved, row-major, no padding) as JPEG files.
/// Bytes go to and come from the R, G, B components in buffer order: nothing is swapped. Holds no
/// state; each call is independent.
class CAMERA_DEPTH_RW_EXPORT JpegFile {
 public:
  JpegFile();
  ~JpegFile();

  /// Writes `dataBuf` ([height*widthPix*3] bytes) as a colour JPEG, or as a grey one of luminances
  /// truncated toward zero when `color` is false. Returns false, after at most one printed line,
  /// when there is nothing to write or the file cannot be written; never waits for a key.
  /// `quality` is libjpeg's, 0..100. `dataBuf` stays the caller's.
  bool RGBToJpegFile(char* fileName, unsigned char* dataBuf, int widthPix, int height, bool color,
                     int quality);

  /// Decodes `fileName` into `o_dataBuf`, which must hold the image to come (its size cannot be
  /// checked here; `depth_io::read_jpeg_file` is the bounded form). Sets `width` and `height`.
  /// Returns false, after at most one printed line, when that fails; never waits for a key.
  bool JpegFileToRGB_fast(unsigned char* o_dataBuf, char* fileName, int& width, int& height);
};

/// Copies a decoded scanline of `widthPix` 3-byte pixels to row `row` of `outBuf`, which the caller
/// owns and which has room for that row: nothing is checked.
CAMERA_DEPTH_RW_EXPORT void j_putRGBScanline(unsigned char* jpegline, int widthPix,
                                             unsigned char* outBuf, int row);

/// Expands a decoded grey scanline of `widthPix` bytes to row `row` of `outBuf` (3 bytes per
/// pixel), each value into all three bytes. Nothing is checked.
CAMERA_DEPTH_RW_EXPORT void j_putGrayScanlineToRGB(unsigned char* jpegline, int widthPix,
                                                   unsigned char* outBuf, int row);

/// The error exit given to libjpeg: prints its message and jumps back to the recovery point of the
/// call that is at work; never returns.
CAMERA_DEPTH_RW_EXPORT void my_error_exit(jpeg_common_struct* cinfo);

namespace depth_io {

/// What became of a JPEG file that was read.
struct JpegReadResult {
  bool decoded = false;  ///< the whole image was decoded
  int width = 0;         ///< pixels
  int height = 0;        ///< pixels
  long warnings = 0;     ///< libjpeg's: a truncated file decodes, with warnings
};

/// Decodes `file_name` into `pixels` (3 bytes per pixel, row-major). An image that needs more bytes
/// than `pixels` has is refused before a row is written. Bytes that no row fills become 0. Prints
/// at most one line; never waits for a key.
CAMERA_DEPTH_RW_EXPORT JpegReadResult read_jpeg_file(const char* file_name,
                                                     std::span<unsigned char> pixels);

}  // namespace depth_io
