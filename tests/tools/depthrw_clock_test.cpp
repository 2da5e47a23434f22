#include "tests/tools/clock_steps.h"

namespace depth_io::test {
namespace {

/// The wall clock is put back while the program records.
using DepthrwClock = Depthrw;

TEST_F(DepthrwClock, AStepIsToldAndFrameTimesGoOnEvenly) {
  const ProgramResult result =
      run_while_clock_is_put_back({"record", "--out", path("rec"), "--realtime", "--fps", "20",
                                   "--frames", "1000000", "--no-colour", "--acknowledge"});
  expect_even_stamps(result, description());
}

}  // namespace
}  // namespace depth_io::test
