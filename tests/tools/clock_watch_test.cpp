#include "tools/recorder/clock_watch.h"

#include <gtest/gtest.h>

#include "tools/frame/frame_time.h"

namespace depth_io::tools {
namespace {

Moment at(const char* text) { return parse_moment(text).value(); }

TEST(ClockWatch, AClockThatJustGoesOnIsNoStep) {
  ClockWatch watch(at("2013-04-09T14:05:07"), 1000);
  EXPECT_FALSE(watch.look(at("2013-04-09T14:05:07.033"), 1000.033));
  EXPECT_FALSE(watch.look(at("2013-04-09T15:05:07.033"), 4600.033));
}

TEST(ClockWatch, StepsAreToldOnce) {
  ClockWatch watch(at("2013-04-09T14:05:07"), 0);
  const auto back = watch.look(at("2013-04-09T13:05:08"), 1);
  ASSERT_TRUE(back);
  EXPECT_DOUBLE_EQ(*back, -3600);
  EXPECT_FALSE(watch.look(at("2013-04-09T13:05:09"), 2));
  const auto forward = watch.look(at("2013-04-09T13:05:15"), 3);
  ASSERT_TRUE(forward);
  EXPECT_DOUBLE_EQ(*forward, 5);
}

TEST(ClockWatch, AClockBeingKeptInTimeIsNoStep) {
  ClockWatch watch(at("2013-04-09T14:05:07"), 0);
  Moment wall = at("2013-04-09T14:05:07");
  for (int i = 1; i <= 100; ++i) {
    wall = moment_after(wall, 1.1);
    EXPECT_FALSE(watch.look(wall, i)) << i;
  }
}

}  // namespace
}  // namespace depth_io::tools
