#pragma once

#include <cstdint>
#include <vector>

namespace depth_io::tools {

/// A camera that measures depth by the shift of a projected pattern, as depth cameras of this size
/// do. Its readings come in steps that grow with the square of the distance; they fail beyond its
/// range, where the projector's light is blocked by something nearer, and on dark or slanted
/// surfaces; edges are frayed.
class DepthSensor {
 public:
  DepthSensor();

  /// Turns exact depths ([480*640], metres) into readings, in place; 0 where there is none.
  /// `hole_chance` tells how often a reading fails at each pixel, 0..255. `seed` and `frame` choose
  /// the noise.
  void measure(std::vector<float>& depth, const std::vector<unsigned char>& hole_chance,
               std::uint32_t seed, std::uint32_t frame);

 private:
  std::vector<float> shift_;           ///< exact shift of the pattern at each pixel, pixels
  std::vector<unsigned char> shadow_;  ///< 1 where the projector's light does not reach
  std::vector<float> reading_;         ///< metres for each measurable shift
};

inline constexpr float kSensorNearest = 0.5F;   ///< metres
inline constexpr float kSensorFarthest = 9.0F;  ///< metres
/// Distance of projector and camera times the focal length, pixel metres.
inline constexpr float kShiftTimesDepth = 0.075F * 528.0144F;
/// Shifts are measured in parts of a pixel.
inline constexpr float kShiftStepsPerPixel = 8.0F;

}  // namespace depth_io::tools
