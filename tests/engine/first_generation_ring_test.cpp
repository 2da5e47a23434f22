#include <climits>

#include "tests/support/engine_fixture.h"

// Where frames land in the ring, with and without a stamp.
namespace depth_io::test {
namespace {

std::string out_of_range_line(int size) {
  return "depth history corresponding index out of range (SizeHistory " + std::to_string(size) +
         ")\n";
}

std::vector<float> slot_depths(const KV_RGBD_CameraCompression& engine) {
  std::vector<float> depths;
  for (int slot = 0; slot < engine.SizeHistory; ++slot) depths.push_back(slot_depth(engine, slot));
  return depths;
}

// --- By frame number ----------------------------------------------------------------------------

TEST(FirstGenerationRing, FrameGoesToTheSlotOfItsNumber) {
  KV_RGBD_CameraCompression engine(3);
  ASSERT_TRUE(store_flat(engine, 4, 1.0F));
  EXPECT_EQ(slot_depths(engine), (std::vector<float>{0.0F, 1.0F, 0.0F}));
}

TEST(FirstGenerationRing, WrappedRingOverwritesItsOldestFrames) {
  KV_RGBD_CameraCompression engine(3);
  for (int frame = 0; frame < 5; ++frame) {
    ASSERT_TRUE(store_flat(engine, frame, 1.0F + static_cast<float>(frame)));
  }
  EXPECT_EQ(slot_depths(engine), (std::vector<float>{4.0F, 5.0F, 3.0F}));
}

TEST(FirstGenerationRing, WholeFrameIsStored) {
  KV_RGBD_CameraCompression engine(2);
  DepthMap depth = scene_depth(2);
  ColourImage colour = flat_colour(0);
  for (std::size_t i = 0; i < colour.size(); ++i) colour[i] = static_cast<unsigned char>(i % 253);
  engine.input(depth.data(), colour.data());
  ASSERT_TRUE(quietly([&] { return engine.apply(1, 0); }));
  EXPECT_TRUE(std::equal(depth.begin(), depth.end(), engine.HistoryDepth.arr1D[1].buffer));
  EXPECT_TRUE(std::equal(colour.begin(), colour.end(), engine.HistoryBGR.arr1D[1].buffer));
}

TEST(FirstGenerationRing, ColourBytesAreStoredAlsoWhenColourIsOff) {
  KV_RGBD_CameraCompression engine;
  DepthMap depth = flat_depth(1.0F);
  ColourImage colour = flat_colour(55);
  engine.input(depth.data(), colour.data());
  engine.input(depth.data());
  ASSERT_TRUE(quietly([&] { return engine.apply(0, 0); }));
  EXPECT_EQ(engine.HistoryBGR.arr1D[0].buffer[kColourBytes - 1], 55);
}

TEST(FirstGenerationRing, CountOfStoredFramesGoesRound) {
  KV_RGBD_CameraCompression engine(3);
  std::vector<int> counts;
  for (int frame = 0; frame < 4; ++frame) {
    ASSERT_TRUE(store_flat(engine, frame, 1.0F));
    counts.push_back(engine.HistoryModCounter);
  }
  EXPECT_EQ(counts, (std::vector<int>{1, 2, 0, 1}));
}

TEST(FirstGenerationRing, CountOfTheOnlySlotStaysZero) {
  KV_RGBD_CameraCompression engine;
  ASSERT_TRUE(store_flat(engine, 0, 1.0F));
  EXPECT_EQ(engine.HistoryModCounter, 0);
}

TEST(FirstGenerationRing, FrameWithoutStampLeavesStampsAlone) {
  KV_RGBD_CameraCompression engine;
  ASSERT_TRUE(store_flat_at(engine, 0, kMoment, 1.0F));
  ASSERT_TRUE(store_flat(engine, 1, 2.0F));
  EXPECT_EQ(slot_depth(engine, 0), 2.0F);
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[0].buffer, kMomentStamp);
  EXPECT_EQ(engine.HistoryYear.buffer[0], 2013);
  EXPECT_EQ(engine.HistoryCounter, 1);
}

TEST(FirstGenerationRing, StoringASlotTakesNoKeyAndPrintsTheInfoLineOnly) {
  KV_RGBD_CameraCompression engine(2);
  for (int frame = 0; frame < 3; ++frame) {
    const auto seen = observe([&] { return engine.apply(frame, 0); });
    EXPECT_EQ(seen.output, InfoLine{}.str());
    EXPECT_EQ(seen.keys, 0);
  }
}

// --- Frame numbers without a slot ---------------------------------------------------------------

TEST(FirstGenerationRing, NegativeFrameNumberIsOutOfRange) {
  KV_RGBD_CameraCompression engine(5);
  for (const int frame : {-1, -4, -6}) {
    const auto seen = observe([&] { return engine.apply(frame, 0); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, InfoLine{}.str() + out_of_range_line(5));
    EXPECT_EQ(seen.keys, 0);
  }
  EXPECT_FALSE(engine.INITIALISED);
  EXPECT_EQ(engine.HistoryModCounter, 0);
}

TEST(FirstGenerationRing, NegativeMultiplesOfTheSizeAreStoredInTheFirstSlot) {
  KV_RGBD_CameraCompression engine(5);
  EXPECT_TRUE(store_flat(engine, -5, 1.0F));
  EXPECT_EQ(slot_depth(engine, 0), 1.0F);
  EXPECT_TRUE(store_flat(engine, -10, 2.0F));
  EXPECT_EQ(slot_depth(engine, 0), 2.0F);
}

TEST(FirstGenerationRing, EveryNegativeFrameNumberIsStoredInTheOnlySlot) {
  KV_RGBD_CameraCompression engine;
  EXPECT_TRUE(store_flat(engine, -7, 1.0F));
  EXPECT_EQ(slot_depth(engine, 0), 1.0F);
  EXPECT_TRUE(store_flat(engine, INT_MIN, 2.0F));
  EXPECT_EQ(slot_depth(engine, 0), 2.0F);
}

TEST(FirstGenerationRing, NegativeFrameIsWrittenBeforeItsStoreFails) {
  TempDirectory directory;
  Text path(directory.slash());
  Text stem("depth");
  KV_RGBD_CameraCompression engine(5);
  engine.start_recording(path, stem, 3);
  const auto seen = observe([&] { return engine.apply(-4, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(engine.RECORDED);
  EXPECT_EQ(engine.last_time_recorded_at, -4);
  EXPECT_EQ(engine.last_time_recorded_year, -1);
  EXPECT_EQ(seen.output,
            InfoLine{}.str() + saving_line(directory.slash(), "depth", -4) + out_of_range_line(5));
  EXPECT_EQ(files_in(directory.path()), depth_files({"depth--004"}));
}

TEST(FirstGenerationRing, SlotBeyondTheOnlyOneIsOutOfRange) {
  KV_RGBD_CameraCompression engine;
  const auto seen = observe([&] { return engine.apply(16777217, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + out_of_range_line(1));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine.INITIALISED);
}

TEST(FirstGenerationRing, RoundedFrameNumberGivesANegativeSlotOfTen) {
  KV_RGBD_CameraCompression engine(10);
  const auto seen = observe([&] { return engine.apply(16777219, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, InfoLine{}.str() + out_of_range_line(10));
  EXPECT_EQ(seen.keys, 0);
}

TEST(FirstGenerationRing, LargestExactFrameNumberIsStored) {
  KV_RGBD_CameraCompression engine(10);
  EXPECT_TRUE(store_flat(engine, 16777216, 1.0F));
  EXPECT_EQ(slot_depth(engine, 6), 1.0F);
}

TEST(FirstGenerationRing, ExtremeFrameNumbersAreDefined) {
  KV_RGBD_CameraCompression engine(10);
  for (const int frame : {INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}) {
    engine.INITIALISED = false;
    const bool stored = store_flat(engine, frame, 1.0F);
    EXPECT_EQ(stored, engine.INITIALISED) << frame;
  }
}

// --- By stamp -----------------------------------------------------------------------------------

TEST(FirstGenerationStampedRing, FramesFillTheSlotsInCallOrder) {
  KV_RGBD_CameraCompression engine(3);
  ASSERT_TRUE(store_flat_at(engine, 50, moment_at(1), 1.0F));
  ASSERT_TRUE(store_flat_at(engine, -9, moment_at(2), 2.0F));
  EXPECT_EQ(slot_depths(engine), (std::vector<float>{1.0F, 2.0F, 0.0F}));
  EXPECT_EQ(engine.HistoryCounter, 2);
  EXPECT_EQ(engine.HistoryModCounter, 2);
}

TEST(FirstGenerationStampedRing, WrappedRingOverwritesItsOldestFrames) {
  KV_RGBD_CameraCompression engine(3);
  for (int frame = 0; frame < 4; ++frame) {
    ASSERT_TRUE(store_flat_at(engine, frame, moment_at(frame), 1.0F + static_cast<float>(frame)));
  }
  EXPECT_EQ(slot_depths(engine), (std::vector<float>{4.0F, 2.0F, 3.0F}));
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[0].buffer, "2013-04-09T14-05-07.003000");
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[1].buffer, "2013-04-09T14-05-07.001000");
  EXPECT_EQ(engine.HistoryMillisecond.buffer[0], 3);
  EXPECT_EQ(engine.HistoryMillisecond.buffer[1], 1);
  EXPECT_EQ(engine.HistoryCounter, 4);
  EXPECT_EQ(engine.HistoryModCounter, 1);
}

TEST(FirstGenerationStampedRing, SlotKeepsTheSevenFieldsOfItsMoment) {
  KV_RGBD_CameraCompression engine(2);
  ASSERT_TRUE(store_flat_at(engine, 0, moment_at(1), 1.0F));
  ASSERT_TRUE(store_flat_at(engine, 1, kMoment, 1.0F));
  EXPECT_EQ(engine.HistoryYear.buffer[1], 2013);
  EXPECT_EQ(engine.HistoryMonth.buffer[1], 4);
  EXPECT_EQ(engine.HistoryDay.buffer[1], 9);
  EXPECT_EQ(engine.HistoryHour.buffer[1], 14);
  EXPECT_EQ(engine.HistoryMinute.buffer[1], 5);
  EXPECT_EQ(engine.HistorySecond.buffer[1], 7);
  EXPECT_EQ(engine.HistoryMillisecond.buffer[1], 42);
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[1].buffer, kMomentStamp);
}

TEST(FirstGenerationStampedRing, EngineKeepsTheCurrentStampText) {
  KV_RGBD_CameraCompression engine;
  ASSERT_TRUE(store_flat_at(engine, 0, kMoment, 1.0F));
  EXPECT_STREQ(engine.timestamp.buffer, "2013-04-09T14-05-07.042000");
}

TEST(FirstGenerationStampedRing, NegativeFrameNumberIsStored) {
  KV_RGBD_CameraCompression engine(5);
  EXPECT_TRUE(store_flat_at(engine, -4, kMoment, 1.0F));
  EXPECT_EQ(slot_depth(engine, 0), 1.0F);
}

TEST(FirstGenerationStampedRing, FrameWithoutASlotIsPassedOver) {
  KV_RGBD_CameraCompression engine;
  engine.HistoryCounter = 16777217;
  InfoLine info;
  info.times = "1365516307.042000-1365516307.042000=0.000000 vs -1.000000";
  info.current = info.last = kMoment;
  const auto seen = observe([&] { return apply_at(engine, 0, kMoment, -1.0F); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, info.str() + out_of_range_line(1));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(engine.HistoryCounter, 16777218);
  EXPECT_TRUE(store_flat_at(engine, 0, kMoment, 1.0F));
}

TEST(FirstGenerationStampedRing, CounterGoesOnBeyondTheLargestInt) {
  KV_RGBD_CameraCompression engine;
  engine.HistoryCounter = INT_MAX;
  store_flat_at(engine, 0, kMoment, 1.0F);
  EXPECT_EQ(engine.HistoryCounter, INT_MIN);
}

}  // namespace
}  // namespace depth_io::test
