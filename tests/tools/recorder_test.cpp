#include "tools/recorder/recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "tests/support/temp_directory.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/recording.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

using test::TempDirectory;
using testing::ElementsAre;

/// Puts flat frames into a recorder, ten a second; frame n shows (n % 20) / 10 + 1 metres.
class RecorderTest : public testing::Test {
 protected:
  RecorderTest() {
    info_.start = parse_moment("2013-04-05T14:07:00").value();
    info_.fps = 10;
    info_.layout = Layout::kTree;
    info_.naming = Naming::kTime;
    info_.per_directory = 4;
  }

  void by_signal(int history, double before, double after) {
    info_.trigger = Trigger::kSignal;
    info_.history = history;
    info_.before_seconds = before;
    info_.after_seconds = after;
  }

  Recorder& recorder() {
    if (recorder_ == nullptr) {
      const EngineSettings settings{directory_.path(), info_};
      recorder_ = std::make_unique<Recorder>(
          settings, info_, log_, [this](const std::string& name) { names_.push_back(name); });
    }
    return *recorder_;
  }

  Moment moment_of(long index) const {
    return moment_after(info_.start, static_cast<double>(index) / info_.fps);
  }

  void offer(long index) { offer_at(index, moment_of(index)); }
  void offer_at(long index, const Moment& moment) {
    Frame frame;
    frame.depth.assign(kFramePixels, 1.0F + static_cast<float>(index % 20) / 10.0F);
    recorder().offer(frame, {index, moment});
  }
  void offer_range(long first, long last) {
    for (long index = first; index <= last; ++index) offer(index);
  }
  void save_backlog() {
    while (recorder().has_backlog()) recorder().save_next();
  }

  /// Source frames of the acknowledged names, in the order of writing.
  std::vector<long> written() {
    std::vector<long> indexes;
    const Recording recording(directory_.path(), log_);
    for (const std::string& name : names_) {
      for (const RecordedFrame& frame : recording.frames()) {
        if (frame.depth_name() != name) continue;
        const double index =
            frame.moment ? seconds_between(info_.start, *frame.moment) * info_.fps : frame.number;
        indexes.push_back(std::lround(index));
      }
    }
    return indexes;
  }

  TempDirectory directory_;
  RecordingInfo info_;
  LibraryLog log_{false};
  std::vector<std::string> names_;
  std::unique_ptr<Recorder> recorder_;
};

/// The same for every layout and way of naming.
struct Place {
  Layout layout;
  Naming naming;
};
class RecorderPlaces : public RecorderTest, public testing::WithParamInterface<Place> {
 protected:
  RecorderPlaces() {
    info_.layout = GetParam().layout;
    info_.naming = GetParam().naming;
  }
};
INSTANTIATE_TEST_SUITE_P(Everywhere, RecorderPlaces,
                         testing::Values(Place{Layout::kFlat, Naming::kNumber},
                                         Place{Layout::kFlat, Naming::kTime},
                                         Place{Layout::kNumbered, Naming::kTime},
                                         Place{Layout::kTree, Naming::kTime}));

TEST_P(RecorderPlaces, ASignalSavesTheSecondsBeforeIt) {
  by_signal(8, 0.5, 0);
  offer_range(0, 11);
  EXPECT_EQ(stamp_text(recorder().fire().value()), stamp_text(moment_of(11)));
  save_backlog();
  EXPECT_THAT(written(), ElementsAre(7, 8, 9, 10, 11));
  EXPECT_EQ(info_.kept.history, 5);
  EXPECT_EQ(info_.skipped.not_triggered, 7);
}

TEST_P(RecorderPlaces, FramesAreRecordedUntilTheSignalsTimeIsOver) {
  by_signal(4, 0.2, 0.3);
  offer_range(0, 5);
  recorder().fire();
  save_backlog();
  offer_range(6, 12);
  EXPECT_THAT(written(), ElementsAre(4, 5, 6, 7, 8));
  EXPECT_EQ(info_.kept.history, 2);
  EXPECT_EQ(info_.kept.request, 3);
}

TEST_P(RecorderPlaces, OverlappingSignalsMerge) {
  by_signal(6, 0.6, 0.2);
  offer_range(0, 6);
  recorder().fire();
  save_backlog();
  offer_range(7, 7);
  recorder().fire();
  recorder().fire();
  save_backlog();
  offer_range(8, 11);
  recorder().fire();
  save_backlog();
  offer_range(12, 14);
  EXPECT_THAT(written(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST_P(RecorderPlaces, NewFramesJoinTheBacklogInTheOrderOfTime) {
  by_signal(6, 0.3, 0.4);
  offer_range(0, 4);
  recorder().fire();
  offer(5);
  recorder().save_next();
  offer_range(6, 7);
  save_backlog();
  offer_range(8, 9);
  EXPECT_THAT(written(), ElementsAre(2, 3, 4, 5, 6, 7, 8));
}

TEST_P(RecorderPlaces, AWantedFrameIsSavedBeforeItsPlaceIsTaken) {
  by_signal(3, 0.3, 10);
  offer_range(0, 4);
  recorder().fire();
  offer_range(5, 9);
  EXPECT_THAT(written(), ElementsAre(2, 3, 4, 5, 6));
  save_backlog();
  EXPECT_THAT(written(), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_P(RecorderPlaces, SavedFramesHoldTheirOwnPictures) {
  by_signal(4, 0.3, 0.3);
  offer_range(0, 5);
  recorder().fire();
  offer_range(6, 7);
  save_backlog();
  Recording recording(directory_.path(), log_);
  Frame frame;
  ASSERT_EQ(recording.frames().size(), 5U);
  for (std::size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(recording.read(recording.frames()[i], frame), "");
    EXPECT_NEAR(frame.depth[1000], 1.3 + 0.1 * static_cast<double>(i), 1e-3);
  }
}

TEST_P(RecorderPlaces, DroppedFramesLeaveNoOldOnesInTheirPlaces) {
  by_signal(5, 0.5, 0);
  for (const long index : {0, 1, 2, 3, 4, 5, 8, 9}) offer(index);
  recorder().fire();
  save_backlog();
  EXPECT_THAT(written(), ElementsAre(5, 8, 9));
}

TEST_P(RecorderPlaces, EveryThirdFrameIsTheSameEverywhere) {
  info_.trigger = Trigger::kEvery;
  info_.every = 3;
  offer_range(0, 10);
  EXPECT_THAT(written(), ElementsAre(3, 6, 9));
  EXPECT_EQ(info_.kept.period, 3);
  EXPECT_EQ(info_.skipped.not_triggered, 8);
}

TEST_P(RecorderPlaces, MotionIsMeasuredAgainstTheFrameSeenLast) {
  info_.trigger = Trigger::kMotion;
  info_.motion_percent = 5;
  info_.history = 3;
  // Frames 20 apart show the same.
  for (const long index : {0, 20, 40, 60, 80, 101}) offer(index);
  EXPECT_THAT(names_, testing::IsEmpty());
  for (const long index : {105, 125, 126, 130}) offer(index);
  EXPECT_THAT(written(), ElementsAre(105, 130));
  EXPECT_EQ(info_.kept.motion, 2);
}

TEST_P(RecorderPlaces, CountsAddUp) {
  by_signal(4, 0.3, 0.3);
  for (long index = 0; index < 30; ++index) {
    offer(index);
    if (index % 11 == 5) recorder().fire();
  }
  save_backlog();
  const long kept = info_.kept.request + info_.kept.history;
  EXPECT_EQ(kept, info_.frames_recorded);
  EXPECT_EQ(kept + info_.skipped.not_triggered, 30);
  EXPECT_EQ(static_cast<long>(written().size()), kept);
}

TEST_F(RecorderTest, ASignalBeforeTheFirstFrameIsNotTaken) {
  by_signal(4, 1, 1);
  EXPECT_FALSE(recorder().fire());
}

TEST_F(RecorderTest, TheSameMinuteOfAnotherDayHasItsOwnFolder) {
  offer_at(0, parse_moment("2013-04-05T14:07:00").value());
  offer_at(1, parse_moment("2013-04-06T14:07:00").value());
  offer_at(2, parse_moment("2013-05-06T14:07:00").value());
  offer_at(3, parse_moment("2013-05-06T15:07:00").value());
  offer_at(4, parse_moment("2014-05-06T15:07:00").value());
  EXPECT_THAT(names_, ElementsAre("2013-04-05/14h/07mn/2013-04-05T14-07-00.000000-depth",
                                  "2013-04-06/14h/07mn/2013-04-06T14-07-00.000000-depth",
                                  "2013-05-06/14h/07mn/2013-05-06T14-07-00.000000-depth",
                                  "2013-05-06/15h/07mn/2013-05-06T15-07-00.000000-depth",
                                  "2014-05-06/15h/07mn/2014-05-06T15-07-00.000000-depth"));
}

TEST_F(RecorderTest, FramesThatWereOnlySeenDoNotMoveTheFolders) {
  info_.trigger = Trigger::kEvery;
  info_.every = 2;
  offer_at(0, parse_moment("2013-04-05T14:07:00").value());
  offer_at(1, parse_moment("2013-04-05T14:07:01").value());
  offer_at(2, parse_moment("2013-04-05T14:08:00").value());
  offer_at(3, parse_moment("2013-04-06T14:09:00").value());
  offer_at(4, parse_moment("2013-04-06T14:08:00").value());
  EXPECT_THAT(names_, ElementsAre("2013-04-05/14h/08mn/2013-04-05T14-08-00.000000-depth",
                                  "2013-04-06/14h/08mn/2013-04-06T14-08-00.000000-depth"));
}

TEST_F(RecorderTest, AFrameAfterSavedOnesLandsInItsOwnFolder) {
  info_.start = parse_moment("2013-12-31T23:59:59.800").value();
  by_signal(4, 0.4, 0.4);
  offer_range(0, 3);
  recorder().fire();
  save_backlog();
  offer_range(4, 5);
  EXPECT_THAT(names_, ElementsAre("2013-12-31/23h/59mn/2013-12-31T23-59-59.800000-depth",
                                  "2013-12-31/23h/59mn/2013-12-31T23-59-59.900000-depth",
                                  "2014-01-01/00h/00mn/2014-01-01T00-00-00.000000-depth",
                                  "2014-01-01/00h/00mn/2014-01-01T00-00-00.100000-depth",
                                  "2014-01-01/00h/00mn/2014-01-01T00-00-00.200000-depth",
                                  "2014-01-01/00h/00mn/2014-01-01T00-00-00.300000-depth"));
}

TEST_F(RecorderTest, LiveFramesAmongSavedOnesLandInTheirOwnFolders) {
  // The second signal finds the engine's folders at the frame recorded live.
  info_.start = parse_moment("2013-04-05T14:06:59.600").value();
  by_signal(6, 0.2, 0.1);
  offer_range(0, 1);
  recorder().fire();
  save_backlog();
  offer_range(2, 5);
  recorder().fire();
  save_backlog();
  offer_range(6, 6);
  EXPECT_THAT(written(), ElementsAre(0, 1, 2, 4, 5, 6));
  EXPECT_EQ(names_[2], "2013-04-05/14h/06mn/2013-04-05T14-06-59.800000-depth");
  EXPECT_EQ(names_[3], "2013-04-05/14h/07mn/2013-04-05T14-07-00.000000-depth");
}

TEST_F(RecorderTest, TheRateLimitIsCounted) {
  info_.max_fps = 4;
  offer_range(0, 9);
  EXPECT_THAT(written(), ElementsAre(0, 3, 6, 9));
  EXPECT_EQ(info_.skipped.rate_limit, 6);
}

TEST_F(RecorderTest, TheRateLimitHoldsForSavedFramesToo) {
  info_.max_fps = 4;
  by_signal(10, 1, 0.5);
  offer_range(0, 12);
  recorder().fire();
  save_backlog();
  offer_range(13, 20);
  EXPECT_THAT(written(), ElementsAre(3, 6, 9, 12, 15));
  EXPECT_EQ(info_.skipped.rate_limit + info_.skipped.not_triggered, 16);
}

TEST_F(RecorderTest, TheRateLimitGoesOnAfterJanuary2038) {
  info_.start = parse_moment("2038-01-19T03:14:07.500").value();
  info_.max_fps = 4;
  offer_range(0, 12);
  EXPECT_THAT(written(), ElementsAre(0, 3, 6, 9, 12));
}

TEST_F(RecorderTest, SignalsWorkAfterJanuary2038) {
  info_.start = parse_moment("2038-01-19T03:14:07.500").value();
  by_signal(10, 0.8, 0.2);
  offer_range(0, 9);
  recorder().fire();
  save_backlog();
  offer_range(10, 13);
  EXPECT_THAT(written(), ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(RecorderTest, CameraTypesHaveTheirIntrinsics) {
  const struct {
    int type;
    const char* line;
  } cases[] = {{0, "a11 528.014404 a22 528.014404 cx 320.000000 cy 267.000000"},
               {1, "a11 533.000000 a22 533.000000 cx 240.000000 cy 320.000000"}};
  for (const auto& c : cases) {
    for (const Layout layout : {Layout::kFlat, Layout::kNumbered, Layout::kTree}) {
      const TempDirectory directory;
      info_.camera_type = c.type;
      info_.layout = layout;
      const EngineSettings settings{directory.path(), info_};
      std::string name;
      Recorder recorder(settings, info_, log_, [&](const std::string& text) { name = text; });
      Frame frame;
      recorder.offer(frame, {0, info_.start});
      const std::string text = test::read_file(directory.file(name + ".ref"));
      EXPECT_NE(text.find(c.line), std::string::npos) << layout_name(layout) << text;
    }
  }
}

TEST_F(RecorderTest, AFrameThatCannotBeWrittenIsAFailure) {
  test::write_file(directory_.file("2013-04-05"), "");
  EXPECT_THROW(offer(0), Failure);
}

}  // namespace
}  // namespace depth_io::tools
