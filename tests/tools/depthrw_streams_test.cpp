#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;

/// The standard streams of the program may be anything, and signals come at any time.
using DepthrwStreams = Depthrw;

// The usual standard input is a pipe in which nothing ever arrives.
TEST_F(DepthrwStreams, NoCommandWaitsForStandardInputWhateverItIs) {
  for (const Stream stream : {Stream::kClosed, Stream::kNullDevice, Stream::kUsual}) {
    SCOPED_TRACE(static_cast<int>(stream));
    ProgramStart start;
    start.input = stream;
    fs::remove_all(path("rec"));
    const std::vector<std::vector<std::string>> commands = {
        {"record", "--out", path("rec"), "--frames", "2", "--layout", "numbered"},
        {"play", path("rec")},
        {"verify", path("rec"), "--against", "synthetic"},
        {"info", path("rec")},
        {"catalogue", path("rec")},
        {"repair", path("rec")}};
    for (const auto& command : commands) {
      const ProgramResult result = run_program(command, start);
      EXPECT_EQ(result.status, 0) << testing::PrintToString(command) << result.messages;
    }
    start.program = COUNT_ENTRIES_PROGRAM;
    EXPECT_EQ(run_program({path("rec")}, start).status, 0);
  }
}

TEST_F(DepthrwStreams, NoCommandWaitsForAKeyAtAFailure) {
  record("numbered", "2");
  write_file(path("rec/00000000/list.txt"), "damaged");
  for (const auto& file : files_in("rec/00000000")) {
    if (file.ends_with(".ref")) fs::resize_file(path("rec/00000000/" + file), 0);
  }
  for (const Stream stream : {Stream::kClosed, Stream::kNullDevice, Stream::kUsual}) {
    SCOPED_TRACE(static_cast<int>(stream));
    ProgramStart start;
    start.input = stream;
    const std::vector<std::vector<std::string>> commands = {
        {"record", "--out", path("rec/00000000/list.txt/no"), "--frames", "1"},
        {"play", path("rec")},
        {"verify", path("rec")},
        {"play", path("nothing")}};
    for (const auto& command : commands) {
      const ProgramResult result = run_program(command, start);
      EXPECT_THAT(result.status, testing::AnyOf(1, 3)) << testing::PrintToString(command);
      EXPECT_NE(result.messages, "");
    }
  }
}

TEST_F(DepthrwStreams, LostDataIsAFailure) {
  record("tree", "2");
  for (const Stream stream : {Stream::kClosed, Stream::kFull, Stream::kBrokenPipe}) {
    ProgramStart start;
    start.output = stream;
    const std::vector<std::vector<std::string>> commands = {
        {"--help"},
        {"play", path("rec")},
        {"verify", path("rec")},
        {"info", path("rec")},
        {"catalogue", path("rec")},
        {"dump", path("rec"), "0", path("dump")},
        {"play", path("rec"), "--json"}};
    for (const auto& command : commands) {
      const ProgramResult result = run_program(command, start);
      EXPECT_EQ(result.status, 1) << testing::PrintToString(command);
      EXPECT_THAT(result.messages, HasSubstr("standard output"));
    }
  }
}

TEST_F(DepthrwStreams, ARecordingIsWholeAlsoWhenItsSummaryIsLost) {
  ProgramStart start;
  start.output = Stream::kClosed;
  EXPECT_EQ(run_program({"record", "--out", path("rec"), "--frames", "1"}, start).status, 1);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
}

TEST_F(DepthrwStreams, SignalsEndARecordingInOrder) {
  for (const int signal : {SIGINT, SIGTERM}) {
    fs::remove_all(path("rec"));
    RunningProgram program({"record", "--out", path("rec"), "--frames", "1000000", "--realtime",
                            "--fps", "5", "--acknowledge"});
    ASSERT_TRUE(program.wait_for_lines(3)) << program.messages();
    program.send(signal);
    const ProgramResult result = program.wait();
    EXPECT_EQ(result.status, 0) << result.messages;
    EXPECT_THAT(result.messages, HasSubstr("(interrupted)"));
    EXPECT_EQ(description()["complete"], true);
    EXPECT_EQ(description()["end"], "interrupted");
    EXPECT_EQ(description()["frames"]["recorded"], lines_in(result.output));
    EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
  }
}

TEST_F(DepthrwStreams, AcknowledgedNamesAreThoseOfTheFrames) {
  for (const char* layout : {"flat", "numbered", "tree"}) {
    fs::remove_all(path("rec"));
    const ProgramResult result = run_program(
        {"record", "--out", path("rec"), "--layout", layout, "--frames", "3", "--acknowledge"});
    EXPECT_EQ(split_lines(result.output), played_names()) << layout;
    EXPECT_THAT(result.messages, HasSubstr("recorded   3 of 3 frames"));
  }
}

TEST_F(DepthrwStreams, RecordPrintsItsDescriptionAsJson) {
  const ProgramResult result =
      run_program({"record", "--out", path("rec"), "--frames", "1", "--json"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(json::parse(result.output), description());
}

}  // namespace
}  // namespace depth_io::test
