#include "tools/system/child_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/temp_directory.h"
#include "tools/system/failure.h"
#include "tools/system/interruption.h"

namespace depth_io::tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class ChildProcessTest : public testing::Test {
 protected:
  ChildProcessTest() { watch_signals(); }  // a broken pipe is an ordinary error

  test::TempDirectory directory_;
};

TEST_F(ChildProcessTest, ItGetsWhatIsWritten) {
  ChildProcess child({"dd", "status=none", "of=" + directory_.file("out")}, "");
  const std::string bytes(300000, 'x');
  EXPECT_TRUE(child.write(bytes));
  EXPECT_TRUE(child.write("end"));
  EXPECT_TRUE(child.finish());
  EXPECT_EQ(test::read_file(directory_.file("out")), bytes + "end");
}

TEST_F(ChildProcessTest, ABadEndIsTold) {
  ChildProcess child({"sh", "-c", "echo one >&2; echo two >&2; exit 3"}, "");
  EXPECT_FALSE(child.finish());
  EXPECT_THAT(child.messages(), ElementsAre("one", "two"));
}

TEST_F(ChildProcessTest, OneThatTakesNoMoreIsTold) {
  ChildProcess child({"true"}, "");
  const std::string bytes(1 << 20U, 'x');
  EXPECT_FALSE(child.write(bytes));
  EXPECT_TRUE(child.finish());
}

TEST_F(ChildProcessTest, AMissingProgramIsToldWithAHint) {
  try {
    ChildProcess({"no-such-program-here"}, "install it");
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("cannot start 'no-such-program-here'"));
    EXPECT_THAT(failure.what(), HasSubstr("; install it"));
  }
}

TEST_F(ChildProcessTest, ArgumentsAreNotForAShell) {
  const std::string odd = directory_.file("$(touch x) 'a\" b");
  ChildProcess child({"dd", "status=none", "of=" + odd}, "");
  EXPECT_TRUE(child.finish());
  EXPECT_TRUE(std::filesystem::exists(odd));
}

TEST_F(ChildProcessTest, OneThatIsNotWaitedForIsEnded) {
  const auto begin = std::chrono::steady_clock::now();
  { const ChildProcess child({"sleep", "60"}, ""); }
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

}  // namespace
}  // namespace depth_io::tools
