#pragma once

#include <cstdint>
#include <vector>

#include "tools/frame/frame.h"

namespace depth_io::tools {

/// Draws what moves in the synthetic room - somebody who walks about, and a bouncing ball - as it
/// is `seconds` after the start over the room in `frame` (exact depth and colour), with its shadow
/// on the floor. `hole_chance` is set where the figures are.
void draw_figures(double seconds, std::uint32_t seed, const std::vector<unsigned char>& is_floor,
                  Frame& frame, std::vector<unsigned char>& hole_chance);

}  // namespace depth_io::tools
