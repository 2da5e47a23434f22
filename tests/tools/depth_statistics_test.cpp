#include "tools/frame/depth_statistics.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tools/frame/frame.h"

namespace depth_io::tools {
namespace {

std::vector<float> flat(float depth) { return std::vector<float>(kFramePixels, depth); }

TEST(DepthStatistics, EqualMapsHaveNoError) {
  DepthStatistics statistics;
  EXPECT_EQ(statistics.add("a", flat(2), flat(2)), 0U);
  EXPECT_EQ(statistics.largest(), 0);
  EXPECT_EQ(statistics.mean(), 0);
  EXPECT_EQ(statistics.histogram()[0], kFramePixels);
}

TEST(DepthStatistics, FindsTheWorstPixelOfAllFrames) {
  DepthStatistics statistics;
  std::vector<float> read = flat(2);
  read[5 * kFrameWidth + 9] = 2.25F;
  statistics.add("first", flat(2), flat(2));
  statistics.add("second", flat(2), read);
  statistics.add("third", flat(2), flat(2.1F));
  EXPECT_EQ(statistics.worst().frame, "second");
  EXPECT_EQ(statistics.worst().row, 5);
  EXPECT_EQ(statistics.worst().column, 9);
  EXPECT_DOUBLE_EQ(statistics.largest(), 0.25);
}

TEST(DepthStatistics, CountsErrorsByMillimetres) {
  DepthStatistics statistics;
  std::vector<float> read = flat(2);
  read[0] = 2.0075F;
  read[1] = 3;
  statistics.add("a", flat(2), read);
  EXPECT_EQ(statistics.histogram()[7], 1U);
  EXPECT_EQ(statistics.histogram()[DepthStatistics::kBins - 1], 1U);
  EXPECT_EQ(statistics.histogram()[0], kFramePixels - 2);
}

TEST(DepthStatistics, CountsPixelsOutsideTheToleranceOfTheirDistance) {
  const struct {
    float source;
    float read;
    bool outside;
  } cases[] = {{0.5F, 0.514F, false}, {0.5F, 0.516F, true},   {1.5F, 1.524F, false},
               {1.5F, 1.526F, true},  {4.5F, 4.554F, false},  {4.5F, 4.556F, true},
               {8.0F, 7.946F, false}, {8.0F, 7.944F, true},   {0.0F, 0.014F, false},
               {0.0F, 0.016F, true},  {0.998F, 1.022F, false}};
  for (const auto& c : cases) {
    DepthStatistics statistics;
    std::vector<float> source = flat(2);
    std::vector<float> read = flat(2);
    source[3] = c.source;
    read[3] = c.read;
    EXPECT_EQ(statistics.add("a", source, read), c.outside ? 1U : 0U) << c.source << " " << c.read;
  }
}

TEST(DepthStatistics, WhatIsNoNumberIsOutside) {
  for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity()}) {
    DepthStatistics statistics;
    std::vector<float> read = flat(2);
    read[3] = bad;
    EXPECT_EQ(statistics.add("a", flat(2), read), 1U);
    EXPECT_TRUE(std::isfinite(statistics.largest()));
  }
}

TEST(DepthStatistics, SortsPixelsByDistance) {
  DepthStatistics statistics;
  std::vector<float> source = flat(2.5F);
  source[0] = 0;
  source[1] = 0.9F;
  source[2] = 20;
  statistics.add("a", source, source);
  EXPECT_EQ(statistics.bands()[0].pixels, 1U);
  EXPECT_EQ(statistics.bands()[1].pixels, 1U);
  EXPECT_EQ(statistics.bands()[3].pixels, kFramePixels - 3);
  EXPECT_EQ(statistics.bands()[6].pixels, 1U);
}

TEST(Frame, UnusableReadingsAreRemovedAndCounted) {
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<float> depth = {0, 1, 30, 30.001F, -0.5F, std::nanf(""), infinity, -infinity};
  EXPECT_EQ(remove_unusable_readings(depth, 30), 5U);
  EXPECT_EQ(depth, (std::vector<float>{0, 1, 30, 0, 0, 0, 0, 0}));
}

}  // namespace
}  // namespace depth_io::tools
