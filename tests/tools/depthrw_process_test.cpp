#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"
#include "tests/tools/image_directory.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

/// Recorders beside and after each other, and how they end.
class DepthrwProcess : public Depthrw {
 protected:
  DepthrwProcess() { images_.add_depth("0", 1500); }

  std::string source() const { return "images:" + images_.path(); }

  /// A recorder that goes on until it is told to end.
  std::vector<std::string> endless(const std::string& name,
                                   const std::vector<std::string>& more = {}) const {
    std::vector<std::string> arguments = {"record",     "--out",        path(name), "--source",
                                          source(),     "--loop",       "--fps",    "20",
                                          "--realtime", "--acknowledge"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  ProgramResult append(const std::string& start, const std::string& frames) const {
    return run_program({"record", "--out", path("rec"), "--frames", frames, "--no-colour",
                        "--start", start, "--fps", "10", "--append"});
  }

 private:
  ImageDirectory images_;
};

TEST_F(DepthrwProcess, ASecondRecorderInOneDirectoryIsRefused) {
  RunningProgram first(endless("rec"));
  ASSERT_TRUE(first.wait_for_lines(1)) << first.messages();
  for (const auto& more : {std::vector<std::string>{}, std::vector<std::string>{"--append"}}) {
    const ProgramResult second = run_program(endless("rec", more));
    EXPECT_EQ(second.status, 1);
    EXPECT_THAT(second.messages, HasSubstr("another recorder is at work in"));
  }
  first.send(SIGTERM);
  EXPECT_EQ(first.wait().status, 0);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", source()}).status, 0);
}

TEST_F(DepthrwProcess, RecordersWorkSideBySideInTheirOwnDirectories) {
  RunningProgram first(endless("a"));
  RunningProgram second(endless("b"));
  ASSERT_TRUE(first.wait_for_lines(3));
  ASSERT_TRUE(second.wait_for_lines(3));
  first.send(SIGINT);
  second.send(SIGINT);
  EXPECT_EQ(first.wait().status, 0);
  EXPECT_EQ(second.wait().status, 0);
  for (const char* name : {"a", "b"}) {
    EXPECT_EQ(run_program({"verify", path(name), "--against", source()}).status, 0);
  }
}

TEST_F(DepthrwProcess, AKilledRecorderLeavesNoLock) {
  RunningProgram first(endless("rec"));
  ASSERT_TRUE(first.wait_for_lines(2)) << first.messages();
  first.send(SIGKILL);
  EXPECT_EQ(first.wait().status, -1);
  const ProgramResult second =
      run_program({"record", "--out", path("rec"), "--source", source(), "--append"});
  EXPECT_EQ(second.status, 0) << second.messages;
}

TEST_F(DepthrwProcess, AppendGoesOnWithATree) {
  record("tree", "3", {"--no-colour", "--start", "2013-12-31T23:59:59", "--seed", "1"});
  EXPECT_EQ(append("2014-01-01T08:00:00", "4").status, 0);
  EXPECT_EQ(append("2014-01-01T09:00:00", "2").status, 0);
  EXPECT_EQ(played_names().size(), 9U);
  const ProgramResult verified = run_program({"verify", path("rec"), "--against", "synthetic"});
  EXPECT_EQ(verified.status, 0) << verified.messages;
  EXPECT_THAT(verified.output, HasSubstr("9 checked, 9 good, 0 bad, 0 missing"));
  EXPECT_EQ(description()["clock_steps"]["count"], 0);
}

TEST_F(DepthrwProcess, RunsWithoutAFrameLeaveNoDescriptionBehind) {
  record("tree", "3", {"--no-colour", "--start", "2013-12-31T23:59:59"});
  for (int run = 0; run < 3; ++run) {
    EXPECT_EQ(
        run_program({"record", "--out", path("rec"), "--append", "--min-free", "1000T"}).status, 3);
  }
  EXPECT_EQ(append("2014-01-01T08:00:00", "2").status, 0);
  std::vector<std::string> aside;
  for (const auto& entry : fs::directory_iterator(path("rec"))) {
    const std::string name = entry.path().filename();
    if (name.starts_with("recording-")) aside.push_back(name);
  }
  EXPECT_THAT(aside, ElementsAre("recording-2013-12-31T23-59-59.000000.json"));
  EXPECT_EQ(description()["frames"]["recorded"], 2);
}

TEST_F(DepthrwProcess, AppendBeginsANewTree) {
  EXPECT_EQ(append("2014-01-01T08:00:00", "2").status, 0);
  EXPECT_EQ(append("2014-01-01T08:00:01", "2").status, 0);
  EXPECT_EQ(played_names().size(), 4U);
}

TEST_F(DepthrwProcess, AppendNeverWritesAFrameOverAnother) {
  EXPECT_EQ(append("2014-01-01T08:00:00", "5").status, 0);
  const std::string name = played_names().at(3);
  const auto time = fs::last_write_time(path("rec/" + name + ".rle"));
  // The clock went back by 0.2 s: frames .300 and .400 are there already.
  const ProgramResult result = append("2014-01-01T08:00:00.300", "4");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.messages, HasSubstr("the clock went back by 0.100 s"));
  EXPECT_EQ(description()["frames"]["skipped"]["already_recorded"], 2);
  EXPECT_EQ(description()["frames"]["recorded"], 2);
  EXPECT_EQ(description()["clock_steps"]["count"], 1);
  EXPECT_EQ(played_names().size(), 7U);
  EXPECT_EQ(fs::last_write_time(path("rec/" + name + ".rle")), time);
}

TEST_F(DepthrwProcess, AppendTakesTreesOnly) {
  record("flat", "1", {"--no-colour"});
  EXPECT_EQ(append("2014-01-01T08:00:00", "1").status, 2);
  fs::remove_all(path("rec"));
  record("numbered", "1", {"--no-colour"});
  EXPECT_EQ(append("2014-01-01T08:00:00", "1").status, 2);
  fs::remove_all(path("rec"));
  fs::create_directory(path("rec"));
  write_file(path("rec/letter.txt"), "");
  const ProgramResult result = append("2014-01-01T08:00:00", "1");
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.messages, HasSubstr("something else than a tree"));
}

TEST_F(DepthrwProcess, ATooFullDiskEndsTheRecording) {
  const ProgramResult result = run_program(
      {"record", "--out", path("rec"), "--frames", "5", "--no-colour", "--min-free", "900000T"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.messages, HasSubstr("are free for"));
  EXPECT_THAT(result.output, HasSubstr("recorded   0 of 0 frames"));
  EXPECT_THAT(result.messages, HasSubstr("--min-free"));
  // Nothing is in the way of the next try.
  EXPECT_TRUE(fs::is_empty(path("rec")));
}

TEST_F(DepthrwProcess, ARunWithoutAFrameIsNotInTheWayOfTheNext) {
  const std::vector<std::string> silent = {"record", "--out",     path("rec"), "--frames",
                                           "5",      "--trigger", "signal"};
  EXPECT_EQ(run_program(silent).status, 0);
  EXPECT_EQ(description()["frames"]["recorded"], 0);
  record("numbered", "2", {"--no-colour"});
  EXPECT_EQ(description()["frames"]["recorded"], 2);
  EXPECT_EQ(run_program(silent).status, 2) << "there are frames now";
}

TEST_F(DepthrwProcess, AnotherSourceThanBeforeIsTold) {
  EXPECT_THAT(append("2014-01-01T08:00:00", "2").messages, Not(HasSubstr("came from")));
  EXPECT_THAT(append("2014-01-01T08:00:01", "2").messages, Not(HasSubstr("came from")));
  const ProgramResult other = run_program(
      {"record", "--out", path("rec"), "--append", "--source", source(), "--no-colour"});
  EXPECT_THAT(other.messages, HasSubstr("came from 'synthetic', these come from 'images:"));
}

TEST_F(DepthrwProcess, ASceneThatNobodyAskedForIsTold) {
  const std::vector<std::string> words = {"record", "--out", path("rec"), "--frames", "1"};
  EXPECT_THAT(run_program(words).messages, HasSubstr("this is the synthetic scene"));
  fs::remove_all(path("rec"));
  std::vector<std::string> asked = words;
  asked.insert(asked.end(), {"--source", "synthetic"});
  EXPECT_THAT(run_program(asked).messages, Not(HasSubstr("synthetic scene")));
}

TEST_F(DepthrwProcess, WithoutAFloorTheDiskIsNotAsked) {
  record("tree", "1", {"--no-colour", "--min-free", "0"});
}

TEST_F(DepthrwProcess, AHistoryThatDoesNotFitMemoryIsRefused) {
  const ProgramResult result =
      run_program({"record", "--out", path("rec"), "--frames", "1", "--history-seconds", "900000"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.messages, HasSubstr("of memory"));
  EXPECT_FALSE(fs::exists(path("rec")));
}

TEST_F(DepthrwProcess, ALateRecorderDropsFramesAndCountsThem) {
  // No machine writes a thousand frames a second.
  const ProgramResult result =
      run_program({"record", "--out", path("rec"), "--source", source(), "--loop", "--frames",
                   "300", "--fps", "1000", "--realtime", "--json"});
  EXPECT_EQ(result.status, 0) << result.messages;
  const json frames = json::parse(result.output)["frames"];
  EXPECT_GT(frames["dropped"], 100);
  EXPECT_EQ(frames["dropped"].get<long>() + frames["recorded"].get<long>(), 300);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", source()}).status, 0);
}

TEST_F(DepthrwProcess, ALoopedSourceIsComparedAllTheWay) {
  EXPECT_EQ(
      run_program({"record", "--out", path("rec"), "--source", source(), "--loop", "--frames", "5"})
          .status,
      0);
  const ProgramResult result = run_program({"verify", path("rec"), "--against", source()});
  EXPECT_EQ(result.status, 0) << result.messages;
  EXPECT_THAT(result.output, HasSubstr("5 good"));
}

}  // namespace
}  // namespace depth_io::test
