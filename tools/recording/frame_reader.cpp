#include "tools/recording/frame_reader.h"

#include "engine/camera_depth_rw.h"
#include "tools/recording/recording_info.h"

namespace depth_io::tools {

FrameReader::FrameReader() : engine_(std::make_unique<KV_RGBD_CameraCompression>()) {}

FrameReader::~FrameReader() = default;

bool FrameReader::read(const std::string& directory, const RecordedFrame& recorded, Frame& frame) {
  std::string folder = directory + "/" + recorded.folder;
  std::string depth_stem = kDepthStem;
  std::string colour_stem = kColourStem;
  engine_->REVERSE_NAME = recorded.key_first;
  frame.has_colour = recorded.has_colour;
  const Moment m = recorded.moment.value_or(Moment{-1, -1, -1, -1, -1, -1, -1});
  const int digits = recorded.moment ? -1 : static_cast<int>(recorded.key.size());
  const bool by_time = recorded.moment.has_value();
  if (recorded.has_colour) {
    return engine_->_read(frame.depth.data(), frame.bgr.data(), folder.data(), depth_stem.data(),
                          colour_stem.data(), by_time, digits, recorded.number, m.year, m.month,
                          m.day, m.hour, m.minute, m.second, m.millisecond) != 0;
  }
  return engine_->_read(frame.depth.data(), folder.data(), depth_stem.data(), by_time, digits,
                        recorded.number, m.year, m.month, m.day, m.hour, m.minute, m.second,
                        m.millisecond) != 0;
}

Intrinsics FrameReader::intrinsics() const {
  return {engine_->a11, engine_->a22, engine_->cx, engine_->cy};
}

std::span<const float> FrameReader::map_x() const { return {engine_->MapXd.buffer, kFramePixels}; }

std::span<const float> FrameReader::map_y() const { return {engine_->MapYd.buffer, kFramePixels}; }

}  // namespace depth_io::tools
