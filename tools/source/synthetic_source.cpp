#include "tools/source/synthetic_source.h"

#include <algorithm>

#include "tools/source/hash_noise.h"
#include "tools/source/synthetic_figures.h"
#include "tools/system/failure.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

constexpr double kFramesPerSecond = 30.0;

/// The grain of the colour camera.
void add_grain(std::vector<unsigned char>& bgr, std::uint32_t seed) {
  for (std::size_t i = 0; i + 2 < bgr.size(); i += 3) {
    const std::uint32_t bits = hash_of(static_cast<std::uint32_t>(i) + seed);
    const int change = static_cast<int>(bits & 3U) + static_cast<int>((bits >> 2U) & 3U) - 3;
    for (std::size_t channel = 0; channel < 3; ++channel) {
      bgr[i + channel] = static_cast<unsigned char>(
          std::clamp(static_cast<int>(bgr[i + channel]) + change, 0, 255));
    }
  }
}

}  // namespace

SyntheticSource::SyntheticSource(std::uint32_t seed) : seed_(seed), room_(draw_room(seed)) {}

void SyntheticSource::load(long index, Frame& frame) {
  if (index < 0) throw Failure(format_text("the synthetic scene has no frame %ld", index));
  frame.depth = room_.depth;
  frame.bgr = room_.bgr;
  frame.has_colour = true;
  hole_chance_ = room_.hole_chance;
  draw_figures(static_cast<double>(index) / kFramesPerSecond, seed_, room_.is_floor, frame,
               hole_chance_);
  const auto number = static_cast<std::uint32_t>(index);
  sensor_.measure(frame.depth, hole_chance_, seed_, number);
  add_grain(frame.bgr, hash_of(seed_, number, 33));
}

}  // namespace depth_io::tools
