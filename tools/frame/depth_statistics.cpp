#include "tools/frame/depth_statistics.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "codec/frame_writer.h"
#include "tools/frame/frame.h"

namespace depth_io::tools {
namespace {

/// Half a code step of a centimetre, and the rounding of single precision.
constexpr float kHalfStep = 0.00501F;

std::size_t band_of(float source) {
  if (!(source > 0)) return 0;
  return std::min<std::size_t>(static_cast<std::size_t>(source), 5) + 1;
}

}  // namespace

double allowed_error(float source) {
  // The recorded code is what the tolerance is measured from; it may lie half a step deeper.
  return static_cast<double>(GetCompressionErrorThreshold(source + kHalfStep)) +
         static_cast<double>(kHalfStep);
}

std::size_t DepthStatistics::add(const std::string& frame_name, const std::vector<float>& source,
                                 const std::vector<float>& read) {
  std::size_t outside = 0;
  for (std::size_t i = 0; i < std::min(source.size(), read.size()); ++i) {
    double error = std::fabs(static_cast<double>(read[i]) - static_cast<double>(source[i]));
    // A damaged frame can hold anything.
    if (!std::isfinite(error)) error = std::numeric_limits<float>::max();
    if (error > allowed_error(source[i])) ++outside;
    sum_ += error;
    ++histogram_[std::min(static_cast<std::size_t>(std::min(error * 1e3, 1e9)), kBins - 1)];
    Band& band = bands_[band_of(source[i])];
    ++band.pixels;
    band.sum += error;
    band.largest = std::max(band.largest, error);
    if (error > worst_.error) {
      worst_ = {frame_name,
                static_cast<int>(i / kFrameWidth),
                static_cast<int>(i % kFrameWidth),
                source[i],
                read[i],
                error};
    }
  }
  pixels_ += source.size();
  outside_ += outside;
  return outside;
}

double DepthStatistics::mean() const {
  return pixels_ == 0 ? 0 : sum_ / static_cast<double>(pixels_);
}

}  // namespace depth_io::tools
