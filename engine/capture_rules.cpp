#include "engine/capture_rules.h"

#include <cmath>

namespace depth_io {

float measure_motion(const MotionInput& frames, float contrast, float* moving) {
  int count = 0;
  for (int i = 0; i < kFramePixels; ++i) {
    if (!frames.previous_has_depth[i] || !frames.has_depth[i]) continue;
    const float change = std::fabs((frames.previous_depth[i] - frames.depth[i]) / frames.depth[i]);
    if (change > contrast) {
      ++count;
      moving[i] = 255.0F;
    }
  }
  return static_cast<float>(count) / static_cast<float>(kFramePixels);
}

bool passes_rate_limit(double seconds_since_last, float frames_per_second) {
  if (frames_per_second < 0.0F) return true;
  return seconds_since_last > static_cast<double>(1.0F / frames_per_second);
}

int next_slot(int slot, int size) { return slot + 1 >= size ? 0 : slot + 1; }

bool is_slot(int slot, int size) { return slot >= 0 && slot < size; }

}  // namespace depth_io
