#pragma once

#include <span>

#include "codec/working_record.h"

/// What playback does with a loaded frame, in every generation.
namespace depth_io {

/// Sets `has_depth` where the depth is above 1 cm; the other entries are left as they are.
void mark_depth(std::span<const float> depth, bool* has_depth);

/// Decodes a JPEG into `image`, through `scratch` of the same size, so that an image that fails
/// midway leaves `image` as it was.
bool load_colour_image(const char* file_name, std::span<unsigned char> image,
                       unsigned char* scratch);

/// Takes the loaded intrinsics into the engine's `a11`, `a22`, `cx`, `cy`.
template <typename Engine>
void take_intrinsics(Engine& engine) {
  engine.a11 = engine.RW.loaded_a11;
  engine.a22 = engine.RW.loaded_a22;
  engine.cx = engine.RW.loaded_cx;
  engine.cy = engine.RW.loaded_cy;
}

}  // namespace depth_io
