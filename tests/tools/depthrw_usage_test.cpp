#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

/// What the command line takes and refuses.
using DepthrwUsage = Depthrw;

TEST_F(DepthrwUsage, AWordThatIsNoCommandIsNamed) {
  for (const char* const word : {"recrod", "--frobnicate"}) {
    const ProgramResult result = run_program({word});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.messages, HasSubstr(std::string("no command or option '") + word + "'"));
  }
}

TEST_F(DepthrwUsage, WrongArgumentsAreUsageErrors) {
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"fly"},
      {"record"},
      {"record", "--out", ""},
      {"record", "--out", path("x"), "--fps", "0"},
      {"record", "--out", path("x"), "--fps", "nan"},
      {"record", "--out", path("x"), "--fps", "0.0000001"},
      {"record", "--out", path("x"), "--fps", "inf"},
      {"record", "--out", path("x"), "--fps", "fast"},
      {"record", "--out", path("x"), "--fps", "2000", "--name-by", "time", "--layout", "flat"},
      {"record", "--out", path("x"), "--frames", "0"},
      {"record", "--out", path("x"), "--frames", "-3"},
      {"record", "--out", path("x"), "--layout", "flat", "--frames", "16777217"},
      {"record", "--out", path("x"), "--frames", "2147483648"},
      {"record", "--out", path("x"), "--frames", "3", "--duration", "1"},
      {"record", "--out", path("x"), "--duration", "0.001"},
      {"record", "--out", path("x"), "--duration", "nan"},
      {"record", "--out", path("x"), "--history", "0"},
      {"record", "--out", path("x"), "--history", "2", "--history-seconds", "1"},
      {"record", "--out", path("x"), "--history-seconds", "-1"},
      {"record", "--out", path("x"), "--history-seconds", "nan"},
      {"record", "--out", path("x"), "--history-seconds", "999999"},
      {"record", "--out", path("x"), "--layout", "round"},
      {"record", "--out", path("x"), "--per-directory", "5"},
      {"record", "--out", path("x"), "--layout", "numbered", "--per-directory", "0"},
      {"record", "--out", path("x"), "--name-by", "number"},
      {"record", "--out", path("x"), "--layout", "numbered", "--name-by", "number"},
      {"record", "--out", path("x"), "--layout", "flat", "--append"},
      {"record", "--out", path("x"), "--layout", "numbered", "--append"},
      {"record", "--out", path("x"), "--camera-type", "2"},
      {"record", "--out", path("x"), "--max-fps", "0"},
      {"record", "--out", path("x"), "--max-fps", "nan"},
      {"record", "--out", path("x"), "--layout", "flat", "--max-fps", "5"},
      {"record", "--out", path("x"), "--trigger", "mood"},
      {"record", "--out", path("x"), "--trigger", "always", "--motion", "1"},
      {"record", "--out", path("x"), "--trigger", "signal", "--every", "3"},
      {"record", "--out", path("x"), "--before", "1"},
      {"record", "--out", path("x"), "--trigger", "motion", "--after", "1"},
      {"record", "--out", path("x"), "--trigger", "signal", "--before", "-1"},
      {"record", "--out", path("x"), "--trigger", "signal", "--before", "3", "--history-seconds",
       "2"},
      {"record", "--out", path("x"), "--trigger", "signal", "--before", "3", "--history", "5"},
      {"record", "--out", path("x"), "--realtime", "--no-realtime"},
      {"record", "--out", path("x"), "--min-free", "much"},
      {"record", "--out", path("x"), "--min-free", "-1G"},
      {"record", "--out", path("x"), "--json", "--acknowledge"},
      {"record", "--out", path("x"), "--name-by", "colour"},
      {"record", "--out", path("x"), "--start", "yesterday"},
      {"record", "--out", path("x"), "--start", "9999-12-31T23:59:59"},
      {"record", "--out", path("x"), "--motion", "-1"},
      {"record", "--out", path("x"), "--motion", "100"},
      {"record", "--out", path("x"), "--every", "0"},
      {"record", "--out", path("x"), "--max-depth", "0"},
      {"record", "--out", path("x"), "--max-depth", "nan"},
      {"record", "--out", path("x"), "--max-depth", "256"},
      {"record", "--out", path("x"), "--scale", "0"},
      {"record", "--out", path("x"), "--seed", "-1"},
      {"record", "--out", path("x"), "--source", "camera"},
      {"record", "--out", path("x"), "more"},
      {"record", "--out", std::string(300, 'x')},
      {"play"},
      {"play", path("x"), "--from", "noon"},
      {"play", path("x"), "--from", "2013-04-09T14:05:08", "--to", "2013-04-09T14:05:07"},
      {"info"},
      {"info", path("x"), "--to", "2013-04-09"},
      {"catalogue"},
      {"dump", path("x")},
      {"dump", path("x"), "0"},
      {"scripts", path("x")},
      {"scripts", path("x"), "0"},
      {"scripts", path("x"), "many"},
      {"scripts", "", "3"},
      {"summaries", path("x"), "-1"},
      {"play", path("x"), "--loud"},
      {"verify", path("x"), "--against", "nothing"},
      {"verify", path("x"), "--scale", "-1"},
      {"verify", path("x"), "--max-depth", "0"},
  };
  for (const auto& arguments : cases) {
    const ProgramResult result = run_program(arguments);
    EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments) << result.messages;
    EXPECT_FALSE(result.messages.empty()) << testing::PrintToString(arguments);
    EXPECT_EQ(result.output, "") << testing::PrintToString(arguments);
  }
  EXPECT_FALSE(fs::exists(path("x")));
}

TEST_F(DepthrwUsage, HelpAndVersionAreData) {
  for (const char* argument : {"--help", "--version"}) {
    const ProgramResult result = run_program({argument});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("depthrw"));
    EXPECT_EQ(result.messages, "");
  }
  EXPECT_THAT(run_program({"record", "--help"}).output, HasSubstr("--max-depth"));
}

TEST_F(DepthrwUsage, EveryCommandHelps) {
  for (const char* command : {"record", "play", "verify", "info", "catalogue", "repair", "dump",
                              "scripts", "summaries"}) {
    const ProgramResult result = run_program({command, "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr(command));
    EXPECT_EQ(result.messages, "");
  }
}

}  // namespace
}  // namespace depth_io::test
