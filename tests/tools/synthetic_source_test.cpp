#include "tools/source/synthetic_source.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "tools/source/depth_sensor.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

Frame load(std::uint32_t seed, long index) {
  SyntheticSource source(seed);
  Frame frame;
  source.load(index, frame);
  return frame;
}

std::size_t holes(const Frame& frame) {
  return static_cast<std::size_t>(std::count(frame.depth.begin(), frame.depth.end(), 0.0F));
}

/// Middle of the gaps between neighbouring readings of a range of depths.
float typical_step(const Frame& frame, float nearest, float farthest) {
  std::set<float> readings;
  for (const float reading : frame.depth) {
    if (reading >= nearest && reading <= farthest) readings.insert(reading);
  }
  std::vector<float> gaps;
  for (auto reading = readings.begin(); std::next(reading) != readings.end(); ++reading) {
    gaps.push_back(*std::next(reading) - *reading);
  }
  std::sort(gaps.begin(), gaps.end());
  return gaps.at(gaps.size() / 2);
}

TEST(SyntheticSource, GivesTheSameFrameEachTime) {
  const Frame first = load(1, 7);
  const Frame second = load(1, 7);
  EXPECT_EQ(first.depth, second.depth);
  EXPECT_EQ(first.bgr, second.bgr);
}

TEST(SyntheticSource, AFrameDoesNotDependOnThoseBefore) {
  SyntheticSource source(1);
  Frame frame;
  for (long index = 0; index < 3; ++index) source.load(index, frame);
  EXPECT_EQ(frame.depth, load(1, 2).depth);
  EXPECT_EQ(frame.bgr, load(1, 2).bgr);
}

TEST(SyntheticSource, NextWalksThroughTheFrames) {
  SyntheticSource source(1);
  Frame frame;
  ASSERT_TRUE(source.next(frame));
  ASSERT_TRUE(source.next(frame));
  EXPECT_EQ(frame.depth, load(1, 1).depth);
}

TEST(SyntheticSource, AnotherSeedGivesAnotherFrame) {
  EXPECT_NE(load(1, 0).depth, load(2, 0).depth);
}

TEST(SyntheticSource, DoesNotEnd) { EXPECT_FALSE(SyntheticSource(1).frame_count().has_value()); }

TEST(SyntheticSource, HasNoFrameBeforeTheFirst) {
  SyntheticSource source(1);
  Frame frame;
  EXPECT_THROW(source.load(-1, frame), Failure);
}

TEST(SyntheticSource, ReadingsLieInTheRangeOfTheSensor) {
  for (const float reading : load(1, 30).depth) {
    if (reading == 0) continue;
    ASSERT_GE(reading, kSensorNearest - 0.01F);
    ASSERT_LE(reading, kSensorFarthest);
  }
}

TEST(SyntheticSource, ReadingsAreWholeMillimetresOfMeasurableShifts) {
  std::set<float> possible = {0.0F};
  for (int step = 1; step < 1000; ++step) {
    const float depth = kShiftTimesDepth * kShiftStepsPerPixel / static_cast<float>(step);
    possible.insert(std::round(depth * 1000.0F) / 1000.0F);
  }
  for (const float reading : load(1, 30).depth) ASSERT_TRUE(possible.contains(reading)) << reading;
}

TEST(SyntheticSource, StepsGrowWithTheSquareOfTheDistance) {
  const Frame frame = load(1, 120);
  const float near_step = typical_step(frame, 1.8F, 2.2F);
  const float far_step = typical_step(frame, 3.6F, 4.4F);
  EXPECT_NEAR(far_step / near_step, 4.0F, 0.6F);
}

TEST(SyntheticSource, AFewPercentOfThePixelsAreHoles) {
  const std::size_t count = holes(load(1, 60));
  EXPECT_GT(count, kFramePixels / 100);
  EXPECT_LT(count, kFramePixels / 5);
}

TEST(SyntheticSource, SomethingMovesFromFrameToFrame) {
  const Frame before = load(1, 0);
  const Frame after = load(1, 10);
  std::size_t moved = 0;
  for (std::size_t i = 0; i < kFramePixels; ++i) {
    if (before.depth[i] > 0 && after.depth[i] > 0 &&
        std::fabs(before.depth[i] - after.depth[i]) > 0.3F) {
      ++moved;
    }
  }
  EXPECT_GT(moved, kFramePixels / 100);
}

TEST(DepthSensor, ANearObjectCastsAShadowToItsLeft) {
  std::vector<float> depth(kFramePixels, 4.0F);
  for (std::size_t row = 0; row < kFrameHeight; ++row) {
    for (std::size_t column = 300; column < 340; ++column) depth[row * kFrameWidth + column] = 1.0F;
  }
  const std::vector<unsigned char> no_holes(kFramePixels, 0);
  DepthSensor().measure(depth, no_holes, 1, 0);
  const auto middle = depth.begin() + 240 * kFrameWidth;
  const auto shadow_width = std::count(middle, middle + kFrameWidth, 0.0F);
  EXPECT_NEAR(static_cast<double>(shadow_width), kShiftTimesDepth * (1.0 - 0.25), 4.0);
  EXPECT_EQ(std::count(middle + 345, middle + kFrameWidth, 0.0F), 0);
}

TEST(DepthSensor, APixelThatNeverReadsIsAHole) {
  std::vector<float> depth(kFramePixels, 2.0F);
  const std::vector<unsigned char> always(kFramePixels, 255);
  DepthSensor().measure(depth, always, 1, 0);
  EXPECT_LT(std::count_if(depth.begin(), depth.end(), [](float z) { return z > 0; }), 2000);
}

TEST(DepthSensor, BeyondItsRangeThereIsNoReading) {
  std::vector<float> depth(kFramePixels, 12.0F);
  const std::vector<unsigned char> no_holes(kFramePixels, 0);
  DepthSensor().measure(depth, no_holes, 1, 0);
  EXPECT_EQ(*std::max_element(depth.begin(), depth.end()), 0.0F);
}

}  // namespace
}  // namespace depth_io::tools
