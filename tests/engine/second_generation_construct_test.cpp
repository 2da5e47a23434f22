#include <climits>
#include <new>
#include <type_traits>

#include "tests/support/second_generation_fixture.h"

// Building a second-generation engine: start values, missing settings, rings of every size.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

static_assert(!std::is_copy_constructible_v<Engine>);
static_assert(!std::is_copy_assignable_v<Engine>);

constexpr char kNoDirectory[] = "ERROR KV_RGBD_CameraCompression2::Construct Directory non set\n";
constexpr char kNoDepthStem[] = "ERROR KV_RGBD_CameraCompression2::Construct DepthStem non set\n";
constexpr char kNoRate[] =
    "WARNING KV_RGBD_CameraCompression2::Construct MaxFPS non set, set to default 8.0 fps\n";
constexpr char kConstructionFailed[] = "ERROR KV_RGBD_CameraCompression2 failed at construction\n";

SecondSettings settings_with_history(int slots) {
  SecondSettings settings;
  settings.directory = "rec";
  settings.history = slots;
  return settings;
}

Outcome<bool> construct_seen(Engine& engine, KV_RGBD_CameraCompression2_parameters& parameters) {
  return observe([&] { return engine.Construct(parameters); });
}

/// An engine with a ring of three slots.
class SecondGenerationStart : public ::testing::Test {
 protected:
  SecondGenerationStart() { start_engine(engine_, settings_with_history(3)); }
  Engine engine_;
};

// --- Before Construct ---------------------------------------------------------------------------

TEST(SecondGenerationUnconstructed, HasNoArraysAndNoPosition) {
  const Engine engine;
  EXPECT_EQ(engine.DepthMap, nullptr);
  EXPECT_EQ(engine.ColourImage, nullptr);
  EXPECT_EQ(engine.fSubDir_r, nullptr);
  EXPECT_FALSE(engine._CurrentFrame_active);
  EXPECT_FALSE(engine._CurrentTimeStamp_active);
  EXPECT_FALSE(engine._CurrentStampString_active);
  EXPECT_EQ(engine.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine.CurrentSubDirectoryIndex, 0);
}

TEST(SecondGenerationUnconstructed, HasEmptyBuffers) {
  const Engine engine;
  EXPECT_EQ(engine.timestamp.N, 0);
  EXPECT_EQ(engine.MapHasDepth.N, 0);
  EXPECT_EQ(engine.HistoryDepth.N1D, 0);
  EXPECT_EQ(engine.HistoryYear.N, 0);
}

TEST(SecondGenerationUnconstructed, CreationAndDestructionAreSilent) {
  const ConsoleTrace trace = capture_console([] { Engine engine; });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(SecondGenerationUnconstructed, DoesNothingAndSaysSo) {
  Engine engine;
  Text name("name");
  ConsoleCapture capture;
  EXPECT_FALSE(capture_at(engine, true, 0, kMoment));
  EXPECT_FALSE(engine.apply_with_index(true, 0, 0));
  EXPECT_FALSE(engine.Read(0));
  EXPECT_FALSE(engine.read_for_calib_tool(name));
  EXPECT_FALSE(engine.read_for_calib_tool(name, name));
  EXPECT_EQ(engine.GetHistoryOldest(), -1);
}

TEST(SecondGenerationUnconstructed, TextFieldsHaveTheirFixedSizes) {
  EXPECT_EQ(sizeof(Engine::depth_string), 512U);
  EXPECT_EQ(sizeof(Engine::bgr_string), 512U);
  EXPECT_EQ(sizeof(Engine::temp_string), 512U);
  EXPECT_EQ(sizeof(Engine::temp_string2), 512U);
  EXPECT_EQ(sizeof(Engine::temp_strdest), 10U);
  EXPECT_EQ(sizeof(Engine::_temp_str), 512U);
  EXPECT_EQ(sizeof(Engine::_CurrentStampString), 100U);
}

// --- Start values -------------------------------------------------------------------------------

TEST_F(SecondGenerationStart, NamesAreReversedAndEverySwitchIsOff) {
  EXPECT_TRUE(engine_.REVERSE_NAME);
  EXPECT_FALSE(engine_.USE_FRAME_DIFF);
  EXPECT_FALSE(engine_.Record_period);
  EXPECT_FALSE(engine_.RECORDED);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.VERIFICATION, -1);
  EXPECT_EQ(engine_.fSubDir_r, nullptr);
}

TEST_F(SecondGenerationStart, FramesAre640By480) {
  EXPECT_EQ(engine_.WW, 640);
  EXPECT_EQ(engine_.HH, 480);
  EXPECT_EQ(engine_.RW.width, 640);
  EXPECT_EQ(engine_.RW.height, 480);
  EXPECT_NE(engine_.RW.Label, nullptr);
}

TEST_F(SecondGenerationStart, CurrentFrameCanBeFilled) {
  fill(engine_, flat_depth(1.5F), flat_colour(9));
  EXPECT_EQ(engine_.DepthMap[kPixels - 1], 1.5F);
  EXPECT_EQ(engine_.ColourImage[kColourBytes - 1], 9);
}

TEST_F(SecondGenerationStart, MotionAndPeriodHaveTheirThresholds) {
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  EXPECT_EQ(engine_.threshold_motion_contrast, 0.1F);
  EXPECT_EQ(engine_.threshold_pct_motion, 0.5F);
  EXPECT_EQ(engine_.Record_period_gap, 100);
  EXPECT_EQ(engine_.delta_time_last_recorded, 0);
  EXPECT_TRUE(is_all(engine_.DisplayMovingFrame, kPixels, 0.0F));
}

TEST_F(SecondGenerationStart, NothingWasEverRecorded) {
  EXPECT_EQ(engine_.last_time_recorded_year, -1);
  EXPECT_EQ(engine_.last_time_recorded_month, -1);
  EXPECT_EQ(engine_.last_time_recorded_day, -1);
  EXPECT_EQ(engine_.last_time_recorded_hour, -1);
  EXPECT_EQ(engine_.last_time_recorded_minute, -1);
  EXPECT_EQ(engine_.last_time_recorded_second, -1);
  EXPECT_EQ(engine_.last_time_recorded_millisecond, -1);
  EXPECT_EQ(engine_.last_time_recorded_unixtime, -1.0);
}

TEST_F(SecondGenerationStart, IntrinsicsAreZero) {
  EXPECT_EQ(engine_.GetIntrinsic_a11(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_a22(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cx(), 0.0F);
  EXPECT_EQ(engine_.GetIntrinsic_cy(), 0.0F);
}

TEST_F(SecondGenerationStart, NoPixelHasDepthNowOrBefore) {
  EXPECT_TRUE(is_all(engine_.MapHasDepth, kPixels, 0));
  EXPECT_TRUE(is_all(engine_.prev_MapHasDepth, kPixels, 0));
}

TEST_F(SecondGenerationStart, StampTextsAreEmptyAndHold27Characters) {
  EXPECT_EQ(engine_.timestamp.N, 27);
  EXPECT_STREQ(engine_.timestamp.buffer, "");
  EXPECT_EQ(engine_.FirstTimeStampSavedInSubDirectory.N, 27);
  EXPECT_STREQ(engine_.FirstTimeStampSavedInSubDirectory.buffer, "");
}

TEST_F(SecondGenerationStart, SubDirectoriesBeginAtZero) {
  EXPECT_EQ(engine_.CurrentNbFramesSavedInSubDirectory, 0);
  EXPECT_EQ(engine_.CurrentSubDirectoryIndex, 0);
  EXPECT_EQ(engine_.FirstIndexSavedInSubDirectory, -1);
}

TEST_F(SecondGenerationStart, MembersWithoutAGivenValueAreZeroOrEmpty) {
  EXPECT_EQ(engine_._CurrentFrame, 0);
  EXPECT_EQ(engine_._CurrentYear, 0);
  EXPECT_EQ(engine_._CurrentMillisecond, 0);
  EXPECT_STREQ(engine_._CurrentStampString, "");
  EXPECT_STREQ(engine_.depth_string, "");
  EXPECT_STREQ(engine_.bgr_string, "");
}

TEST_F(SecondGenerationStart, RingHasTheSlotsAskedFor) {
  EXPECT_EQ(engine_.GetSizeHistory(), 3);
  EXPECT_EQ(engine_.GetHistoryIndex(), 0);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
  ASSERT_EQ(engine_.HistoryDepth.N1D, 3);
  ASSERT_EQ(engine_.HistoryBGR.N1D, 3);
  ASSERT_EQ(engine_.HistoryTimeStamp.N1D, 3);
  for (int slot = 0; slot < 3; ++slot) {
    EXPECT_TRUE(is_all(engine_.HistoryDepth.arr1D[slot], kPixels, 0.0F));
    EXPECT_TRUE(is_all(engine_.HistoryBGR.arr1D[slot], kColourBytes, 0));
    EXPECT_EQ(engine_.HistoryTimeStamp.arr1D[slot].N, 27);
  }
}

TEST_F(SecondGenerationStart, EmptySlotsHaveYearMinusOneAndZerosOtherwise) {
  const auto fields = ring_fields(engine_);
  EXPECT_TRUE(is_all(*fields[0], 3, -1));
  for (std::size_t i = 1; i < fields.size(); ++i) EXPECT_TRUE(is_all(*fields[i], 3, 0)) << i;
  EXPECT_TRUE(is_all(engine_.HistoryUnixTimes, 3, 0.0));
}

TEST(SecondGenerationConstruct, IsSilentWhenEverythingIsSet) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(2));
  const ConsoleTrace trace = capture_console([&] { Engine engine(parameters); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(SecondGenerationConstruct, TakesACopyOfTheSettings) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(2));
  Engine engine(parameters);
  Text other("other");
  parameters.SetDirectory(other);
  EXPECT_STREQ(engine.param.Directory, "rec");
  EXPECT_STREQ(engine.param.DepthStem, "depth");
  EXPECT_EQ(engine.param.MaxFPS, -1.0F);
}

// --- Missing settings ---------------------------------------------------------------------------

TEST(SecondGenerationMissing, DirectoryIsWanted) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.Directory_active = false;
  const auto seen = construct_seen(engine, parameters);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoDirectory);
  EXPECT_EQ(seen.keys, 1);
}

TEST(SecondGenerationMissing, DepthStemIsWanted) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.DepthStem_active = false;
  const auto seen = construct_seen(engine, parameters);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoDepthStem);
  EXPECT_EQ(seen.keys, 1);
}

TEST(SecondGenerationMissing, DirectoryIsReportedBeforeAnythingElse) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters;
  const auto seen = construct_seen(engine, parameters);
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, kNoDirectory);
  EXPECT_EQ(seen.keys, 1);
}

TEST(SecondGenerationMissing, FailedConstructKeepsTheSettingsThatItWasGiven) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(4));
  parameters.DepthStem_active = false;
  construct_seen(engine, parameters);
  EXPECT_STREQ(engine.param.Directory, "rec");
  EXPECT_EQ(engine.param.SizeBuffer, 4);
}

TEST(SecondGenerationMissing, RateBecomesEightAfterAWarningAndAKey) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.MaxFPS_active = false;
  parameters.MaxFPS = 3.0F;
  const auto seen = construct_seen(engine, parameters);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, kNoRate);
  EXPECT_EQ(seen.keys, 1);
  EXPECT_EQ(engine.param.MaxFPS, 8.0F);
  EXPECT_TRUE(engine.param.MaxFPS_active);
}

TEST(SecondGenerationMissing, CallersSettingsDoNotGetTheRate) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.MaxFPS_active = false;
  construct_seen(engine, parameters);
  EXPECT_FALSE(parameters.MaxFPS_active);
}

TEST(SecondGenerationMissing, RingSizeBecomesOne) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(5));
  parameters.SizeBuffer_active = false;
  const auto seen = construct_seen(engine, parameters);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine.GetSizeHistory(), 1);
  EXPECT_EQ(engine.param.SizeBuffer, 1);
}

TEST(SecondGenerationMissing, RingSizeNeverSetIsOne) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters;
  Text directory("rec");
  Text stem("depth");
  parameters.SetDirectory(directory);
  parameters.SetDepthStem(stem);
  parameters.SetMaxFPS(8.0F);
  EXPECT_TRUE(construct_seen(engine, parameters).result);
  EXPECT_EQ(engine.GetSizeHistory(), 1);
}

TEST(SecondGenerationMissing, ModeCameraAndColourStemAreNotLookedAt) {
  for (const char mode : {'X', 'x', 'r', 'w'}) {
    Engine engine;
    KV_RGBD_CameraCompression2_parameters parameters;
    Text directory("rec");
    Text stem("depth");
    parameters.SetDirectory(directory);
    parameters.SetDepthStem(stem);
    parameters.SetMaxFPS(8.0F);
    parameters.WriteOrRead = mode;
    const auto seen = construct_seen(engine, parameters);
    EXPECT_TRUE(seen.result) << mode;
    EXPECT_EQ(seen.output, "") << mode;
    EXPECT_EQ(seen.keys, 0) << mode;
  }
}

TEST(SecondGenerationMissing, ConstructorReportsTheFailureOnceMore) {
  KV_RGBD_CameraCompression2_parameters parameters;
  const ConsoleTrace trace = capture_console([&] { Engine engine(parameters); });
  EXPECT_EQ(trace.output, std::string(kNoDirectory) + kConstructionFailed);
  EXPECT_EQ(trace.keys, 2);
}

TEST(SecondGenerationMissing, ConstructorReportsAMissingDepthStemOnceMore) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.DepthStem_active = false;
  const ConsoleTrace trace = capture_console([&] { Engine engine(parameters); });
  EXPECT_EQ(trace.output, std::string(kNoDepthStem) + kConstructionFailed);
  EXPECT_EQ(trace.keys, 2);
}

TEST(SecondGenerationMissing, ConstructorWithoutARateOnlyWarns) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings_with_history(1));
  parameters.MaxFPS_active = false;
  const ConsoleTrace trace = capture_console([&] { Engine engine(parameters); });
  EXPECT_EQ(trace.output, kNoRate);
  EXPECT_EQ(trace.keys, 1);
}

TEST(SecondGenerationMissing, ConstructSucceedsAfterAFailure) {
  Engine engine;
  KV_RGBD_CameraCompression2_parameters parameters;
  construct_seen(engine, parameters);
  start_engine(engine, settings_with_history(2));
  EXPECT_TRUE(capture_flat(engine, false, kMoment, 1.5F));
  EXPECT_EQ(slot_depth(engine, 0), 1.5F);
}

// --- Rings without slots ------------------------------------------------------------------------

TEST(SecondGenerationWithoutSlots, EachStampFieldReportsItsSizeTwice) {
  for (const int size : {0, -3, INT_MIN}) {
    KV_RGBD_CameraCompression2_parameters parameters =
        second_parameters(settings_with_history(size));
    const ConsoleTrace trace = capture_console([&] { Engine engine(parameters); });
    EXPECT_EQ(trace.output, ring_size_errors(size));
    EXPECT_EQ(trace.keys, 14);
  }
}

TEST(SecondGenerationWithoutSlots, ConstructSucceedsWithAnEmptyRing) {
  for (const int size : {0, -3}) {
    Engine engine;
    KV_RGBD_CameraCompression2_parameters parameters =
        second_parameters(settings_with_history(size));
    EXPECT_TRUE(construct_seen(engine, parameters).result);
    EXPECT_EQ(engine.GetSizeHistory(), size);
    EXPECT_EQ(engine.HistoryDepth.N1D, 0);
    EXPECT_EQ(engine.HistoryBGR.N1D, 0);
    EXPECT_EQ(engine.HistoryTimeStamp.N1D, 0);
    EXPECT_EQ(engine.HistoryUnixTimes.N, 0);
    for (const depth_io_ClassBufferINT* field : ring_fields(engine)) EXPECT_EQ(field->N, 0);
  }
}

class SecondGenerationWithoutSlotsRun : public ::testing::TestWithParam<int> {
 protected:
  SecondGenerationWithoutSlotsRun() {
    SecondSettings settings = settings_with_history(GetParam());
    settings.directory = directory_.path();
    KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings);
    construct_seen(engine_, parameters);
  }
  std::string out_of_range() const {
    return "depth history corresponding index out of range (SizeHistory " +
           std::to_string(GetParam()) + ")\n";
  }
  TempDirectory directory_;
  Engine engine_;
};

TEST_P(SecondGenerationWithoutSlotsRun, CaptureIsOutOfRange) {
  const auto seen = observe([&] { return capture_at(engine_, false, 0, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output, out_of_range());
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.INITIALISED);
  EXPECT_EQ(engine_.HistoryModCounter, 0);
}

TEST_P(SecondGenerationWithoutSlotsRun, FrameIsWrittenBeforeTheStoreFails) {
  fill(engine_, flat_depth(1.0F));
  const auto seen = observe([&] { return capture_at(engine_, true, 0, kMoment); });
  EXPECT_FALSE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(seen.output, first_info_line(kMoment) +
                             saving_line(directory_.slash(), "depth", 0, kMomentStamp) +
                             out_of_range());
  EXPECT_EQ(frames_in(directory_.path()),
            std::vector<std::string>{std::string(kMomentStamp) + "-depth"});
}

TEST_P(SecondGenerationWithoutSlotsRun, OldestSlotIsReportedMissing) {
  const auto seen = observe([&] { return engine_.GetHistoryOldest(); });
  EXPECT_EQ(seen.result, -1);
  EXPECT_EQ(seen.output, "ERROR bad oldest history slot\n");
  EXPECT_EQ(seen.keys, 1);
}

TEST_P(SecondGenerationWithoutSlotsRun, TimeRangeIsEmpty) {
  const auto seen = observe([&] { return record_range(engine_, kMoment, kMoment); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "INFO 0 frame recorded from buffer\n");
}

TEST_P(SecondGenerationWithoutSlotsRun, FrameNumberIsOutOfRange) {
  const auto seen = observe([&] { return engine_.recording_from_buffer(5, 5, 5, 0, 0); });
  EXPECT_FALSE(seen.result);
  const std::string size = std::to_string(GetParam());
  EXPECT_EQ(seen.output,
            " - WARNING - depth history corresponding index out of range 5 "
            "(SizeHistory " +
                size + ") current_frame 5 [" + std::to_string(5 - GetParam()) + ":5]\n");
}

TEST_P(SecondGenerationWithoutSlotsRun, MotionIsNotMeasured) {
  engine_.USE_FRAME_DIFF = true;
  engine_.INITIALISED = true;
  engine_.MapHasDepth.Init(true);
  engine_.prev_MapHasDepth.Init(true);
  fill(engine_, flat_depth(1.0F));
  EXPECT_FALSE(quietly([&] { return capture_at(engine_, false, 0, kMoment); }));
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

INSTANTIATE_TEST_SUITE_P(Sizes, SecondGenerationWithoutSlotsRun, ::testing::Values(0, -3),
                         [](const auto& tested) {
                           return tested.param == 0 ? std::string("Zero") : std::string("Negative");
                         });

// --- Rings without room
// ---------------------------------------------------------------------------

TEST(SecondGenerationWithoutMemory, LeavesNoHalfEngine) {
  if (!MemoryLimit::kPossible) GTEST_SKIP() << "sanitizers need their addresses";
  TempDirectory directory;
  SecondSettings settings;
  settings.directory = directory.path();
  settings.history = 50'000;
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings);
  Engine engine;
  bool constructed = true;
  {
    const MemoryLimit limit(rlim_t{200} << 20U);
    try {
      constructed = quietly([&] { return engine.Construct(parameters); });
    } catch (const std::bad_alloc&) {
      constructed = false;
    }
  }
  EXPECT_FALSE(constructed);
  capture_quietly(engine, false, kMoment);
  settings.history = 1;
  start_engine(engine, settings);
  EXPECT_TRUE(capture_flat(engine, true, kMoment, 1.0F));
}

}  // namespace
}  // namespace depth_io::test
