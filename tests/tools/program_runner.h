#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temp_directory.h"

namespace depth_io::test {

/// How a run of the program ended, and what it wrote.
struct ProgramResult {
  int status = -1;  ///< -1 when it did not end by itself
  std::string output;
  std::string messages;
};

/// What the program gets as a standard stream.
enum class Stream { kUsual, kClosed, kFull, kBrokenPipe };

/// Runs the program with its output in files. Standard input is a pipe in which nothing ever
/// arrives: a program that waits for a key never ends, and is killed after a minute.
class ProgramRunner {
 public:
  Stream input = Stream::kUsual;
  Stream output = Stream::kUsual;
  int signal = 0;           ///< sent after `signal_delay`
  double signal_delay = 0;  ///< seconds

  ProgramResult run(const std::vector<std::string>& arguments) const {
    const TempDirectory directory;
    int idle_pipe[2] = {-1, -1};
    if (pipe2(idle_pipe, O_CLOEXEC) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) start_program(arguments, directory, idle_pipe[0]);
    ProgramResult result;
    result.status = wait_for(child);
    close(idle_pipe[0]);
    close(idle_pipe[1]);
    result.output = read_file(directory.file("output"));
    result.messages = read_file(directory.file("messages"));
    return result;
  }

 private:
  [[noreturn]] void start_program(const std::vector<std::string>& arguments,
                                  const TempDirectory& directory, int idle_input) const {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    dup2(idle_input, STDIN_FILENO);
    dup2(open(directory.file("messages").c_str(), kFlags, 0600), STDERR_FILENO);
    dup2(open_output(directory.file("output"), kFlags), STDOUT_FILENO);
    if (input == Stream::kClosed) close(STDIN_FILENO);
    if (output == Stream::kClosed) close(STDOUT_FILENO);
    std::vector<char*> argv;
    std::string program = DEPTHRW_PROGRAM;
    argv.push_back(program.data());
    for (const std::string& argument : arguments) {
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }

  int open_output(const std::string& path, int flags) const {
    if (output == Stream::kFull) return open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (output != Stream::kBrokenPipe) return open(path.c_str(), flags, 0600);
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    close(ends[0]);
    return ends[1];
  }

  int wait_for(pid_t child) const {
    const auto start = std::chrono::steady_clock::now();
    bool signal_sent = signal == 0;
    for (;;) {
      int status = 0;
      if (waitpid(child, &status, WNOHANG) == child) {
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - start;
      if (!signal_sent && passed.count() > signal_delay) {
        kill(child, signal);
        signal_sent = true;
      }
      if (passed.count() > 60) kill(child, SIGKILL);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
};

inline ProgramResult run_program(const std::vector<std::string>& arguments) {
  return ProgramRunner().run(arguments);
}

}  // namespace depth_io::test
