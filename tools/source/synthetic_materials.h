#pragma once

#include <cstdint>

#include "tools/source/vector3.h"

namespace depth_io::tools {

/// What the surfaces of the synthetic room are made of.
enum class Material {
  kFloor,
  kCeiling,
  kSideWall,
  kBackWall,
  kShelf,
  kTable,
  kBoard,
  kVase,
  kCrate,
  kWindow,
  kPicture,
  kLamp
};

/// Colour of a surface at a point of the room in full light.
Vec3 surface_colour(Material material, Vec3 point, Vec3 normal, std::uint32_t seed);

/// True where the window is glass, which gives no readings, and not frame.
bool is_window_glass(Vec3 point);

}  // namespace depth_io::tools
