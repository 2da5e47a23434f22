#pragma once

#include <cmath>
#include <cstdint>

/// Random numbers that depend on a place and a seed only, so that any frame can be made again.
namespace depth_io::tools {

constexpr std::uint32_t hash_of(std::uint32_t value) {
  value ^= value >> 16U;
  value *= 0x7feb352dU;
  value ^= value >> 15U;
  value *= 0x846ca68bU;
  value ^= value >> 16U;
  return value;
}

constexpr std::uint32_t hash_of(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  return hash_of(a + 0x9e3779b9U * hash_of(b + 0x85ebca6bU * hash_of(c)));
}

/// 0 to 1.
constexpr float unit_hash(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  return static_cast<float>(hash_of(a, b, c) >> 8U) * (1.0F / 16777216.0F);
}

/// Smooth noise on a plane, 0 to 1, with features of the size of a unit.
inline float smooth_noise(float x, float y, std::uint32_t seed) {
  const float floor_x = std::floor(x);
  const float floor_y = std::floor(y);
  const auto ix = static_cast<std::uint32_t>(static_cast<std::int32_t>(floor_x));
  const auto iy = static_cast<std::uint32_t>(static_cast<std::int32_t>(floor_y));
  const auto ease = [](float t) { return t * t * (3 - 2 * t); };
  const float u = ease(x - floor_x);
  const float v = ease(y - floor_y);
  const float top = unit_hash(ix, iy, seed) * (1 - u) + unit_hash(ix + 1, iy, seed) * u;
  const float bottom = unit_hash(ix, iy + 1, seed) * (1 - u) + unit_hash(ix + 1, iy + 1, seed) * u;
  return top * (1 - v) + bottom * v;
}

}  // namespace depth_io::tools
