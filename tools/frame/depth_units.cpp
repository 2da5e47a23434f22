#include "tools/frame/depth_units.h"

#include <cmath>
#include <limits>

#include "tools/frame/frame.h"

namespace depth_io::tools {
namespace {

constexpr double kMost = std::numeric_limits<std::uint16_t>::max();

}  // namespace

double DepthUnits::deepest() const { return kMost / units_per_metre_; }

std::uint64_t DepthUnits::convert(std::span<const float> depth,
                                  std::span<std::uint16_t> units) const {
  std::uint64_t too_deep = 0;
  for (std::size_t i = 0; i < depth.size(); ++i) {
    units[i] = 0;
    // Not-a-number fails this, too.
    if (!(depth[i] >= kLeastExportedReading)) continue;
    const double value = std::round(static_cast<double>(depth[i]) * units_per_metre_);
    if (value > kMost) {
      ++too_deep;
    } else {
      units[i] = static_cast<std::uint16_t>(value);
    }
  }
  return too_deep;
}

}  // namespace depth_io::tools
