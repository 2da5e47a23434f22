#include <filesystem>
#include <string>

#include "tests/support/third_generation_fixture.h"

// Where recorded frames land, whatever was captured before them.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

Moment at(int second) {
  Moment m = kMoment;
  m.second = second;
  return m;
}

Moment on_day(int day, int hour, int minute) { return {2013, 4, day, hour, minute, 7, 42}; }

/// Runs with an empty current directory, which has to stay empty.
class ThirdLanding : public testing::Test {
 protected:
  ~ThirdLanding() override { EXPECT_TRUE(current_.is_still_empty()); }
  ThirdEngine& engine() { return recorder_.engine; }
  std::string minute(const Moment& m) const { return recorder_.folder(m); }

  EmptyCurrentDirectory current_;
  ThirdRecorder recorder_{4};
};

TEST_F(ThirdLanding, FirstRecordedFrameAfterUnrecordedOnesHasItsFolders) {
  ASSERT_TRUE(capture_flat(engine(), false, kMoment, 1.0F));
  fill_frame(engine(), 1.5F);
  const auto seen = observe([&] { return capture(engine(), true, at(9)); });
  RequestLine request;
  request.current = at(9);
  request.seconds = "2.000000";
  request.unrecorded = 1;
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, request.str() + new_folder_lines(recorder_.path(), at(9)) +
                             saving_line(minute(at(9)), "depth", kFrameNumber, stamp_of(at(9))));
  EXPECT_TRUE(holds_only_frame(minute(kMoment), at(9)));
  EXPECT_EQ(recorder_.depth_of(at(9)), 1.5F);
}

struct Later {
  const char* name;
  Moment moment;
};

class ThirdLandingLater : public ThirdLanding, public testing::WithParamInterface<Later> {};

TEST_P(ThirdLandingLater, FrameAfterUnrecordedOnesLandsInItsOwnFolder) {
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(capture_flat(engine(), false, at(i), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, GetParam().moment, 1.5F));
  EXPECT_TRUE(engine().RECORDED);
  EXPECT_TRUE(holds_only_frame(minute(GetParam().moment), GetParam().moment));
}

INSTANTIATE_TEST_SUITE_P(Moments, ThirdLandingLater,
                         testing::Values(Later{"SameMinute", on_day(9, 14, 5)},
                                         Later{"NextMinute", on_day(9, 14, 6)},
                                         Later{"SameMinuteOfNextHour", on_day(9, 15, 5)},
                                         Later{"SameHourAndMinuteOfNextDay", on_day(10, 14, 5)},
                                         Later{"OtherMinuteOfNextDay", on_day(10, 14, 6)},
                                         Later{"DayBefore", on_day(8, 14, 5)}),
                         [](const auto& row) { return row.param.name; });

TEST_F(ThirdLanding, LaterFramesOfTheMinuteFollowTheFirst) {
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, at(1), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, at(2), 1.0F));
  EXPECT_TRUE(holds_frame(minute(kMoment), at(1)));
  EXPECT_TRUE(holds_frame(minute(kMoment), at(2)));
}

TEST_F(ThirdLanding, UnrecordedFramesBetweenDoNotMatter) {
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), false, on_day(9, 14, 6), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 6), 1.0F));
  EXPECT_TRUE(holds_only_frame(minute(on_day(9, 14, 6)), on_day(9, 14, 6)));
}

TEST_F(ThirdLanding, EachMinuteHasItsFolder) {
  for (const Moment& m :
       {on_day(9, 23, 58), on_day(9, 23, 59), on_day(10, 0, 0), on_day(10, 0, 1)}) {
    ASSERT_TRUE(capture_flat(engine(), true, m, 1.0F));
    EXPECT_TRUE(holds_only_frame(minute(m), m)) << format_moment(m);
  }
}

TEST_F(ThirdLanding, SameHourAndMinuteNumberOnAnotherDayKeepTheOldFolder) {
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, on_day(10, 14, 5), 1.0F));
  EXPECT_TRUE(holds_frame(minute(on_day(9, 14, 5)), on_day(10, 14, 5)));
  EXPECT_TRUE(fs::is_empty(day_folder(recorder_.path(), on_day(10, 14, 5))));
}

TEST_F(ThirdLanding, SameHourNumberOnAnotherDayKeepsTheOldHour) {
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, on_day(10, 14, 6), 1.0F));
  EXPECT_TRUE(holds_frame(minute(on_day(9, 14, 6)), on_day(10, 14, 6)));
}

TEST_F(ThirdLanding, SameMinuteNumberInAnotherHourKeepsTheOldMinute) {
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 15, 5), 1.0F));
  EXPECT_TRUE(holds_frame(minute(on_day(9, 14, 5)), on_day(9, 15, 5)));
  EXPECT_TRUE(fs::is_empty(hour_folder(recorder_.path(), on_day(9, 15, 5))));
}

TEST_F(ThirdLanding, RecordingFromTheRingMovesTheFoldersOfLaterFrames) {
  ASSERT_TRUE(capture_flat(engine(), false, on_day(9, 14, 4), 1.0F));
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  ASSERT_TRUE(quietly([&] { return record_range(engine(), on_day(9, 14, 4), on_day(9, 14, 4)); }));
  ASSERT_TRUE(capture_flat(engine(), true, at(30), 1.0F));
  EXPECT_TRUE(holds_frame(minute(on_day(9, 14, 4)), at(30))) << "the paths were overwritten";
  EXPECT_FALSE(holds_frame(minute(on_day(9, 14, 5)), at(30)));
}

TEST_F(ThirdLanding, FrameAfterRecordingFromTheRingLandsInTheRecording) {
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  ASSERT_TRUE(quietly([&] { return record_range(engine(), at(0), at(0)); }));
  ASSERT_TRUE(capture_flat(engine(), true, at(1), 1.5F));
  EXPECT_EQ(recorder_.depth_of(at(0)), 1.0F);
  EXPECT_EQ(recorder_.depth_of(at(1)), 1.5F);
}

// --- After faults -------------------------------------------------------------------------------

TEST_F(ThirdLanding, RecordingResumesAfterFoldersCouldNotBeMade) {
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  write_file(recorder_.directory.file("2013-04-09"), "");
  EXPECT_FALSE(capture_flat(engine(), true, at(1), 1.0F));
  fs::remove(recorder_.directory.file("2013-04-09"));
  EXPECT_TRUE(capture_flat(engine(), true, at(2), 1.5F));
  EXPECT_EQ(recorder_.depth_of(at(2)), 1.5F);
}

TEST_F(ThirdLanding, RecordingResumesAfterTheMinuteCouldNotBeMade) {
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  fs::create_directory(day_folder(recorder_.path(), kMoment));
  write_file(recorder_.directory.file("2013-04-09/14h"), "");
  EXPECT_FALSE(capture_flat(engine(), true, at(1), 1.0F));
  fs::remove(recorder_.directory.file("2013-04-09/14h"));
  EXPECT_TRUE(capture_flat(engine(), true, at(2), 1.5F));
  EXPECT_EQ(recorder_.depth_of(at(2)), 1.5F);
}

TEST_F(ThirdLanding, RecordingResumesAfterTheNextMinuteCouldNotBeMade) {
  ASSERT_TRUE(capture_flat(engine(), true, on_day(9, 14, 5), 1.0F));
  fs::rename(hour_folder(recorder_.path(), kMoment), recorder_.directory.file("aside"));
  write_file(recorder_.directory.file("2013-04-09/14h"), "");
  EXPECT_FALSE(capture_flat(engine(), true, on_day(9, 14, 6), 1.0F));
  fs::remove(recorder_.directory.file("2013-04-09/14h"));
  fs::rename(recorder_.directory.file("aside"), hour_folder(recorder_.path(), kMoment));
  EXPECT_TRUE(capture_flat(engine(), true, on_day(9, 14, 6), 1.5F));
  EXPECT_EQ(recorder_.depth_of(on_day(9, 14, 6)), 1.5F);
}

TEST_F(ThirdLanding, FoldersThatWereRemovedFailTheWriting) {
  ASSERT_TRUE(capture_flat(engine(), true, at(1), 1.0F));
  fs::remove_all(day_folder(recorder_.path(), kMoment));
  const auto seen = observe([&] { return capture(engine(), true, at(2)); });
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(seen.keys, 1);
}

TEST_F(ThirdLanding, NothingLandsWithoutRecordingDirectory) {
  fs::remove(recorder_.path());
  ASSERT_TRUE(capture_flat(engine(), false, at(0), 1.0F));
  EXPECT_FALSE(capture_flat(engine(), true, at(1), 1.0F));
  EXPECT_FALSE(capture_flat(engine(), true, at(2), 1.0F));
  EXPECT_FALSE(fs::exists(recorder_.path()));
}

}  // namespace
}  // namespace depth_io::test
