#include "tools/system/library_log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>

#include "codec/console.h"

namespace depth_io::tools {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LibraryLog, TheLastLinesAreKept) {
  LibraryLog log(false);
  log.start_operation();
  for (int i = 0; i < 9; ++i) print("line %d\n", i);
  print("begun");
  EXPECT_THAT(log.last_lines(),
              ElementsAre("line 3", "line 4", "line 5", "line 6", "line 7", "line 8", "begun"));
}

TEST(LibraryLog, AnOperationBeginsWithNone) {
  LibraryLog log(false);
  print("before\n");
  wait_for_key();
  EXPECT_EQ(log.key_waits(), 1);
  log.start_operation();
  EXPECT_EQ(log.key_waits(), 0);
  EXPECT_THAT(log.last_lines(), IsEmpty());
}

TEST(LibraryLog, ThreadsSeeTheirOwnLines) {
  LibraryLog log(false);
  std::vector<std::string> of_thread;
  int key_waits_of_thread = 0;
  print("mine\n");
  std::thread([&] {
    log.start_operation();
    print("another's\n");
    wait_for_key();
    of_thread = log.last_lines();
    key_waits_of_thread = log.key_waits();
  }).join();
  EXPECT_THAT(of_thread, ElementsAre("another's"));
  EXPECT_EQ(key_waits_of_thread, 1);
  EXPECT_THAT(log.last_lines(), ElementsAre("mine"));
  EXPECT_EQ(log.key_waits(), 0);
}

TEST(LibraryLog, LinesThatWereShownAreNotKept) {
  testing::internal::CaptureStderr();
  LibraryLog log(true);
  print("at once\n");
  EXPECT_THAT(log.last_lines(), IsEmpty());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "  | at once\n");
}

}  // namespace
}  // namespace depth_io::tools
