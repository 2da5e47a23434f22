#pragma once

#include <cmath>

namespace depth_io::tools {

/// A point or direction of the synthetic scene, metres: x to the right, y down, z away from the
/// camera. Also a colour, red, green, blue from 0 to 1.
struct Vec3 {
  float x = 0;
  float y = 0;
  float z = 0;
};

inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(Vec3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }
inline float dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 mix(Vec3 a, Vec3 b, float share) { return a + (b - a) * share; }
inline float length(Vec3 a) { return std::sqrt(dot(a, a)); }
inline Vec3 normalised(Vec3 a) { return a * (1.0F / length(a)); }

}  // namespace depth_io::tools
