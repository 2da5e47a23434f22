#include "tools/source/frame_clock.h"

#include <gtest/gtest.h>

#include <utility>

namespace depth_io::tools {
namespace {

/// A source that has only times.
class Times final : public FrameSource {
 public:
  explicit Times(std::vector<std::int64_t> microseconds) : microseconds_(std::move(microseconds)) {}
  std::optional<long> frame_count() const override {
    return static_cast<long>(microseconds_.size());
  }
  bool has_colour() const override { return false; }
  bool next(Frame& /*frame*/) override { return false; }
  void skip(long /*frames*/) override {}
  std::optional<std::int64_t> time_of(long index) const override {
    return microseconds_.at(static_cast<std::size_t>(index));
  }

 private:
  std::vector<std::int64_t> microseconds_;
};

TEST(FrameClock, EvenFramesComeAtTheirRate) {
  const FrameClock clock(20);
  EXPECT_DOUBLE_EQ(clock.seconds_of(7), 0.35);
  EXPECT_EQ(clock.newest_at(0.99), 19);
  EXPECT_DOUBLE_EQ(clock.frames_before(2), 40);
}

TEST(FrameClock, ListedFramesComeAtTheirTimes) {
  const FrameClock clock(Times({5000000, 5033400, 5066600, 9000000}));
  EXPECT_DOUBLE_EQ(clock.seconds_of(0), 0);
  EXPECT_DOUBLE_EQ(clock.seconds_of(1), 0.033);
  EXPECT_DOUBLE_EQ(clock.seconds_of(3), 4);
  EXPECT_EQ(clock.newest_at(0), 0);
  EXPECT_EQ(clock.newest_at(0.04), 1);
  EXPECT_EQ(clock.newest_at(3.9), 2);
  EXPECT_EQ(clock.newest_at(100), 3);
  EXPECT_DOUBLE_EQ(clock.frames_before(4), 3);
  EXPECT_DOUBLE_EQ(clock.frames_before(4.1), 4);
  EXPECT_NEAR(clock.fps(), 1e3 / 34, 1e-9);
}

TEST(FrameClock, StampsAreThoseOfTheTimesThemselves) {
  // 0.6 ms and 1.4 ms are 1 ms each, though they lie 0.8 ms apart.
  EXPECT_DOUBLE_EQ(FrameClock(Times({600, 2400})).seconds_of(1), 0.001);
}

TEST(FrameClock, NoTwoFramesHaveTheSameTime) {
  const FrameClock clock(Times({1000, 1100, 1200, 1900}));
  EXPECT_DOUBLE_EQ(clock.seconds_of(1), 0.001);
  EXPECT_DOUBLE_EQ(clock.seconds_of(2), 0.002);
  EXPECT_DOUBLE_EQ(clock.seconds_of(3), 0.003);
}

TEST(FrameClock, ASingleFrameHasTheUsualRate) {
  EXPECT_DOUBLE_EQ(FrameClock(Times({1000})).fps(), 30);
}

}  // namespace
}  // namespace depth_io::tools
