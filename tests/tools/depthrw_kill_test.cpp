#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"
#include "tests/tools/remains.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

constexpr int kKills = kIsSanitized ? 20 : 200;

using DepthrwKill = Depthrw;

TEST_F(DepthrwKill, AtAnyInstantAcknowledgedFramesAreWholeAndAtMostOneIsPartial) {
  ImageDirectory images;
  images.add_depth("0", 1500);
  images.add_depth("1", 2500);
  images.add_colour("0", {200, 100, 50});
  images.add_colour("1", {50, 100, 200});
  const char* const layouts[] = {"tree", "numbered", "tree", "flat"};
  std::mt19937 random(20131231);
  std::uniform_real_distribution<double> instant(0, 0.08);
  long acknowledged_frames = 0;
  long partial_frames = 0;
  for (int kill = 0; kill < kKills; ++kill) {
    const std::string directory = path("rec");
    fs::remove_all(directory);
    std::vector<std::string> arguments = {
        "record",       "--out",    directory,         "--source", "images:" + images.path(),
        "--loop",       "--layout", layouts[kill % 4], "--fps",    "20",
        "--acknowledge"};
    if (kill % 3 != 0) arguments.push_back("--no-colour");
    RunningProgram program(arguments);
    // Now and then before there is a frame, else while frames are being written.
    const bool is_early = kill % 10 == 9;
    if (!is_early) {
      ASSERT_TRUE(program.wait_for_lines(1)) << program.messages();
    }
    sleep_seconds(instant(random) / (is_early ? 4 : 1));
    program.send(SIGKILL);
    const std::vector<std::string> acknowledged = split_lines(program.wait().output);
    if (is_early && acknowledged.empty()) continue;

    const Remains remains = look_at(directory);
    for (const std::string& name : acknowledged) {
      EXPECT_TRUE(remains.whole.contains(name)) << name << " at kill " << kill;
    }
    EXPECT_LE(remains.partial.size(), 1U) << kill;
    EXPECT_LE(remains.whole.size(), acknowledged.size() + 1) << kill;
    acknowledged_frames += static_cast<long>(acknowledged.size());
    partial_frames += static_cast<long>(remains.partial.size());

    const ProgramResult played = run_program({"play", directory, "--json"});
    const auto root = nlohmann::json::parse(played.output);
    std::set<std::string> delivered;
    for (const auto& frame : root["frames"]) {
      delivered.insert(frame["name"]);
    }
    EXPECT_TRUE(std::includes(delivered.begin(), delivered.end(), remains.whole.begin(),
                              remains.whole.end()))
        << kill;
    EXPECT_EQ(played.status == 0, remains.partial.empty()) << kill;
  }
  // The kills came while frames were being written, or this proves nothing.
  EXPECT_GT(acknowledged_frames, kKills / 2);
  RecordProperty("acknowledged", std::to_string(acknowledged_frames));
  RecordProperty("partial", std::to_string(partial_frames));
  std::printf("%d kills, %ld frames acknowledged, %ld partial\n", kKills, acknowledged_frames,
              partial_frames);
}

}  // namespace
}  // namespace depth_io::test
