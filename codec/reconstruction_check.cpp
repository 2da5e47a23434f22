#include "codec/reconstruction_check.h"

#include <cmath>
#include <cstddef>

#include "codec/console.h"

using depth_io::print;
using depth_io::print_line;

namespace {

constexpr float kIntrinsicsTolerance = 0.01F;
constexpr float kDepthTolerance = 0.2F;
constexpr float kMapTolerance = 0.1F;

bool differs(float a, float b, float tolerance) { return std::fabs(a - b) > tolerance; }

bool depths_agree(const struct_read_write_depth& write, const struct_read_write_depth& check,
                  const float* depth, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    if (write.write_MapObject[i] < 0) continue;
    if (differs(check.LoadedDepth[i], depth[i], kDepthTolerance)) {
      print("error reconstructewde depth at %d %f vs %f\n", static_cast<int>(i),
            static_cast<double>(check.LoadedDepth[i]), static_cast<double>(depth[i]));
      return false;
    }
  }
  return true;
}

}  // namespace

bool check_camera_depth_refbased(struct_read_write_depth& Write, struct_read_write_depth& Check,
                                 float* MapX, float* MapY, float* MapZ, int width, int height,
                                 float a11, float a22, float cx, float cy) {
  const bool sizes_agree = Check.width == Write.width && Check.height == Write.height &&
                           width == Write.width && height == Write.height;
  const bool has_maps = MapX != nullptr && MapY != nullptr && MapZ != nullptr;
  if (!sizes_agree || !has_maps || differs(Check.loaded_a11, a11, kIntrinsicsTolerance) ||
      differs(Check.loaded_a22, a22, kIntrinsicsTolerance) ||
      differs(Check.loaded_cx, cx, kIntrinsicsTolerance) ||
      differs(Check.loaded_cy, cy, kIntrinsicsTolerance)) {
    depth_io::print_line_and_wait("error reading");
    return false;
  }
  if (!depths_agree(Write, Check, MapZ, depth_io::pixel_count(Check))) return false;

  std::size_t pixel = 0;
  for (int row = 0; row < height; ++row) {
    for (int col = 0; col < width; ++col, ++pixel) {
      if (Write.write_MapObject[pixel] < 0) continue;
      // The same pairing as the reader's: rows with cx and a11, columns with cy and a22.
      const float depth = Check.LoadedDepth[pixel];
      const float x = (static_cast<float>(row) - cx) * depth / a11;
      const float y = (static_cast<float>(col) - cy) * depth / a22;
      if (differs(x, MapX[pixel], kMapTolerance)) {
        print_line("error reconstructewde X");
        return false;
      }
      if (differs(y, MapY[pixel], kMapTolerance)) {
        print_line("error reconstructewde Y");
        return false;
      }
    }
  }
  return true;
}
