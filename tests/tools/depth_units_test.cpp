#include "tools/frame/depth_units.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace depth_io::tools {
namespace {

std::uint16_t unit_of(float metres, double scale) {
  std::uint16_t unit = 1;
  DepthUnits(scale).convert({&metres, 1}, {&unit, 1});
  return unit;
}

TEST(DepthUnits, MetresAreRoundedToTheNearestUnit) {
  EXPECT_EQ(unit_of(1.0F, 1000), 1000);
  EXPECT_EQ(unit_of(1.0004F, 1000), 1000);
  EXPECT_EQ(unit_of(1.0006F, 1000), 1001);
  EXPECT_EQ(unit_of(1.5F, 5000), 7500);
}

TEST(DepthUnits, NearerThanFiveCentimetresIsNoReading) {
  EXPECT_EQ(unit_of(0.0F, 1000), 0);
  EXPECT_EQ(unit_of(0.01F, 1000), 0);
  EXPECT_EQ(unit_of(0.0499F, 1000), 0);
  EXPECT_EQ(unit_of(0.05F, 1000), 50);
}

TEST(DepthUnits, WhatIsNoNumberIsNoReading) {
  EXPECT_EQ(unit_of(std::numeric_limits<float>::quiet_NaN(), 1000), 0);
  EXPECT_EQ(unit_of(-1.0F, 1000), 0);
  EXPECT_EQ(unit_of(std::numeric_limits<float>::infinity(), 1000), 0);
}

TEST(DepthUnits, TooDeepReadingsAreCounted) {
  const std::vector<float> depth = {13.107F, 13.1072F, 60, 0, 1};
  std::vector<std::uint16_t> units(depth.size());
  const DepthUnits tum(5000);
  EXPECT_DOUBLE_EQ(tum.deepest(), 13.107);
  EXPECT_EQ(tum.convert(depth, units), 2U);
  EXPECT_EQ(units, (std::vector<std::uint16_t>{65535, 0, 0, 0, 5000}));
}

}  // namespace
}  // namespace depth_io::tools
