#pragma once

#include <memory>
#include <span>
#include <string>

#include "tools/frame/frame.h"
#include "tools/recording/frame_files.h"

class KV_RGBD_CameraCompression;

namespace depth_io::tools {

/// Plays frames back, one at a time. Each thread that reads has one of its own.
class FrameReader {
 public:
  FrameReader();
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  /// Plays a frame of the recording in `directory` back; false when it, or the colour image that it
  /// is said to have, cannot be read. What is wrong goes to the library's console.
  bool read(const std::string& directory, const RecordedFrame& recorded, Frame& frame);

  // Of the frame read last. The maps are [480*640] metres, as the format pairs them: X belongs to
  // the rows, Y to the columns. A frame without labels tells no intrinsics.
  Intrinsics intrinsics() const;
  std::span<const float> map_x() const;
  std::span<const float> map_y() const;

 private:
  std::unique_ptr<KV_RGBD_CameraCompression> engine_;
};

}  // namespace depth_io::tools
