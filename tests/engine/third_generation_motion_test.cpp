#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

Moment at(int second, int millisecond = 0) {
  Moment m = kMoment;
  m.second = second;
  m.millisecond = millisecond;
  return m;
}

std::string motion_line(const std::string& percent) {
  return "(Record compressed depth when motion detected ACTIVATED with pct motion " + percent +
         ")\n";
}

/// An engine that measures motion, with every pixel valid and one frame of 1 m in its ring.
class ThirdMotion : public testing::Test {
 protected:
  explicit ThirdMotion(int slots = 2, float fps = -1.0F) : recorder_(slots, fps) {
    engine().USE_FRAME_DIFF = true;
    engine().MapHasDepth.Init(true);
    engine().prev_MapHasDepth.Init(true);
    EXPECT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  }
  ThirdEngine& engine() { return recorder_.engine; }

  /// Captures a frame of 1 m whose first `count` pixels are at `metres`.
  Outcome<bool> capture_head(int count, float metres, const Moment& m = at(10)) {
    fill_frame(engine(), 1.0F);
    std::fill_n(engine().DepthMap, count, metres);
    return observe([&] { return capture(engine(), false, m); });
  }
  ThirdRecorder recorder_;
};

// --- The measure --------------------------------------------------------------------------------

TEST_F(ThirdMotion, QuarterOfThePixelsMoves) {
  const auto seen = capture_head(kPixels / 4, 2.0F);
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(engine().pct_moving, 0.25F);
  EXPECT_TRUE(engine().RECORDED);
  EXPECT_EQ(seen.output,
            motion_line("25.000000") + new_folder_lines(recorder_.path(), at(10)) +
                saving_line(recorder_.folder(at(10)), "depth", kFrameNumber, stamp_of(at(10))));
  EXPECT_EQ(seen.keys, 0);
}

TEST_F(ThirdMotion, StillFrameIsSilent) {
  const auto seen = capture_head(0, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.0F);
  EXPECT_FALSE(engine().RECORDED);
  EXPECT_EQ(seen.output, "");
}

TEST_F(ThirdMotion, MovingPixelsAreShown) {
  capture_head(1000, 2.0F);
  EXPECT_EQ(engine().DisplayMovingFrame.buffer[0], 255.0F);
  EXPECT_EQ(engine().DisplayMovingFrame.buffer[999], 255.0F);
  EXPECT_EQ(engine().DisplayMovingFrame.buffer[1000], 0.0F);
}

TEST_F(ThirdMotion, ShownPixelsAreClearedWithEachFrame) {
  capture_head(1000, 2.0F);
  capture_head(1000, 2.0F, at(11));
  EXPECT_TRUE(is_all(engine().DisplayMovingFrame, kPixels, 0.0F));
  EXPECT_EQ(engine().pct_moving, 0.0F);
}

TEST_F(ThirdMotion, HalfAPercentIsNotEnough) {
  capture_head(1536, 2.0F);
  EXPECT_FALSE(engine().RECORDED);
}

TEST_F(ThirdMotion, MoreThanHalfAPercentIs) {
  capture_head(1540, 2.0F);
  EXPECT_TRUE(engine().RECORDED);
}

TEST_F(ThirdMotion, ContrastIsRelativeToTheCurrentDepth) {
  capture_head(kPixels / 4, 1.0F / 1.09F);
  EXPECT_EQ(engine().pct_moving, 0.0F);
  capture_head(0, 1.0F, at(11));
  capture_head(kPixels / 4, 1.0F / 1.11F, at(12));
  EXPECT_EQ(engine().pct_moving, 0.25F);
}

TEST_F(ThirdMotion, PixelThatLostItsDepthMoves) {
  capture_head(kPixels / 2, 0.0F);
  EXPECT_EQ(engine().pct_moving, 0.5F) << "divided by 0";
}

TEST_F(ThirdMotion, PixelThatIsNotANumberDoesNotMove) {
  capture_head(kPixels / 2, kNaN);
  EXPECT_EQ(engine().pct_moving, 0.0F);
}

TEST_F(ThirdMotion, PixelWithoutDepthBothTimesDoesNotMove) {
  ASSERT_TRUE(capture_flat(engine(), false, at(1), 0.0F));
  ASSERT_TRUE(capture_flat(engine(), false, at(2), 0.0F));
  EXPECT_EQ(engine().pct_moving, 0.0F);
}

TEST_F(ThirdMotion, OnlyPixelsThatAreValidNowCount) {
  std::fill_n(engine().MapHasDepth.buffer, kPixels / 8, false);
  capture_head(kPixels / 4, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.125F);
}

TEST_F(ThirdMotion, OnlyPixelsThatWereValidCount) {
  std::fill_n(engine().prev_MapHasDepth.buffer, kPixels / 8, false);
  capture_head(kPixels / 4, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.125F);
}

TEST_F(ThirdMotion, ValidityIsRememberedForTheNextFrame) {
  std::fill_n(engine().MapHasDepth.buffer, 5, false);
  capture_head(0, 1.0F);
  EXPECT_FALSE(engine().prev_MapHasDepth.buffer[4]);
  EXPECT_TRUE(engine().prev_MapHasDepth.buffer[5]);
  EXPECT_FALSE(engine().MapHasDepth.buffer[4]) << "the caller's map stays";
}

TEST_F(ThirdMotion, IsMeasuredAgainstTheFrameBefore) {
  for (int i = 1; i < 6; ++i) {
    ASSERT_TRUE(capture_flat(engine(), false, at(i), i % 2 == 0 ? 1.0F : 2.0F));
    EXPECT_EQ(engine().pct_moving, 1.0F) << "frame " << i << ", also where the ring wraps";
  }
}

TEST_F(ThirdMotion, ThresholdsAreTheCallers) {
  engine().threshold_motion_contrast = 0.6F;
  capture_head(kPixels / 4, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.0F);
  engine().threshold_motion_contrast = 0.1F;
  engine().threshold_pct_motion = 30.0F;
  capture_head(0, 2.0F, at(11));
  EXPECT_EQ(engine().pct_moving, 0.25F);
  EXPECT_FALSE(engine().RECORDED);
}

TEST_F(ThirdMotion, SwitchedOffIsNotMeasured) {
  engine().USE_FRAME_DIFF = false;
  const auto seen = capture_head(kPixels, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.0F);
  EXPECT_EQ(seen.output, "");
}

TEST_F(ThirdMotion, RequestLineTellsIt) {
  fill_frame(engine(), 2.0F);
  const auto seen = observe([&] { return capture(engine(), true, at(10)); });
  RequestLine request;
  request.moving = 1;
  request.unrecorded = 1;
  request.current = at(10);
  request.last = at(0);
  request.seconds = "10.000000";
  EXPECT_EQ(seen.output.substr(0, motion_line("100.000000").size() + request.str().size()),
            motion_line("100.000000") + request.str());
}

TEST(ThirdMotionStart, FirstFrameDoesNotMove) {
  ThirdRecorder recorder;
  recorder.engine.USE_FRAME_DIFF = true;
  recorder.engine.MapHasDepth.Init(true);
  recorder.engine.prev_MapHasDepth.Init(true);
  recorder.engine.DisplayMovingFrame.Init(255.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, false, kMoment, 1.0F));
  EXPECT_EQ(recorder.engine.pct_moving, 0.0F);
  EXPECT_TRUE(is_all(recorder.engine.DisplayMovingFrame, kPixels, 0.0F));
}

TEST(ThirdMotionStart, WithoutTheCallersValidityNothingMoves) {
  ThirdRecorder recorder;
  recorder.engine.USE_FRAME_DIFF = true;
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(0), 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(1), 2.0F));
  EXPECT_EQ(recorder.engine.pct_moving, 0.0F);
}

class ThirdMotionInOneSlot : public ThirdMotion {
 protected:
  ThirdMotionInOneSlot() : ThirdMotion(1) {}
};

TEST_F(ThirdMotionInOneSlot, IsMeasuredAgainstThatSlot) {
  capture_head(kPixels / 4, 2.0F);
  EXPECT_EQ(engine().pct_moving, 0.25F);
}

class ThirdMotionWithLimit : public ThirdMotion {
 protected:
  ThirdMotionWithLimit() : ThirdMotion(2, 8.0F) {}
};

TEST_F(ThirdMotionWithLimit, TooSoonIsToldButNotRecorded) {
  const auto seen = capture_head(kPixels / 4, 2.0F, at(0, 100));
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, motion_line("25.000000"));
  EXPECT_FALSE(engine().RECORDED);
  EXPECT_EQ(engine().delta_time_last_recorded, 2);
}

// --- The period ---------------------------------------------------------------------------------

constexpr char kPeriod[] = "(Record compressed depth period)\n";

class ThirdPeriod : public testing::Test {
 protected:
  ThirdPeriod() {
    recorder_.engine.Record_period = true;
    recorder_.engine.Record_period_gap = 2;
  }
  ThirdRecorder recorder_;
};

TEST_F(ThirdPeriod, IsToldWithEveryFrame) {
  const auto seen = observe([&] { return capture(recorder_.engine, false, at(0)); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, kPeriod);
  EXPECT_FALSE(recorder_.engine.RECORDED);
}

TEST_F(ThirdPeriod, StaysDueOnceItWasReached) {
  const bool recorded[] = {false, false, true, true, true};
  for (int i = 0; i < 5; ++i) {
    ASSERT_TRUE(capture_flat(recorder_.engine, false, at(i), 1.0F));
    EXPECT_EQ(recorder_.engine.RECORDED, recorded[i]) << i;
  }
  EXPECT_EQ(recorder_.engine.delta_time_last_recorded, 2);
}

TEST_F(ThirdPeriod, DueFrameTellsFoldersAndFiles) {
  recorder_.engine.delta_time_last_recorded = 2;
  const auto seen = observe([&] { return capture(recorder_.engine, false, kMoment); });
  EXPECT_EQ(seen.output,
            kPeriod + new_folder_lines(recorder_.path(), kMoment) +
                saving_line(recorder_.folder(kMoment), "depth", kFrameNumber, kMomentStamp));
}

TEST_F(ThirdPeriod, RequestLineTellsIt) {
  recorder_.engine.delta_time_last_recorded = 2;
  const auto seen = observe([&] { return capture(recorder_.engine, true, kMoment); });
  RequestLine request;
  request.too_long = 1;
  request.unrecorded = 2;
  EXPECT_EQ(seen.output.substr(0, std::string(kPeriod).size() + request.str().size()),
            kPeriod + request.str());
}

TEST_F(ThirdPeriod, IsSilentWhenOff) {
  recorder_.engine.Record_period = false;
  recorder_.engine.delta_time_last_recorded = 2;
  const auto seen = observe([&] { return capture(recorder_.engine, false, kMoment); });
  EXPECT_EQ(seen.output, "");
  EXPECT_FALSE(recorder_.engine.RECORDED);
}

TEST(ThirdPeriodWithLimit, DueFrameThatComesTooSoonIsNotRecorded) {
  ThirdRecorder recorder(1, 8.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, true, at(0), 1.0F));
  recorder.engine.Record_period = true;
  recorder.engine.Record_period_gap = 0;
  ASSERT_TRUE(capture_flat(recorder.engine, false, at(0, 100), 1.0F));
  EXPECT_FALSE(recorder.engine.RECORDED);
}

}  // namespace
}  // namespace depth_io::test
