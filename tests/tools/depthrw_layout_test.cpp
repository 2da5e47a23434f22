#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

/// Every layout is recorded, played, verified and summed up.
class DepthrwLayouts : public Depthrw, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(All, DepthrwLayouts, testing::Values("flat", "numbered", "tree"),
                         [](const auto& layout) { return std::string(layout.param); });

TEST_P(DepthrwLayouts, IsRecognisedWithAndWithoutADescription) {
  record(GetParam(), "3", {"--no-colour", "--start", "2013-12-31T23:59:59.950"});
  for (const bool described : {true, false}) {
    if (!described) fs::remove(path("rec/recording.json"));
    EXPECT_EQ(played_names().size(), 3U);
    EXPECT_EQ(run_program({"verify", path("rec")}).status, 0);
    const ProgramResult info = run_program({"info", path("rec")});
    EXPECT_EQ(info.status, 0) << info.messages;
    EXPECT_THAT(info.output, HasSubstr(std::string("layout     ") + GetParam()));
    EXPECT_THAT(info.output, HasSubstr("frames     3\n"));
  }
}

TEST_P(DepthrwLayouts, ComesBackAsItsSource) {
  record(GetParam(), "3", {"--seed", "4", "--start", "2013-12-31T23:59:59.950"});
  const ProgramResult result = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("3 checked, 3 good, 0 bad, 0 missing"));
}

TEST_P(DepthrwLayouts, AMissingFileIsFound) {
  record(GetParam(), "2", {"--no-colour"});
  const std::string name = played_names().at(1);
  fs::remove(path("rec/" + name + ".ref"));
  const ProgramResult verified = run_program({"verify", path("rec")});
  EXPECT_EQ(verified.status, 3);
  EXPECT_THAT(verified.messages, HasSubstr("'" + name + ".ref' is missing"));
  const ProgramResult played = run_program({"play", path("rec")});
  EXPECT_EQ(played.status, 3);
  EXPECT_EQ(lines_in(played.output), 1);
  const ProgramResult info = run_program({"info", path("rec")});
  EXPECT_EQ(info.status, 3);
  EXPECT_THAT(info.output, HasSubstr("2, 1 of them incomplete"));
}

TEST_P(DepthrwLayouts, RangesOfTimeAreExactToTheMillisecond) {
  // Frames at .900, .000, .100, .200 and .300.
  record(GetParam(), "5", {"--no-colour", "--fps", "10", "--start", "2013-12-31T23:59:59.900"});
  const std::vector<std::string> all = played_names();
  ASSERT_EQ(all.size(), 5U);
  const struct {
    const char* from;
    const char* to;
    std::size_t first;
    std::size_t count;
  } cases[] = {{"2013-12-31T23:59:59.900", "2014-01-01T00:00:00.300", 0, 5},
               {"2013-12-31T23:59:59.901", "2014-01-01T00:00:00.299", 1, 3},
               {"2014-01-01T00-00-00.000000", "2014-01-01T00-00-00.000000", 1, 1},
               {"2014-01-01 00:00:00.1", "2038-01-01T00:00:00", 2, 3}};
  for (const auto& c : cases) {
    const auto first = all.begin() + static_cast<std::ptrdiff_t>(c.first);
    const std::vector<std::string> expected(first, first + static_cast<std::ptrdiff_t>(c.count));
    EXPECT_EQ(played_names({"--from", c.from, "--to", c.to}), expected) << c.from << c.to;
  }
}

TEST_P(DepthrwLayouts, AnEmptyRangeIsAFailure) {
  record(GetParam(), "1", {"--no-colour", "--start", "2013-12-31T23:59:59"});
  for (const char* command : {"play", "verify", "info"}) {
    const ProgramResult result =
        run_program({command, path("rec"), "--from", "2013-12-31T23:59:59.001"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.messages, HasSubstr("no recorded frames"));
  }
}

TEST_P(DepthrwLayouts, VerifyTakesARange) {
  record(GetParam(), "3", {"--no-colour", "--fps", "10", "--start", "2013-12-31T23:59:59.900"});
  const ProgramResult result = run_program(
      {"verify", path("rec"), "--against", "synthetic", "--from", "2014-01-01T00:00:00"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("2 checked, 2 good, 0 bad, 0 missing"));
}

TEST_F(Depthrw, ATreeIsWhatIsRecordedUnlessToldOtherwise) {
  ASSERT_EQ(run_program({"record", "--out", path("rec"), "--frames", "3", "--no-colour", "--start",
                         "2013-12-31T23:59:59.967"})
                .status,
            0);
  EXPECT_THAT(played_names(), ElementsAre("2013-12-31/23h/59mn/2013-12-31T23-59-59.967000-depth",
                                          "2014-01-01/00h/00mn/2014-01-01T00-00-00.000000-depth",
                                          "2014-01-01/00h/00mn/2014-01-01T00-00-00.034000-depth"));
  EXPECT_EQ(description()["layout"], "tree");
}

TEST_F(Depthrw, NumberedDirectoriesHoldSoManyFrames) {
  record("numbered", "5", {"--per-directory", "2", "--no-colour"});
  EXPECT_THAT(files_in("rec"), ElementsAre("00000000", "00000001", "00000002", "recording.json"));
  EXPECT_EQ(files_in("rec/00000001").size(), 8U);
  EXPECT_EQ(files_in("rec/00000002").size(), 4U);
  EXPECT_EQ(description()["per_directory"], 2);
}

TEST_F(Depthrw, MidnightMonthEndAndLeapDayAreInTheirOwnFolders) {
  const struct {
    const char* start;
    const char* before;
    const char* after;
  } cases[] = {{"2013-12-31T23:59:59.500", "2013-12-31/23h/59mn", "2014-01-01/00h/00mn"},
               {"2013-04-30T23:59:59.500", "2013-04-30/23h/59mn", "2013-05-01/00h/00mn"},
               {"2012-02-28T23:59:59.500", "2012-02-28/23h/59mn", "2012-02-29/00h/00mn"},
               {"2013-02-28T23:59:59.500", "2013-02-28/23h/59mn", "2013-03-01/00h/00mn"},
               {"2038-01-19T03:14:59.500", "2038-01-19/03h/14mn", "2038-01-19/03h/15mn"},
               {"2013-10-27T02:59:59.500", "2013-10-27/02h/59mn", "2013-10-27/03h/00mn"}};
  for (const auto& c : cases) {
    fs::remove_all(path("rec"));
    record("tree", "2", {"--no-colour", "--fps", "1", "--start", c.start});
    EXPECT_EQ(files_in(std::string("rec/") + c.before).size(), 4U) << c.start;
    EXPECT_EQ(files_in(std::string("rec/") + c.after).size(), 4U) << c.start;
  }
}

TEST_F(Depthrw, DaysApartTheSameMinuteHasItsOwnFolder) {
  record("tree", "4",
         {"--no-colour", "--fps", "0.000011574074074074", "--start", "2013-12-30T14:07:00"});
  for (const char* day : {"2013-12-30", "2013-12-31", "2014-01-01", "2014-01-02"}) {
    EXPECT_EQ(files_in(std::string("rec/") + day + "/14h/07mn").size(), 4U) << day;
  }
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
}

TEST_F(Depthrw, TheRateLimitLeavesFramesOut) {
  record("tree", "10", {"--no-colour", "--fps", "10", "--max-fps", "4"});
  EXPECT_EQ(played_names().size(), 4U);
  EXPECT_EQ(description()["frames"]["skipped"]["rate_limit"], 6);
  EXPECT_EQ(description()["frames"]["kept"]["request"], 4);
  EXPECT_EQ(description()["max_fps"], 4.0);
}

TEST_F(Depthrw, ANegativeRateIsNoLimit) {
  record("tree", "3", {"--no-colour", "--max-fps", "-1"});
  EXPECT_EQ(played_names().size(), 3U);
}

TEST_F(Depthrw, TheCameraTypeIsWrittenDown) {
  record("tree", "1", {"--no-colour", "--camera-type", "1"});
  EXPECT_EQ(description()["camera"]["type"], 1);
  EXPECT_EQ(description()["camera"]["cx"], 240.0);
  EXPECT_THAT(read_file(path("rec/" + played_names().at(0) + ".ref")), HasSubstr("a11 533.000000"));
}

TEST_F(Depthrw, HistorySecondsAreRoundedUpToFrames) {
  record("tree", "1", {"--no-colour", "--history-seconds", "0.25", "--fps", "10"});
  EXPECT_EQ(description()["history"], 3);
}

TEST_F(Depthrw, TriggersHaveDefaults) {
  record("tree", "1", {"--no-colour", "--trigger", "motion"});
  EXPECT_EQ(description()["motion_percent"], 0.5);
  fs::remove_all(path("rec"));
  ImageDirectory images;
  images.add_depth("0", 1500);
  record("tree", "101", {"--source", "images:" + images.path(), "--loop", "--trigger", "every"});
  EXPECT_EQ(description()["every"], 100);
  EXPECT_EQ(description()["frames"]["kept"]["period"], 1);
}

TEST_F(Depthrw, AnUnreadableFolderIsToldAndTheRestPlayed) {
  if (geteuid() == 0) GTEST_SKIP() << "the superuser may read everything";
  record("tree", "2", {"--no-colour", "--fps", "1", "--start", "2013-12-31T23:59:59"});
  fs::permissions(path("rec/2013-12-31/23h/59mn"), fs::perms::none);
  const ProgramResult result = run_program({"play", path("rec")});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(lines_in(result.output), 1);
  EXPECT_THAT(result.messages, HasSubstr("59mn/' cannot be read"));
  fs::permissions(path("rec/2013-12-31/23h/59mn"), fs::perms::owner_all);
}

}  // namespace
}  // namespace depth_io::test
