#include "tools/frame/frame.h"

namespace depth_io::tools {

std::size_t remove_unusable_readings(std::vector<float>& depth, float deepest) {
  std::size_t removed = 0;
  for (float& reading : depth) {
    // Not-a-number fails both comparisons.
    if (reading >= 0 && reading <= deepest) continue;
    reading = 0;
    ++removed;
  }
  return removed;
}

}  // namespace depth_io::tools
