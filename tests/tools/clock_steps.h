#pragma once

#include <algorithm>
#include <cstdlib>
#include <functional>

#include "tests/tools/depthrw_fixture.h"

namespace depth_io::test {

/// Runs the program, puts the wall clock back by an hour once some frames are acknowledged, and
/// ends it some frames later.
inline ProgramResult run_while_clock_is_put_back(const std::vector<std::string>& arguments) {
  constexpr long kFrames = 4;
  const TempDirectory directory;
  const std::string sign = directory.file("put_back");
  setenv("CLOCK_SHIM", sign.c_str(), 1);
  setenv("LD_PRELOAD", CLOCK_SHIM_LIBRARY, 1);
  RunningProgram program(arguments);
  unsetenv("LD_PRELOAD");
  unsetenv("CLOCK_SHIM");
  EXPECT_TRUE(program.wait_for_lines(kFrames)) << program.messages();
  write_file(sign, "");
  EXPECT_TRUE(program.wait_for_lines(lines_in(program.output()) + kFrames)) << program.messages();
  program.send(SIGTERM);
  return program.wait();
}

/// The step was told once, and no frame's stamp went back with it.
inline void expect_even_stamps(const ProgramResult& result, const nlohmann::json& description) {
  EXPECT_EQ(result.status, 0) << result.messages;
  // An hour, but for the milliseconds between the looks at two clocks.
  EXPECT_THAT(result.messages,
              testing::ContainsRegex("the clock went back by (3599\\.[5-9]|3600\\.[0-4])[0-9]* s; "
                                     "frame times go on evenly\n"));
  EXPECT_EQ(description["clock_steps"]["count"], 1);
  EXPECT_NEAR(description["clock_steps"]["largest_seconds"].get<double>(), -3600, 0.5);
  const std::vector<std::string> names = split_lines(result.output);
  EXPECT_TRUE(std::is_sorted(names.begin(), names.end(), std::less_equal<>()))
      << testing::PrintToString(names);
}

}  // namespace depth_io::test
