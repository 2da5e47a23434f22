#include "codec/run_length.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/console_capture.h"

namespace depth_io::test {
namespace {

using Runs = std::vector<std::pair<int, int>>;

/// Runs as (length, value), in order. Both output arrays have exactly one place per pixel.
Runs runs_of(int width, int height, std::vector<int> image, int saturate_at, int debug = 0) {
  std::vector<int> lengths(image.size(), -99);
  std::vector<int> values(image.size(), -99);
  int count = -1;
  rle(width, height, image.data(), lengths.data(), values.data(), count, saturate_at, debug);
  Runs runs;
  for (int i = 0; i < count; ++i) {
    runs.emplace_back(lengths[static_cast<std::size_t>(i)], values[static_cast<std::size_t>(i)]);
  }
  return runs;
}

std::vector<int> image_of(const Runs& runs) {
  std::vector<int> image;
  for (const auto& [length, value] : runs)
    image.insert(image.end(), static_cast<std::size_t>(length), value);
  return image;
}

TEST(RunLength, RunsCrossRowEnds) {
  EXPECT_EQ(runs_of(4, 2, {5, 5, 5, 5, 5, 7, 7, -1}, 30000), (Runs{{5, 5}, {2, 7}, {1, -1}}));
}

TEST(RunLength, RunThatEndsWithItsRowDoesNotSwallowTheNextPixel) {
  EXPECT_EQ(runs_of(3, 2, {1, 1, 1, 2, 2, 2}, 30000), (Runs{{3, 1}, {3, 2}}));
}

TEST(RunLength, ChangeAtLastPixelOfRow) {
  EXPECT_EQ(runs_of(3, 2, {1, 1, 2, 2, 1, 1}, 30000), (Runs{{2, 1}, {2, 2}, {2, 1}}));
}

TEST(RunLength, LongStretchIsCutAtTheCap) {
  EXPECT_EQ(runs_of(700, 100, std::vector<int>(70000, 4), 30000),
            (Runs{{30000, 4}, {30000, 4}, {10000, 4}}));
}

TEST(RunLength, StretchOfExactlyTheCapIsOneRun) {
  EXPECT_EQ(runs_of(300, 100, std::vector<int>(30000, 0), 30000), (Runs{{30000, 0}}));
}

TEST(RunLength, StretchOfOneMoreThanTheCapIsTwoRuns) {
  EXPECT_EQ(runs_of(30001, 1, std::vector<int>(30001, 0), 30000), (Runs{{30000, 0}, {1, 0}}));
}

TEST(RunLength, SinglePixelIsOneRun) { EXPECT_EQ(runs_of(1, 1, {9}, 30000), (Runs{{1, 9}})); }

TEST(RunLength, DistinctValuesGiveOneRunPerPixel) {
  std::vector<int> image;
  for (int i = 0; i < 12 * 7; ++i) image.push_back(i);
  const Runs runs = runs_of(12, 7, image, 30000);
  EXPECT_EQ(runs.size(), image.size());
  EXPECT_EQ(image_of(runs), image);
}

TEST(RunLength, SingleColumnIsFollowedDownwards) {
  EXPECT_EQ(runs_of(1, 5, {3, 3, 4, 4, 4}, 30000), (Runs{{2, 3}, {3, 4}}));
}

TEST(RunLength, ImageWithoutPixelsHasNoRuns) {
  for (const auto& [width, height] : {std::pair{0, 0}, {0, 5}, {5, 0}, {-1, 4}, {4, -1}}) {
    EXPECT_EQ(runs_of(width, height, {}, 30000), Runs{}) << width << " x " << height;
  }
}

TEST(RunLength, CapOfOneOrLessGivesRunsOfOne) {
  for (const int cap : {1, 0, -5, INT_MIN}) {
    EXPECT_EQ(runs_of(2, 2, {6, 6, 6, 6}, cap), (Runs{{1, 6}, {1, 6}, {1, 6}, {1, 6}})) << cap;
  }
}

TEST(RunLength, CapOfTwoPairsPixels) {
  EXPECT_EQ(runs_of(5, 1, {6, 6, 6, 6, 6}, 2), (Runs{{2, 6}, {2, 6}, {1, 6}}));
}

TEST(RunLength, RunOfAMillionPixelsNeedsNoDeepStack) {
  EXPECT_EQ(runs_of(1000, 1000, std::vector<int>(1000000, -1), INT_MAX), (Runs{{1000000, -1}}));
}

TEST(RunLength, DebugPrintsEachStepAndWaitsOncePerRun) {
  const ConsoleTrace console = capture_console([] { runs_of(2, 2, {5, 5, 5, 8}, 30000, 1); });
  EXPECT_EQ(console.output,
            "_rle 0 0\n"
            " OK 0 1 Nb 2\n"
            " OK 1 0 Nb 3\n"
            "RLE nb 3 for value 5\n"
            "_rle 1 1\n"
            "RLE nb 1 for value 8\n");
  EXPECT_EQ(console.keys, 2);
}

TEST(RunLength, DebugShowsWhereACappedRunGoesOn) {
  const ConsoleTrace console = capture_console([] { runs_of(3, 1, {5, 5, 5}, 2, 1); });
  EXPECT_EQ(console.output,
            "_rle 0 0\n"
            " OK 0 1 Nb 2\n"
            "RLE nb 2 for value 5\n"
            "_rle 0 2\n"
            "RLE nb 1 for value 5\n");
  EXPECT_EQ(console.keys, 2);
}

TEST(RunLength, OtherDebugValuesAreSilent) {
  for (const int debug : {0, 2, -1}) {
    const ConsoleTrace console = capture_console([&] {
      runs_of(2, 2, {5, 5, 5, 8}, 30000, debug);
    });
    EXPECT_EQ(console.output, "") << debug;
    EXPECT_EQ(console.keys, 0) << debug;
  }
}

TEST(RunLength, RandomImagesComeBackInMaximalRuns) {
  std::mt19937 random(20240501);
  for (int round = 0; round < 200; ++round) {
    const int width = static_cast<int>(random() % 40) + 1;
    const int height = static_cast<int>(random() % 40) + 1;
    const int cap = static_cast<int>(random() % 30) + 1;
    const unsigned colours = random() % 4 + 1;
    std::vector<int> image(static_cast<std::size_t>(width * height));
    for (int& value : image) value = static_cast<int>(random() % colours) - 1;
    const Runs runs = runs_of(width, height, image, cap);
    ASSERT_EQ(image_of(runs), image) << width << " x " << height << " cap " << cap;
    for (std::size_t i = 0; i < runs.size(); ++i) {
      ASSERT_LE(runs[i].first, cap);
      if (i > 0 && runs[i].second == runs[i - 1].second) {
        ASSERT_EQ(runs[i - 1].first, cap);
      }
    }
  }
}

// --- One run ------------------------------------------------------------------------------------

struct OneRun {
  bool keep_on = true;
  int length = 1;
  int stop_row = -7;
  int stop_col = -7;
};

OneRun extend(int row, int col, int value, OneRun run, std::vector<int> image, int width,
              int saturate_at, int debug = 0) {
  const int height = static_cast<int>(image.size()) / width;
  _rle(run.keep_on, run.length, row, col, value, run.stop_row, run.stop_col, width, height,
       image.data(), saturate_at, debug);
  return run;
}

TEST(OneRunLength, EndsAtTheLastPixelOfItsValue) {
  const OneRun run = extend(0, 1, 4, {}, {4, 4, 4, 4, 4, 9}, 3, 30000);
  EXPECT_EQ(run.length, 4);
  EXPECT_EQ(run.stop_row, 1);
  EXPECT_EQ(run.stop_col, 1);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, EndsWithTheImage) {
  const OneRun run = extend(0, 0, 4, {}, {4, 4, 4, 4}, 2, 30000);
  EXPECT_EQ(run.length, 4);
  EXPECT_EQ(run.stop_row, 1);
  EXPECT_EQ(run.stop_col, 1);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, LeavesStopPositionWhenNothingFollows) {
  const OneRun run = extend(0, 0, 4, {}, {4, 5}, 2, 30000);
  EXPECT_EQ(run.length, 1);
  EXPECT_EQ(run.stop_row, -7);
  EXPECT_EQ(run.stop_col, -7);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, CountsOnFromTheLengthItIsGiven) {
  OneRun run;
  run.length = 5;
  run = extend(0, 0, 4, run, {4, 4, 4, 4}, 4, 7);
  EXPECT_EQ(run.length, 7);
  EXPECT_EQ(run.stop_col, 2);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, SaturatedRunStopsWithoutAStep) {
  OneRun run;
  run.length = 7;
  run = extend(0, 0, 4, run, {4, 4}, 2, 7);
  EXPECT_EQ(run.length, 7);
  EXPECT_EQ(run.stop_col, -7);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, DoesNothingWhenTheRunHasEnded) {
  OneRun run;
  run.keep_on = false;
  run = extend(0, 0, 4, run, {4, 4}, 2, 30000);
  EXPECT_EQ(run.length, 1);
  EXPECT_EQ(run.stop_col, -7);
  EXPECT_FALSE(run.keep_on);
}

TEST(OneRunLength, ComparesWithTheValueGivenNotWithItsOwnPixel) {
  const OneRun run = extend(0, 0, 4, {}, {1, 4, 4, 1}, 4, 30000);
  EXPECT_EQ(run.length, 3);
  EXPECT_EQ(run.stop_col, 2);
}

TEST(OneRunLength, DebugPrintsEachPixelAndNeverWaits) {
  const ConsoleTrace console = capture_console([] {
    extend(0, 0, 4, {}, {4, 4, 4, 9}, 2, 30000, 1);
  });
  EXPECT_EQ(console.output, " OK 0 1 Nb 2\n OK 1 0 Nb 3\n");
  EXPECT_EQ(console.keys, 0);
}

}  // namespace
}  // namespace depth_io::test
