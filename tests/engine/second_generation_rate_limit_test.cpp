#include "tests/support/second_generation_fixture.h"

// What asks for a recording besides the caller, and what forbids it: motion, period, rate.
namespace depth_io::test {
namespace {

using Engine = KV_RGBD_CameraCompression2;

class SecondGenerationDecision : public ::testing::Test {
 protected:
  SecondGenerationDecision() { settings_.directory = directory_.path(); }
  void start(float max_fps) {
    settings_.max_fps = max_fps;
    start_engine(engine_, settings_);
    fill(engine_, flat_depth(1.0F));
  }
  Outcome<bool> capture(bool record_now, const Moment& m) {
    return observe([&] { return capture_at(engine_, record_now, 0, m); });
  }
  /// Captures and tells whether the frame was written.
  bool writes(const Moment& m, bool record_now = true) {
    EXPECT_TRUE(capture(record_now, m).result);
    return engine_.RECORDED;
  }
  TempDirectory directory_;
  SecondSettings settings_;
  Engine engine_;
};

// --- Rate ---------------------------------------------------------------------------------------

TEST_F(SecondGenerationDecision, FrameSoonerThanTheIntervalIsNotWritten) {
  start(8.0F);
  EXPECT_TRUE(writes(moment_at(0)));
  EXPECT_FALSE(writes(moment_at(100)));
}

TEST_F(SecondGenerationDecision, FrameLaterThanTheIntervalIsWritten) {
  start(8.0F);
  EXPECT_TRUE(writes(moment_at(0)));
  EXPECT_TRUE(writes(moment_at(130)));
}

TEST_F(SecondGenerationDecision, FrameAtTheIntervalIsNotWritten) {
  start(8.0F);
  EXPECT_TRUE(writes(moment_at(0)));
  EXPECT_FALSE(writes(moment_at(125)));
  EXPECT_TRUE(writes(moment_at(126)));
}

TEST_F(SecondGenerationDecision, FramesNotWrittenDoNotMoveTheReference) {
  start(8.0F);
  EXPECT_TRUE(writes(moment_at(0)));
  EXPECT_FALSE(writes(moment_at(100)));
  EXPECT_TRUE(writes(moment_at(200)));
  EXPECT_FALSE(writes(moment_at(300)));
}

TEST_F(SecondGenerationDecision, FirstFrameIsAlwaysWritten) {
  for (const float rate : {8.0F, 0.0F, 1e-6F, -1.0F}) {
    TempDirectory directory;
    SecondSettings settings = settings_;
    settings.directory = directory.path();
    settings.max_fps = rate;
    Engine engine;
    start_engine(engine, settings);
    EXPECT_TRUE(capture_flat(engine, true, kMoment, 1.0F)) << rate;
    EXPECT_TRUE(engine.RECORDED) << rate;
  }
}

TEST_F(SecondGenerationDecision, RateZeroWritesNothingAfterTheFirstFrame) {
  start(0.0F);
  EXPECT_TRUE(writes(kMoment));
  EXPECT_FALSE(writes(moment_after(50)));
}

TEST_F(SecondGenerationDecision, NegativeRateIsNoLimit) {
  start(-0.5F);
  EXPECT_TRUE(writes(kMoment));
  EXPECT_TRUE(writes(kMoment));
  EXPECT_TRUE(writes(moment_at(1)));
}

TEST_F(SecondGenerationDecision, RateSwitchedOffByItsFlagIsNoLimit) {
  start(8.0F);
  engine_.param.MaxFPS_active = false;
  EXPECT_TRUE(writes(moment_at(0)));
  EXPECT_TRUE(writes(moment_at(1)));
}

TEST_F(SecondGenerationDecision, ClockThatStepsBackWritesNothingUntilItCatchesUp) {
  start(8.0F);
  EXPECT_TRUE(writes(moment_after(20)));
  EXPECT_FALSE(writes(moment_after(10)));
  EXPECT_FALSE(writes(moment_after(20)));
  EXPECT_TRUE(writes(moment_after(21)));
}

TEST_F(SecondGenerationDecision, LimitAppliesToASecondFrameWhenTheFirstWasNotAskedFor) {
  start(8.0F);
  EXPECT_FALSE(writes(moment_at(0), false));
  EXPECT_FALSE(writes(moment_at(100)));
  EXPECT_TRUE(writes(moment_at(130)));
}

TEST_F(SecondGenerationDecision, InfoLineOfAFrameThatTheLimitStops) {
  start(8.0F);
  writes(moment_at(0));
  const auto seen = capture(true, moment_at(100));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output,
            " - info - Moving 0 BeenTooLong 0 (0) pass_delta 0 (0.100000 vs 0.125000) "
            "2013-4-9,14:5:7,100 - (lastrec 14:5:7,0)\n");
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(SecondGenerationDecision, InfoLineTellsTheIntervalOfEachRate) {
  const struct {
    float rate;
    const char* interval;
  } cases[] = {{8.0F, "0.125000"}, {0.0F, "inf"}, {3.0F, "0.333333"}, {-2.0F, "-0.500000"}};
  for (const auto& tested : cases) {
    start(tested.rate);
    const auto seen = capture(true, kMoment);
    RequestLine info;
    info.limit = tested.interval;
    EXPECT_TRUE(seen.output.starts_with(info.str())) << seen.output;
  }
}

TEST_F(SecondGenerationDecision, InfoLineShowsFieldsWithoutPadding) {
  start(-1.0F);
  writes({2013, 1, 2, 3, 4, 5, 6});
  const auto seen = capture(true, {2013, 1, 2, 3, 4, 6, 7});
  EXPECT_TRUE(seen.output.starts_with(
      " - info - Moving 0 BeenTooLong 0 (0) pass_delta 1 (1.001000 vs -1.000000) "
      "2013-1-2,3:4:6,7 - (lastrec 3:4:5,6)\n"))
      << seen.output;
}

// --- Period -------------------------------------------------------------------------------------

TEST_F(SecondGenerationDecision, PeriodSaysSoAtEveryFrame) {
  start(-1.0F);
  engine_.Record_period = true;
  const auto seen = capture(false, kMoment);
  EXPECT_EQ(seen.output, kPeriodLine);
  EXPECT_EQ(seen.keys, 0);
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(SecondGenerationDecision, PeriodWritesAfterItsGapAndThenEveryFrame) {
  start(-1.0F);
  engine_.Record_period = true;
  engine_.Record_period_gap = 2;
  EXPECT_FALSE(writes(moment_after(0), false));
  EXPECT_FALSE(writes(moment_after(1), false));
  EXPECT_TRUE(writes(moment_after(2), false));
  EXPECT_TRUE(writes(moment_after(3), false));
  EXPECT_EQ(engine_.delta_time_last_recorded, 2);
}

TEST_F(SecondGenerationDecision, PeriodIsSubjectToTheRate) {
  start(0.5F);
  engine_.Record_period = true;
  engine_.Record_period_gap = 1;
  EXPECT_FALSE(writes(moment_after(0), false));
  EXPECT_FALSE(writes(moment_after(1), false));
  EXPECT_TRUE(writes(moment_after(3), false));
}

TEST_F(SecondGenerationDecision, WholeOutputOfAFrameWrittenByItsPeriod) {
  start(-1.0F);
  engine_.Record_period = true;
  engine_.Record_period_gap = 0;
  const auto seen = capture(false, kMoment);
  EXPECT_EQ(seen.output,
            std::string(kPeriodLine) + saving_line(directory_.slash(), "depth", 0, kMomentStamp));
}

TEST_F(SecondGenerationDecision, InfoLineTellsThePeriodAndTheCount) {
  start(-1.0F);
  writes(kMoment, false);
  engine_.Record_period = true;
  engine_.Record_period_gap = 1;
  const auto seen = capture(true, moment_after(0, 43));
  EXPECT_TRUE(seen.output.starts_with(
      std::string(kPeriodLine) +
      " - info - Moving 0 BeenTooLong 1 (1) pass_delta 1 (0.001000 vs -1.000000) "
      "2013-4-9,14:5:7,43 - (lastrec 14:5:7,42)\n"))
      << seen.output;
}

// --- Motion -------------------------------------------------------------------------------------

class SecondGenerationMotion : public SecondGenerationDecision {
 protected:
  void start(int slots, float max_fps = -1.0F) {
    settings_.history = slots;
    SecondGenerationDecision::start(max_fps);
    engine_.USE_FRAME_DIFF = true;
    engine_.MapHasDepth.Init(true);
    engine_.prev_MapHasDepth.Init(true);
  }
  Outcome<bool> capture_map(const DepthMap& depth, int second, bool record_now = false) {
    fill(engine_, depth);
    return capture(record_now, moment_after(second));
  }
};

TEST_F(SecondGenerationMotion, FirstFrameIsComparedWithNothing) {
  start(1);
  const auto seen = capture_map(flat_depth(2.0F), 0);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

TEST_F(SecondGenerationMotion, MeasureIsOffFromTheStart) {
  start(1);
  engine_.USE_FRAME_DIFF = false;
  capture_map(flat_depth(1.0F), 0);
  const auto seen = capture_map(flat_depth(2.0F), 1);
  EXPECT_EQ(seen.output, "");
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

TEST_F(SecondGenerationMotion, WholeOutputOfAFrameWrittenByItsMotion) {
  start(1);
  capture_map(flat_depth(1.0F), 0);
  const auto seen = capture_map(depth_with_head(1.0F, kPixels / 4, 2.0F), 1);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(engine_.pct_moving, 0.25F);
  EXPECT_EQ(seen.output,
            "(Record compressed depth when motion detected ACTIVATED with pct motion 25.000000)\n" +
                saving_line(directory_.slash(), "depth", 0, stamp_of(moment_after(1))));
}

TEST_F(SecondGenerationMotion, MovingPixelsAreMarkedAndOthersCleared) {
  start(1);
  capture_map(flat_depth(1.0F), 0);
  engine_.DisplayMovingFrame.Init(9.0F);
  capture_map(depth_with_head(1.0F, 2, 2.0F), 1);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[1], 255.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[2], 0.0F);
}

TEST_F(SecondGenerationMotion, PixelsWithoutDepthInOneOfTheFramesDoNotCount) {
  start(1);
  capture_map(flat_depth(1.0F), 0);
  engine_.MapHasDepth.Init(false);
  capture_map(flat_depth(2.0F), 1);
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  engine_.MapHasDepth.Init(true);
  capture_map(flat_depth(1.0F), 2);
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

TEST_F(SecondGenerationMotion, ChangeIsRelativeToTheCurrentDepthAndStrict) {
  const struct {
    float before;
    float now;
    float share;
  } cases[] = {{1.5F, 1.0F, 0.0F}, {1.0F, 0.5F, 1.0F}, {0.5F, 1.0F, 0.0F}};
  for (const auto& tested : cases) {
    start(1);
    engine_.threshold_motion_contrast = 0.5F;
    capture_map(flat_depth(tested.before), 0);
    capture_map(flat_depth(tested.now), 1);
    EXPECT_EQ(engine_.pct_moving, tested.share) << tested.before << ' ' << tested.now;
  }
}

TEST_F(SecondGenerationMotion, ShareAtTheThresholdIsNotMotion) {
  start(1);
  engine_.threshold_pct_motion = 10.0F;
  capture_map(flat_depth(1.0F), 0);
  EXPECT_EQ(capture_map(depth_with_head(1.0F, 30720, 2.0F), 1).output, "");
  capture_map(flat_depth(1.0F), 2);
  EXPECT_NE(capture_map(depth_with_head(1.0F, 30721, 2.0F), 3).output, "");
}

TEST_F(SecondGenerationMotion, FrameIsComparedWithTheSlotBefore) {
  start(3);
  for (int i = 0; i < 7; ++i) {
    capture_map(flat_depth(static_cast<float>(i % 2 + 1)), i);
    EXPECT_EQ(engine_.pct_moving, i == 0 ? 0.0F : 1.0F) << i;
  }
  capture_map(flat_depth(1.0F), 7);
  EXPECT_EQ(engine_.pct_moving, 0.0F);
}

TEST_F(SecondGenerationMotion, MotionIsSubjectToTheRate) {
  start(1, 0.1F);
  capture_map(flat_depth(1.0F), 0);
  const auto seen = capture_map(flat_depth(2.0F), 1);
  EXPECT_EQ(
      seen.output,
      "(Record compressed depth when motion detected ACTIVATED with pct motion 100.000000)\n");
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(SecondGenerationMotion, MotionComesBeforePeriodAndInfoLine) {
  start(1);
  capture_map(flat_depth(1.0F), 0);
  engine_.Record_period = true;
  const auto seen = capture_map(flat_depth(2.0F), 1, true);
  EXPECT_TRUE(seen.output.starts_with(
      "(Record compressed depth when motion detected ACTIVATED with pct motion 100.000000)\n" +
      std::string(kPeriodLine) + " - info - Moving 1 BeenTooLong 0 (1) pass_delta 1 "))
      << seen.output;
}

TEST_F(SecondGenerationMotion, NegativeThresholdIsMotionWithoutAMeasure) {
  start(1);
  engine_.USE_FRAME_DIFF = false;
  engine_.threshold_pct_motion = -1.0F;
  const auto seen = capture_map(flat_depth(1.0F), 0);
  EXPECT_TRUE(seen.output.starts_with(
      "(Record compressed depth when motion detected ACTIVATED with pct motion 0.000000)\n"));
  EXPECT_TRUE(engine_.RECORDED);
}

}  // namespace
}  // namespace depth_io::test
