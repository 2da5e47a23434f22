#pragma once

#include <cstdint>
#include <span>

namespace depth_io::tools {

/// Depths as 16-bit images hold them: whole units, 0 for no reading.
class DepthUnits {
 public:
  explicit DepthUnits(double units_per_metre) : units_per_metre_(units_per_metre) {}

  double units_per_metre() const { return units_per_metre_; }
  /// The deepest reading that 16 bits hold, metres.
  double deepest() const;

  /// Converts metres, rounded to the nearest unit. What is nearer than `kLeastExportedReading`,
  /// deeper than `deepest` or no number becomes 0; returns how many were too deep.
  std::uint64_t convert(std::span<const float> depth, std::span<std::uint16_t> units) const;

 private:
  double units_per_metre_;
};

}  // namespace depth_io::tools
