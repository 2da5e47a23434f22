#include <httplib.h>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

class DepthrwView : public Depthrw {
 protected:
  void SetUp() override { ASSERT_NO_FATAL_FAILURE(record("tree", "2")); }
};

int port_of(const std::string& output) {
  const std::string start = "http://127.0.0.1:";
  return output.starts_with(start) ? std::atoi(output.c_str() + start.size()) : 0;
}

TEST_F(DepthrwView, PrintsTheAddressAloneToStandardOutput) {
  RunningProgram program({"view", path("rec")});
  ASSERT_TRUE(program.wait_for_lines(1));
  EXPECT_THAT(program.output(), MatchesRegex("http://127\\.0\\.0\\.1:[0-9]+/#token=[0-9a-f]+\n"));
  httplib::Client client("127.0.0.1", port_of(program.output()));
  const auto page = client.Get("/");
  ASSERT_TRUE(page);
  EXPECT_EQ(page->status, 200);
}

TEST_F(DepthrwView, EndsWellWhenInterrupted) {
  for (const int signal : {SIGINT, SIGTERM}) {
    RunningProgram program({"view", path("rec"), "--port", "0"});
    ASSERT_TRUE(program.wait_for_lines(1));
    program.send(signal);
    EXPECT_EQ(program.wait().status, 0) << program.messages();
  }
}

TEST_F(DepthrwView, TakesTheSignalOfRecordersForNothing) {
  RunningProgram program({"view", path("rec")});
  ASSERT_TRUE(program.wait_for_lines(1));
  program.send(SIGUSR1);
  sleep_seconds(0.3);
  EXPECT_FALSE(program.has_ended());
}

TEST_F(DepthrwView, TellsThatAPortIsTaken) {
  RunningProgram first({"view", path("rec")});
  ASSERT_TRUE(first.wait_for_lines(1));
  const std::string port = std::to_string(port_of(first.output()));
  const ProgramResult second = run_program({"view", path("rec"), "--port", port});
  EXPECT_EQ(second.status, 1);
  EXPECT_EQ(second.output, "");
  EXPECT_THAT(second.messages, HasSubstr("port " + port + " of '127.0.0.1' is taken"));
}

TEST_F(DepthrwView, TellsThatItCannotListen) {
  const ProgramResult result =
      run_program({"view", path("rec"), "--listen", "no.such.host.invalid"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("cannot listen on"));
}

TEST_F(DepthrwView, WarnsWhenOthersCanReachThePage) {
  RunningProgram program({"view", path("rec"), "--listen", "0.0.0.0"});
  ASSERT_TRUE(program.wait_for_lines(1));
  program.send(SIGTERM);
  EXPECT_THAT(program.wait().messages, HasSubstr("everyone who knows the address"));
}

TEST_F(DepthrwView, WantsARecording) {
  EXPECT_EQ(run_program({"view", path("nowhere")}).status, 1);
  std::filesystem::create_directory(path("empty"));
  EXPECT_THAT(run_program({"view", path("empty")}).messages, HasSubstr("no recorded frames"));
}

TEST_F(DepthrwView, WantsAPlaceForExports) {
  const ProgramResult result = run_program({"view", path("rec"), "--exports", path("nowhere")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.messages, HasSubstr("for exports"));
}

TEST_F(DepthrwView, RefusesPortsThatThereAreNot) {
  for (const char* port : {"-1", "65536", "http", ""}) {
    EXPECT_EQ(run_program({"view", path("rec"), "--port", port}).status, 2) << port;
  }
}

}  // namespace
}  // namespace depth_io::test
