#pragma once

#include <cstddef>
#include <span>

#include "codec/liblinjpeg.h"

/// JPEG files of grey rows that are made, and used, one by one while they are in the processor's
/// caches.
namespace depth_io {

/// Where the rows of an image come from. Called between libjpeg's own functions, which leave by a
/// jump when they fail: what is called must own nothing.
struct RowSource {
  const unsigned char* (*row_of)(void* context, int row);
  void* context;
};

/// Where the rows of a grey image go, in order; a row may be changed.
struct RowSink {
  void (*take)(void* context, unsigned char* grey, int width);
  void* context;
};

/// Writes a grey JPEG file; false after a message when that failed.
bool write_grey_jpeg_file(const char* file_name, int width, int height, int quality,
                          RowSource source);

/// As `read_jpeg_file`; hands each row of a grey image to `sink`, too.
JpegReadResult read_jpeg_file(const char* file_name, std::span<unsigned char> pixels, RowSink sink);

}  // namespace depth_io
