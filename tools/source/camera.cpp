#include "tools/source/camera.h"

#include <algorithm>
#include <iterator>

#include "camera/asus_reader.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"

namespace depth_io::tools {
namespace {

constexpr Resolution kFull{kFrameWidth, kFrameHeight};
constexpr Resolution kHalf{kFrameWidth / 2, kFrameHeight / 2};
/// Before asking again when there is no frame: some failures do not wait by themselves.
constexpr double kPauseSeconds = 0.005;
constexpr int kQuietly = 0;

}  // namespace

Camera::Camera(const std::string& configuration, LibraryLog& log) : log_(log) {
  log_.start_operation();
  std::string path = configuration;
  if (INIT_ASUS_READER(path.data(), kQuietly) == 0) return;
  log_.show_last_lines();
  RELEASE_ASUS_READER();
  throw Failure("the camera of '" + configuration + "' could not be opened");
}

Camera::~Camera() { RELEASE_ASUS_READER(); }

Camera::Wait Camera::wait_for_frame(double stall_seconds) {
  const double begin = monotonic_seconds();
  while (!interrupted()) {
    log_.start_operation();
    PROCESS_ASUS_READER(kQuietly);
    const double now = monotonic_seconds();
    // OpenNI waits for up to two seconds itself: a frame may come, and too late all the same.
    if (now - begin >= stall_seconds) return Wait::kStalled;
    if (ids_.take(THE_READER.depthMD.FrameID())) return Wait::kNewFrame;
    if (is_recording_over()) return Wait::kEnded;
    sleep_until(now + kPauseSeconds);
  }
  return Wait::kInterrupted;
}

bool Camera::is_recording_over() const {
  xn::Player player;
  return THE_READER.context.FindExistingNode(XN_NODE_TYPE_PLAYER, player) == XN_STATUS_OK &&
         player.IsEOF() != FALSE;
}

Resolution Camera::depth_resolution() const {
  return {THE_READER.GetWidthDepth(), THE_READER.GetHeightDepth()};
}

Resolution Camera::colour_resolution() const {
  return {THE_READER.GetWidthImage(), THE_READER.GetHeightImage()};
}

float Camera::middle_metres() const {
  const auto [width, height] = depth_resolution();
  return GET_DEPTH_ASUS_READER_AT(height / 2 * width + width / 2);
}

bool Camera::has_colour() const {
  const Resolution resolution = colour_resolution();
  return (resolution == kFull || resolution == kHalf) &&
         THE_READER.imageMD.PixelFormat() == XN_PIXEL_FORMAT_RGB24;
}

void Camera::copy_to(Frame& frame) const {
  if (depth_resolution() != kFull) throw Failure("the camera's depth is no longer 640 x 480");
  std::copy_n(std::begin(THE_READER.DepthMap), frame.depth.size(), frame.depth.begin());
  frame.has_colour = has_colour();
  if (!frame.has_colour) return;
  // The camera gives R, G, B; recordings hold B, G, R.
  const unsigned char* in = THE_READER.ColourImage;
  for (std::size_t i = 0; i < frame.bgr.size(); i += 3) {
    frame.bgr[i] = in[i + 2];
    frame.bgr[i + 1] = in[i + 1];
    frame.bgr[i + 2] = in[i];
  }
}

}  // namespace depth_io::tools
