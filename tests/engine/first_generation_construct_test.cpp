#include <algorithm>
#include <array>
#include <climits>
#include <type_traits>

#include "tests/support/engine_fixture.h"

namespace depth_io::test {
namespace {

static_assert(!std::is_copy_constructible_v<KV_RGBD_CameraCompression>);
static_assert(!std::is_copy_assignable_v<KV_RGBD_CameraCompression>);

template <typename Buffer>
bool is_all(const Buffer& buffer, int size, decltype(*buffer.buffer + 0) value) {
  return buffer.N == size && std::all_of(buffer.buffer, buffer.buffer + size,
                                         [value](auto element) { return element == value; });
}

std::array<const depth_io_ClassBufferINT*, 7> stamp_fields(
    const KV_RGBD_CameraCompression& engine) {
  return {&engine.HistoryYear,       &engine.HistoryMonth,  &engine.HistoryDay,
          &engine.HistoryHour,       &engine.HistoryMinute, &engine.HistorySecond,
          &engine.HistoryMillisecond};
}

void expect_never_recorded(const KV_RGBD_CameraCompression& engine) {
  EXPECT_EQ(engine.last_time_recorded_at, 0);
  EXPECT_EQ(engine.last_time_recorded_year, -1);
  EXPECT_EQ(engine.last_time_recorded_month, -1);
  EXPECT_EQ(engine.last_time_recorded_day, -1);
  EXPECT_EQ(engine.last_time_recorded_hour, -1);
  EXPECT_EQ(engine.last_time_recorded_minute, -1);
  EXPECT_EQ(engine.last_time_recorded_second, -1);
  EXPECT_EQ(engine.last_time_recorded_millisecond, -1);
}

/// What the seven int buffers say about a size below 1.
std::string size_errors(int size) {
  const std::string text = std::to_string(size);
  std::string output;
  for (int i = 0; i < 7; ++i) {
    output += "depth_io_ClassBufferINT::Create - ERROR SIZE " + text + "\n" +
              "ERROR depth_io_ClassBufferINT::Create( " + text + " )\n";
  }
  return output;
}

// --- Start values -------------------------------------------------------------------------------

TEST(FirstGenerationStart, EverySwitchIsOff) {
  KV_RGBD_CameraCompression engine;
  EXPECT_FALSE(engine.REVERSE_NAME);
  EXPECT_FALSE(engine.Record);
  EXPECT_FALSE(engine.USE_FRAME_DIFF);
  EXPECT_FALSE(engine.Record_period);
  EXPECT_FALSE(engine.RECORDED);
  EXPECT_FALSE(engine.INITIALISED);
  EXPECT_FALSE(engine.COLOUR_IMAGE_ON);
  EXPECT_EQ(engine.VERIFICATION, 0);
  EXPECT_EQ(engine.Debug, 0);
  EXPECT_EQ(engine.printout, 0);
}

TEST(FirstGenerationStart, FilesGoToTheCurrentDirectoryWithEightDigits) {
  KV_RGBD_CameraCompression engine;
  EXPECT_STREQ(engine.Record_directory, "./");
  EXPECT_STREQ(engine.Record_stem_depth, "depth");
  EXPECT_STREQ(engine.Record_stem_bgr, "bgrimage");
  EXPECT_EQ(engine.Record_number_digits, 8);
}

TEST(FirstGenerationStart, NameFieldsHaveTheirFixedSizes) {
  EXPECT_EQ(sizeof(KV_RGBD_CameraCompression::Record_directory), 512U);
  EXPECT_EQ(sizeof(KV_RGBD_CameraCompression::Record_stem_depth), 128U);
  EXPECT_EQ(sizeof(KV_RGBD_CameraCompression::Record_stem_bgr), 128U);
  EXPECT_EQ(sizeof(KV_RGBD_CameraCompression::temp_string), 512U);
  EXPECT_EQ(sizeof(KV_RGBD_CameraCompression::temp_strdest), 10U);
}

TEST(FirstGenerationStart, FramesAre640By480) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.WW, 640);
  EXPECT_EQ(engine.HH, 480);
}

TEST(FirstGenerationStart, MotionAndPeriodHaveTheirThresholds) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.pct_moving, 0.0F);
  EXPECT_EQ(engine.threshold_motion_contrast, 0.1F);
  EXPECT_EQ(engine.threshold_pct_motion, 0.5F);
  EXPECT_EQ(engine.Record_period_gap, 100);
}

TEST(FirstGenerationStart, NothingWasEverRecorded) {
  KV_RGBD_CameraCompression engine;
  expect_never_recorded(engine);
}

TEST(FirstGenerationStart, CountersAndIntrinsicsAreZero) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.HistoryModCounter, 0);
  EXPECT_EQ(engine.HistoryCounter, 0);
  EXPECT_EQ(engine.GetIntrinsic_a11(), 0.0F);
  EXPECT_EQ(engine.GetIntrinsic_a22(), 0.0F);
  EXPECT_EQ(engine.GetIntrinsic_cx(), 0.0F);
  EXPECT_EQ(engine.GetIntrinsic_cy(), 0.0F);
}

TEST(FirstGenerationStart, CurrentMapsAreZero) {
  KV_RGBD_CameraCompression engine;
  EXPECT_TRUE(is_all(engine.MapXd, kPixels, 0.0F));
  EXPECT_TRUE(is_all(engine.MapYd, kPixels, 0.0F));
  EXPECT_TRUE(is_all(engine.MapZd, kPixels, 0.0F));
  EXPECT_TRUE(is_all(engine.DisplayMovingFrame, kPixels, 0.0F));
  EXPECT_TRUE(is_all(engine.colour_image, kColourBytes, 0));
}

TEST(FirstGenerationStart, NoPixelHasDepthNowOrBefore) {
  KV_RGBD_CameraCompression engine;
  EXPECT_TRUE(is_all(engine.MapHasDepth, kPixels, 0));
  EXPECT_TRUE(is_all(engine.prev_MapHasDepth, kPixels, 0));
}

TEST(FirstGenerationStart, ScratchMapsHoldOneFrame) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.tempF.N, kPixels);
  EXPECT_EQ(engine.tempUS.N, kPixels);
}

TEST(FirstGenerationStart, StampTextIsEmptyAndHolds27Characters) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.timestamp.N, 27);
  EXPECT_STREQ(engine.timestamp.buffer, "");
}

TEST(FirstGenerationStart, WorkingRecordIsAllocatedForTheFrame) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.RW.width, 640);
  EXPECT_EQ(engine.RW.height, 480);
  EXPECT_NE(engine.RW.Label, nullptr);
}

TEST(FirstGenerationStart, DefaultRingHasOneSlot) {
  KV_RGBD_CameraCompression engine;
  EXPECT_EQ(engine.SizeHistory, 1);
  EXPECT_EQ(engine.HistoryDepth.N1D, 1);
  EXPECT_EQ(engine.HistoryBGR.N1D, 1);
  EXPECT_EQ(engine.HistoryTimeStamp.N1D, 1);
}

TEST(FirstGenerationStart, RingHasTheSlotsAskedFor) {
  KV_RGBD_CameraCompression engine(3);
  EXPECT_EQ(engine.SizeHistory, 3);
  ASSERT_EQ(engine.HistoryDepth.N1D, 3);
  ASSERT_EQ(engine.HistoryBGR.N1D, 3);
  ASSERT_EQ(engine.HistoryTimeStamp.N1D, 3);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_TRUE(is_all(engine.HistoryDepth.arr1D[slot], kPixels, 0.0F));
    EXPECT_TRUE(is_all(engine.HistoryBGR.arr1D[slot], kColourBytes, 0));
    EXPECT_EQ(engine.HistoryTimeStamp.arr1D[slot].N, 27);
    EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[slot].buffer, "");
  }
}

TEST(FirstGenerationStart, StampFieldsOfTheRingAreZero) {
  KV_RGBD_CameraCompression engine(3);
  for (const depth_io_ClassBufferINT* field : stamp_fields(engine)) {
    EXPECT_TRUE(is_all(*field, 3, 0));
  }
}

TEST(FirstGenerationStart, ConstructionAndDestructionAreSilent) {
  const ConsoleTrace trace = capture_console([] { KV_RGBD_CameraCompression engine(2); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

// --- Rings without slots ------------------------------------------------------------------------

TEST(FirstGenerationWithoutSlots, EachStampFieldReportsItsSizeTwice) {
  for (const int size : {0, -3, INT_MIN}) {
    const ConsoleTrace trace = capture_console([&] { KV_RGBD_CameraCompression engine(size); });
    EXPECT_EQ(trace.output, size_errors(size));
    EXPECT_EQ(trace.keys, 14);
  }
}

TEST(FirstGenerationWithoutSlots, RingIsEmpty) {
  for (const int size : {0, -3}) {
    ConsoleCapture capture;
    KV_RGBD_CameraCompression engine(size);
    capture.stop();
    EXPECT_EQ(engine.SizeHistory, size);
    EXPECT_EQ(engine.HistoryDepth.N1D, 0);
    EXPECT_EQ(engine.HistoryBGR.N1D, 0);
    EXPECT_EQ(engine.HistoryTimeStamp.N1D, 0);
    for (const depth_io_ClassBufferINT* field : stamp_fields(engine)) EXPECT_EQ(field->N, 0);
  }
}

TEST(FirstGenerationWithoutSlots, CurrentFrameWorksAllTheSame) {
  ConsoleCapture capture;
  KV_RGBD_CameraCompression engine(0);
  DepthMap map = flat_depth(1.5F);
  engine.input(map.data());
  capture.stop();
  EXPECT_EQ(engine.GetDepthAt(kPixels - 1), 1.5F);
}

TEST(FirstGenerationWithoutSlots, NoFrameNumberHasASlot) {
  for (const int size : {0, -3}) {
    ConsoleCapture capture;
    KV_RGBD_CameraCompression engine(size);
    capture.stop();
    for (const int frame : {0, 1, -1, 3, INT_MAX, INT_MIN}) {
      EXPECT_EQ(engine.GetHistoryCorrespondingIndex(frame), -1) << size << ' ' << frame;
    }
  }
}

TEST(FirstGenerationWithoutSlots, StampOfASlotIsRefused) {
  for (const int size : {0, -3}) {
    ConsoleCapture constructing;
    KV_RGBD_CameraCompression engine(size);
    constructing.stop();
    char stamp[kStampSize] = "untouched";
    const auto seen = observe([&] { return engine.GetHistoryCorrespondingTimeStamp(stamp, 0); });
    EXPECT_EQ(seen.result, -1);
    EXPECT_EQ(seen.output, "ERROR BUFFER TIMESTAMP HISTORY BUFFER\n");
    EXPECT_STREQ(stamp, "untouched");
  }
}

TEST(FirstGenerationWithoutSlots, ApplyIsOutOfRange) {
  for (const int size : {0, -3}) {
    ConsoleCapture constructing;
    KV_RGBD_CameraCompression engine(size);
    constructing.stop();
    const auto seen = observe([&] { return engine.apply(0, 0); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, InfoLine{}.str() +
                               "depth history corresponding index out of range (SizeHistory " +
                               std::to_string(size) + ")\n");
    EXPECT_EQ(seen.keys, 0);
    EXPECT_FALSE(engine.INITIALISED);
    EXPECT_EQ(engine.HistoryModCounter, 0);
  }
}

TEST(FirstGenerationWithoutSlots, ApplyWithStampIsOutOfRange) {
  for (const int size : {0, -3}) {
    ConsoleCapture constructing;
    KV_RGBD_CameraCompression engine(size);
    constructing.stop();
    InfoLine info;
    info.times = "1365516307.042000-1365516307.042000=0.000000 vs -1.000000";
    info.current = info.last = kMoment;
    const auto seen = observe([&] { return apply_at(engine, 0, kMoment, -1.0F); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, info.str() +
                               "depth history corresponding index out of range (SizeHistory " +
                               std::to_string(size) + ")\n");
    EXPECT_EQ(seen.keys, 0);
  }
}

TEST(FirstGenerationWithoutSlots, MotionIsNotMeasured) {
  ConsoleCapture capture;
  KV_RGBD_CameraCompression engine(0);
  engine.USE_FRAME_DIFF = true;
  engine.MapHasDepth.Init(true);
  engine.prev_MapHasDepth.Init(true);
  DepthMap map = flat_depth(1.0F);
  engine.input(map.data());
  const bool stored = engine.apply(1, 0);
  capture.stop();
  EXPECT_FALSE(stored);
  EXPECT_EQ(engine.pct_moving, 0.0F);
}

TEST(FirstGenerationWithoutSlots, FrameIsWrittenBeforeTheStoreFails) {
  TempDirectory directory;
  Text path(directory.slash());
  Text stem("depth");
  ConsoleCapture constructing;
  KV_RGBD_CameraCompression engine(0);
  engine.start_recording(path, stem, 3);
  constructing.stop();
  const auto seen = observe([&] { return engine.apply(7, 0); });
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(engine.RECORDED);
  EXPECT_EQ(seen.output, InfoLine{}.str() + saving_line(directory.slash(), "depth", 7) +
                             "depth history corresponding index out of range (SizeHistory 0)\n");
  EXPECT_EQ(files_in(directory.path()), depth_files({"depth-007"}));
}

// --- Construct again ----------------------------------------------------------------------------

TEST(FirstGenerationConstruct, SecondCallIsSilent) {
  KV_RGBD_CameraCompression engine(2);
  const ConsoleTrace trace = capture_console([&] { engine.Construct(3); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(FirstGenerationConstruct, TraceLinesStayOffEvenWhenTraceWasOn) {
  KV_RGBD_CameraCompression engine;
  engine.Debug = 1;
  const ConsoleTrace trace = capture_console([&] { engine.Construct(1); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(engine.Debug, 0);
}

TEST(FirstGenerationConstruct, SecondCallChangesTheRing) {
  KV_RGBD_CameraCompression engine(2);
  engine.Construct(4);
  EXPECT_EQ(engine.SizeHistory, 4);
  EXPECT_EQ(engine.HistoryDepth.N1D, 4);
  EXPECT_EQ(engine.HistoryBGR.N1D, 4);
  EXPECT_EQ(engine.HistoryTimeStamp.N1D, 4);
  for (const depth_io_ClassBufferINT* field : stamp_fields(engine)) {
    EXPECT_TRUE(is_all(*field, 4, 0));
  }
}

TEST(FirstGenerationConstruct, SecondCallTakesEverySlotAway) {
  KV_RGBD_CameraCompression engine(2);
  const ConsoleTrace trace = capture_console([&] { engine.Construct(0); });
  EXPECT_EQ(trace.output, size_errors(0));
  EXPECT_EQ(trace.keys, 14);
  EXPECT_EQ(engine.HistoryDepth.N1D, 0);
  EXPECT_EQ(engine.HistoryBGR.N1D, 0);
  EXPECT_EQ(engine.HistoryTimeStamp.N1D, 0);
  for (const depth_io_ClassBufferINT* field : stamp_fields(engine)) EXPECT_EQ(field->N, 0);
  EXPECT_FALSE(quietly([&] { return engine.apply(0, 0); }));
}

TEST(FirstGenerationConstruct, SecondCallSetsSettingsBack) {
  TempDirectory directory;
  Text path(directory.slash());
  Text stem("d");
  Text colour_stem("c");
  KV_RGBD_CameraCompression engine;
  engine.start_recording(path, stem, colour_stem, 4);
  engine.REVERSE_NAME = true;
  engine.VERIFICATION = 1;
  engine.printout = 1;
  engine.USE_FRAME_DIFF = true;
  engine.threshold_motion_contrast = 0.7F;
  engine.threshold_pct_motion = 7.0F;
  engine.Record_period = true;
  engine.Record_period_gap = 3;
  engine.a11 = engine.a22 = engine.cx = engine.cy = 5.0F;

  engine.Construct(1);
  EXPECT_FALSE(engine.Record);
  EXPECT_STREQ(engine.Record_directory, "./");
  EXPECT_STREQ(engine.Record_stem_depth, "depth");
  EXPECT_STREQ(engine.Record_stem_bgr, "bgrimage");
  EXPECT_EQ(engine.Record_number_digits, 8);
  EXPECT_FALSE(engine.REVERSE_NAME);
  EXPECT_EQ(engine.VERIFICATION, 0);
  EXPECT_EQ(engine.printout, 0);
  EXPECT_FALSE(engine.USE_FRAME_DIFF);
  EXPECT_EQ(engine.threshold_motion_contrast, 0.1F);
  EXPECT_EQ(engine.threshold_pct_motion, 0.5F);
  EXPECT_FALSE(engine.Record_period);
  EXPECT_EQ(engine.Record_period_gap, 100);
  EXPECT_EQ(engine.a11 + engine.a22 + engine.cx + engine.cy, 0.0F);
}

TEST(FirstGenerationConstruct, SecondCallForgetsFrames) {
  KV_RGBD_CameraCompression engine(2);
  engine.MapHasDepth.Init(true);
  ASSERT_TRUE(store_flat_at(engine, 0, kMoment, 2.0F));
  ASSERT_TRUE(engine.INITIALISED);

  engine.Construct(2);
  EXPECT_FALSE(engine.INITIALISED);
  EXPECT_EQ(engine.HistoryCounter, 0);
  EXPECT_EQ(engine.HistoryModCounter, 0);
  expect_never_recorded(engine);
  EXPECT_EQ(slot_depth(engine, 0), 0.0F);
  EXPECT_STREQ(engine.HistoryTimeStamp.arr1D[0].buffer, "");
  EXPECT_STREQ(engine.timestamp.buffer, "");
  EXPECT_TRUE(is_all(engine.MapZd, kPixels, 0.0F));
  EXPECT_TRUE(is_all(engine.MapHasDepth, kPixels, 0));
  EXPECT_TRUE(is_all(engine.prev_MapHasDepth, kPixels, 0));
}

TEST(FirstGenerationConstruct, EngineWorksAfterASecondCall) {
  TempDirectory directory;
  Text path(directory.slash());
  Text stem("depth");
  KV_RGBD_CameraCompression engine(2);
  engine.Construct(1);
  engine.start_recording(path, stem, 3);
  EXPECT_TRUE(store_flat(engine, 5, 1.25F));
  EXPECT_NEAR(recorded_depth(directory.file("depth-005")), 1.25F, 1e-5F);
}

}  // namespace
}  // namespace depth_io::test
