#include "tools/frame/frame_ids.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace depth_io::tools {
namespace {

TEST(FrameIds, ConsecutiveFramesAreNewAndNoneIsMissed) {
  FrameIds ids;
  for (const std::uint32_t id : {7U, 8U, 9U}) EXPECT_TRUE(ids.take(id));
  EXPECT_EQ(ids.missed(), 0);
  EXPECT_EQ(ids.last(), 9U);
}

TEST(FrameIds, TheSameFrameIsNotNew) {
  FrameIds ids;
  ids.take(7);
  EXPECT_FALSE(ids.take(7));
}

TEST(FrameIds, ThereIsNoFrameBeforeTheFirst) {
  FrameIds ids;
  EXPECT_FALSE(ids.take(0));
}

TEST(FrameIds, FramesBeforeTheFirstSeenOneAreNotMissed) {
  FrameIds ids;
  ids.take(1000);
  EXPECT_EQ(ids.missed(), 0);
}

TEST(FrameIds, NumbersLeftOutAreMissedFrames) {
  FrameIds ids;
  for (const std::uint32_t id : {1U, 2U, 5U, 6U, 10U}) ids.take(id);
  EXPECT_EQ(ids.missed(), 5);
}

TEST(FrameIds, NumbersThatBeginAnewAreNoLoss) {
  FrameIds ids;
  for (const std::uint32_t id : {5U, 1U, 2U}) EXPECT_TRUE(ids.take(id));
  EXPECT_EQ(ids.missed(), 0);
}

TEST(FrameIds, TheLargestNumberIsCountedToo) {
  FrameIds ids;
  ids.take(1);
  ids.take(std::numeric_limits<std::uint32_t>::max());
  EXPECT_EQ(ids.missed(), 4294967293L);
}

}  // namespace
}  // namespace depth_io::tools
