#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/export_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

using DepthrwExport = DepthrwExportFixture;

/// Runs the program by a shell command, in which "$0" is the program.
ProgramResult run_in_shell(const std::string& command, const std::vector<std::string>& arguments) {
  std::vector<std::string> words = {"-c", command, DEPTHRW_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  return run_program(words, {.program = "/bin/sh"});
}

TEST_F(DepthrwExport, TheDescriptionTellsWhatTheFilesMean) {
  record("tree", "2", {"--camera-type", "1", "--start", "2014-01-01T08:00:00"});
  export_well("out", "tum");
  const nlohmann::json root = json_of("out/export.json");
  EXPECT_EQ(root["format"], "camera_depth_rw export");
  EXPECT_EQ(root["complete"], true);
  EXPECT_EQ(root["depth"]["units_per_metre"], 5000);
  EXPECT_EQ(root["depth"]["no_reading"], 0);
  EXPECT_EQ(root["depth"]["least_metres"], 0.05);
  EXPECT_EQ(root["camera"]["fx"], 533);
  EXPECT_EQ(root["camera"]["principal_point_column"], 320);
  EXPECT_EQ(root["camera"]["principal_point_row"], 240);
  EXPECT_EQ(root["time"]["first_seconds"], "1388563200.000000");
  EXPECT_EQ(root["frames"]["written"], 2);
  EXPECT_EQ(root["recording"][0], description());
}

TEST_F(DepthrwExport, ThePrincipalPointCanBeExchanged) {
  record("tree", "1", {"--no-colour"});
  const ProgramResult plain = export_to("plain", "png");
  EXPECT_THAT(plain.messages, HasSubstr("--swap-principal-point"));
  EXPECT_EQ(json_of("plain/export.json")["camera"]["principal_point_column"], 267);
  const ProgramResult swapped = export_to("swapped", "png", {"--swap-principal-point"});
  EXPECT_EQ(swapped.messages, "");
  EXPECT_EQ(json_of("swapped/export.json")["camera"]["principal_point_column"], 320);
  EXPECT_EQ(json_of("swapped/export.json")["camera"]["principal_point_row"], 267);
}

TEST_F(DepthrwExport, TheReadmeTellsUnitsAxesAndTimes) {
  record("tree", "1", {"--no-colour", "--camera-type", "1"});
  export_well("tum", "tum");
  EXPECT_THAT(read_file(path("tum/README.txt")),
              testing::AllOf(HasSubstr("Divide a pixel by 5000"), HasSubstr("column 320.0000"),
                             HasSubstr("no time zone"), HasSubstr("1 of 1 frames are here.")));
  export_well("ply", "ply", {"--axes", "gl"});
  EXPECT_THAT(read_file(path("ply/README.txt")), HasSubstr("x to the right, y up, z backward"));
}

TEST_F(DepthrwExport, TimesAreListedForEachFrame) {
  record("tree", "1", {"--start", "2014-01-01T08:00:00.5"});
  export_well("out", "png");
  EXPECT_EQ(read_file(path("out/times.csv")),
            "name,time,seconds,depth,colour\n"
            "2014-01-01/08h/00mn/2014-01-01T08-00-00.500000-depth,2014-01-01 08:00:00.500,"
            "1388563200.500000,depth/2014-01-01T08-00-00.500000.png,"
            "rgb/2014-01-01T08-00-00.500000.png\n");
}

TEST_F(DepthrwExport, WhatIsWholeIsKept) {
  record("flat", "4");
  export_well("out", "png");
  const auto before = contents("out");
  const auto time = fs::last_write_time(path("out/depth/00000001.png"));
  fs::remove(path("out/depth/00000000.png"));
  cut(path("out/depth/00000002.png"));
  cut(path("out/rgb/00000003.png"));
  const ProgramResult result = export_to("out", "png");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output, HasSubstr("kept       1 of them"));
  EXPECT_EQ(fs::last_write_time(path("out/depth/00000001.png")), time);
  EXPECT_EQ(json_of("out/export.json")["frames"]["written"], 3);
  for (const auto& [name, bytes] : before) {
    if (name == "export.json") continue;
    EXPECT_EQ(read_file(path("out/" + name)), bytes) << name;
  }
}

TEST_F(DepthrwExport, AFrameRecordedAnewIsExportedAnew) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "png");
  const auto later = fs::last_write_time(path("out/depth/00000001.png")) + std::chrono::seconds(5);
  fs::last_write_time(path("rec/depth-00000001.ref"), later);
  EXPECT_THAT(export_to("out", "png").output, HasSubstr("kept       1 of them"));
}

TEST_F(DepthrwExport, ARecordingThatGrewIsExportedFurther) {
  record("tree", "2", {"--no-colour", "--start", "2014-01-01T08:00:00"});
  for (const char* const format : {"tum", "csv", "video"}) export_well(format, format);
  record("tree", "3", {"--no-colour", "--start", "2014-01-01T08:00:10", "--append"});
  for (const char* const format : {"tum", "csv"}) {
    const ProgramResult result = export_to(format, format);
    EXPECT_THAT(result.output, HasSubstr("exported   5 of 5")) << format << result.messages;
    EXPECT_THAT(result.output, HasSubstr("kept       2 of them")) << format;
  }
  EXPECT_THAT(export_to("video", "video").output,
              testing::AllOf(HasSubstr("exported   5 of 5"), Not(HasSubstr("kept"))));
}

TEST_F(DepthrwExport, AnInterruptedExportGoesOn) {
  record("flat", "60");
  RunningProgram running({"export", path("rec"), "--to", "png", "--out", path("out")});
  while (!running.has_ended() && !fs::exists(path("out/rgb/00000005.png"))) sleep_seconds(0.001);
  running.send(SIGINT);
  const ProgramResult result = running.wait();
  EXPECT_EQ(result.status, 3) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("interrupted"));
  EXPECT_EQ(json_of("out/export.json")["complete"], false);
  const std::size_t first_part = files_in("out/rgb").size();
  EXPECT_LT(first_part, 60U);
  EXPECT_EQ(files_in("out/depth").size(), first_part);
  EXPECT_THAT(read_file(path("out/README.txt")), HasSubstr("the export was not finished"));

  const ProgramResult again = export_to("out", "png");
  EXPECT_EQ(again.status, 0);
  EXPECT_THAT(again.output, HasSubstr("kept       " + std::to_string(first_part) + " of them"));
  EXPECT_EQ(json_of("out/export.json")["complete"], true);
  export_well("other", "png");
  auto resumed = contents("out");
  auto whole = contents("other");
  const auto is_description = [](const auto& file) { return file.first == "export.json"; };
  std::erase_if(resumed, is_description);  // it tells how many were kept
  std::erase_if(whole, is_description);
  EXPECT_EQ(resumed, whole);
}

TEST_F(DepthrwExport, AKilledExportLeavesNoHalfFiles) {
  record("flat", "60");
  {
    RunningProgram running({"export", path("rec"), "--to", "png", "--out", path("out")});
    while (!running.has_ended() && !fs::exists(path("out/rgb/00000005.png"))) sleep_seconds(0.001);
    running.send(SIGKILL);
    running.wait();
  }
  ASSERT_EQ(json_of("out/export.json")["complete"], false);
  export_well("out", "png");
  EXPECT_EQ(files_in("out/depth").size(), 60U);
  EXPECT_EQ(files_in("out/rgb").size(), 60U);
}

TEST_F(DepthrwExport, OtherParametersAreRefused) {
  record("flat", "2", {"--no-colour"});
  export_well("out", "png");
  const struct {
    const char* format;
    std::vector<std::string> more;
    const char* what;
  } cases[] = {{"tum", {}, "to \"png\", now \"tum\""},
               {"png", {"--depth-scale", "500"}, "depth_scale 1000.0, now 500.0"},
               {"png", {"--stride", "2"}, "stride 1, now 2"},
               {"png", {"--swap-principal-point"}, "swap_principal_point false, now true"}};
  for (const auto& other : cases) {
    const ProgramResult result = export_to("out", other.format, other.more);
    EXPECT_EQ(result.status, 1) << other.what;
    EXPECT_THAT(result.messages, HasSubstr(other.what));
    EXPECT_THAT(result.messages, HasSubstr("--overwrite"));
  }
  EXPECT_EQ(files_in("out/depth").size(), 2U);
}

TEST_F(DepthrwExport, ParametersOfAnotherVersionAreRefused) {
  record("flat", "1", {"--no-colour"});
  export_well("out", "png");
  nlohmann::json root = json_of("out/export.json");
  root["parameters"]["smooth"] = true;
  write_file(path("out/export.json"), root.dump());
  EXPECT_THAT(export_to("out", "png").messages, HasSubstr("some that this program does not know"));
}

TEST_F(DepthrwExport, AnotherRecordingIsRefused) {
  record("flat", "1", {"--no-colour"});
  export_well("out", "png");
  fs::remove_all(path("rec"));
  record("flat", "1", {"--no-colour", "--seed", "2"});
  EXPECT_THAT(export_to("out", "png").messages, HasSubstr("other parameters (recording"));
}

TEST_F(DepthrwExport, OverwritingRemovesTheOldExportOnly) {
  record("flat", "4", {"--no-colour"});
  export_well("out", "tum");
  write_file(path("out/depth/mine.png"), "mine");
  write_file(path("out/notes.txt"), "mine");
  const ProgramResult result = export_to("out", "png", {"--stride", "2", "--overwrite"});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(files_in("out/depth"), ElementsAre("00000000.png", "00000002.png", "mine.png"));
  EXPECT_THAT(files_in("out"),
              ElementsAre("README.txt", "depth", "export.json", "notes.txt", "scale", "times.csv"));
}

TEST_F(DepthrwExport, ForeignFilesAreNotMixedWith) {
  record("flat", "1", {"--no-colour"});
  fs::create_directory(path("out"));
  write_file(path("out/letter.txt"), "mine");
  for (const char* const more : {"--json", "--overwrite"}) {
    const ProgramResult result = export_to("out", "png", {more});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.messages, HasSubstr("holds something else than an export ('letter.txt')"));
  }
  EXPECT_THAT(files_in("out"), ElementsAre("letter.txt"));
}

TEST_F(DepthrwExport, ADamagedDescriptionIsRefused) {
  record("flat", "1", {"--no-colour"});
  for (const char* const text : {"", "{", "[]", "{\"format\": \"camera_depth_rw export\"}",
                                 "{\"format\": 3, \"parameters\": {}}"}) {
    fs::create_directories(path("out"));
    write_file(path("out/export.json"), text);
    const ProgramResult result = export_to("out", "png");
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_THAT(result.messages, HasSubstr("is damaged")) << text;
  }
}

TEST_F(DepthrwExport, AHostileDescriptionIsBorne) {
  record("flat", "1", {"--no-colour"});
  export_well("out", "png");
  nlohmann::json root = json_of("out/export.json");
  for (const nlohmann::json& frames :
       {nlohmann::json(3), nlohmann::json({{"digest", 5}}), nlohmann::json({{"damaged", "x"}})}) {
    root["frames"] = frames;
    write_file(path("out/export.json"), root.dump());
    const ProgramResult result = export_to("out", "png");
    EXPECT_EQ(result.status, 0) << frames << result.messages;
  }
}

TEST_F(DepthrwExport, TheRecordingItselfIsNoPlaceForIt) {
  record("tree", "1", {"--no-colour", "--start", "2014-01-01T08:00:00"});
  fs::create_symlink(path("rec"), path("link"));
  for (const char* const place :
       {"rec", "rec/", "rec/out", "rec/2014-01-01", "rec/../rec/a/b", "link/out"}) {
    const ProgramResult result = export_to(place, "png");
    EXPECT_EQ(result.status, 2) << place;
    EXPECT_THAT(result.messages, HasSubstr("lies in the recording")) << place;
  }
  EXPECT_FALSE(fs::exists(path("rec/out")));
}

TEST_F(DepthrwExport, APlaceBesideTheRecordingIsGood) {
  record("flat", "1", {"--no-colour"});
  export_well("recording", "png");
  export_well("not/there/yet", "png");
}

TEST_F(DepthrwExport, AFileInThePlaceOfTheDirectoryIsTold) {
  record("flat", "1", {"--no-colour"});
  write_file(path("out"), "");
  const ProgramResult result = export_to("out", "png");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot make the directory"));
}

TEST_F(DepthrwExport, AFileInThePlaceOfAFolderIsTold) {
  record("flat", "1", {"--no-colour"});
  export_well("out", "png");
  fs::remove_all(path("out/depth"));
  write_file(path("out/depth"), "");
  const ProgramResult result = export_to("out", "png");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot make the directory"));
}

TEST_F(DepthrwExport, AnUnwritablePlaceIsTold) {
  record("flat", "1", {"--no-colour"});
  // Not even the superuser writes there.
  const ProgramResult result =
      run_program({"export", path("rec"), "--to", "png", "--out", "/proc/depthrw/out"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot make the directory '/proc/depthrw/out'"));
}

TEST_F(DepthrwExport, AMissingRecordingIsTold) {
  const ProgramResult result = export_to("out", "png");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("there is no directory"));
  EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(DepthrwExport, TwoExportsDoNotMeet) {
  record("flat", "40");
  RunningProgram first({"export", path("rec"), "--to", "png", "--out", path("out")});
  while (!first.has_ended() && !fs::exists(path("out/depth/00000000.png"))) sleep_seconds(0.001);
  const ProgramResult second = export_to("out", "png");
  EXPECT_EQ(second.status, 1);
  EXPECT_THAT(second.messages, HasSubstr("another export is at work"));
  EXPECT_EQ(first.wait().status, 0);
}

TEST_F(DepthrwExport, DamagedFramesArePassedOver) {
  record("flat", "4");
  cut(recorded_file(1, ".rle"));
  fs::remove(recorded_file(2, ".err"));
  for (const char* const format : {"tum", "open3d", "ply", "video"}) {
    const ProgramResult result = export_to(format, format);
    EXPECT_EQ(result.status, 3) << format;
    EXPECT_THAT(result.messages, HasSubstr("depth-00000001: 'depth-00000001.rle' is cut off"));
    EXPECT_THAT(result.messages, HasSubstr("depth-00000002: 'depth-00000002.err' is missing"));
    EXPECT_THAT(result.output, HasSubstr("exported   2 of 4"));
    const nlohmann::json root = json_of(std::string(format) + "/export.json");
    EXPECT_EQ(root["frames"]["damaged"], 2);
    EXPECT_EQ(root["damaged_frames"][1]["name"], "depth-00000002");
  }
  EXPECT_EQ(files_in("tum/depth").size(), 2U);
  EXPECT_EQ(files_in("tum/rgb").size(), 2U);
  EXPECT_EQ(lines_in(read_file(path("tum/associations.txt"))), 2);
  EXPECT_THAT(files_in("ply/clouds"), ElementsAre("00000000.ply", "00000003.ply"));
}

TEST_F(DepthrwExport, ADamagedFrameIsToldAgainByEachRun) {
  record("flat", "2", {"--no-colour"});
  cut(recorded_file(1, ".rle"));
  for (const char* const format : {"png", "video", "csv"}) {
    EXPECT_EQ(export_to(format, format).status, 3) << format;
    EXPECT_EQ(export_to(format, format).status, 3) << format;
  }
}

TEST_F(DepthrwExport, ADamagedColourImageIsADamagedFrame) {
  record("flat", "2");
  cut(path("rec/bgrimage-00000001.jpg"));
  for (const char* const format : {"png", "open3d", "ply"}) {
    const ProgramResult result = export_to(format, format);
    EXPECT_EQ(result.status, 3) << format;
    EXPECT_THAT(result.output, HasSubstr("exported   1 of 2")) << format;
  }
  EXPECT_EQ(export_to("depth", "png", {"--colour", "none"}).status, 0);
}

TEST_F(DepthrwExport, AMissingColourImageLeavesTheDepth) {
  record("flat", "2");
  fs::remove(path("rec/bgrimage-00000001.jpg"));
  const ProgramResult result = export_to("tum", "tum");
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("is missing; its depth is exported"));
  EXPECT_EQ(files_in("tum/depth").size(), 2U);
  EXPECT_EQ(lines_in(read_file(path("tum/associations.txt"))), 1);
  EXPECT_THAT(export_to("open3d", "open3d").output, HasSubstr("exported   1 of 2"));
}

TEST_F(DepthrwExport, WithoutAnyGoodFrameItFails) {
  record("flat", "1", {"--no-colour"});
  cut(recorded_file(0, ".rle"));
  EXPECT_EQ(export_to("out", "png").status, 1);
}

TEST_F(DepthrwExport, FilesThatCannotBeWrittenEndItHonestly) {
  record("flat", "3");
  export_well("whole", "png");
  const auto size = fs::file_size(path("whole/rgb/00000000.png"));
  const auto depth_size = fs::file_size(path("whole/depth/00000000.png"));
  ASSERT_LT(depth_size, size);
  const std::string blocks = std::to_string((depth_size + size) / 2 / 512);
  const ProgramResult result =
      run_in_shell("trap '' XFSZ; ulimit -f " + blocks + "; exec \"$0\" \"$@\"",
                   {"export", path("rec"), "--to", "png", "--out", path("out"), "--jobs", "1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot write"));
  EXPECT_EQ(json_of("out/export.json")["complete"], false);
  EXPECT_TRUE(files_in("out/rgb").empty());
  export_well("out", "png");
}

TEST_F(DepthrwExport, WrongArgumentsAreRefused) {
  record("flat", "1", {"--no-colour"});
  const struct {
    const char* format;
    std::vector<std::string> more;
    const char* what;
  } cases[] = {
      {"jpeg", {}, "--to must be tum"},
      {"TUM", {}, "--to must be tum"},
      {"", {}, "--to must be tum"},
      {"png", {"--stride", "0"}, "--stride must be"},
      {"png", {"--stride", "-1"}, "--stride must be"},
      {"png", {"--stride", "99999999999999999999"}, "--stride"},
      {"png", {"--jobs", "0"}, "--jobs must be"},
      {"png", {"--jobs", "257"}, "--jobs must be"},
      {"png", {"--jobs", "two"}, "--jobs"},
      {"png", {"--depth-scale", "0"}, "--depth-scale must be"},
      {"png", {"--depth-scale", "-5"}, "--depth-scale must be"},
      {"png", {"--depth-scale", "nan"}, "--depth-scale must be"},
      {"png", {"--depth-scale", "1e9"}, "--depth-scale must be"},
      {"ply", {"--depth-scale", "1000"}, "--depth-scale belongs to"},
      {"png", {"--axes", "gl"}, "--axes belongs to"},
      {"ply", {"--axes", "up"}, "--axes must be"},
      {"png", {"--colour", "gif"}, "--colour must be"},
      {"ply", {"--colour", "png"}, "--colour belongs to"},
      {"open3d", {"--colour", "none"}, "wants colour images"},
      {"png", {"--fps", "0"}, "--fps must be"},
      {"png", {"--from", "yesterday"}, "--from must be a time"},
      {"png", {"--to-time", "yesterday"}, "--to-time must be a time"},
      {"png", {"--from", "2014-01-02T00:00:00", "--to-time", "2014-01-01T00:00:00"}, "later than"},
  };
  for (const auto& wrong : cases) {
    const ProgramResult result = export_to("out", wrong.format, wrong.more);
    EXPECT_EQ(result.status, 2) << wrong.format << " " << wrong.what;
    EXPECT_THAT(result.messages, HasSubstr(wrong.what));
  }
  EXPECT_FALSE(fs::exists(path("out")));
}

TEST_F(DepthrwExport, StandardOutputIsForTablesOnly) {
  record("flat", "1", {"--no-colour"});
  const ProgramResult result = run_program({"export", path("rec"), "--to", "png", "--out", "-"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.messages, HasSubstr("belongs to --to csv"));
}

TEST_F(DepthrwExport, ARangeWithoutFramesIsTold) {
  record("tree", "1", {"--no-colour", "--start", "2014-01-01T08:00:00"});
  const ProgramResult result = export_to("out", "png", {"--from", "2015-01-01T00:00:00"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("in that range of time"));
}

TEST_F(DepthrwExport, JsonIsTheDescription) {
  record("flat", "1", {"--no-colour"});
  const ProgramResult result = export_to("out", "png", {"--json"});
  EXPECT_EQ(nlohmann::json::parse(result.output), json_of("out/export.json"));
}

}  // namespace
}  // namespace depth_io::test
