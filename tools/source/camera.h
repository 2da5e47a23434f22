#pragma once

#include <string>

#include "tools/frame/frame.h"
#include "tools/frame/frame_ids.h"
#include "tools/system/library_log.h"

namespace depth_io::tools {

/// Width and height, pixels.
struct Resolution {
  int width = 0;
  int height = 0;
  bool operator==(const Resolution&) const = default;
};

/// The OpenNI camera of this process, or a recording that its configuration plays back. There is
/// one at a time.
class Camera {
 public:
  /// What waiting for a frame came to.
  enum class Wait { kNewFrame, kEnded, kStalled, kInterrupted };

  /// Opens the camera that an OpenNI configuration file describes. Throws `Failure`.
  Camera(const std::string& configuration, LibraryLog& log);
  ~Camera();
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  /// Waits for a frame that was not seen yet, so many seconds at most.
  Wait wait_for_frame(double stall_seconds);

  /// Of the last frame; 0 * 0 before the first.
  Resolution depth_resolution() const;
  Resolution colour_resolution() const;
  unsigned frame_id() const { return ids_.last(); }
  float middle_metres() const;

  /// Whether the last frame has a colour image of a kind that is understood.
  bool has_colour() const;

  /// Copies the last frame; its depth must be 640 * 480.
  void copy_to(Frame& frame) const;

  /// Frames that the camera numbered and that were never seen here.
  long frames_missed() const { return ids_.missed(); }

 private:
  bool is_recording_over() const;

  LibraryLog& log_;
  FrameIds ids_;
};

}  // namespace depth_io::tools
