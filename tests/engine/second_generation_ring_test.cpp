#include "tests/support/second_generation_fixture.h"

// The ring of past frames and the positions of playback.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

class SecondGenerationRing : public ::testing::Test {
 protected:
  void start(int slots) {
    SecondSettings settings;
    settings.directory = "rec";
    settings.history = slots;
    start_engine(engine_, settings);
  }
  /// Stores frames of 1 m, 2 m, ... a second apart.
  void store(int frames) {
    for (int i = 0; i < frames; ++i) {
      ASSERT_TRUE(capture_flat(engine_, false, moment_after(i), static_cast<float>(i + 1)));
    }
  }
  Outcome<int> oldest() {
    return observe([this] { return engine_.GetHistoryOldest(); });
  }
  Engine engine_;
};

TEST_F(SecondGenerationRing, EmptyRingHasNoOldestSlot) {
  start(4);
  const auto seen = oldest();
  EXPECT_EQ(seen.result, -1);
  EXPECT_EQ(seen.output, "ERROR bad oldest history slot\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(SecondGenerationRing, RingOfOneHasOneSlotThatIsOldestAndNewest) {
  start(1);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(capture_flat(engine_, false, moment_after(i), 1.0F));
    EXPECT_EQ(oldest().result, 0);
    EXPECT_EQ(engine_.GetHistoryIndex(), 0);
    EXPECT_EQ(engine_.HistoryModCounter, 0);
  }
}

TEST_F(SecondGenerationRing, OldestSlotOfAPartlyFilledRingIsTheFirst) {
  start(4);
  store(3);
  const auto seen = oldest();
  EXPECT_EQ(seen.result, 0);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine_.GetHistoryIndex(), 2);
  EXPECT_EQ(engine_.HistoryModCounter, 3);
}

TEST_F(SecondGenerationRing, OldestSlotOfARingJustFilledIsTheFirst) {
  start(4);
  store(4);
  EXPECT_EQ(oldest().result, 0);
  EXPECT_EQ(engine_.GetHistoryIndex(), 3);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
}

TEST_F(SecondGenerationRing, OldestSlotOfAWrappedRingFollowsTheNewest) {
  start(4);
  store(5);
  EXPECT_EQ(engine_.GetHistoryIndex(), 0);
  EXPECT_EQ(oldest().result, 1);
}

TEST_F(SecondGenerationRing, OldestSlotIsTheNewestWhenItIsTheOnlyOne) {
  start(4);
  store(1);
  EXPECT_EQ(oldest().result, 0);
}

TEST_F(SecondGenerationRing, YearZeroCountsAsWritten) {
  start(4);
  engine_.HistoryYear.buffer[2] = 0;
  EXPECT_EQ(oldest().result, 2);
}

TEST_F(SecondGenerationRing, WrappedRingHoldsTheNewestFrames) {
  start(3);
  store(5);
  EXPECT_EQ(slot_depth(engine_, 0), 4.0F);
  EXPECT_EQ(slot_depth(engine_, 1), 5.0F);
  EXPECT_EQ(slot_depth(engine_, 2), 3.0F);
}

TEST_F(SecondGenerationRing, SlotHoldsEverythingOfItsFrame) {
  start(2);
  store(1);
  fill(engine_, scene_depth(1), flat_colour(77));
  ASSERT_TRUE(quietly([&] { return capture_at(engine_, false, 0, moment_after(1, 42)); }));
  EXPECT_EQ(DepthMap(engine_.HistoryDepth.arr1D[1].buffer,
                     engine_.HistoryDepth.arr1D[1].buffer + kPixels),
            scene_depth(1));
  EXPECT_EQ(ColourImage(engine_.HistoryBGR.arr1D[1].buffer,
                        engine_.HistoryBGR.arr1D[1].buffer + kColourBytes),
            flat_colour(77));
  EXPECT_STREQ(engine_.HistoryTimeStamp.arr1D[1].buffer, "2013-04-09T14-05-08.042000");
  EXPECT_EQ(engine_.HistoryYear.buffer[1], 2013);
  EXPECT_EQ(engine_.HistoryMonth.buffer[1], 4);
  EXPECT_EQ(engine_.HistoryDay.buffer[1], 9);
  EXPECT_EQ(engine_.HistoryHour.buffer[1], 14);
  EXPECT_EQ(engine_.HistoryMinute.buffer[1], 5);
  EXPECT_EQ(engine_.HistorySecond.buffer[1], 8);
  EXPECT_EQ(engine_.HistoryMillisecond.buffer[1], 42);
  EXPECT_EQ(engine_.HistoryUnixTimes.buffer[1],
            1365516308.0 + static_cast<double>(42.0F / 1000.0F));
}

TEST_F(SecondGenerationRing, NegativeCounterIsOutOfRange) {
  start(3);
  engine_.HistoryModCounter = -1;
  const auto seen = observe([&] { return capture_at(engine_, false, 0, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "depth history corresponding index out of range (SizeHistory 3)\n");
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, -1);
}

TEST_F(SecondGenerationRing, CounterBeyondTheRingIsOutOfRange) {
  start(3);
  engine_.HistoryModCounter = 3;
  const auto seen = observe([&] { return capture_at(engine_, false, 0, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, "depth history corresponding index out of range (SizeHistory 3)\n");
}

// --- Positions ----------------------------------------------------------------------------------

TEST(SecondGenerationPosition, FrameNumberIsStored) {
  Engine engine;
  const ConsoleTrace trace = capture_console([&] { engine.SetCurrentFrame(-12); });
  EXPECT_EQ(engine._CurrentFrame, -12);
  EXPECT_TRUE(engine._CurrentFrame_active);
  EXPECT_FALSE(engine._CurrentTimeStamp_active);
  EXPECT_FALSE(engine._CurrentStampString_active);
  EXPECT_EQ(trace.output, "");
}

TEST(SecondGenerationPosition, FieldsAreStored) {
  Engine engine;
  engine.SetCurrentTimeStamp(2013, 4, 9, 14, 5, 7, 42);
  EXPECT_EQ(engine._CurrentYear, 2013);
  EXPECT_EQ(engine._CurrentMonth, 4);
  EXPECT_EQ(engine._CurrentDay, 9);
  EXPECT_EQ(engine._CurrentHour, 14);
  EXPECT_EQ(engine._CurrentMinute, 5);
  EXPECT_EQ(engine._CurrentSecond, 7);
  EXPECT_EQ(engine._CurrentMillisecond, 42);
  EXPECT_TRUE(engine._CurrentTimeStamp_active);
  EXPECT_FALSE(engine._CurrentFrame_active);
  EXPECT_FALSE(engine._CurrentStampString_active);
}

TEST(SecondGenerationPosition, TextOf99CharactersIsStoredWhole) {
  Engine engine;
  Text longest(std::string(99, 's'));
  const ConsoleTrace trace = capture_console([&] { engine.SetCurrentTimeStamp(longest); });
  EXPECT_EQ(engine._CurrentStampString, longest.str());
  EXPECT_TRUE(engine._CurrentStampString_active);
  EXPECT_FALSE(engine._CurrentFrame_active);
  EXPECT_FALSE(engine._CurrentTimeStamp_active);
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(SecondGenerationPosition, LongerTextIsRefusedAndTheOldOneStays) {
  for (const std::size_t size : {std::size_t{100}, std::size_t{5000}}) {
    Engine engine;
    Text old("old");
    Text too_long(std::string(size, 's'));
    engine.SetCurrentTimeStamp(old);
    const ConsoleTrace trace = capture_console([&] { engine.SetCurrentTimeStamp(too_long); });
    EXPECT_TRUE(is_one_error_line(trace.output)) << trace.output;
    EXPECT_EQ(trace.keys, 0);
    EXPECT_STREQ(engine._CurrentStampString, "old");
  }
}

TEST(SecondGenerationPosition, RefusedTextIsNoPosition) {
  Engine engine;
  Text too_long(std::string(100, 's'));
  ConsoleCapture capture;
  engine.SetCurrentTimeStamp(too_long);
  engine.SetCurrentTimeStamp(nullptr);
  capture.stop();
  EXPECT_FALSE(engine._CurrentStampString_active);
}

}  // namespace
}  // namespace depth_io::test
