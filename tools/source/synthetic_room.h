#pragma once

#include <cstdint>
#include <vector>

#include "tools/source/vector3.h"

namespace depth_io::tools {

inline constexpr float kFloorHeight = 1.15F;  ///< below the camera

/// What the camera sees of the room and its furniture, which do not move: worked out once.
struct RoomView {
  std::vector<float> depth;                ///< [480*640] exact, metres
  std::vector<unsigned char> bgr;          ///< [480*640*3]
  std::vector<unsigned char> hole_chance;  ///< [480*640] how often a reading fails here, 0..255
  std::vector<unsigned char> is_floor;     ///< [480*640] 1 where a shadow of the figures may fall
};

RoomView draw_room(std::uint32_t seed);

/// Direction of the ray through the middle of a pixel; its z is 1, so ray lengths are depths.
Vec3 pixel_ray(int column, int row);

/// How bright a surface is at a point, 0..1, when nothing stands in the light.
float open_light(Vec3 point, Vec3 normal);

/// How often a reading fails on a surface that is seen at a flat angle, 0..255.
float flat_angle_hole_chance(Vec3 ray, Vec3 normal);

}  // namespace depth_io::tools
