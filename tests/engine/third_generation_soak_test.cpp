#include <algorithm>
#include <string>

#include "tests/support/held_resources.h"
#include "tests/support/quiet_console.h"
#include "tests/support/third_generation_fixture.h"

// Long runs: thousands of flat frames, whose files are small.
namespace depth_io::test {
namespace {

// Under a sanitizer the run is shorter, and its allocator keeps what was released.
constexpr int kFrames = kMemoryIsMeasured ? 3000 : 200;
constexpr int kWarmUp = kFrames / 10;
constexpr int kFramesPerMinute = 40;

/// The n-th frame's moment: `kFramesPerMinute` frames a minute, from half an hour before midnight.
Moment moment_of(int frame) {
  const int minute = frame / kFramesPerMinute + 23 * 60 + 30;
  return {2013, 4, 9 + minute / 1440, minute / 60 % 24, minute % 60, frame % kFramesPerMinute, 0};
}

float depth_of(int frame) { return 1.0F + 0.01F * static_cast<float>(frame % 300); }

TEST(ThirdSoak, RecordingAndPlaybackOfThousandsOfFramesHoldNoMore) {
  ThirdRecorder recorder(3, -1.0F);
  const QuietConsole silence;
  Held warm;
  for (int i = 0; i < kFrames; ++i) {
    if (i == kWarmUp) warm = Held::now();
    std::fill_n(recorder.engine.DepthMap, kPixels, depth_of(i));
    ASSERT_TRUE(capture(recorder.engine, true, moment_of(i))) << i;
    ASSERT_TRUE(recorder.engine.RECORDED) << i;
  }
  expect_constant(warm, Held::now());

  ThirdPlayer player(recorder.path(), moment_of(0), moment_of(kFrames + kFramesPerMinute));
  for (int i = 0; i < kFrames; ++i) {
    if (i == kWarmUp) warm = Held::now();
    ASSERT_TRUE(player.engine.Read(0)) << i;
    ASSERT_EQ(player.engine.getCurrentTimestamp(), stamp_of(moment_of(i)));
    ASSERT_NEAR(player.engine.DepthMap[0], depth_of(i), 0.011F);
  }
  expect_constant(warm, Held::now());
  EXPECT_FALSE(player.engine.Read(0));
}

TEST(ThirdSoak, UnrecordedFramesHoldNoMore) {
  ThirdRecorder recorder(3);
  const QuietConsole silence;
  Held warm;
  for (int i = 0; i < kFrames; ++i) {
    if (i == kWarmUp) warm = Held::now();
    ASSERT_TRUE(capture(recorder.engine, false, moment_of(i)));
  }
  expect_constant(warm, Held::now());
  EXPECT_EQ(recorder.engine.delta_time_last_recorded, kFrames);
  EXPECT_EQ(recorder.engine.HistoryModCounter, kFrames % 3);
}

TEST(ThirdSoak, RecordingFromTheRingHoldsNoMore) {
  ThirdRecorder recorder(4);
  fill_frame(recorder.engine, 1.5F);
  const QuietConsole silence;
  Held warm;
  for (int i = 0; i < kFrames / 8; ++i) {
    if (i == kWarmUp / 8) warm = Held::now();
    ASSERT_TRUE(capture(recorder.engine, false, moment_of(i)));
    ASSERT_TRUE(record_range(recorder.engine, moment_of(std::max(0, i - 1)), moment_of(i), 1));
  }
  expect_constant(warm, Held::now());
}

TEST(ThirdSoak, FailedFramesHoldNoMore) {
  ThirdRecorder recorder(2);
  fill_frame(recorder.engine, 1.5F);
  write_file(recorder.directory.file("2013-04-10"), "");
  const QuietConsole silence;
  Held warm;
  Moment m = kMoment;
  for (int i = 0; i < kFrames; ++i) {
    if (i == kWarmUp) warm = Held::now();
    m.day = i % 2 == 0 ? 10 : 11;
    m.hour = m.day == 10 ? 14 : 25;
    ASSERT_FALSE(capture(recorder.engine, true, m));
  }
  expect_constant(warm, Held::now());
}

TEST(ThirdSoak, EnginesConstructedAgainAndAgainHoldNoMore) {
  ThirdParameters parameters;
  set_recording(parameters, "/nowhere");
  parameters.SetSizeBuffer(2);
  ThirdEngine again;
  Held warm;
  for (int i = 0; i < 40; ++i) {
    if (i == 10) warm = Held::now();
    ASSERT_TRUE(again.Construct(parameters));
    ThirdEngine fresh(parameters);
    ASSERT_EQ(fresh.SizeHistory, 2);
  }
  Held after = Held::now();
  after.resident = warm.resident;  // the allocator keeps some of what it gets back
  expect_constant(warm, after);
}

}  // namespace
}  // namespace depth_io::test
