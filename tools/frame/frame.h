#pragma once

#include <cstddef>
#include <vector>

namespace depth_io::tools {

inline constexpr int kFrameWidth = 640;
inline constexpr int kFrameHeight = 480;
inline constexpr std::size_t kFramePixels =
    static_cast<std::size_t>(kFrameWidth) * static_cast<std::size_t>(kFrameHeight);

/// One picture of the camera.
struct Frame {
  std::vector<float> depth =
      std::vector<float>(kFramePixels);  ///< metres, row-major; 0: no reading
  std::vector<unsigned char> bgr = std::vector<unsigned char>(kFramePixels * 3);  ///< B, G, R
  bool has_colour = false;
};

/// Sets readings to 0 that cannot be recorded: deeper than `deepest`, negative, or no number.
/// Returns how many there were.
std::size_t remove_unusable_readings(std::vector<float>& depth, float deepest);

/// A recorded depth above this is a reading: 0.015 m, and the rounding of single precision. The
/// code image of a recording is lossy, a hole may come back as that much.
inline constexpr float kLeastReading = 0.01502F;

/// Recorded depths below this, metres, leave for other programs as no reading: a hole can come back
/// from a recording as a few centimetres, and no camera measures there.
inline constexpr float kLeastExportedReading = 0.05F;

/// Focal lengths and principal point, pixels.
struct Intrinsics {
  float a11;
  float a22;
  float cx;
  float cy;
};
inline constexpr Intrinsics kKinectIntrinsics{528.0144F, 528.0144F, 320.0F, 267.0F};
inline constexpr Intrinsics kAsusIntrinsics{533.0F, 533.0F, 240.0F, 320.0F};

/// By camera type: 0 Kinect class, 1 ASUS class.
constexpr Intrinsics intrinsics_of(int camera_type) {
  return camera_type == 1 ? kAsusIntrinsics : kKinectIntrinsics;
}

}  // namespace depth_io::tools
