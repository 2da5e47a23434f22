#pragma once

#include <cstdint>
#include <vector>

#include "tools/source/depth_sensor.h"
#include "tools/source/frame_source.h"
#include "tools/source/synthetic_room.h"

namespace depth_io::tools {

/// An endless, deterministic recording of a furnished room in which somebody walks about, seen by a
/// depth camera with all its faults. Frame n shows the moment n / 30 s.
class SyntheticSource final : public IndexedSource {
 public:
  explicit SyntheticSource(std::uint32_t seed);

  std::optional<long> frame_count() const override { return {}; }
  bool has_colour() const override { return true; }
  void load(long index, Frame& frame) override;

 private:
  std::uint32_t seed_;
  RoomView room_;
  DepthSensor sensor_;
  std::vector<unsigned char> hole_chance_;
};

}  // namespace depth_io::tools
