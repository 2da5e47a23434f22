#include "engine/playback_maps.h"

#include <cstddef>
#include <cstring>

namespace depth_io {

void mark_depth(std::span<const float> depth, bool* has_depth) {
  constexpr float kNearestDepth = 0.01F;
  for (std::size_t i = 0; i < depth.size(); ++i) {
    if (depth[i] > kNearestDepth) has_depth[i] = true;
  }
}

bool load_colour_image(const char* file_name, std::span<unsigned char> image,
                       unsigned char* scratch) {
  // An engine that was not constructed has none.
  if (scratch == nullptr || image.data() == nullptr) return false;
  if (!read_jpeg_file(file_name, {scratch, image.size()}).decoded) return false;
  std::memcpy(image.data(), scratch, image.size());
  return true;
}

}  // namespace depth_io
