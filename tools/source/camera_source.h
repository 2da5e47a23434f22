#pragma once

#include <string>

#include "tools/source/camera.h"
#include "tools/source/frame_source.h"

namespace depth_io::tools {

/// The frames of a camera as they come.
class CameraSource final : public FrameSource {
 public:
  /// Opens the camera and waits for its first frame, to know what it delivers. Throws `Failure`
  /// when that is not what can be recorded, `SourceStalled` when there is none for `stall_seconds`.
  CameraSource(const std::string& configuration, double stall_seconds, LibraryLog& log);

  std::optional<long> frame_count() const override { return {}; }
  bool has_colour() const override { return camera_.has_colour(); }
  bool next(Frame& frame) override;
  void skip(long frames) override;
  bool is_live() const override { return true; }
  long frames_missed() const override { return camera_.frames_missed(); }

 private:
  bool wait();

  LibraryLog& log_;
  double stall_seconds_;
  Camera camera_;
  bool is_first_waiting_ = false;  ///< the first frame is there and was not handed on yet
};

}  // namespace depth_io::tools
