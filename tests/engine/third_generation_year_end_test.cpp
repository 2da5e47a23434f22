#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/third_generation_fixture.h"

// Ends of years, months, February, and of the seconds that fit 32 bits.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

// --- Recording ----------------------------------------------------------------------------------

/// Two moments 200 ms apart across an end.
struct End {
  const char* name;
  Moment before;
  Moment after;
  const char* folder_after;
};

class ThirdRecordingAcross : public testing::TestWithParam<End> {};

TEST_P(ThirdRecordingAcross, EachFrameLandsInTheFolderOfItsMoment) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().before, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().after, 1.0F));
  EXPECT_TRUE(holds_only_frame(recorder.folder(GetParam().before), GetParam().before));
  EXPECT_TRUE(holds_only_frame(recorder.path() + GetParam().folder_after, GetParam().after));
}

TEST_P(ThirdRecordingAcross, RateLimitSeesTheShortGap) {
  ThirdRecorder recorder(1, 4.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().before, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().after, 1.0F));
  EXPECT_FALSE(recorder.engine.RECORDED) << "200 ms are less than a quarter of a second";
}

TEST_P(ThirdRecordingAcross, RateLimitLetsASufficientGapPass) {
  ThirdRecorder recorder(1, 8.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().before, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, GetParam().after, 1.0F));
  EXPECT_TRUE(recorder.engine.RECORDED);
}

TEST_P(ThirdRecordingAcross, RingIsRecordedToBothFolders) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, false, GetParam().before, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, GetParam().after, 1.0F));
  ASSERT_TRUE(
      quietly([&] { return record_range(recorder.engine, GetParam().before, GetParam().after); }));
  EXPECT_TRUE(holds_only_frame(recorder.folder(GetParam().before), GetParam().before));
  EXPECT_TRUE(holds_only_frame(recorder.path() + GetParam().folder_after, GetParam().after));
}

INSTANTIATE_TEST_SUITE_P(Ends, ThirdRecordingAcross,
                         testing::Values(End{"Year",
                                             {2013, 12, 31, 23, 59, 59, 900},
                                             {2014, 1, 1, 0, 0, 0, 100},
                                             "/2014-01-01/00h/00mn/"},
                                         End{"Decade",
                                             {2019, 12, 31, 23, 59, 59, 900},
                                             {2020, 1, 1, 0, 0, 0, 100},
                                             "/2020-01-01/00h/00mn/"},
                                         End{"LeapYear",
                                             {2012, 12, 31, 23, 59, 59, 900},
                                             {2013, 1, 1, 0, 0, 0, 100},
                                             "/2013-01-01/00h/00mn/"},
                                         End{"LongMonth",
                                             {2013, 7, 31, 23, 59, 59, 900},
                                             {2013, 8, 1, 0, 0, 0, 100},
                                             "/2013-08-01/00h/00mn/"},
                                         End{"ShortMonth",
                                             {2013, 4, 30, 23, 59, 59, 900},
                                             {2013, 5, 1, 0, 0, 0, 100},
                                             "/2013-05-01/00h/00mn/"},
                                         End{"BeforeLeapDay",
                                             {2012, 2, 28, 23, 59, 59, 900},
                                             {2012, 2, 29, 0, 0, 0, 100},
                                             "/2012-02-29/00h/00mn/"},
                                         End{"LeapDay",
                                             {2012, 2, 29, 23, 59, 59, 900},
                                             {2012, 3, 1, 0, 0, 0, 100},
                                             "/2012-03-01/00h/00mn/"},
                                         End{"February",
                                             {2013, 2, 28, 23, 59, 59, 900},
                                             {2013, 3, 1, 0, 0, 0, 100},
                                             "/2013-03-01/00h/00mn/"},
                                         End{"FebruaryOf2100",
                                             {2100, 2, 29, 23, 59, 59, 900},
                                             {2100, 3, 1, 0, 0, 0, 100},
                                             "/2100-03-01/00h/00mn/"},
                                         End{"Minute",
                                             {2013, 4, 9, 14, 5, 59, 900},
                                             {2013, 4, 9, 14, 6, 0, 100},
                                             "/2013-04-09/14h/06mn/"},
                                         End{"Hour",
                                             {2013, 4, 9, 14, 59, 59, 900},
                                             {2013, 4, 9, 15, 0, 0, 100},
                                             "/2013-04-09/15h/00mn/"}),
                         [](const auto& row) { return row.param.name; });

TEST(ThirdRecordingDays, ThatDoNotExistAreRefused) {
  for (const Moment& m : {Moment{2013, 2, 29, 0, 0, 0, 0}, Moment{2012, 2, 30, 0, 0, 0, 0},
                          Moment{2013, 4, 31, 0, 0, 0, 0}, Moment{2013, 12, 32, 0, 0, 0, 0}}) {
    ThirdRecorder recorder;
    EXPECT_FALSE(capture_flat(recorder.engine, true, m, 1.0F));
    EXPECT_TRUE(fs::is_empty(recorder.path()));
  }
}

// --- Recording across the end of 32-bit seconds -------------------------------------------------

constexpr Moment kLastSecond{2038, 1, 19, 3, 14, 7, 900};
constexpr Moment kWrapped{2038, 1, 19, 3, 14, 8, 100};

TEST(ThirdRecording2038, BothFramesAreInOneFolder) {
  ThirdRecorder recorder;
  ASSERT_TRUE(capture_flat(recorder.engine, true, kLastSecond, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, kWrapped, 1.0F));
  EXPECT_TRUE(holds_frame(recorder.path() + "/2038-01-19/03h/14mn/", kLastSecond));
  EXPECT_TRUE(holds_frame(recorder.path() + "/2038-01-19/03h/14mn/", kWrapped));
}

TEST(ThirdRecording2038, SecondsWrapToTheBeginning) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, false, {2038, 1, 19, 3, 14, 7, 0}, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, {2038, 1, 19, 3, 14, 8, 0}, 1.0F));
  EXPECT_EQ(recorder.engine.HistoryUnixTimes.buffer[0], 2147483647.0);
  EXPECT_EQ(recorder.engine.HistoryUnixTimes.buffer[1], -2147483648.0);
}

TEST(ThirdRecording2038, RateLimitTakesTheWrapForAStepBack) {
  ThirdRecorder recorder(1, 8.0F);
  ASSERT_TRUE(capture_flat(recorder.engine, true, kLastSecond, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, true, {2038, 1, 19, 4, 0, 0, 0}, 1.0F));
  EXPECT_FALSE(recorder.engine.RECORDED);
}

TEST(ThirdRecording2038, RangeAcrossTheWrapHoldsNothing) {
  ThirdRecorder recorder(2);
  ASSERT_TRUE(capture_flat(recorder.engine, false, kLastSecond, 1.0F));
  ASSERT_TRUE(capture_flat(recorder.engine, false, kWrapped, 1.0F));
  const auto seen = observe([&] { return record_range(recorder.engine, kLastSecond, kWrapped); });
  EXPECT_TRUE(seen.result);
  EXPECT_EQ(seen.output, "INFO 0 frame recorded from buffer\n");
}

// --- Playback -----------------------------------------------------------------------------------

struct PlayedEnd {
  const char* name;
  Moment before;
  Moment after;
  Moment stop;
  int played;  ///< of the two frames
};

class ThirdPlaybackAcross : public testing::TestWithParam<PlayedEnd> {};

TEST_P(ThirdPlaybackAcross, DeliversTheFramesThatTheWalkReaches) {
  TempDirectory directory;
  record_tree(directory.path(), {{GetParam().before, 1.0F}, {GetParam().after, 2.0F}});
  ThirdPlayer player(directory.path(), GetParam().before, GetParam().stop);
  std::vector<std::string> expected{stamp_of(GetParam().before), stamp_of(GetParam().after)};
  expected.resize(static_cast<std::size_t>(GetParam().played));
  EXPECT_EQ(player.stamps(10), expected);
  EXPECT_TRUE(player.engine.REACHED_WANTED_STOP_TIME);
}

// The walk takes every month for 31 days long, and a day that does not exist has the time of the
// day so many later: a stop soon after a short month comes before that month's end is reached.
INSTANTIATE_TEST_SUITE_P(Ends, ThirdPlaybackAcross,
                         testing::Values(PlayedEnd{"Year",
                                                   {2013, 12, 31, 23, 59, 0, 0},
                                                   {2014, 1, 1, 0, 0, 0, 0},
                                                   {2014, 1, 1, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"YearAtItsStop",
                                                   {2013, 12, 31, 23, 59, 0, 0},
                                                   {2014, 1, 1, 0, 0, 0, 0},
                                                   {2014, 1, 1, 0, 0, 0, 0},
                                                   1},
                                         PlayedEnd{"LongMonth",
                                                   {2013, 7, 31, 23, 59, 0, 0},
                                                   {2013, 8, 1, 0, 0, 0, 0},
                                                   {2013, 8, 1, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"ShortMonth",
                                                   {2013, 4, 30, 23, 59, 0, 0},
                                                   {2013, 5, 1, 0, 0, 0, 0},
                                                   {2013, 5, 1, 12, 0, 0, 0},
                                                   1},
                                         PlayedEnd{"ShortMonthADayLater",
                                                   {2013, 4, 30, 23, 59, 0, 0},
                                                   {2013, 5, 1, 0, 0, 0, 0},
                                                   {2013, 5, 2, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"BeforeLeapDay",
                                                   {2012, 2, 28, 23, 59, 0, 0},
                                                   {2012, 2, 29, 0, 0, 0, 0},
                                                   {2012, 2, 29, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"LeapDay",
                                                   {2012, 2, 29, 23, 59, 0, 0},
                                                   {2012, 3, 1, 0, 0, 0, 0},
                                                   {2012, 3, 2, 23, 0, 0, 0},
                                                   1},
                                         PlayedEnd{"LeapDayTwoDaysLater",
                                                   {2012, 2, 29, 23, 59, 0, 0},
                                                   {2012, 3, 1, 0, 0, 0, 0},
                                                   {2012, 3, 3, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"February",
                                                   {2013, 2, 28, 23, 59, 0, 0},
                                                   {2013, 3, 1, 0, 0, 0, 0},
                                                   {2013, 3, 3, 23, 0, 0, 0},
                                                   1},
                                         PlayedEnd{"FebruaryThreeDaysLater",
                                                   {2013, 2, 28, 23, 59, 0, 0},
                                                   {2013, 3, 1, 0, 0, 0, 0},
                                                   {2013, 3, 4, 0, 1, 0, 0},
                                                   2},
                                         PlayedEnd{"LastMinutesOf32Bits",
                                                   {2038, 1, 19, 3, 13, 30, 0},
                                                   {2038, 1, 19, 3, 14, 5, 0},
                                                   {2038, 1, 19, 3, 14, 7, 0},
                                                   2},
                                         PlayedEnd{"LastMillisecondOf32Bits",
                                                   {2038, 1, 19, 3, 13, 30, 0},
                                                   {2038, 1, 19, 3, 14, 7, 999},
                                                   {2038, 1, 19, 3, 14, 7, 999},
                                                   2}),
                         [](const auto& row) { return row.param.name; });

TEST(ThirdPlaybackDays, DayThatDoesNotExistIsWalkedMinuteByMinute) {
  TempDirectory directory;
  const Moment start{2013, 4, 30, 23, 59, 0, 0};
  ThirdPlayer player(directory.path(), start, {2013, 5, 2, 0, 0, 0, 0});
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(occurrences(seen.output, bad_day_line(31, 4, 30)), 1440U);
  EXPECT_EQ(occurrences(seen.output, directory.path() + "/2013-04-31/"), 1440U);
  EXPECT_EQ(occurrences(seen.output, directory.path() + "/2013-05-01/"), 1440U);
  EXPECT_EQ(seen.keys, 2);
}

TEST(ThirdPlaybackDays, BadDayIsToldBeforeItsFolder) {
  TempDirectory directory;
  const Moment last_minute{2013, 4, 30, 23, 59, 0, 0};
  ThirdPlayer player(directory.path(), last_minute, {2013, 5, 1, 0, 0, 0, 0});
  EXPECT_EQ(player.read().output, searching_line(minute_folder(directory.path(), last_minute)) +
                                      bad_day_line(31, 4, 30) +
                                      searching_line(directory.path() + "/2013-04-31/00h/00mn/") +
                                      kStopLine + kNoContentLine);
}

TEST(ThirdPlaybackDays, FramesOfAHandMadeDayArePlayed) {
  TempDirectory directory;
  record_tree(directory.path(), {{{2013, 5, 1, 10, 0, 0, 0}, 1.5F}});
  fs::rename(directory.file("2013-05-01"), directory.file("2013-04-31"));
  ThirdPlayer player(directory.path(), {2013, 4, 30, 23, 0, 0, 0}, {2013, 5, 1, 11, 0, 0, 0});
  EXPECT_EQ(player.stamps(10).size(), 1U);
}

// --- Playback at the end of 32-bit seconds ------------------------------------------------------

TEST(ThirdPlayback2038, WalkEndsAfterTheLastMinute) {
  TempDirectory directory;
  for (const int millisecond : {0, 999}) {
    ThirdPlayer player(directory.path(), {2038, 1, 19, 3, 13, 0, 0},
                       {2038, 1, 19, 3, 14, 7, millisecond});
    const auto seen = player.read();
    EXPECT_FALSE(seen.result);
    EXPECT_LE(occurrences(seen.output, "searching for"), 4U);
    EXPECT_EQ(occurrences(seen.output, kStopLine), 1U);
    EXPECT_EQ(seen.keys, 2);
  }
}

TEST(ThirdPlayback2038, StopAfterTheWrapIsLikeNoRange) {
  TempDirectory directory;
  for (const Moment& stop : {Moment{2038, 1, 19, 3, 14, 8, 0}, Moment{2038, 1, 19, 3, 20, 0, 0},
                             Moment{2040, 6, 1, 0, 0, 0, 0}, Moment{2100, 1, 1, 0, 0, 0, 0}}) {
    ThirdPlayer player(directory.path(), {2038, 1, 19, 3, 13, 0, 0}, stop);
    EXPECT_LT(player.engine.param.ReadFolder_Stop_Unixtime, 0.0);
    const auto seen =
        observe([&] { return player.engine.Read_FindNextFolder_and_update_CurrentTime(0); });
    EXPECT_TRUE(seen.result);
    EXPECT_EQ(seen.output, "");
  }
}

TEST(ThirdPlayback2038, StopBeyondTheWrappedYearsEndsAtOnce) {
  TempDirectory directory;
  ThirdPlayer player(directory.path(), {2038, 1, 19, 3, 13, 0, 0}, {2107, 1, 1, 0, 0, 0, 0});
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(occurrences(seen.output, "searching for"), 1U);
}

TEST(ThirdPlayback2038, StartAfterTheWrapEnds) {
  TempDirectory directory;
  ThirdPlayer player(directory.path(), {2038, 1, 19, 3, 15, 0, 0}, {2038, 1, 19, 3, 14, 0, 0});
  const auto seen = player.read();
  EXPECT_FALSE(seen.result);
  EXPECT_EQ(occurrences(seen.output, kStopLine), 1U);
}

}  // namespace
}  // namespace depth_io::test
