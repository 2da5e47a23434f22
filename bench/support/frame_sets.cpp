#include "bench/support/frame_sets.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <utility>

#include "tools/source/image_source.h"
#include "tools/source/synthetic_source.h"

namespace depth_io::bench {
namespace {

std::string real_frames_directory(const std::string& name) {
  const char* const given = std::getenv("CAMERA_DEPTH_RW_DATA");
  return (given != nullptr ? std::string(given) : std::string(CAMERA_DEPTH_RW_REAL_FRAMES)) + "/" +
         name;
}

/// Marks a disc; returns how many pixels were not marked before, at most `most`.
std::size_t mark_disc(std::vector<bool>& holes, int row, int column, int radius, std::size_t most) {
  std::size_t marked = 0;
  for (int r = std::max(0, row - radius); r <= std::min(kFrameHeight - 1, row + radius); ++r) {
    for (int c = std::max(0, column - radius); c <= std::min(kFrameWidth - 1, column + radius);
         ++c) {
      const int distance = (r - row) * (r - row) + (c - column) * (c - column);
      const auto pixel =
          static_cast<std::size_t>(r) * std::size_t{kFrameWidth} + static_cast<std::size_t>(c);
      if (distance > radius * radius || holes[pixel] || marked == most) continue;
      holes[pixel] = true;
      ++marked;
    }
  }
  return marked;
}

}  // namespace

bool has_real_frames(const std::string& name) {
  return std::filesystem::is_directory(real_frames_directory(name));
}

FrameSet real_frames(const std::string& name, std::size_t most) {
  tools::ImageSource source(real_frames_directory(name), {});
  const auto available = static_cast<std::size_t>(source.frame_count().value_or(0));
  const std::size_t count = std::min(most, available);
  FrameSet set{name, std::vector<Frame>(count)};
  for (std::size_t i = 0; i < count; ++i) {
    source.load(static_cast<long>(i * available / count), set.frames[i]);
  }
  return set;
}

FrameSet synthetic_frames(std::size_t count) {
  constexpr long kFramesBetween = 15;
  tools::SyntheticSource source(1U);
  FrameSet set{"synthetic", std::vector<Frame>(count)};
  for (std::size_t i = 0; i < count; ++i) {
    source.load(static_cast<long>(i) * kFramesBetween, set.frames[i]);
  }
  return set;
}

std::vector<bool> quarter_of_holes(const Frame& frame, std::uint32_t seed) {
  constexpr std::size_t kQuarter = kFramePixels / 4;
  std::vector<bool> holes(kFramePixels);
  std::size_t count = 0;
  for (std::size_t i = 0; i < kFramePixels && count < kQuarter; ++i) {
    if (frame.depth[i] > 0.0F) continue;
    holes[i] = true;
    ++count;
  }
  std::mt19937 random(seed);
  while (count < kQuarter) {
    const int row = static_cast<int>(random() % unsigned{kFrameHeight});
    const int column = static_cast<int>(random() % unsigned{kFrameWidth});
    const int radius = 2 + static_cast<int>(random() % 23U);
    count += mark_disc(holes, row, column, radius, kQuarter - count);
  }
  return holes;
}

Frame with_holes(const Frame& frame, const std::vector<bool>& holes, float value) {
  Frame changed = frame;
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    if (holes[i]) changed.depth[i] = value;
  }
  return changed;
}

std::vector<std::uint16_t> millimetres(const std::vector<float>& depth) {
  constexpr float kMost = 65.535F;
  std::vector<std::uint16_t> values(depth.size());
  for (std::size_t i = 0; i < depth.size(); ++i) {
    const bool is_stored = depth[i] > 0.0F && depth[i] <= kMost;
    values[i] =
        is_stored ? static_cast<std::uint16_t>(std::lround(depth[i] * 1000.0F)) : std::uint16_t{0};
  }
  return values;
}

}  // namespace depth_io::bench
