#include "engine/frame_write.h"

#include "codec/console.h"
#include "codec/frame_writer.h"

namespace depth_io {

bool write_frame(const FrameWriteRequest& request) {
  const int written = write_compressed_data(
      request.reverse_name, request.verification, request.record, request.directory,
      request.stem_depth, request.with_colour, request.stem_bgr, request.colour_image,
      request.by_timestamp, request.number_digits, request.frame_number, request.timestamp,
      request.depth_map, request.a11, request.a22, request.cx, request.cy, request.debug);
  if (written == 1) return true;
  print_line_and_wait("ERROR KV_RGBD_CameraCompression apply - write_compressed failed");
  return false;
}

}  // namespace depth_io
