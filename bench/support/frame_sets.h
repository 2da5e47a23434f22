#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/frame/frame.h"

namespace depth_io::bench {

using tools::Frame;
using tools::kFrameHeight;
using tools::kFramePixels;
using tools::kFrameWidth;

/// So many frames of each set are measured.
inline constexpr std::size_t kFramesOfASet = 20;

struct FrameSet {
  std::string name;
  std::vector<Frame> frames;
};

/// Frames of a directory of real frames, evenly spread over it, with their readings as the sensor
/// gave them. The directory lies beside the project, or where CAMERA_DEPTH_RW_DATA says. Throws
/// `tools::Failure` when it cannot be read.
FrameSet real_frames(const std::string& name, std::size_t most = kFramesOfASet);

/// Whether there is a directory of that name.
bool has_real_frames(const std::string& name);

/// Frames of the moving synthetic scene.
FrameSet synthetic_frames(std::size_t count = kFramesOfASet);

/// Which pixels of a frame have no reading, a quarter of them: its own holes first, then blobs of
/// the sizes that reflections and shadows leave.
std::vector<bool> quarter_of_holes(const Frame& frame, std::uint32_t seed);

/// The frame with `value` in place of its holes.
Frame with_holes(const Frame& frame, const std::vector<bool>& holes, float value);

/// Depths as 16-bit millimetres, the form in which other codecs store them; what is no number or
/// too far becomes 0.
std::vector<std::uint16_t> millimetres(const std::vector<float>& depth);

}  // namespace depth_io::bench
