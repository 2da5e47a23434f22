#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

Moment second_of_minute(int second) {
  Moment m = kMoment;
  m.second = second;
  return m;
}

// --- Oldest and newest --------------------------------------------------------------------------

TEST(ThirdOldest, OfAnEmptyRingIsAnError) {
  ThirdRecorder recorder(3);
  const auto seen = observe([&] { return recorder.engine.GetHistoryOldest(); });
  EXPECT_EQ(seen.result, -1);
  EXPECT_EQ(seen.output, "ERROR bad oldest history slot\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST(ThirdOldest, OfAPartlyFilledRingIsSlotZero) {
  ThirdRecorder recorder(4);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(capture_flat(recorder.engine, false, second_of_minute(i), 1.0F));
    EXPECT_EQ(recorder.engine.GetHistoryOldest(), 0);
    EXPECT_EQ(recorder.engine.GetHistoryIndex(), i);
  }
}

TEST(ThirdOldest, OfAFullRingIsTheOneAfterTheNewest) {
  ThirdRecorder recorder(3);
  for (int i = 0; i < 8; ++i) {
    ASSERT_TRUE(capture_flat(recorder.engine, false, second_of_minute(i), 1.0F));
    if (i < 2) continue;
    EXPECT_EQ(recorder.engine.GetHistoryIndex(), i % 3);
    EXPECT_EQ(recorder.engine.GetHistoryOldest(), (i + 1) % 3);
  }
}

TEST(ThirdOldest, OfOneSlotIsTheNewest) {
  ThirdRecorder recorder(1);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(capture_flat(recorder.engine, false, second_of_minute(i), 1.0F));
    EXPECT_EQ(recorder.engine.GetHistoryOldest(), 0);
  }
}

TEST(ThirdOldest, YearZeroIsAFilledSlot) {
  ThirdRecorder recorder(2);
  recorder.engine.HistoryYear.buffer[1] = 0;
  EXPECT_EQ(recorder.engine.GetHistoryOldest(), 1);
}

TEST(ThirdOldest, IsSilentWhenThereIsOne) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  const auto seen = observe([&] { return recorder.engine.GetHistoryOldest(); });
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
}

// --- The position that callers set --------------------------------------------------------------

TEST(ThirdPosition, FrameNumberIsStored) {
  ThirdRecorder recorder;
  recorder.engine.SetCurrentFrame(77);
  EXPECT_EQ(recorder.engine._CurrentFrame, 77);
  EXPECT_TRUE(recorder.engine._CurrentFrame_active);
}

TEST(ThirdPosition, MomentIsStored) {
  ThirdRecorder recorder;
  ThirdEngine& engine = recorder.engine;
  engine.SetCurrentTimeStamp(2013, 4, 9, 14, 5, 7, 42);
  EXPECT_EQ(format_moment({engine._CurrentYear, engine._CurrentMonth, engine._CurrentDay,
                           engine._CurrentHour, engine._CurrentMinute, engine._CurrentSecond,
                           engine._CurrentMillisecond}),
            "2013-4-9,14:5:7,42");
  EXPECT_TRUE(engine._CurrentTimeStamp_active);
}

TEST(ThirdPosition, StampTextIsStored) {
  ThirdRecorder recorder;
  Text stamp(kMomentStamp);
  recorder.engine.SetCurrentTimeStamp(stamp);
  EXPECT_STREQ(recorder.engine._CurrentStampString, kMomentStamp);
  EXPECT_TRUE(recorder.engine._CurrentStampString_active);
}

TEST(ThirdPosition, LongestStampTextIsStoredWhole) {
  ThirdRecorder recorder;
  const std::string longest(99, 's');
  Text stamp(longest);
  recorder.engine.SetCurrentTimeStamp(stamp);
  EXPECT_EQ(recorder.engine._CurrentStampString, longest);
}

TEST(ThirdPosition, OverlongStampTextIsRefusedWithAnErrorLine) {
  ThirdRecorder recorder;
  Text stamp("old");
  recorder.engine.SetCurrentTimeStamp(stamp);
  for (const std::size_t size : {std::size_t{100}, std::size_t{100'000}}) {
    Text overlong(std::string(size, 's'));
    const ConsoleTrace trace =
        capture_console([&] { recorder.engine.SetCurrentTimeStamp(overlong); });
    EXPECT_TRUE(is_one_error_line(trace.output)) << trace.output;
    EXPECT_EQ(trace.keys, 0);
    EXPECT_STREQ(recorder.engine._CurrentStampString, "old");
  }
}

TEST(ThirdPosition, NullStampTextLeavesTheOldOne) {
  ThirdRecorder recorder;
  Text stamp("old");
  recorder.engine.SetCurrentTimeStamp(stamp);
  capture_console([&] { recorder.engine.SetCurrentTimeStamp(nullptr); });
  EXPECT_STREQ(recorder.engine._CurrentStampString, "old");
}

TEST(ThirdPosition, CurrentStampIsTheFieldItself) {
  ThirdRecorder recorder;
  recorder.engine.currentTimeStamp = "here";
  EXPECT_EQ(&recorder.engine.getCurrentTimestamp(), &recorder.engine.currentTimeStamp);
}

}  // namespace
}  // namespace depth_io::test
