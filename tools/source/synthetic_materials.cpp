#include "tools/source/synthetic_materials.h"

#include <algorithm>
#include <cmath>

#include "tools/source/hash_noise.h"
#include "tools/source/synthetic_room.h"

namespace depth_io::tools {
namespace {

Vec3 wood(float along, float across, Vec3 dark, Vec3 light, std::uint32_t seed) {
  const float grain = 0.6F * smooth_noise(along * 3.0F, across * 60.0F, seed) +
                      0.4F * smooth_noise(along * 9.0F, across * 160.0F, seed + 1);
  return mix(dark, light, grain);
}

Vec3 floor_colour(Vec3 p, std::uint32_t seed) {
  const float board = std::floor(p.x / 0.16F);
  const auto board_number = static_cast<std::uint32_t>(static_cast<std::int32_t>(board));
  const float shift = unit_hash(board_number, 1, seed) * 1.4F;
  const float piece = std::floor((p.z + shift) / 1.4F);
  const float tone =
      unit_hash(board_number, static_cast<std::uint32_t>(static_cast<std::int32_t>(piece)), seed);
  Vec3 colour = wood(p.z + tone * 40, p.x, {0.46F, 0.30F, 0.18F}, {0.64F, 0.45F, 0.28F}, seed);
  colour = colour * (0.85F + 0.25F * tone);
  const float joint_x = p.x / 0.16F - board;
  const float joint_z = (p.z + shift) / 1.4F - piece;
  if (joint_x < 0.04F || joint_z < 0.006F) colour = colour * 0.6F;
  // A round rug.
  const float rug = std::hypot(p.x + 0.1F, p.z - 3.5F);
  if (rug < 1.05F) {
    const bool ring = rug > 0.93F || (rug > 0.6F && rug < 0.68F);
    colour = ring ? Vec3{0.86F, 0.82F, 0.72F} : Vec3{0.55F, 0.16F, 0.18F};
    colour = colour * (0.85F + 0.3F * smooth_noise(p.x * 70, p.z * 70, seed + 3));
  }
  return colour;
}

Vec3 wall_colour(float along, float height, Vec3 paint, std::uint32_t seed) {
  Vec3 colour = paint * (0.96F + 0.08F * smooth_noise(along * 5, height * 5, seed + 5));
  if (height > kFloorHeight - 0.10F) colour = {0.85F, 0.84F, 0.80F};
  return colour;
}

Vec3 shelf_colour(Vec3 p, Vec3 normal, std::uint32_t seed) {
  const Vec3 dark{0.30F, 0.19F, 0.11F};
  const Vec3 light{0.42F, 0.28F, 0.17F};
  if (normal.z > -0.5F) return wood(p.y, p.z, dark, light, seed);
  constexpr float kShelfHeight = 0.38F;
  const float level = (p.y + 0.75F) / kShelfHeight;
  const float in_level = level - std::floor(level);
  if (in_level < 0.09F || p.x > -1.29F) return wood(p.x, p.y, dark, light, seed);
  // Books of different widths, heights and colours.
  const auto level_number = static_cast<std::uint32_t>(level);
  const float place = (p.x + 2.1F) / 0.055F + 0.6F * unit_hash(level_number, 4, seed);
  const auto book = static_cast<std::uint32_t>(place);
  const float height = 0.45F + 0.4F * unit_hash(book, level_number, seed);
  if (1 - in_level > height) return dark * 0.5F;
  const float hue = unit_hash(book, level_number + 50, seed) * 6;
  const Vec3 covers[] = {{0.70F, 0.20F, 0.16F}, {0.18F, 0.34F, 0.55F}, {0.80F, 0.65F, 0.25F},
                         {0.20F, 0.45F, 0.30F}, {0.75F, 0.72F, 0.66F}, {0.42F, 0.24F, 0.45F}};
  const float edge = place - std::floor(place);
  const Vec3 cover = covers[std::min(static_cast<int>(hue), 5)];
  return cover * (edge < 0.12F ? 0.55F : 1.0F);
}

Vec3 window_colour(Vec3 p) {
  const float u = (p.x - 0.35F) / 1.2F;
  const float v = (p.y + 0.85F) / 1.0F;
  const bool frame =
      u < 0.05F || u > 0.95F || v < 0.06F || v > 0.94F || std::fabs(u - 0.5F) < 0.02F;
  if (frame) return {0.90F, 0.90F, 0.88F};
  return mix({0.10F, 0.14F, 0.26F}, {0.35F, 0.33F, 0.42F}, v);
}

Vec3 painting_colour(Vec3 p, std::uint32_t seed) {
  const float u = (p.x + 0.85F) / 0.75F;
  const float v = (p.y + 0.70F) / 0.55F;
  if (u < 0.06F || u > 0.94F || v < 0.08F || v > 0.92F) return {0.15F, 0.12F, 0.10F};
  const float hill = 0.55F + 0.12F * std::sin(u * 7) + 0.1F * smooth_noise(u * 8, 1, seed);
  if (v > hill) return mix({0.25F, 0.42F, 0.22F}, {0.13F, 0.25F, 0.16F}, (v - hill) * 2.5F);
  if (std::hypot(u - 0.68F, (v - 0.3F) * 0.75F) < 0.09F) return {0.98F, 0.86F, 0.55F};
  return mix({0.55F, 0.70F, 0.88F}, {0.95F, 0.75F, 0.58F}, v * 1.6F);
}

}  // namespace

Vec3 surface_colour(Material material, Vec3 p, Vec3 normal, std::uint32_t seed) {
  switch (material) {
    case Material::kFloor:
      return floor_colour(p, seed);
    case Material::kCeiling:
      return {0.88F, 0.87F, 0.84F};
    case Material::kSideWall:
      return wall_colour(p.z, p.y, {0.82F, 0.77F, 0.66F}, seed);
    case Material::kBackWall:
      return wall_colour(p.x, p.y, {0.42F, 0.57F, 0.58F}, seed);
    case Material::kShelf:
      return shelf_colour(p, normal, seed);
    case Material::kTable:
      return wood(p.x, p.z, {0.55F, 0.38F, 0.22F}, {0.72F, 0.53F, 0.33F}, seed + 7);
    case Material::kBoard:
      return std::fmod(p.y + 2, 0.024F) < 0.012F && normal.y > -0.5F ? Vec3{0.88F, 0.86F, 0.80F}
                                                                     : Vec3{0.20F, 0.38F, 0.50F};
    case Material::kVase:
      return std::fabs(p.y - 0.17F) < 0.025F ? Vec3{0.92F, 0.88F, 0.78F}
                                             : Vec3{0.20F, 0.40F, 0.68F};
    case Material::kCrate: {
      const float side = normal.y < -0.5F ? p.z : p.y;
      const bool gap = std::fmod(side + 3.0F, 0.13F) < 0.012F;
      return wood(p.x + p.z, side, {0.62F, 0.45F, 0.22F}, {0.82F, 0.63F, 0.36F}, seed + 9) *
             (gap ? 0.45F : 1.0F);
    }
    case Material::kWindow:
      return window_colour(p);
    case Material::kPicture:
      return painting_colour(p, seed);
    case Material::kLamp:
      return {1.0F, 0.98F, 0.92F};
  }
  return {};
}

bool is_window_glass(Vec3 p) {
  const Vec3 colour = window_colour(p);
  return colour.x < 0.5F;
}

}  // namespace depth_io::tools
