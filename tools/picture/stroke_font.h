#pragma once

#include <string_view>

#include "tools/picture/picture.h"

namespace depth_io::tools {

/// Width of a text whose digits are `size` pixels high.
float text_width(std::string_view text, float size);

/// Draws a text with smooth strokes; its digits stand between `y` and `y + size`. Letters are drawn
/// as small ones, other characters that the font does not know as gaps.
void draw_text(Picture& picture, float x, float y, float size, std::string_view text,
               Colour colour);

}  // namespace depth_io::tools
