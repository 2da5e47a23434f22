#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace depth_io::test {

/// Runs a part of a test in a process of its own, whose surroundings it may change. What fails in
/// it is told where it fails; the result is its exit status: 0 when `code` gave true and nothing
/// failed in it, 1 when something did, -1 when it crashed or took longer than a minute.
template <typename Code>
int run_in_child(const Code& code) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    constexpr unsigned kPatienceSeconds = 60;
    alarm(kPatienceSeconds);
    const bool good = code();
    std::fflush(stdout);
    _exit(good && !testing::Test::HasFailure() ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

}  // namespace depth_io::test
