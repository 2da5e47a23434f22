#include "codec/console.h"
#include "tests/faults/fault_walk.h"
#include "tools/system/library_log.h"

// What the program keeps of the library's lines, when there is no memory for one of them.
namespace depth_io::test {
namespace {

TEST(LibraryLogFaults, ALineThatCouldNotBeKeptHidesNoError) {
  if (!kAllocationsCanFail) GTEST_SKIP() << "the sanitizer brings an allocator of its own";
  bool was_reached = true;
  long nth = 0;
  while (was_reached) {
    ++nth;
    tools::LibraryLog log(false);
    log.start_operation();
    const Fault fault{kFaultAllocation, nth, ENOMEM, false};
    fault_shim_arm(&fault);
    print_line("a line that is longer than what a string holds without memory of its own");
    was_reached = fault_shim_disarm() > 0;
    EXPECT_EQ(log.tells_errors(), was_reached) << nth;
    print_line("ERROR - the next one");
    EXPECT_TRUE(log.tells_errors()) << nth;
    EXPECT_EQ(log.last_lines().back(), "ERROR - the next one");
  }
  EXPECT_GT(nth, 1);
}

}  // namespace
}  // namespace depth_io::test
