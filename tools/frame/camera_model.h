#pragma once

#include <cmath>

#include "tools/frame/frame.h"

namespace depth_io::tools {

/// A pinhole camera by columns (x, to the right) and rows (y, down), pixels.
struct CameraModel {
  float fx = 0;
  float fy = 0;
  float column = 0;  ///< of the principal point
  float row = 0;

  bool operator==(const CameraModel&) const = default;
};

/// The format pairs rows with `cx` and `a11`, columns with `cy` and `a22`. With `swapped` the
/// recording holds its principal point column first.
constexpr CameraModel camera_model(const Intrinsics& recorded, bool swapped) {
  return {recorded.a22, recorded.a11, swapped ? recorded.cx : recorded.cy,
          swapped ? recorded.cy : recorded.cx};
}

/// As many digits as recordings hold, for texts.
inline double decimal(float value) { return std::round(static_cast<double>(value) * 1e6) / 1e6; }

/// False when a recording was damaged or made without a camera: there are no points then.
inline bool is_usable(const CameraModel& camera) {
  return camera.fx > 0 && camera.fy > 0 && std::isfinite(camera.fx) && std::isfinite(camera.fy) &&
         std::isfinite(camera.column) && std::isfinite(camera.row);
}

}  // namespace depth_io::tools
