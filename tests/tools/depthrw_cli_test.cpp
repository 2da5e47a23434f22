#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"
#include "tools/frame/frame_time.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Depthrw, RecordsPlaysAndVerifiesTheSyntheticScene) {
  record("flat", "8");
  const ProgramResult played = run_program({"play", path("rec")});
  EXPECT_EQ(played.status, 0) << played.messages;
  EXPECT_EQ(lines_in(played.output), 8);
  EXPECT_THAT(played.output, StartsWith("depth-00000000  "));
  const ProgramResult verified = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(verified.status, 0) << verified.messages;
  EXPECT_THAT(verified.output, HasSubstr("8 checked, 8 good, 0 bad, 0 missing"));
  EXPECT_THAT(verified.output, HasSubstr(", 0 outside the tolerance"));
}

TEST_F(Depthrw, WritesFiveFilesPerFrameAndADescription) {
  record("flat", "2");
  EXPECT_THAT(files_in("rec"),
              testing::ElementsAre("bgrimage-00000000.jpg", "bgrimage-00000001.jpg",
                                   "depth-00000000.err", "depth-00000000.jpg", "depth-00000000.ref",
                                   "depth-00000000.rle", "depth-00000001.err", "depth-00000001.jpg",
                                   "depth-00000001.ref", "depth-00000001.rle", "recording.json"));
}

TEST_F(Depthrw, TheDescriptionTellsWhatWasRecorded) {
  record("flat", "3", {"--fps", "15", "--start", "2013-04-09T14:05:07.042", "--seed", "9"});
  const json info = json::parse(read_file(path("rec/recording.json")));
  EXPECT_EQ(info["complete"], true);
  EXPECT_EQ(info["frames"]["recorded"], 3);
  EXPECT_EQ(info["fps"], 15.0);
  EXPECT_EQ(info["source"]["seed"], 9);
  EXPECT_EQ(info["start"], "2013-04-09T14-05-07.042000");
}

TEST_F(Depthrw, VerifyKnowsTheSeedOfTheRecording) {
  record("flat", "2", {"--seed", "9"});
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic", "--seed", "8"}).status,
            3);
}

TEST_F(Depthrw, NamesFramesByTime) {
  record("flat", "3", {"--name-by", "time", "--fps", "10", "--start", "2013-12-31T23:59:59.850"});
  EXPECT_THAT(files_in("rec"), testing::Contains("depth-2013-12-31T23-59-59.850000.rle"));
  EXPECT_THAT(files_in("rec"), testing::Contains("bgrimage-2014-01-01T00-00-00.050000.jpg"));
  const ProgramResult played = run_program({"play", path("rec")});
  EXPECT_EQ(played.status, 0) << played.messages;
  EXPECT_THAT(played.output, HasSubstr("2013-12-31 23:59:59.950"));
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
}

TEST_F(Depthrw, RecordsAFractionOfASecondByDuration) {
  const ProgramResult result = run_program(
      {"record", "--out", path("rec"), "--layout", "flat", "--duration", "0.1", "--fps", "20"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("recorded   2 of 2 frames"));
}

TEST_F(Depthrw, RecordsEveryThirdFrame) {
  record("flat", "7", {"--every", "3"});
  const json info = json::parse(read_file(path("rec/recording.json")));
  EXPECT_EQ(info["frames"]["offered"], 7);
  EXPECT_EQ(info["frames"]["recorded"], 2);
  EXPECT_THAT(files_in("rec"), testing::Contains("depth-00000003.rle"));
  EXPECT_THAT(files_in("rec"), testing::Contains("depth-00000006.rle"));
}

TEST_F(Depthrw, RecordsDepthOnlyWithoutColour) {
  record("flat", "1", {"--no-colour"});
  EXPECT_EQ(files_in("rec").size(), 5U);
  EXPECT_EQ(run_program({"play", path("rec")}).status, 0);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
}

TEST_F(Depthrw, ChecksItsOwnWritesOnDemand) {
  record("flat", "2", {"--verify-writes"});
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 0);
}

TEST_F(Depthrw, MotionLeavesAStaticSourceOut) {
  ImageDirectory images;
  for (int i = 0; i < 5; ++i) images.add_depth(std::to_string(i), 1500);
  images.add_depth("5", 2500);
  const std::string source = "images:" + images.path();
  const ProgramResult result = run_program(
      {"record", "--out", path("rec"), "--layout", "flat", "--source", source, "--motion", "5"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("recorded   1 of 6 frames"));
  EXPECT_THAT(files_in("rec"), testing::Contains("depth-00000005.rle"));
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", source}).status, 0);
}

TEST_F(Depthrw, DeepReadingsAreCutAndCounted) {
  ImageDirectory images;
  images.add_depth("0", 65535);
  const std::string source = "images:" + images.path();
  const ProgramResult result =
      run_program({"record", "--out", path("rec"), "--layout", "flat", "--source", source});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("readings   307200 cut"));
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", source}).status, 0);
}

TEST_F(Depthrw, ADamagedSourceImageEndsTheRecording) {
  ImageDirectory images;
  images.add_depth("0", 1500);
  images.add_depth("1", 1500, 320, 240);
  images.add_depth("2", 1500);
  const ProgramResult result = run_program(
      {"record", "--out", path("rec"), "--layout", "flat", "--source", "images:" + images.path()});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("1.png' is 320 x 240 pixels"));
  EXPECT_THAT(result.output, HasSubstr("recorded   1 of 1 frames"));
}

TEST_F(Depthrw, RefusesADirectoryThatIsNotEmpty) {
  fs::create_directory(path("rec"));
  write_file(path("rec/something"), "");
  const ProgramResult result =
      run_program({"record", "--out", path("rec"), "--layout", "flat", "--frames", "1"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.messages, HasSubstr("not empty"));
  EXPECT_EQ(files_in("rec").size(), 1U);
}

TEST_F(Depthrw, TakesADirectoryThatIsEmpty) {
  fs::create_directory(path("rec"));
  record("flat", "1");
}

TEST_F(Depthrw, RefusesAFileAsDirectory) {
  write_file(path("rec"), "");
  EXPECT_EQ(
      run_program({"record", "--out", path("rec"), "--layout", "flat", "--frames", "1"}).status, 2);
}

TEST_F(Depthrw, MissingDirectoriesAreFailures) {
  for (const char* verb : {"play", "verify"}) {
    const ProgramResult result = run_program({verb, path("none")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.messages, HasSubstr("there is no directory"));
  }
  const ProgramResult result =
      run_program({"record", "--out", path("x"), "--source", "images:" + path("none")});
  EXPECT_EQ(result.status, 1);
}

TEST_F(Depthrw, ADirectoryWithoutFramesIsAFailure) {
  fs::create_directory(path("rec"));
  EXPECT_EQ(run_program({"play", path("rec")}).status, 1);
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 1);
}

TEST_F(Depthrw, AMissingFileMakesItsFrameBad) {
  record("flat", "3");
  fs::remove(path("rec/depth-00000001.err"));
  const ProgramResult verified = run_program({"verify", path("rec")});
  EXPECT_EQ(verified.status, 3);
  EXPECT_THAT(verified.messages, HasSubstr("depth-00000001: 'depth-00000001.err' is missing"));
  EXPECT_THAT(verified.output, HasSubstr("3 checked, 2 good, 1 bad"));
  const ProgramResult played = run_program({"play", path("rec")});
  EXPECT_EQ(played.status, 3);
  EXPECT_EQ(lines_in(played.output), 2);
}

TEST_F(Depthrw, AMissingFrameIsCounted) {
  record("flat", "3");
  for (const std::string& file : files_in("rec")) {
    if (file.find("00000001") != std::string::npos) fs::remove(path("rec/" + file));
  }
  const ProgramResult result = run_program({"verify", path("rec")});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("2 good, 0 bad, 1 missing"));
}

TEST_F(Depthrw, TruncatedFilesAreFound) {
  record("flat", "1");
  for (const std::string& file : files_in("rec")) {
    if (file == "recording.json") continue;
    const std::string whole = read_file(path("rec/" + file));
    write_file(path("rec/" + file), whole.substr(0, whole.size() - whole.size() / 4 - 1));
    const ProgramResult result = run_program({"verify", path("rec")});
    EXPECT_EQ(result.status, 3) << file;
    EXPECT_THAT(result.messages, HasSubstr("'" + file + "'")) << file;
    write_file(path("rec/" + file), whole);
  }
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 0);
}

TEST_F(Depthrw, AnAlteredReferenceIsOutsideTheTolerance) {
  record("flat", "2");
  std::string text = read_file(path("rec/depth-00000001.ref"));
  const std::size_t last_line = text.rfind('\n', text.size() - 2) + 1;
  text[last_line] = text[last_line] == '9' ? '1' : '9';
  write_file(path("rec/depth-00000001.ref"), text);
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 0);
  const ProgramResult result = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("pixels outside the tolerance"));
  EXPECT_THAT(result.output, HasSubstr("worst      depth-00000001 "));
}

TEST_F(Depthrw, ADamagedDescriptionIsToldButFramesArePlayed) {
  record("flat", "1");
  write_file(path("rec/recording.json"), "{");
  const ProgramResult played = run_program({"play", path("rec")});
  EXPECT_EQ(played.status, 0);
  EXPECT_THAT(played.messages, HasSubstr("is damaged"));
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 3);
}

TEST_F(Depthrw, PlayPrintsJson) {
  record("flat", "2", {"--start", "2013-04-09T14:05:07.042"});
  fs::remove(path("rec/depth-00000001.ref"));
  const ProgramResult result = run_program({"play", path("rec"), "--json"});
  EXPECT_EQ(result.status, 3);
  const json root = json::parse(result.output);
  ASSERT_EQ(root["frames"].size(), 1U);
  EXPECT_EQ(root["frames"][0]["name"], "depth-00000000");
  EXPECT_EQ(root["frames"][0]["time"], "2013-04-09T14-05-07.042000");
  EXPECT_GT(root["frames"][0]["nearest"], 0.5);
  EXPECT_LT(root["frames"][0]["farthest"], 6.0);
  EXPECT_GT(root["frames"][0]["percent_with_depth"], 80.0);
  EXPECT_EQ(root["unreadable"][0]["name"], "depth-00000001");
}

TEST_F(Depthrw, PlaysWhatACutFrameHoldsAndSaysSo) {
  record("flat", "3", {});
  fs::resize_file(path("rec/depth-00000001.rle"), 2000);
  fs::resize_file(path("rec/bgrimage-00000002.jpg"), 9000);
  const ProgramResult result = run_program({"play", path("rec")});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 3);
  EXPECT_THAT(result.messages, HasSubstr("depth-00000001 is damaged: 'depth-00000001.rle' is cut"));
  EXPECT_THAT(result.messages, HasSubstr("depth-00000002 is damaged: 'bgrimage-00000002.jpg'"));
  EXPECT_THAT(result.messages, HasSubstr("2 of 3 frames are damaged"));
  const auto root = nlohmann::json::parse(run_program({"play", path("rec"), "--json"}).output);
  EXPECT_EQ(root["damaged"].size(), 2U);
  EXPECT_TRUE(root["unreadable"].empty());
}

TEST_F(Depthrw, TheTimeOfARangeHasOneNameInAllCommands) {
  record("tree", "3", {"--no-colour", "--start", "2013-04-05T14:07:00"});
  const ProgramResult result =
      run_program({"play", path("rec"), "--to-time", "2013-04-05T14:07:00.040"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 2);
}

TEST_F(Depthrw, VerifyPrintsJson) {
  record("flat", "2");
  const ProgramResult result =
      run_program({"verify", path("rec"), "--against", "synthetic", "--json"});
  EXPECT_EQ(result.status, 0);
  const json root = json::parse(result.output);
  EXPECT_EQ(root["frames"]["good"], 2);
  EXPECT_EQ(root["against"]["pixels"], 2 * 307200);
  EXPECT_EQ(root["against"]["outside_tolerance"], 0);
  EXPECT_LT(root["against"]["largest_error"], 0.0551);
}

TEST_F(Depthrw, PlayWritesPictures) {
  record("flat", "2");
  const ProgramResult result = run_program(
      {"play", path("rec"), "--png", path("pictures/all"), "--contact-sheet", path("sheet.png")});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(files_in("pictures/all"),
              testing::ElementsAre("depth-00000000.png", "depth-00000001.png"));
  const tools::Picture picture = tools::read_colour_png(path("pictures/all/depth-00000000.png"));
  EXPECT_GT(picture.width(), 1280);
  EXPECT_GT(picture.height(), 480);
  EXPECT_GT(tools::read_colour_png(path("sheet.png")).width(), 1280);
}

TEST_F(Depthrw, APictureThatCannotBeWrittenIsAFailure) {
  record("flat", "1");
  const ProgramResult result =
      run_program({"play", path("rec"), "--contact-sheet", path("none/sheet.png")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("none/sheet.png"));
}

TEST_F(Depthrw, DiagnosticsOfTheLibraryNeverMixWithData) {
  record("flat", "1");
  const ProgramResult quiet = run_program({"play", path("rec")});
  EXPECT_EQ(lines_in(quiet.output), 1);
  EXPECT_EQ(quiet.messages, "");
  const ProgramResult verbose = run_program({"play", path("rec"), "--verbose"});
  EXPECT_EQ(verbose.output, quiet.output);
  EXPECT_THAT(verbose.messages, HasSubstr("reading compressed data"));
}

TEST_F(Depthrw, AFailureShowsTheLastLinesOfTheLibrary) {
  record("flat", "1");
  fs::remove(path("rec/depth-00000000.rle"));
  const ProgramResult result = run_program({"play", path("rec")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("failed to open"));
}

TEST_F(Depthrw, NeverWaitsForAKey) {
  record("flat", "1");
  // A damaged reference file makes the library want one; the runner's input never brings it.
  write_file(path("rec/depth-00000000.ref"), "nothing");
  EXPECT_EQ(run_program({"play", path("rec")}).status, 1);
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 3);
}

TEST_F(Depthrw, KeepsToRealTime) {
  const double start = static_cast<double>(time(nullptr));
  record("flat", "5", {"--realtime", "--fps", "2"});
  EXPECT_GE(static_cast<double>(time(nullptr)) - start, 1.0);
}

TEST_F(Depthrw, TimesWithoutADescriptionCannotBeCompared) {
  record("flat", "1", {"--name-by", "time"});
  fs::remove(path("rec/recording.json"));
  EXPECT_EQ(run_program({"verify", path("rec")}).status, 0);
  const ProgramResult result = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("recording.json"));
}

TEST_F(Depthrw, ForeignFilesAreToldAndMakeNoFrameBad) {
  record("flat", "1");
  for (const char* name : {"depth-.rle", "depth-x.rle", "depth-00000000.rle.txt", "notes-1.jpg",
                           "depth-9999999999.rle", "depth--0000001.rle", "depth.rle"}) {
    write_file(path(std::string("rec/") + name), "");
  }
  const ProgramResult result = run_program({"verify", path("rec")});
  EXPECT_EQ(result.status, 3) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("1 checked, 1 good"));
  EXPECT_THAT(result.output, HasSubstr("7 files or folders"));
}

}  // namespace
}  // namespace depth_io::test
