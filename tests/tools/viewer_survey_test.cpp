#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "tools/frame/frame.h"
#include "tools/viewer/coarse_to_fine.h"
#include "tools/viewer/motion_survey.h"

namespace depth_io::tools {
namespace {

std::vector<std::uint32_t> order_of(std::uint32_t count) {
  CoarseToFine order(count);
  std::vector<std::uint32_t> numbers;
  for (std::uint32_t number = 0; order.next(number);) numbers.push_back(number);
  return numbers;
}

TEST(CoarseToFine, VisitsEachNumberOnce) {
  for (const std::uint32_t count : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 1000U}) {
    const auto numbers = order_of(count);
    EXPECT_EQ(numbers.size(), count);
    EXPECT_EQ(std::set(numbers.begin(), numbers.end()).size(), count);
    for (const std::uint32_t number : numbers) EXPECT_LT(number, count);
  }
}

TEST(CoarseToFine, SpreadsTheFirstOnesEvenly) {
  const auto numbers = order_of(1024);
  std::set<std::uint32_t> early(numbers.begin(), numbers.begin() + 16);
  std::uint32_t expected = 0;
  for (const std::uint32_t number : early) {
    EXPECT_EQ(number, expected);
    expected += 64;
  }
}

class MovedShare : public testing::Test {
 protected:
  std::vector<float> before_ = std::vector<float>(kFramePixels, 2.0F);
  std::vector<float> now_ = std::vector<float>(kFramePixels, 2.0F);
  float share() const { return moved_share(before_.data(), now_.data()); }
};

TEST_F(MovedShare, IsNothingBetweenEqualFrames) { EXPECT_EQ(share(), 0); }

TEST_F(MovedShare, CountsPixelsThatChangedByMoreThanATenth) {
  std::fill_n(now_.begin(), kFramePixels / 2, 2.3F);
  EXPECT_NEAR(share(), 0.5, 0.001);
  std::fill_n(now_.begin(), kFramePixels / 2, 2.1F);
  EXPECT_EQ(share(), 0);
}

TEST_F(MovedShare, TakesNoNoticeOfPixelsWithoutReading) {
  std::fill_n(now_.begin(), kFramePixels, 0.01F);
  EXPECT_EQ(share(), 0);
  std::fill_n(now_.begin(), kFramePixels, std::numeric_limits<float>::quiet_NaN());
  EXPECT_EQ(share(), 0);
}

}  // namespace
}  // namespace depth_io::tools
