#include "tools/recorder/capture_engine.h"

namespace depth_io::tools {

std::unique_ptr<CaptureEngine> make_capture_engine(const EngineSettings& settings) {
  switch (settings.recording.layout) {
    case Layout::kFlat:
      return make_flat_engine(settings);
    case Layout::kNumbered:
      return make_numbered_engine(settings);
    case Layout::kTree:
      return make_tree_engine(settings);
  }
  return nullptr;
}

void mark_readings(const float* depth, bool* has_depth) {
  // Depth above which a pixel counts as having depth, as playback marks it.
  constexpr float kHasDepthAbove = 0.01F;
  for (std::size_t i = 0; i < kFramePixels; ++i) has_depth[i] = depth[i] > kHasDepthAbove;
}

}  // namespace depth_io::tools
