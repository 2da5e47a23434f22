#include "codec/labelling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "codec/depth_code.h"

namespace depth_io::test {
namespace {

/// First fit as it is defined: the labels in the order of their creation.
int plain_first_fit(const std::vector<float>& references, float depth) {
  for (std::size_t label = 0; label < references.size(); ++label) {
    if (std::fabs(depth - references[label]) <= 1.25F) return static_cast<int>(label);
  }
  return -1;
}

/// Labels `depths` with the table and as defined, and compares each step.
void compare_with_plain_first_fit(const std::vector<float>& depths) {
  std::vector<float> kept(depths.size());
  int count = 0;
  LabelTable table(kept.data(), static_cast<int>(kept.size()), count);
  std::vector<float> references;
  for (std::size_t i = 0; i < depths.size(); ++i) {
    const int expected = plain_first_fit(references, depths[i]);
    ASSERT_EQ(table.find(depths[i]), expected) << "depth " << i << ": " << depths[i];
    if (expected >= 0) continue;
    references.push_back(depths[i]);
    ASSERT_EQ(table.add(depths[i]), static_cast<int>(references.size()) - 1);
  }
  ASSERT_EQ(count, static_cast<int>(references.size()));
}

std::vector<float> random_depths(unsigned seed, int count, float largest) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<float> depth(-largest, largest);
  std::vector<float> depths;
  for (int i = 0; i < count; ++i) depths.push_back(depth(random));
  return depths;
}

TEST(LabelTable, FindsTheFirstFitAmongFewLabels) {
  for (unsigned seed = 0; seed < 200; ++seed) {
    compare_with_plain_first_fit(random_depths(seed, 500, 12.0F));
  }
}

TEST(LabelTable, FindsTheFirstFitAmongManyLabels) {
  for (unsigned seed = 0; seed < 10; ++seed) {
    compare_with_plain_first_fit(random_depths(seed, 3000, 2000.0F));
  }
}

TEST(LabelTable, FindsTheFirstFitAtTheEdgesOfWindows) {
  std::mt19937 random(3);
  std::vector<float> depths;
  float reference = 2.0F;
  for (int i = 0; i < 20000; ++i) {
    float depth = reference + (random() % 2 == 0 ? 1.25F : -1.25F);
    for (unsigned steps = random() % 4; steps > 0; --steps) {
      depth = std::nextafter(depth, random() % 2 == 0 ? 100.0F : -100.0F);
    }
    depths.push_back(depth);
    reference = random() % 8 == 0 ? static_cast<float>(random() % 30) : depth;
    if (std::fabs(reference) > 40.0F) reference = 1.0F;
  }
  compare_with_plain_first_fit(depths);
}

TEST(LabelTable, DepthsThatAreNoNumbersFitNothing) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<float> depths;
  for (int i = 0; i < 100; ++i) {
    for (const float depth : {nan, infinity, -infinity, 1.0F, 1e30F, -1e30F, 0.0F, -0.0F}) {
      depths.push_back(depth);
    }
  }
  compare_with_plain_first_fit(depths);
}

/// Labels whose interval holds a depth.
std::vector<int> sure_labels(const LabelTable& table, float depth) {
  const LabelIntervals intervals = table.sure_intervals();
  std::vector<int> labels;
  for (int i = 0; i < intervals.count; ++i) {
    const LabelInterval& sure = intervals.of[i];
    if (depth >= sure.low && depth <= sure.high) labels.push_back(sure.label);
  }
  return labels;
}

TEST(LabelTable, ADepthHasNoSureLabelButItsFirstFit) {
  std::vector<float> kept(64);
  int count = 0;
  LabelTable table(kept.data(), 64, count);
  std::mt19937 random(3);
  std::uniform_real_distribution<float> anywhere(-3.0F, 12.0F);
  int sure = 0;
  for (int i = 0; i < 20000; ++i) {
    const float depth = anywhere(random);
    const int label = table.find(depth);
    const std::vector<int> labels = sure_labels(table, depth);
    ASSERT_LE(labels.size(), 1U) << depth;
    if (!labels.empty()) {
      ASSERT_EQ(labels[0], label) << depth;
    }
    sure += labels.empty() ? 0 : 1;
    if (label < 0) table.add(depth);
  }
  EXPECT_GT(sure, 19000);
}

TEST(LabelTable, WindowsOfEarlierLabelsAreCutOff) {
  std::vector<float> kept(8);
  int count = 0;
  LabelTable table(kept.data(), 8, count);
  table.add(2.0F);
  table.add(4.0F);
  EXPECT_EQ(sure_labels(table, 3.0F), std::vector<int>{0});
  EXPECT_EQ(sure_labels(table, 3.5F), std::vector<int>{1});
  EXPECT_EQ(sure_labels(table, 5.3F), std::vector<int>{});
}

TEST(LabelTable, DepthsThatAreNoNumbersAreNeverSure) {
  std::vector<float> kept(8);
  int count = 0;
  LabelTable table(kept.data(), 8, count);
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  table.add(kNaN);
  table.add(2.0F);
  EXPECT_EQ(sure_labels(table, kNaN), std::vector<int>{});
  EXPECT_EQ(sure_labels(table, 2.0F), std::vector<int>{1});
  EXPECT_EQ(table.find(2.5F), 1);
}

TEST(DepthCode, RoundsHalfAwayFromZero) {
  for (int code = 0; code <= 250; ++code) {
    const float depth = 10.0F + static_cast<float>(code) / 100.0F - 1.25F;
    EXPECT_EQ(encode_depth(depth, 10.0F), code);
  }
  std::mt19937 random(1);
  std::uniform_real_distribution<float> reference(0.0F, 30.0F);
  std::uniform_real_distribution<float> offset(-1.2499F, 1.2499F);
  for (int i = 0; i < 200000; ++i) {
    const float from = reference(random);
    const float depth = from + offset(random);
    const float steps = (1.25F + (depth - from)) * 100.0F;
    ASSERT_EQ(encode_depth(depth, from), static_cast<int>(std::lround(steps)));
  }
}

}  // namespace
}  // namespace depth_io::test
