#include "tools/source/depth_sensor.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "tools/frame/frame.h"
#include "tools/source/hash_noise.h"

namespace depth_io::tools {
namespace {

constexpr float kShiftNoise = 0.09F;  ///< pixels, largest

/// -1 to 1 from the low 16 bits, values in the middle more often.
float signed_unit(std::uint32_t bits) {
  return static_cast<float>((bits & 255U) + ((bits >> 8U) & 255U)) / 255.0F - 1.0F;
}

/// Where the projector, which stands to the right of the camera, cannot see what the camera sees:
/// something further right and nearer takes the light.
void find_shadows(const std::vector<float>& shift, std::vector<unsigned char>& shadow) {
  constexpr float kTolerance = 0.5F;
  for (std::size_t row = 0; row < kFrameHeight; ++row) {
    const std::size_t first = row * kFrameWidth;
    float leftmost = 1e9F;  // place in the projector's picture
    for (std::size_t column = kFrameWidth; column-- > 0;) {
      const float place = static_cast<float>(column) - shift[first + column];
      shadow[first + column] = place > leftmost + kTolerance ? 1 : 0;
      leftmost = std::min(leftmost, place);
    }
  }
}

/// The pixel that is measured instead of this one: edges are frayed in small patches.
std::size_t frayed(std::uint32_t column, std::uint32_t row, std::uint32_t seed) {
  const std::uint32_t bits = hash_of((column >> 1U) + ((row >> 1U) << 16U) + seed);
  constexpr int kOffsets[] = {0, 0, 0, -1, 1, 0, 0, 0};
  const int x = static_cast<int>(column) + kOffsets[bits & 7U];
  const int y = static_cast<int>(row) + kOffsets[(bits >> 3U) & 7U];
  return static_cast<std::size_t>(std::clamp(y, 0, kFrameHeight - 1)) * kFrameWidth +
         static_cast<std::size_t>(std::clamp(x, 0, kFrameWidth - 1));
}

}  // namespace

DepthSensor::DepthSensor() : shift_(kFramePixels), shadow_(kFramePixels) {
  const auto steps =
      static_cast<std::size_t>(kShiftTimesDepth / kSensorNearest * kShiftStepsPerPixel);
  reading_.assign(steps + 1, 0.0F);
  for (std::size_t step = 1; step <= steps; ++step) {
    const float depth = kShiftTimesDepth * kShiftStepsPerPixel / static_cast<float>(step);
    // Such cameras give whole millimetres.
    if (depth <= kSensorFarthest) reading_[step] = std::round(depth * 1000.0F) / 1000.0F;
  }
}

void DepthSensor::measure(std::vector<float>& depth, const std::vector<unsigned char>& hole_chance,
                          std::uint32_t seed, std::uint32_t frame) {
  for (std::size_t i = 0; i < kFramePixels; ++i) shift_[i] = kShiftTimesDepth / depth[i];
  find_shadows(shift_, shadow_);
  const std::uint32_t noise_seed = hash_of(seed, frame, 31);
  // Holes flicker slower than the rest of the noise.
  const std::uint32_t hole_seed = hash_of(seed, frame / 4, 32);
  std::size_t i = 0;
  for (std::uint32_t row = 0; row < kFrameHeight; ++row) {
    for (std::uint32_t column = 0; column < kFrameWidth; ++column, ++i) {
      const std::size_t source = frayed(column, row, noise_seed);
      const std::uint32_t bits = hash_of(static_cast<std::uint32_t>(i) ^ noise_seed);
      const std::uint32_t patch = hash_of((column >> 1U) + ((row >> 1U) << 16U) + hole_seed);
      const std::uint32_t luck = ((patch & 255U) * 3 + (bits & 255U)) >> 2U;
      if (shadow_[source] != 0 || luck < hole_chance[source]) {
        depth[i] = 0;
        continue;
      }
      // The pattern is matched in windows: neighbours err alike.
      const std::uint32_t window = hash_of(((column >> 2U) + ((row >> 2U) << 16U)) ^ noise_seed);
      const float noise = 0.75F * signed_unit(window >> 8U) + 0.25F * signed_unit(bits >> 8U);
      const float shift = shift_[source] + kShiftNoise * noise;
      const auto step = static_cast<std::size_t>(shift * kShiftStepsPerPixel + 0.5F);
      depth[i] = step < reading_.size() ? reading_[step] : 0.0F;
    }
  }
}

}  // namespace depth_io::tools
