#include "tools/source/synthetic_room.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <iterator>

#include "tools/frame/frame.h"
#include "tools/source/hash_noise.h"
#include "tools/source/synthetic_materials.h"

namespace depth_io::tools {
namespace {

struct Box {
  Vec3 low;
  Vec3 high;
  Material material;
};

constexpr Vec3 kRoomLow{-2.1F, -1.45F, -1.0F};
constexpr Vec3 kRoomHigh{2.3F, kFloorHeight, 5.4F};

constexpr Box kFurniture[] = {
    // A shelf along the left wall.
    {{-2.1F, -0.75F, 3.55F}, {-1.25F, kFloorHeight, 4.0F}, Material::kShelf},
    // A table with something on it.
    {{0.55F, 0.36F, 2.35F}, {1.75F, 0.41F, 3.15F}, Material::kTable},
    {{0.60F, 0.41F, 2.40F}, {0.66F, kFloorHeight, 2.46F}, Material::kTable},
    {{1.64F, 0.41F, 2.40F}, {1.70F, kFloorHeight, 2.46F}, Material::kTable},
    {{0.60F, 0.41F, 3.04F}, {0.66F, kFloorHeight, 3.10F}, Material::kTable},
    {{1.64F, 0.41F, 3.04F}, {1.70F, kFloorHeight, 3.10F}, Material::kTable},
    {{0.75F, 0.29F, 2.55F}, {1.03F, 0.36F, 2.78F}, Material::kBoard},
    // A crate close to the camera.
    {{-0.78F, 0.40F, 1.30F}, {-0.36F, kFloorHeight, 1.62F}, Material::kCrate},
    // On the back wall.
    {{0.35F, -0.85F, 5.36F}, {1.55F, 0.15F, 5.41F}, Material::kWindow},
    {{-0.85F, -0.70F, 5.37F}, {-0.10F, -0.15F, 5.41F}, Material::kPicture},
    // On the ceiling.
    {{-0.30F, -1.45F, 2.95F}, {0.80F, -1.42F, 3.20F}, Material::kLamp},
};

struct Ball {
  Vec3 middle;
  float radius;
  Material material;
};
constexpr Ball kVase{{1.36F, 0.19F, 2.75F}, 0.17F, Material::kVase};

struct Hit {
  float distance = 1e9F;
  Vec3 normal;
  Material material = Material::kFloor;
};

/// Where a ray passes the two sides of a box across one axis.
struct Slab {
  float enter;
  float leave;
  bool from_below;  ///< it comes in through the lower side

  /// Of the side where it comes in, against the ray.
  Vec3 normal(const Vec3& axis) const { return from_below ? axis * -1.0F : axis; }
};

inline Slab cross_slab(float origin, float direction, float low, float high) {
  if (direction == 0) {
    const bool inside = origin > low && origin < high;
    return {inside ? -1e9F : 1e9F, inside ? 1e9F : -1e9F, false};
  }
  const float a = (low - origin) / direction;
  const float b = (high - origin) / direction;
  return {std::min(a, b), std::max(a, b), a < b};
}

/// Where a ray passes a box. Which sides it passes is found out for few of all boxes only.
class Crossing {
 public:
  Crossing(const Vec3& origin, const Vec3& ray, const Vec3& low, const Vec3& high)
      : x_(cross_slab(origin.x, ray.x, low.x, high.x)),
        y_(cross_slab(origin.y, ray.y, low.y, high.y)),
        z_(cross_slab(origin.z, ray.z, low.z, high.z)),
        enter(std::max({x_.enter, y_.enter, z_.enter})),
        leave(std::min({x_.leave, y_.leave, z_.leave})) {}

  /// Against the ray.
  Vec3 entry_normal() const {
    if (x_.enter == enter) return x_.normal(kAlongX);
    return y_.enter == enter ? y_.normal(kAlongY) : z_.normal(kAlongZ);
  }
  /// Against the ray, too.
  Vec3 exit_normal() const {
    if (x_.leave == leave) return x_.normal(kAlongX);
    return y_.leave == leave ? y_.normal(kAlongY) : z_.normal(kAlongZ);
  }

 private:
  static constexpr Vec3 kAlongX{1, 0, 0};
  static constexpr Vec3 kAlongY{0, 1, 0};
  static constexpr Vec3 kAlongZ{0, 0, 1};

  Slab x_;
  Slab y_;
  Slab z_;

 public:
  float enter;
  float leave;
};

/// The furniture that is near some points and whatever lies between them. Most of it never is.
class Neighbours {
 public:
  explicit Neighbours(std::initializer_list<Vec3> points) {
    Vec3 low = *points.begin();
    Vec3 high = low;
    for (const Vec3& p : points) {
      low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
      high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
    }
    // More than what rounding can move a crossing by.
    constexpr Vec3 kMargin{1e-3F, 1e-3F, 1e-3F};
    low = low - kMargin;
    high = high + kMargin;
    for (const Box& box : kFurniture) {
      if (overlap(box.low, box.high, low, high)) boxes_[count_++] = &box;
    }
    constexpr Vec3 kVaseSize{kVase.radius, kVase.radius, kVase.radius};
    with_vase_ = overlap(kVase.middle - kVaseSize, kVase.middle + kVaseSize, low, high);
  }

  /// Moves the hit to where the ray meets one of them first, if that is nearer.
  void meet(const Vec3& origin, const Vec3& ray, Hit& hit) const {
    for (std::size_t i = 0; i < count_; ++i) meet_box(origin, ray, *boxes_[i], hit);
    if (with_vase_) meet_vase(origin, ray, hit);
  }

 private:
  static bool overlap(const Vec3& low_a, const Vec3& high_a, const Vec3& low_b,
                      const Vec3& high_b) {
    return low_a.x < high_b.x && high_a.x > low_b.x && low_a.y < high_b.y && high_a.y > low_b.y &&
           low_a.z < high_b.z && high_a.z > low_b.z;
  }

  static void meet_box(const Vec3& origin, const Vec3& ray, const Box& box, Hit& hit) {
    const Crossing crossing(origin, ray, box.low, box.high);
    const bool is_nearer = crossing.enter > 1e-3F && crossing.enter < hit.distance;
    if (is_nearer && crossing.enter < crossing.leave) {
      hit = {crossing.enter, crossing.entry_normal(), box.material};
    }
  }

  static void meet_vase(const Vec3& origin, const Vec3& ray, Hit& hit) {
    const Vec3 offset = origin - kVase.middle;
    const float a = dot(ray, ray);
    const float b = dot(ray, offset);
    const float c = dot(offset, offset) - kVase.radius * kVase.radius;
    const float h = b * b - a * c;
    if (h <= 0) return;
    const float distance = (-b - std::sqrt(h)) / a;
    if (distance > 1e-3F && distance < hit.distance) {
      hit = {distance, normalised(offset + ray * distance), kVase.material};
    }
  }

  std::array<const Box*, std::size(kFurniture)> boxes_{};
  std::size_t count_ = 0;
  bool with_vase_ = false;
};

Hit hit_scene(Vec3 ray) {
  Hit hit;
  const Crossing room({}, ray, kRoomLow, kRoomHigh);
  hit.distance = room.leave;
  hit.normal = room.exit_normal() * -1.0F;
  // The walls point into the room: against the ray.
  if (dot(hit.normal, ray) > 0) hit.normal = hit.normal * -1.0F;
  if (hit.normal.y < -0.5F) {
    hit.material = Material::kFloor;
  } else if (hit.normal.y > 0.5F) {
    hit.material = Material::kCeiling;
  } else {
    hit.material = hit.normal.z < -0.5F ? Material::kBackWall : Material::kSideWall;
  }
  Neighbours({Vec3{}, ray * hit.distance}).meet({}, ray, hit);
  return hit;
}

constexpr Vec3 kLightMiddle{0.25F, -1.38F, 3.05F};

/// Share of the lamp's light that reaches a point past the furniture, 0..1.
float lamp_share(Vec3 point, Vec3 normal, std::uint32_t seed) {
  constexpr int kSamples = 10;
  constexpr float kSide = 0.9F;
  constexpr Vec3 kHalf{kSide / 2, 0, kSide / 2};
  const Vec3 start = point + normal * 0.004F;
  const Neighbours neighbours({start, kLightMiddle - kHalf, kLightMiddle + kHalf});
  int lit = 0;
  for (int sample = 0; sample < kSamples; ++sample) {
    const auto n = static_cast<std::uint32_t>(sample);
    const Vec3 target{kLightMiddle.x + kSide * (unit_hash(n, 11, seed) - 0.5F), kLightMiddle.y,
                      kLightMiddle.z + kSide * (unit_hash(n, 12, seed) - 0.5F)};
    Hit hit;
    hit.distance = 0.98F;
    neighbours.meet(start, target - start, hit);
    if (hit.distance >= 0.98F) ++lit;
  }
  return static_cast<float>(lit) / kSamples;
}

/// Corners of the room get less of the light that the walls scatter.
float corner_shade(Vec3 p, const Hit& hit) {
  float shade = 1;
  const auto darken = [&shade](float distance) {
    if (distance > 0.01F) shade *= 1 - 0.22F * std::exp(-distance / 0.22F);
  };
  darken(p.x - kRoomLow.x);
  darken(kRoomHigh.x - p.x);
  darken(p.y - kRoomLow.y);
  darken(kFloorHeight - p.y);
  darken(kRoomHigh.z - p.z);
  return hit.material == Material::kLamp ? 1.0F : shade;
}

unsigned char to_byte(float value) {
  return static_cast<unsigned char>(std::clamp(value * 255.0F + 0.5F, 0.0F, 255.0F));
}

}  // namespace

Vec3 pixel_ray(int column, int row) {
  return {(static_cast<float>(column) - kKinectIntrinsics.cx) / kKinectIntrinsics.a11,
          (static_cast<float>(row) - kKinectIntrinsics.cy) / kKinectIntrinsics.a22, 1.0F};
}

float open_light(Vec3 point, Vec3 normal) {
  const Vec3 to_light = kLightMiddle - point;
  const float distance = length(to_light);
  const float facing = std::max(dot(normal, to_light) / distance, 0.0F);
  return facing / (1.0F + 0.08F * distance * distance);
}

float flat_angle_hole_chance(Vec3 ray, Vec3 normal) {
  const float facing = std::fabs(dot(normal, ray)) / length(ray);
  return std::clamp((0.12F - facing) * 2200.0F, 0.0F, 255.0F);
}

RoomView draw_room(std::uint32_t seed) {
  RoomView view;
  view.depth.resize(kFramePixels);
  view.bgr.resize(kFramePixels * 3);
  view.hole_chance.resize(kFramePixels);
  view.is_floor.resize(kFramePixels);
  std::size_t i = 0;
  for (int row = 0; row < kFrameHeight; ++row) {
    for (int column = 0; column < kFrameWidth; ++column, ++i) {
      const Vec3 ray = pixel_ray(column, row);
      const Hit hit = hit_scene(ray);
      const Vec3 point = ray * hit.distance;
      const float ambient = 0.42F * corner_shade(point, hit);
      const auto pixel_seed = seed + hash_of(static_cast<std::uint32_t>(i));
      float light = ambient + 0.85F * open_light(point, hit.normal) *
                                  lamp_share(point, hit.normal, pixel_seed);
      if (hit.material == Material::kCeiling) light = 1.7F * ambient;
      if (hit.material == Material::kLamp) light = 1.2F;
      const Vec3 colour = surface_colour(hit.material, point, hit.normal, seed) * light;
      view.depth[i] = hit.distance;
      view.bgr[3 * i] = to_byte(colour.z);
      view.bgr[3 * i + 1] = to_byte(colour.y);
      view.bgr[3 * i + 2] = to_byte(colour.x);
      float chance = flat_angle_hole_chance(ray, hit.normal);
      if (hit.material == Material::kWindow && is_window_glass(point)) chance = 235;
      if (hit.material == Material::kLamp) chance = 255;
      view.hole_chance[i] = static_cast<unsigned char>(chance);
      view.is_floor[i] = hit.material == Material::kFloor ? 1 : 0;
    }
  }
  return view;
}

}  // namespace depth_io::tools
