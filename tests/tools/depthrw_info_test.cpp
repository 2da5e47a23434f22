#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

using DepthrwInfo = Depthrw;

json info_of(const std::string& directory) {
  return json::parse(run_program({"info", directory, "--json"}).output);
}

TEST_F(DepthrwInfo, TellsTimesStepsAndGaps) {
  record("tree", "12", {"--no-colour", "--fps", "10", "--start", "2013-12-31T23:59:59.500"});
  for (const std::string& name : played_names()) {
    const bool is_in_gap =
        name.find(".800000") != std::string::npos || name.find(".900000") != std::string::npos;
    for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
      if (is_in_gap) fs::remove(path("rec/" + name + ending));
    }
  }
  const json info = info_of(path("rec"));
  EXPECT_EQ(info["layout"], "tree");
  EXPECT_EQ(info["frames"], 10);
  EXPECT_EQ(info["first"], "2013-12-31T23-59-59.500000");
  EXPECT_EQ(info["last"], "2014-01-01T00-00-00.600000");
  EXPECT_EQ(info["median_step"], 0.1);
  EXPECT_EQ(info["step_unit"], "seconds");
  ASSERT_EQ(info["gaps"].size(), 1U);
  EXPECT_EQ(info["gaps"][0]["length"], 0.3);
  EXPECT_EQ(info["gaps"][0]["after"], "2013-12-31/23h/59mn/2013-12-31T23-59-59.700000-depth");
  EXPECT_EQ(info["gaps"][0]["before"], "2014-01-01/00h/00mn/2014-01-01T00-00-00.000000-depth");
}

TEST_F(DepthrwInfo, AStepOfTwiceTheMedianIsNoGap) {
  record("flat", "5", {"--no-colour"});
  fs::remove(path("rec/recording.json"));
  for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
    fs::remove(path(std::string("rec/depth-00000002") + ending));
  }
  const json info = info_of(path("rec"));
  EXPECT_EQ(info["step_unit"], "frames");
  EXPECT_EQ(info["first"], nullptr);
  EXPECT_EQ(info["gaps"].size(), 0U);
}

TEST_F(DepthrwInfo, TellsTheBytesOfEachKindOfFile) {
  record("numbered", "2");
  const json bytes = info_of(path("rec"))["bytes"];
  std::uintmax_t colour = 0;
  std::uintmax_t all = 0;
  for (const auto& entry : fs::recursive_directory_iterator(path("rec"))) {
    const std::string name = entry.path().filename();
    if (!entry.is_regular_file() || name == "recording.json") continue;
    all += entry.file_size();
    if (name.find("-bgrimage.jpg") != std::string::npos) colour += entry.file_size();
  }
  EXPECT_EQ(bytes["colour"], colour);
  EXPECT_EQ(bytes["all"], all);
  EXPECT_GT(bytes["codes"], bytes["references"]);
}

TEST_F(DepthrwInfo, TellsLabelsAndErrorRecords) {
  ImageDirectory images;
  images.add_depth("0", 1000);
  images.add_depth("1", 0);
  ASSERT_EQ(
      run_program({"record", "--out", path("rec"), "--source", "images:" + images.path()}).status,
      0);
  const json info = info_of(path("rec"));
  EXPECT_EQ(info["labels"]["mean"], 1.0);
  EXPECT_EQ(info["labels"]["most"], 1);
  EXPECT_EQ(info["error_records"]["most"], 0);
  // A file that tells of 258 records in its first region.
  write_file(path("rec/" + played_names().at(0) + ".err"),
             std::string("\1\2\0\0\0\0\0\0\0\0\0\0", 12));
  EXPECT_EQ(info_of(path("rec"))["error_records"]["mean"], 129.0);
  EXPECT_EQ(info_of(path("rec"))["error_records"]["most"], 258);
}

TEST_F(DepthrwInfo, ASingleFrameHasNoStep) {
  record("tree", "1", {"--no-colour"});
  EXPECT_EQ(info_of(path("rec"))["median_step"], nullptr);
  EXPECT_EQ(run_program({"info", path("rec")}).status, 0);
}

TEST_F(DepthrwInfo, LinesSayTheSame) {
  record("tree", "3", {"--start", "2013-12-31T23:59:59.967"});
  const ProgramResult result = run_program({"info", path("rec")});
  EXPECT_EQ(result.status, 0) << result.messages;
  for (const char* text :
       {"layout     tree", "frames     3", "first      2013-12-31 23:59:59.967",
        "last       2014-01-01 00:00:00.034  (0.067 s later)", "gaps       0 ", "colour ",
        "labels ", "records ",
        "run        2013-12-31 23:59:59.967  3 frames of synthetic, trigger always",
        "camera     type 0: a11 528.014, a22 528.014, cx 320, cy 267 (pixels)"}) {
    EXPECT_THAT(result.output, HasSubstr(text));
  }
  EXPECT_EQ(result.messages, "");
}

TEST_F(DepthrwInfo, TellsHowEachRunWasMade) {
  record("tree", "2", {"--no-colour", "--start", "2013-12-31T23:59:59.000"});
  record("tree", "3",
         {"--no-colour", "--append", "--start", "2014-01-02T00:00:00.000", "--camera-type", "1"});
  const std::string lines = run_program({"info", path("rec")}).output;
  EXPECT_THAT(lines, HasSubstr("camera     type 0: "));
  EXPECT_THAT(lines, HasSubstr("camera     type 1: a11 533, a22 533, cx 240, cy 320"));
  const json runs = info_of(path("rec"))["runs"];
  ASSERT_EQ(runs.size(), 2U);
  EXPECT_EQ(runs[0]["frames"]["recorded"], 2);
  EXPECT_EQ(runs[1]["frames"]["recorded"], 3);
  EXPECT_EQ(runs[1]["source"]["text"], "synthetic");
  EXPECT_EQ(runs[1]["start"], "2014-01-02T00-00-00.000000");
}

TEST_F(DepthrwInfo, SaysNothingOfRunsThatNobodyDescribed) {
  record("flat", "2", {"--no-colour"});
  fs::remove(path("rec/recording.json"));
  EXPECT_EQ(info_of(path("rec"))["runs"].size(), 0U);
  const ProgramResult result = run_program({"info", path("rec")});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, Not(HasSubstr("\nrun ")));
  EXPECT_THAT(result.output, Not(HasSubstr("camera ")));
}

TEST_F(DepthrwInfo, ADirectoryWithoutFramesIsAFailure) {
  EXPECT_EQ(run_program({"info", path("none")}).status, 1);
  fs::create_directory(path("rec"));
  EXPECT_EQ(run_program({"info", path("rec")}).status, 1);
}

}  // namespace
}  // namespace depth_io::test
