#include <climits>

#include "tests/support/engine_fixture.h"

// The motion measure: the current frame against the slot of the frame number before.
namespace depth_io::test {
namespace {

std::string motion_line(const std::string& percentage) {
  return "(Record compressed depth when motion detected ACTIVATED with pct motion " + percentage +
         ")\n";
}

/// A ring of one frame, motion measured, every pixel with depth.
class FirstGenerationMotion : public ::testing::Test {
 protected:
  FirstGenerationMotion() { set_up(engine_); }

  static void set_up(KV_RGBD_CameraCompression& engine) {
    engine.USE_FRAME_DIFF = true;
    engine.MapHasDepth.Init(true);
    // Nothing here is to be written.
    engine.threshold_pct_motion = 1000.0F;
  }

  static Outcome<bool> apply(KV_RGBD_CameraCompression& engine, int frame, DepthMap map) {
    engine.input(map.data());
    return observe([&] { return engine.apply(frame, 0); });
  }

  /// Stores `before`, then shows `now`; gives the share of moving pixels.
  float share(const DepthMap& before, const DepthMap& now) {
    apply(engine_, 0, before);
    apply(engine_, 1, now);
    return engine_.pct_moving;
  }

  KV_RGBD_CameraCompression engine_;
};

TEST_F(FirstGenerationMotion, ChangeEqualToTheThresholdDoesNotCount) {
  engine_.threshold_motion_contrast = 0.5F;
  EXPECT_EQ(share(flat_depth(1.5F), flat_depth(1.0F)), 0.0F);
}

TEST_F(FirstGenerationMotion, ChangeAboveTheThresholdCounts) {
  engine_.threshold_motion_contrast = 0.5F;
  EXPECT_EQ(share(flat_depth(1.0F), flat_depth(0.5F)), 1.0F);
}

TEST_F(FirstGenerationMotion, ChangeIsRelativeToTheCurrentDepth) {
  engine_.threshold_motion_contrast = 0.5F;
  EXPECT_EQ(share(flat_depth(0.5F), flat_depth(1.0F)), 0.0F);
}

TEST_F(FirstGenerationMotion, BothDirectionsCount) {
  engine_.threshold_motion_contrast = 0.4F;
  EXPECT_EQ(share(flat_depth(0.5F), flat_depth(1.0F)), 1.0F);
}

TEST_F(FirstGenerationMotion, ShareIsOfAllPixels) {
  EXPECT_EQ(share(flat_depth(1.0F), depth_with_head(1.0F, kPixels / 4, 2.0F)), 0.25F);
}

TEST_F(FirstGenerationMotion, ShareIsOfAllPixelsAlsoWhenFewHaveDepth) {
  engine_.MapHasDepth.Init(false);
  std::fill_n(engine_.MapHasDepth.buffer, kPixels / 2, true);
  EXPECT_EQ(share(flat_depth(1.0F), flat_depth(2.0F)), 0.5F);
}

TEST_F(FirstGenerationMotion, PixelNeedsDepthInBothFrames) {
  apply(engine_, 0, flat_depth(1.0F));
  engine_.prev_MapHasDepth.buffer[0] = false;
  engine_.MapHasDepth.buffer[1] = false;
  apply(engine_, 1, depth_with_head(1.0F, 3, 2.0F));
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[0], 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[1], 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[2], 255.0F);
  EXPECT_EQ(engine_.pct_moving, 1.0F / static_cast<float>(kPixels));
}

TEST_F(FirstGenerationMotion, NothingMovesWhenTheCallerMarksNoDepth) {
  engine_.MapHasDepth.Init(false);
  EXPECT_EQ(share(flat_depth(1.0F), flat_depth(9.0F)), 0.0F);
}

TEST_F(FirstGenerationMotion, ZeroDepthMarkedAsDepthIsAnInfiniteChange) {
  EXPECT_EQ(share(flat_depth(1.0F), flat_depth(0.0F)), 1.0F);
}

TEST_F(FirstGenerationMotion, ZeroDepthTwiceIsNoChange) {
  EXPECT_EQ(share(flat_depth(0.0F), flat_depth(0.0F)), 0.0F);
}

TEST_F(FirstGenerationMotion, MovingPixelsAreShown) {
  share(flat_depth(1.0F), depth_with_head(1.0F, 10, 2.0F));
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[0], 255.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[9], 255.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[10], 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[kPixels - 1], 0.0F);
}

TEST_F(FirstGenerationMotion, MovingPixelsAreForgottenWithTheNextFrame) {
  share(flat_depth(1.0F), flat_depth(2.0F));
  apply(engine_, 2, flat_depth(2.0F));
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[0], 0.0F);
}

TEST_F(FirstGenerationMotion, MeasureThatIsOffKeepsTheShownPixelsAndForgetsTheShare) {
  share(flat_depth(1.0F), flat_depth(2.0F));
  engine_.USE_FRAME_DIFF = false;
  apply(engine_, 2, flat_depth(4.0F));
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[0], 255.0F);
}

TEST_F(FirstGenerationMotion, HasDepthIsKeptForTheNextFrame) {
  engine_.MapHasDepth.buffer[5] = false;
  apply(engine_, 0, flat_depth(1.0F));
  EXPECT_TRUE(engine_.prev_MapHasDepth.buffer[4]);
  EXPECT_FALSE(engine_.prev_MapHasDepth.buffer[5]);
}

// --- Which slot is compared ---------------------------------------------------------------------

TEST_F(FirstGenerationMotion, FirstFrameNumberIsNotMeasuredInALargerRing) {
  KV_RGBD_CameraCompression engine(2);
  set_up(engine);
  engine.prev_MapHasDepth.Init(true);
  engine.DisplayMovingFrame.Init(255.0F);
  apply(engine, 0, flat_depth(1.0F));
  EXPECT_EQ(engine.pct_moving, 0.0F);
  EXPECT_EQ(engine.DisplayMovingFrame.buffer[0], 0.0F);
}

TEST_F(FirstGenerationMotion, FirstFrameNumberIsComparedWithTheOnlySlot) {
  apply(engine_, 5, flat_depth(1.0F));
  apply(engine_, 0, flat_depth(2.0F));
  EXPECT_EQ(engine_.pct_moving, 1.0F);
}

TEST_F(FirstGenerationMotion, SlotNeverFilledIsComparedAllTheSame) {
  KV_RGBD_CameraCompression engine(4);
  set_up(engine);
  apply(engine, 0, flat_depth(1.0F));
  apply(engine, 3, flat_depth(1.0F));
  EXPECT_EQ(engine.pct_moving, 1.0F);
}

TEST_F(FirstGenerationMotion, StampedFramesAreComparedByFrameNumberNotBySlot) {
  KV_RGBD_CameraCompression engine(2);
  set_up(engine);
  DepthMap map = flat_depth(1.0F);
  engine.input(map.data());
  // Frame 1 goes to slot 0; frame 2 looks for it in slot 1.
  quietly([&] { return apply_at(engine, 1, moment_at(1), -1.0F); });
  quietly([&] { return apply_at(engine, 2, moment_at(2), -1.0F); });
  EXPECT_EQ(engine.pct_moving, 1.0F);
}

TEST_F(FirstGenerationMotion, SlotBeyondTheRingIsNotCompared) {
  engine_.prev_MapHasDepth.Init(true);
  engine_.DisplayMovingFrame.Init(255.0F);
  apply(engine_, 16777218, flat_depth(1.0F));
  EXPECT_EQ(engine_.pct_moving, 0.0F);
  EXPECT_EQ(engine_.DisplayMovingFrame.buffer[0], 0.0F);
}

TEST_F(FirstGenerationMotion, FrameBeforeTheSmallestNumberIsDefined) {
  const auto seen = apply(engine_, INT_MIN, flat_depth(1.0F));
  EXPECT_EQ(seen.result, engine_.INITIALISED);
}

// --- From share to request ----------------------------------------------------------------------

class FirstGenerationMotionRequest : public FirstGenerationMotion {
 protected:
  FirstGenerationMotionRequest() {
    Text path(directory_.slash());
    Text stem("depth");
    engine_.start_recording(path, stem, 3);
    engine_.stop_recording();
    apply(engine_, 0, flat_depth(1.0F));
  }

  TempDirectory directory_;
};

TEST_F(FirstGenerationMotionRequest, MovingFrameIsWritten) {
  engine_.threshold_pct_motion = 0.5F;
  InfoLine info;
  info.moving = 1;
  const auto seen = apply(engine_, 1, depth_with_head(1.0F, kPixels / 2, 1.5F));
  EXPECT_TRUE(seen.result);
  EXPECT_TRUE(engine_.RECORDED);
  EXPECT_EQ(seen.output,
            "(Record compressed depth when motion detected ACTIVATED with pct motion 50.000000)\n" +
                info.str() + saving_line(directory_.slash(), "depth", 1));
  EXPECT_EQ(seen.keys, 0);
  EXPECT_EQ(files_in(directory_.path()), depth_files({"depth-001"}));
}

TEST_F(FirstGenerationMotionRequest, TenPercentExactlyDoNotMakeAFrameMoving) {
  engine_.threshold_pct_motion = 10.0F;
  const auto seen = apply(engine_, 1, depth_with_head(1.0F, 30720, 2.0F));
  EXPECT_EQ(seen.output, InfoLine{}.str());
  EXPECT_FALSE(engine_.RECORDED);
}

TEST_F(FirstGenerationMotionRequest, OnePixelMoreThanTenPercentDoes) {
  engine_.threshold_pct_motion = 10.0F;
  InfoLine info;
  info.moving = 1;
  const auto seen = apply(engine_, 1, depth_with_head(1.0F, 30721, 2.0F));
  EXPECT_EQ(seen.output,
            motion_line("10.000326") + info.str() + saving_line(directory_.slash(), "depth", 1));
  EXPECT_TRUE(engine_.RECORDED);
}

TEST_F(FirstGenerationMotionRequest, NegativeThresholdMakesEveryFrameMoving) {
  engine_.USE_FRAME_DIFF = false;
  engine_.threshold_pct_motion = -1.0F;
  InfoLine info;
  info.moving = 1;
  const auto seen = apply(engine_, 1, flat_depth(1.0F));
  EXPECT_EQ(seen.output,
            motion_line("0.000000") + info.str() + saving_line(directory_.slash(), "depth", 1));
  EXPECT_TRUE(engine_.RECORDED);
}

TEST_F(FirstGenerationMotionRequest, ThresholdOfZeroNeedsMotion) {
  engine_.threshold_pct_motion = 0.0F;
  EXPECT_EQ(apply(engine_, 1, flat_depth(1.0F)).output, InfoLine{}.str());
}

TEST_F(FirstGenerationMotionRequest, MotionIsReportedBeforeThePeriod) {
  engine_.threshold_pct_motion = 0.5F;
  engine_.Record_period = true;
  engine_.Record_period_gap = 1;
  InfoLine info;
  info.moving = 1;
  info.too_long = 1;
  const auto seen = apply(engine_, 1, flat_depth(1.5F));
  EXPECT_EQ(seen.output, motion_line("100.000000") + kPeriodLine + info.str() +
                             saving_line(directory_.slash(), "depth", 1));
}

TEST_F(FirstGenerationMotionRequest, MovingFrameThatCannotBeConvertedStillReportsItsMotion) {
  engine_.threshold_pct_motion = 0.5F;
  DepthMap map = flat_depth(1.5F);
  engine_.input(map.data());
  Moment bad = kMoment;
  bad.hour = 24;
  const auto seen = observe([&] { return apply_at(engine_, 1, bad, -1.0F); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.output,
            motion_line("100.000000") +
                "ERROR - converting current timestamp 2013.4.9|24 5 7.42 recoding to unixtime\n");
  EXPECT_EQ(engine_.pct_moving, 1.0F);
  EXPECT_EQ(slot_depth(engine_, 0), 1.0F);
}

}  // namespace
}  // namespace depth_io::test
