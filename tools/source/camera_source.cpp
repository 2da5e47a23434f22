#include "tools/source/camera_source.h"

#include "tools/system/output.h"

namespace depth_io::tools {

CameraSource::CameraSource(const std::string& configuration, double stall_seconds, LibraryLog& log)
    : log_(log), stall_seconds_(stall_seconds), camera_(configuration, log) {
  is_first_waiting_ = wait();
  const Resolution depth = camera_.depth_resolution();
  if (is_first_waiting_ && depth != Resolution{kFrameWidth, kFrameHeight}) {
    throw Failure(format_text("the camera's depth is %d x %d; set it to 640 x 480 in '%s'",
                              depth.width, depth.height, configuration.c_str()));
  }
}

bool CameraSource::next(Frame& frame) {
  if (!is_first_waiting_ && !wait()) return false;
  is_first_waiting_ = false;
  camera_.copy_to(frame);
  return true;
}

void CameraSource::skip(long frames) {
  for (long i = 0; i < frames && wait(); ++i) is_first_waiting_ = false;
}

/// Waits for a new frame; false when the recording that the camera plays is over, or the program
/// is.
bool CameraSource::wait() {
  const Camera::Wait wait = camera_.wait_for_frame(stall_seconds_);
  if (wait != Camera::Wait::kStalled) return wait == Camera::Wait::kNewFrame;
  log_.show_last_lines();
  throw SourceStalled(
      format_text("the camera delivered no new frame for %g seconds", stall_seconds_));
}

}  // namespace depth_io::tools
