#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

/// Records, plays and verifies real frames, if there are any.
void check_real_frames(const std::string& name, long frames, const std::string& layout) {
  const std::string images = real_frames(name);
  if (!fs::exists(images)) GTEST_SKIP() << "there are no real frames at " << images;
  const TempDirectory directory;
  const std::string recording = directory.file("rec");
  const std::string source = "images:" + images;
  const ProgramResult recorded =
      run_program({"record", "--out", recording, "--layout", layout, "--source", source});
  ASSERT_EQ(recorded.status, 0) << recorded.messages;
  const ProgramResult played = run_program({"play", recording});
  EXPECT_EQ(played.status, 0) << played.messages;
  EXPECT_EQ(lines_in(played.output), frames);
  const ProgramResult verified = run_program({"verify", recording, "--against", source, "--json"});
  EXPECT_EQ(verified.status, 0) << verified.messages;
  const json root = json::parse(verified.output);
  EXPECT_EQ(root["frames"]["good"], frames);
  EXPECT_EQ(root["against"]["outside_tolerance"], 0);
}

TEST(DepthrwRealFrames, EverydayFramesComeBackFlat) {
  check_real_frames("kinect_kitchen", 150, "flat");
}
TEST(DepthrwRealFrames, EverydayFramesComeBackFromATree) {
  check_real_frames("kinect_kitchen", 150, "tree");
}
TEST(DepthrwRealFrames, EverydayFramesComeBackFromNumberedDirectories) {
  check_real_frames("kinect_kitchen", 150, "numbered");
}
TEST(DepthrwRealFrames, FramesWithFarOutliersComeBack) {
  check_real_frames("realsense_lab", 40, "tree");
}
TEST(DepthrwRealFrames, NearlyEmptyFramesComeBack) {
  check_real_frames("kinect_sparse", 3, "tree");
}

}  // namespace
}  // namespace depth_io::test
