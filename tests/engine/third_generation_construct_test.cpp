#include <climits>
#include <new>
#include <string>
#include <type_traits>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

static_assert(!std::is_copy_constructible_v<ThirdEngine>);
static_assert(!std::is_copy_assignable_v<ThirdEngine>);

const std::string kNoDirectory = "ERROR KV_RGBD_CameraCompression3::Construct Directory non set\n";
const std::string kNoStem = "ERROR KV_RGBD_CameraCompression3::Construct DepthStem non set\n";
const std::string kNoRate =
    "WARNING KV_RGBD_CameraCompression3::Construct MaxFPS non set, set to default 8.0 fps\n";
const std::string kFailed = "ERROR KV_RGBD_CameraCompression3 failed at construction\n";

ThirdParameters good_parameters(int slots = 1) {
  ThirdParameters p;
  set_recording(p, "/nowhere");
  p.SetSizeBuffer(slots);
  return p;
}

/// Settings and what `Construct` says to them.
struct Refusal {
  const char* name;
  bool ThirdParameters::*missing;
  bool ThirdParameters::*missing_too;
  const std::string* line;
};

class ThirdConstructRefuses : public testing::TestWithParam<Refusal> {
 protected:
  ThirdConstructRefuses() {
    set_recording(parameters_, "/nowhere");
    parameters_.*GetParam().missing = false;
    parameters_.*GetParam().missing_too = false;
  }
  ThirdParameters parameters_;
};

TEST_P(ThirdConstructRefuses, WithALineAndAKey) {
  ThirdEngine engine;
  const auto seen = observe([&] { return engine.Construct(parameters_); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, *GetParam().line);
  EXPECT_EQ(seen.keys, 1);
}

TEST_P(ThirdConstructRefuses, AndTheConstructorWaitsAgain) {
  const ConsoleTrace trace = capture_console([&] {
    ThirdEngine engine(parameters_);
    EXPECT_EQ(engine.currentTimeStamp, "");
  });
  EXPECT_EQ(trace.output, *GetParam().line + kFailed);
  EXPECT_EQ(trace.keys, 2);
}

TEST_P(ThirdConstructRefuses, AndTheEngineStaysHarmless) {
  ThirdEngine engine;
  quietly([&] { return engine.Construct(parameters_); });
  const auto captured = observe([&] { return capture(engine, true, kMoment); });
  EXPECT_FALSE(captured.result);
  EXPECT_FALSE(quietly([&] { return record_range(engine, kMoment, kMoment, 1); }));
  quietly([&] { return engine.Read(0); });
}

INSTANTIATE_TEST_SUITE_P(Settings, ThirdConstructRefuses,
                         testing::Values(Refusal{"NoDirectory", &ThirdParameters::Directory_active,
                                                 &ThirdParameters::Directory_active, &kNoDirectory},
                                         Refusal{"NoStem", &ThirdParameters::DepthStem_active,
                                                 &ThirdParameters::DepthStem_active, &kNoStem},
                                         Refusal{"Neither", &ThirdParameters::DepthStem_active,
                                                 &ThirdParameters::Directory_active, &kNoDirectory},
                                         Refusal{"NoStemAndNoRate",
                                                 &ThirdParameters::DepthStem_active,
                                                 &ThirdParameters::MaxFPS_active, &kNoStem}),
                         [](const auto& row) { return row.param.name; });

TEST(ThirdConstruct, WithoutRateWarnsAndTakesEight) {
  ThirdParameters p = good_parameters();
  p.MaxFPS_active = false;
  ThirdEngine engine;
  const auto seen = observe([&] { return engine.Construct(p); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, kNoRate);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(engine.param.MaxFPS, 8.0F);
  EXPECT_TRUE(engine.param.MaxFPS_active);
}

TEST(ThirdConstruct, LeavesTheCallersSettings) {
  ThirdParameters p = good_parameters();
  p.MaxFPS_active = false;
  p.MaxFPS = 3.0F;
  ThirdEngine engine;
  quietly([&] { return engine.Construct(p); });
  EXPECT_EQ(p.MaxFPS, 3.0F);
  EXPECT_FALSE(p.MaxFPS_active);
}

TEST(ThirdConstruct, CameraAndColourNeedNotBeSet) {
  ThirdParameters p = good_parameters();
  p.CameraType_active = false;
  p.BGRStem_active = false;
  ThirdEngine engine;
  construct(engine, p);
}

TEST(ThirdConstruct, ConstructorIsSilentWithGoodSettings) {
  ThirdParameters p = good_parameters();
  const ConsoleTrace trace = capture_console([&] { ThirdEngine engine(p); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(ThirdConstruct, DefaultConstructorAndDestructorAreSilent) {
  const ConsoleTrace trace = capture_console([] { ThirdEngine engine; });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(ThirdConstruct, SizeThatIsNotActiveIsOne) {
  ThirdParameters p = good_parameters(5);
  p.SizeBuffer_active = false;
  ThirdEngine engine;
  construct(engine, p);
  EXPECT_EQ(engine.param.SizeBuffer, 1);
  EXPECT_EQ(engine.SizeHistory, 1);
}

TEST(ThirdConstruct, TakesACopyOfTheSettings) {
  ThirdParameters p = good_parameters(2);
  ThirdEngine engine;
  construct(engine, p);
  set_recording(p, "/else/where");
  EXPECT_STREQ(engine.param.Directory, "/nowhere");
  EXPECT_STREQ(engine.param.DepthStem, "depth");
  EXPECT_EQ(engine.param.CameraType, 0);
}

// --- Start values -------------------------------------------------------------------------------

class ThirdStart : public testing::Test {
 protected:
  ThirdStart() {
    ThirdParameters p = good_parameters(3);
    construct(engine_, p);
  }
  ThirdEngine engine_;
};

TEST_F(ThirdStart, EverySwitchIsOff) {
  EXPECT_FALSE(engine_.USE_FRAME_DIFF);
  EXPECT_FALSE(engine_.Record_period);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_FALSE(engine_.REACHED_WANTED_START_TIME);
  EXPECT_FALSE(engine_.REACHED_WANTED_STOP_TIME);
  EXPECT_EQ(engine_.VERIFICATION, -1);
  EXPECT_TRUE(engine_.REVERSE_NAME);
}

TEST_F(ThirdStart, FramesAre640By480) {
  EXPECT_EQ(engine_.WW, 640);
  EXPECT_EQ(engine_.HH, 480);
  EXPECT_EQ(engine_.RW.width, 640);
  EXPECT_EQ(engine_.RW.height, 480);
  ASSERT_NE(engine_.DepthMap, nullptr);
  ASSERT_NE(engine_.ColourImage, nullptr);
  fill_frame(engine_, 1.0F, 9);
  EXPECT_EQ(engine_.DepthMap[kPixels - 1], 1.0F);
  EXPECT_EQ(engine_.ColourImage[kColourBytes - 1], 9);
}

TEST_F(ThirdStart, MotionAndPeriodHaveTheirThresholds) {
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  EXPECT_EQ(engine_.threshold_motion_contrast, 0.1F);
  EXPECT_EQ(engine_.threshold_pct_motion, 0.5F);
  EXPECT_EQ(engine_.Record_period_gap, 100);
  EXPECT_EQ(engine_.delta_time_last_recorded, 0);
  EXPECT_TRUE(is_all(engine_.DisplayMovingFrame, kPixels, 0.0F));
}

TEST_F(ThirdStart, NothingWasEverRecorded) {
  EXPECT_EQ(last_recorded(engine_), "-1--1--1,-1:-1:-1,-1");
  EXPECT_EQ(engine_.last_time_recorded_unixtime, -1.0);
}

TEST_F(ThirdStart, CountersAndIntrinsicsAreZero) {
  EXPECT_EQ(engine_.CURRENT_STAMP_INDEX, 0);
  EXPECT_EQ(engine_.LAST_STAMP_INDEX, 0);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  EXPECT_EQ(engine_.o_HistoryIndex, 0);
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_a22(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 0.0F);
}

TEST_F(ThirdStart, NoPixelHasDepthNowOrBefore) {
  EXPECT_TRUE(is_all(engine_.MapHasDepth, kPixels, false));
  EXPECT_TRUE(is_all(engine_.prev_MapHasDepth, kPixels, false));
}

TEST_F(ThirdStart, RingIsEmpty) {
  EXPECT_EQ(engine_.GetSizeHistory(), 3);
  EXPECT_EQ(engine_.GetHistoryIndex(), 0);
  ASSERT_EQ(engine_.HistoryDepth.N1D, 3);
  ASSERT_EQ(engine_.HistoryBGR.N1D, 3);
  ASSERT_EQ(engine_.HistoryTimeStamp.N1D, 3);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_TRUE(is_all(engine_.HistoryDepth.arr1D[slot], kPixels, 0.0F));
    EXPECT_TRUE(is_all(engine_.HistoryBGR.arr1D[slot], kColourBytes, 0));
    EXPECT_EQ(engine_.HistoryTimeStamp.arr1D[slot].N, 27);
    EXPECT_STREQ(engine_.HistoryTimeStamp.arr1D[slot].buffer, "");
  }
  EXPECT_TRUE(is_all(engine_.HistoryUnixTimes, 3, 0.0));
}

TEST_F(ThirdStart, YearMinusOneMarksEmptySlotsAndTheRestIsZero) {
  const auto fields = ring_fields(engine_);
  EXPECT_TRUE(is_all(*fields[0], 3, -1));
  for (std::size_t i = 1; i < fields.size(); ++i) EXPECT_TRUE(is_all(*fields[i], 3, 0));
}

TEST_F(ThirdStart, PlaybackTablesHoldTenThousandStamps) {
  EXPECT_EQ(engine_.TimeStamps.N1D, 10'000);
  EXPECT_EQ(engine_.SortedStamps.N1D, 10'000);
  EXPECT_EQ(engine_.TimeStamps.arr1D[9'999].N, 30);
  EXPECT_EQ(engine_.SortedStamps.arr1D[9'999].N, 30);
  EXPECT_EQ(engine_.UnixTimes.N, 10'000);
  EXPECT_EQ(engine_.SortedIndex.N, 10'000);
}

TEST_F(ThirdStart, TextsAreEmpty) {
  EXPECT_EQ(engine_.timestamp.N, 27);
  EXPECT_STREQ(engine_.timestamp.buffer, "");
  EXPECT_STREQ(engine_.CurrentFolderStringDay, "");
  EXPECT_STREQ(engine_.CurrentFolderStringHour, "");
  EXPECT_STREQ(engine_.CurrentFolderStringMinute, "");
  EXPECT_EQ(engine_.getCurrentTimestamp(), "");
}

TEST_F(ThirdStart, TextFieldsHaveTheirFixedSizes) {
  EXPECT_EQ(sizeof engine_.depth_string, 512U);
  EXPECT_EQ(sizeof engine_.bgr_string, 512U);
  EXPECT_EQ(sizeof engine_._CurrentStampString, 100U);
  EXPECT_EQ(sizeof engine_.temp_strdest, 10U);
  EXPECT_EQ(sizeof engine_.CurrentFolderStringMinute, 512U);
}

// --- Rings without slots and rings without memory -----------------------------------------------

TEST(ThirdWithoutSlots, EachFieldOfTheRingReportsItsSizeTwice) {
  for (const int size : {0, -3, INT_MIN}) {
    ThirdParameters p = good_parameters(size);
    const ConsoleTrace trace = capture_console([&] {
      ThirdEngine engine;
      engine.Construct(p);
    });
    EXPECT_EQ(trace.output, ring_size_errors(size));
    EXPECT_EQ(trace.keys, 14);
  }
}

TEST(ThirdWithoutSlots, CaptureIsOutOfRange) {
  for (const int size : {0, -3}) {
    ThirdParameters p = good_parameters(size);
    ThirdEngine engine;
    quietly([&] { return engine.Construct(p); });
    const auto seen = observe([&] { return capture(engine, false, kMoment); });
    EXPECT_FALSE(seen.result);
    EXPECT_EQ(seen.output, "depth history corresponding index out of range (SizeHistory " +
                               std::to_string(size) + ")\n");
    EXPECT_EQ(seen.keys, 0);
    EXPECT_FALSE(engine.INITIALISED);
    EXPECT_EQ(engine.HistoryModCounter, 0);
  }
}

TEST(ThirdWithoutSlots, MotionIsNotMeasured) {
  ThirdParameters p = good_parameters(0);
  ThirdEngine engine;
  quietly([&] { return engine.Construct(p); });
  engine.USE_FRAME_DIFF = true;
  engine.INITIALISED = true;
  engine.MapHasDepth.Init(true);
  engine.prev_MapHasDepth.Init(true);
  fill_frame(engine, 1.0F);
  capture_quietly(engine, false, kMoment);
  EXPECT_EQ(engine.pct_moving, 0.0F);
}

TEST(ThirdWithoutSlots, NothingIsRecordedFromTheRing) {
  for (const int size : {0, -3}) {
    ThirdParameters p = good_parameters(size);
    ThirdEngine engine;
    quietly([&] { return engine.Construct(p); });
    const auto seen = observe([&] { return record_range(engine, {1970, 1, 1}, kMoment); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "INFO 0 frame recorded from buffer\n");
  }
}

TEST(ThirdWithoutMemory, LeavesNoHalfEngine) {
  if (!MemoryLimit::kPossible) GTEST_SKIP() << "sanitizers need their addresses";
  TempDirectory directory;
  ThirdParameters p;
  set_recording(p, directory.path());
  p.SetSizeBuffer(50'000);
  ThirdEngine engine;
  bool constructed = true;
  {
    const MemoryLimit limit(rlim_t{200} << 20U);
    try {
      constructed = quietly([&] { return engine.Construct(p); });
    } catch (const std::bad_alloc&) {
      constructed = false;
    }
  }
  EXPECT_FALSE(constructed);
  capture_quietly(engine, false, kMoment);
  p.SetSizeBuffer(1);
  construct(engine, p);
  EXPECT_TRUE(capture_flat(engine, true, kMoment, 1.0F));
}

// --- Construct again ----------------------------------------------------------------------------

TEST(ThirdConstructAgain, GivesTheRingItsNewSize) {
  ThirdParameters p = good_parameters(4);
  ThirdEngine engine;
  construct(engine, p);
  p.SetSizeBuffer(2);
  construct(engine, p);
  EXPECT_EQ(engine.SizeHistory, 2);
  EXPECT_EQ(engine.HistoryDepth.N1D, 2);
  EXPECT_EQ(engine.HistoryYear.N, 2);
  EXPECT_EQ(engine.HistoryUnixTimes.N, 2);
}

TEST(ThirdConstructAgain, ForgetsWhatWasRecorded) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.0F));
  construct(recorder.engine, recorder.parameters);
  EXPECT_FALSE(recorder.engine.INITIALISED);
  EXPECT_FALSE(recorder.engine.RECORDED);
  EXPECT_EQ(recorder.engine.HistoryModCounter, 0);
  EXPECT_TRUE(is_all(recorder.engine.HistoryYear, 2, -1));
  EXPECT_EQ(last_recorded(recorder.engine), "-1--1--1,-1:-1:-1,-1");
  EXPECT_STREQ(recorder.engine.CurrentFolderStringMinute, "");
}

TEST(ThirdConstructAgain, EngineRecordsToItsNewDirectory) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.0F));
  TempDirectory other;
  set_recording(recorder.parameters, other.path());
  construct(recorder.engine, recorder.parameters);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.0F));
  EXPECT_TRUE(holds_only_frame(minute_folder(other.path(), kMoment), kMoment));
}

TEST(ThirdConstructAgain, WithoutSettingsIsRefusedAndHarmless) {
  ThirdRecorder recorder;
  ThirdParameters none;
  EXPECT_FALSE(quietly([&] { return recorder.engine.Construct(none); }));
  quietly([&] { return capture(recorder.engine, true, kMoment); });
  EXPECT_TRUE(std::filesystem::is_empty(recorder.path()));
}

TEST(ThirdConstructAgain, WithoutADirectoryRecordsNothingAnyMore) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kMoment, 1.0F));
  const auto before = files_in(recorder.folder(kMoment));
  ThirdParameters no_directory;
  no_directory.SetCameraType(0);
  EXPECT_FALSE(quietly([&] { return recorder.engine.Construct(no_directory); }));
  const Moment later = moment_at(500);
  const auto seen = observe([&] { return capture(recorder.engine, true, later); });
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(seen.output.ends_with(failed_folder_line(""))) << seen.output;
  EXPECT_FALSE(quietly([&] { return record_range(recorder.engine, kMoment, later); }));
  EXPECT_EQ(files_in(recorder.folder(kMoment)), before);
  EXPECT_FALSE(std::filesystem::exists(day_folder("", kMoment)));
}

// --- Never constructed --------------------------------------------------------------------------

class ThirdNeverConstructed : public testing::Test {
 protected:
  template <typename Call>
  void expect_harmless(Call call) {
    const EmptyCurrentDirectory current;
    const ConsoleTrace trace = capture_console(call);
    EXPECT_LT(trace.keys, 10);
    EXPECT_TRUE(current.is_still_empty());
  }
  ThirdEngine engine_;
  Text missing_{"missing"};
};

TEST_F(ThirdNeverConstructed, CaptureDoesNoHarm) {
  expect_harmless([&] { capture(engine_, true, kMoment); });
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_F(ThirdNeverConstructed, CaptureWithACameraDoesNoHarm) {
  engine_.param.SetCameraType(0);
  expect_harmless([&] { capture(engine_, false, kMoment); });
  EXPECT_FALSE(engine_.INITIALISED);
}

TEST_F(ThirdNeverConstructed, RecordingDoesNoHarm) {
  expect_harmless([&] { record_range(engine_, {1970, 1, 1}, kMoment, 1); });
}

TEST_F(ThirdNeverConstructed, OldestDoesNoHarm) {
  expect_harmless([&] { EXPECT_EQ(engine_.GetHistoryOldest(), -1); });
}

TEST_F(ThirdNeverConstructed, ReadDoesNoHarm) {
  expect_harmless([&] { engine_.Read(0); });
}

TEST_F(ThirdNeverConstructed, SearchDoesNoHarm) {
  expect_harmless([&] { engine_.Read_FindNextFolder_and_update_CurrentTime(0); });
}

TEST_F(ThirdNeverConstructed, ColourImageDoesNoHarm) {
  expect_harmless([&] { engine_.LoadColourImage(missing_); });
}

TEST_F(ThirdNeverConstructed, CalibrationFramesDoNoHarm) {
  expect_harmless([&] { engine_.read_for_calib_tool(missing_); });
  expect_harmless([&] { engine_.read_for_calib_tool(missing_, missing_); });
}

}  // namespace
}  // namespace depth_io::test
