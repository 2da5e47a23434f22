#include "tools/source/synthetic_figures.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "tools/source/hash_noise.h"
#include "tools/source/synthetic_room.h"
#include "tools/source/vector3.h"

namespace depth_io::tools {
namespace {

enum class Cloth { kSkin, kHead, kPullover, kTrousers, kShoe, kBall };

/// A round-ended rod; a ball when both ends are one point.
struct Limb {
  Vec3 from;
  Vec3 to;
  float radius;
  Cloth cloth;
};

constexpr float kTwoPi = 6.2831853F;

/// Sine of a phase in turns, exact enough over hours.
float turn_sine(double turns) {
  return std::sin(static_cast<float>(turns - std::floor(turns)) * kTwoPi);
}

/// Where the walker stands, and where he is heading.
struct Walk {
  Vec3 place;
  Vec3 forward;
};
Walk walk_at(double seconds, double phase) {
  const auto place_at = [phase](double t) {
    return Vec3{-0.10F + 0.55F * turn_sine(t / 7.0 + phase), 0,
                3.15F + 0.95F * turn_sine(t / 7.0 + phase + 0.25)};
  };
  const Vec3 place = place_at(seconds);
  const Vec3 ahead = place_at(seconds + 0.1) - place;
  return {place, normalised(ahead + Vec3{1e-4F, 0, 0})};
}

void add_walker(double seconds, double phase, std::vector<Limb>& limbs, Vec3& shadow) {
  const Walk walk = walk_at(seconds, phase);
  const Vec3 forward = walk.forward;
  const Vec3 side{-forward.z, 0, forward.x};
  const float swing = turn_sine(seconds * 0.9);
  const float bob = 0.02F * std::fabs(swing);
  const auto at = [&](float ahead, float aside, float height) {
    Vec3 p = walk.place + forward * ahead + side * aside;
    p.y = kFloorHeight - height - bob;
    return p;
  };
  for (const float leg : {-1.0F, 1.0F}) {
    const float step = 0.24F * swing * leg;
    const float lift = 0.05F * std::max(0.0F, swing * leg);
    const Vec3 hip = at(0, 0.10F * leg, 0.92F);
    const Vec3 knee = at(0.62F * step + 0.05F, 0.11F * leg, 0.50F + lift);
    const Vec3 ankle = at(step, 0.11F * leg, 0.10F + lift);
    limbs.push_back({hip, knee, 0.085F, Cloth::kTrousers});
    limbs.push_back({knee, ankle, 0.065F, Cloth::kTrousers});
    limbs.push_back({ankle + Vec3{0, 0.04F, 0}, ankle + forward * 0.13F + Vec3{0, 0.04F, 0}, 0.055F,
                     Cloth::kShoe});
    const float arm = -0.20F * swing * leg;
    const Vec3 shoulder = at(0, 0.22F * leg, 1.40F);
    const Vec3 elbow = at(0.6F * arm, 0.27F * leg, 1.13F);
    const Vec3 hand = at(1.5F * arm + 0.08F, 0.25F * leg, 0.90F);
    limbs.push_back({shoulder, elbow, 0.058F, Cloth::kPullover});
    limbs.push_back({elbow, hand, 0.048F, Cloth::kPullover});
    limbs.push_back({hand, hand, 0.058F, Cloth::kSkin});
  }
  limbs.push_back({at(0, -0.06F, 1.00F), at(0, 0.06F, 1.00F), 0.14F, Cloth::kTrousers});
  limbs.push_back({at(0, 0, 1.08F), at(0.02F, 0, 1.34F), 0.17F, Cloth::kPullover});
  limbs.push_back({at(0.02F, -0.13F, 1.38F), at(0.02F, 0.13F, 1.38F), 0.09F, Cloth::kPullover});
  limbs.push_back({at(0.02F, 0, 1.42F), at(0.03F, 0, 1.55F), 0.055F, Cloth::kSkin});
  limbs.push_back({at(0.04F, 0, 1.62F), at(0.03F, 0, 1.68F), 0.10F, Cloth::kHead});
  shadow = walk.place;
}

void add_ball(double seconds, double phase, std::vector<Limb>& limbs, Vec3& shadow) {
  constexpr float kRadius = 0.13F;
  const double bounces = seconds / 0.9 + phase;
  const auto t = static_cast<float>(bounces - std::floor(bounces));
  const float height = kRadius + 3.97F * t * (1 - t);
  const Vec3 middle{0.12F + 0.40F * turn_sine(seconds / 6.0 + phase), kFloorHeight - height,
                    1.75F + 0.45F * turn_sine(seconds / 7.5)};
  limbs.push_back({middle, middle, kRadius, Cloth::kBall});
  shadow = {middle.x, kRadius, middle.z};
}

/// Depth at which a ray from the camera meets a limb, and the point of its middle line nearest to
/// that place; 0 when it passes by.
float hit_limb(Vec3 ray, const Limb& limb, Vec3& axis_point) {
  const Vec3 axis = limb.to - limb.from;
  const Vec3 offset = limb.from * -1.0F;
  const float axis_squared = dot(axis, axis);
  const float ray_squared = dot(ray, ray);
  const float radius_squared = limb.radius * limb.radius;
  Vec3 cap = limb.from;
  if (axis_squared > 1e-8F) {
    const float axis_ray = dot(axis, ray);
    const float axis_offset = dot(axis, offset);
    const float a = axis_squared * ray_squared - axis_ray * axis_ray;
    const float b = axis_squared * dot(offset, ray) - axis_offset * axis_ray;
    const float c = axis_squared * dot(offset, offset) - axis_offset * axis_offset -
                    radius_squared * axis_squared;
    const float h = b * b - a * c;
    if (h < 0) return 0;
    const float t = (-b - std::sqrt(h)) / a;
    const float along = axis_offset + t * axis_ray;
    if (along > 0 && along < axis_squared) {
      axis_point = limb.from + axis * (along / axis_squared);
      return t;
    }
    if (along >= axis_squared) cap = limb.to;
  }
  const float b = -dot(ray, cap);
  const float h = b * b - ray_squared * (dot(cap, cap) - radius_squared);
  if (h < 0) return 0;
  axis_point = cap;
  return (-b - std::sqrt(h)) / ray_squared;
}

Vec3 cloth_colour(const Limb& limb, Vec3 point, Vec3 normal) {
  switch (limb.cloth) {
    case Cloth::kSkin:
      return {0.86F, 0.65F, 0.52F};
    case Cloth::kHead:
      return normal.y < -0.35F ? Vec3{0.22F, 0.14F, 0.09F} : Vec3{0.86F, 0.65F, 0.52F};
    case Cloth::kPullover:
      return std::fmod(point.y + 4, 0.12F) < 0.04F ? Vec3{0.95F, 0.86F, 0.62F}
                                                   : Vec3{0.86F, 0.42F, 0.16F};
    case Cloth::kTrousers:
      return {0.22F, 0.27F, 0.40F};
    case Cloth::kShoe:
      return {0.20F, 0.18F, 0.17F};
    case Cloth::kBall:
      return std::fabs(normal.x + 0.4F * normal.y) < 0.3F ? Vec3{0.95F, 0.93F, 0.90F}
                                                          : Vec3{0.80F, 0.14F, 0.18F};
  }
  return {};
}

/// The pixels that a limb can cover.
struct PixelBox {
  int left;
  int top;
  int right;
  int bottom;
};
PixelBox covering_box(const Limb& limb) {
  float left = 1e9F;
  float top = 1e9F;
  float right = -1e9F;
  float bottom = -1e9F;
  for (const Vec3 end : {limb.from, limb.to}) {
    const float z = end.z - limb.radius;
    const float reach = limb.radius * kKinectIntrinsics.a11 / z * 1.15F + 2;
    const float x = kKinectIntrinsics.cx + kKinectIntrinsics.a11 * end.x / end.z;
    const float y = kKinectIntrinsics.cy + kKinectIntrinsics.a22 * end.y / end.z;
    left = std::min(left, x - reach);
    right = std::max(right, x + reach);
    top = std::min(top, y - reach);
    bottom = std::max(bottom, y + reach);
  }
  const auto place = [](float value, int size) {
    return static_cast<int>(std::clamp(value, 0.0F, static_cast<float>(size - 1)));
  };
  return {place(left, kFrameWidth), place(top, kFrameHeight), place(right, kFrameWidth),
          place(bottom, kFrameHeight)};
}

unsigned char to_byte(float value) {
  return static_cast<unsigned char>(std::clamp(value * 255.0F + 0.5F, 0.0F, 255.0F));
}

void draw_limb(const Limb& limb, Frame& frame, std::vector<unsigned char>& hole_chance) {
  const PixelBox box = covering_box(limb);
  for (int row = box.top; row <= box.bottom; ++row) {
    for (int column = box.left; column <= box.right; ++column) {
      const std::size_t i =
          static_cast<std::size_t>(row) * kFrameWidth + static_cast<std::size_t>(column);
      const Vec3 ray = pixel_ray(column, row);
      Vec3 axis_point;
      const float depth = hit_limb(ray, limb, axis_point);
      if (depth <= 0 || depth >= frame.depth[i]) continue;
      const Vec3 point = ray * depth;
      const Vec3 normal = (point - axis_point) * (1.0F / limb.radius);
      const float light = 0.55F + 0.22F * -normal.z + 0.7F * open_light(point, normal);
      const Vec3 colour = cloth_colour(limb, point, normal) * light;
      frame.depth[i] = depth;
      frame.bgr[3 * i] = to_byte(colour.z);
      frame.bgr[3 * i + 1] = to_byte(colour.y);
      frame.bgr[3 * i + 2] = to_byte(colour.x);
      hole_chance[i] = static_cast<unsigned char>(flat_angle_hole_chance(ray, normal));
    }
  }
}

/// Darkens the floor around a place; `shadow.y` is the radius of the shadow's core.
void draw_shadow(Vec3 shadow, const std::vector<unsigned char>& is_floor, Frame& frame) {
  const float radius = 2.2F * shadow.y;
  const auto row_of = [](float z) {
    return static_cast<int>(kKinectIntrinsics.cy + kKinectIntrinsics.a22 * kFloorHeight / z);
  };
  const int top = std::clamp(row_of(shadow.z + radius), 0, kFrameHeight - 1);
  const int bottom = std::clamp(row_of(std::max(shadow.z - radius, 0.5F)), 0, kFrameHeight - 1);
  for (int row = top; row <= bottom; ++row) {
    for (int column = 0; column < kFrameWidth; ++column) {
      const std::size_t i =
          static_cast<std::size_t>(row) * kFrameWidth + static_cast<std::size_t>(column);
      if (is_floor[i] == 0) continue;
      const Vec3 point = pixel_ray(column, row) * frame.depth[i];
      const float away = std::hypot(point.x - shadow.x, point.z - shadow.z) / radius;
      if (away >= 1) continue;
      const float light = 1 - 0.5F * (1 - away) * (1 - away) * (1 + 2 * away);
      for (std::size_t channel = 0; channel < 3; ++channel) {
        unsigned char& value = frame.bgr[3 * i + channel];
        value = static_cast<unsigned char>(static_cast<float>(value) * light);
      }
    }
  }
}

}  // namespace

void draw_figures(double seconds, std::uint32_t seed, const std::vector<unsigned char>& is_floor,
                  Frame& frame, std::vector<unsigned char>& hole_chance) {
  const double phase = static_cast<double>(unit_hash(seed, 21, 0));
  std::vector<Limb> limbs;
  Vec3 walker_shadow;
  Vec3 ball_shadow;
  add_walker(seconds, phase, limbs, walker_shadow);
  add_ball(seconds, phase, limbs, ball_shadow);
  walker_shadow.y = 0.24F;
  draw_shadow(walker_shadow, is_floor, frame);
  draw_shadow(ball_shadow, is_floor, frame);
  for (const Limb& limb : limbs) draw_limb(limb, frame, hole_chance);
}

}  // namespace depth_io::tools
