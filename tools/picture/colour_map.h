#pragma once

#include <vector>

#include "tools/picture/picture.h"

namespace depth_io::tools {

/// Ends of the colour scale, metres. The scale is the same for every picture, so that pictures can
/// be compared; it is logarithmic, since near things are what most scenes are about.
inline constexpr float kNearestColourDepth = 0.4F;
inline constexpr float kFarthestColourDepth = 8.0F;

/// Colour of a depth in metres: warm when near, cool when far; black for pixels without a reading.
/// Depths beyond an end of the scale get the colour of that end.
Colour depth_colour(float depth);

/// A depth map of the given size in colours.
Picture depth_picture(const std::vector<float>& depth, int width, int height);

/// Draws the colour scale with its depths in metres, and the sign for pixels without a reading,
/// into a box that is `width` wide and `kLegendHeight` high.
void draw_legend(Picture& picture, int x, int y, int width, Colour text_colour);
inline constexpr int kLegendHeight = 46;

}  // namespace depth_io::tools
