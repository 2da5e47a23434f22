#pragma once

#include "codec/working_record.h"

namespace depth_io {

/// Names the eighteen arguments of the frame writer; the engines call it through here only.
struct FrameWriteRequest {
  bool reverse_name;
  int verification;
  struct_read_write_depth& record;
  char* directory;
  char* stem_depth;
  bool with_colour;
  char* stem_bgr;
  unsigned char* colour_image;
  bool by_timestamp;
  int number_digits;
  int frame_number;
  char* timestamp;
  float* depth_map;
  float a11;
  float a22;
  float cx;
  float cy;
  int debug;
};

/// Writes the frame. A failure prints a line and waits for a key, the same one in every generation
/// and for every kind of recording, and gives false.
bool write_frame(const FrameWriteRequest& request);

}  // namespace depth_io
