#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/file_tree.h"
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

TEST_F(DepthrwStreams, ALostListingIsAFailureAndNoEndByASignal) {
  record("numbered", "2");
  ProgramStart start;
  start.program = COUNT_ENTRIES_PROGRAM;
  // Who runs the tests may ignore the signal, and the program would inherit that.
  start.prepare = [] { return std::signal(SIGPIPE, SIG_DFL) != SIG_ERR; };
  for (const Stream stream : {Stream::kClosed, Stream::kFull, Stream::kBrokenPipe}) {
    SCOPED_TRACE(static_cast<int>(stream));
    start.output = stream;
    const ProgramResult result = run_program({path("rec")}, start);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.messages, "countEntriesInDir: standard output could not be written\n");
  }
}

TEST_F(DepthrwStreams, ARecordingIsWholeAlsoWhenItsSummaryIsLost) {
  ProgramStart start;
  start.output = Stream::kClosed;
  EXPECT_EQ(run_program({"record", "--out", path("rec"), "--frames", "1"}, start).status, 1);
  EXPECT_EQ(run_program({"verify", path("rec"), "--against", "synthetic"}).status, 0);
}

// Else what is opened next would take the place of a closed stream, and messages would go into it.
TEST_F(DepthrwStreams, StreamsThatAreClosedAtTheStartBecomeTheNullDevice) {
  const auto arguments_for = [&](const char* name) {
    return std::vector<std::string>{
        "record",     "--out", path(name), "--frames", "30", "--start", "2013-04-09T14:05:07",
        "--no-colour"};
  };
  const auto frame_files = [&](const char* name) {
    auto files = file_tree(path(name));
    files.erase("recording.json");
    return files;
  };
  ProgramStart start;
  start.input = start.output = start.messages = Stream::kClosed;
  RunningProgram program(arguments_for("rec"), start);
  while (!fs::exists(path("rec/recording.json")) && !program.has_ended()) sleep_seconds(0.002);
  // All frames are still to come; it is stopped, so that it does not end while it is looked at.
  program.send(SIGSTOP);
  ASSERT_FALSE(program.has_ended());
  for (const char* descriptor : {"0", "1", "2"}) {
    const fs::path link = fs::path("/proc") / std::to_string(program.id()) / "fd" / descriptor;
    std::error_code error;
    EXPECT_EQ(fs::read_symlink(link, error), "/dev/null") << link << " " << error.message();
  }
  program.send(SIGCONT);
  EXPECT_EQ(program.wait().status, 1) << "its summary is lost";

  EXPECT_EQ(run_program(arguments_for("usual")).status, 0);
  const auto usual = frame_files("usual");
  EXPECT_GE(usual.size(), 30U * 3);
  EXPECT_TRUE(frame_files("rec") == usual);
}

TEST_F(DepthrwStreams, SignalsEndARecordingInOrder) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
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
