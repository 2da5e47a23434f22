#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/temp_directory.h"

namespace depth_io::test {

#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kIsSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif
#else
inline constexpr bool kIsSanitized = false;
#endif

/// How a run of the program ended, and what it wrote.
struct ProgramResult {
  int status = -1;  ///< -1 when it did not end by itself
  std::string output;
  std::string messages;
};

/// What the program gets as a standard stream.
enum class Stream { kUsual, kClosed, kNullDevice, kFull, kBrokenPipe };

/// How a program is started.
struct ProgramStart {
  std::string program = DEPTHRW_PROGRAM;
  Stream input = Stream::kUsual;
  Stream output = Stream::kUsual;
  Stream messages = Stream::kUsual;    ///< usual or closed
  std::string working_directory = {};  ///< empty: the test's
  std::function<bool()> prepare = {};  ///< what else the new process does before; 126 when false
};

inline void sleep_seconds(double seconds) {
  std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

/// The program at work, with its output in files. Standard input is a pipe in which nothing ever
/// arrives: a program that waits for a key never ends, and is killed after a minute.
class RunningProgram {
 public:
  explicit RunningProgram(const std::vector<std::string>& arguments,
                          const ProgramStart& start = {}) {
    if (pipe2(idle_pipe_, O_CLOEXEC) != 0) std::abort();
    child_ = fork();
    if (child_ == 0) become_program(arguments, start);
  }
  ~RunningProgram() {
    if (!has_ended_) send(SIGKILL);
    wait();
    close(idle_pipe_[0]);
    close(idle_pipe_[1]);
  }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  pid_t id() const { return child_; }
  void send(int signal) const { kill(child_, signal); }
  std::string output() const { return read_file(directory_.file("output")); }
  std::string messages() const { return read_file(directory_.file("messages")); }

  bool has_ended() { return poll_end(); }

  /// Waits until the program has written so many lines of data; false when it ended before, or a
  /// minute is over.
  bool wait_for_lines(long count) {
    for (double waited = 0; waited < kPatience; waited += kPollSeconds) {
      const std::string text = output();
      if (std::count(text.begin(), text.end(), '\n') >= count) return true;
      if (poll_end()) return false;
      sleep_seconds(kPollSeconds);
    }
    return false;
  }

  ProgramResult wait() {
    const auto begin = std::chrono::steady_clock::now();
    while (!poll_end()) {
      const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
      if (passed.count() > kPatience) send(SIGKILL);
      sleep_seconds(kPollSeconds);
    }
    return {status_, output(), messages()};
  }

 private:
  static constexpr double kPatience = 60;
  static constexpr double kPollSeconds = 0.002;

  bool poll_end() {
    if (has_ended_) return true;
    int status = 0;
    if (waitpid(child_, &status, WNOHANG) != child_) return false;
    has_ended_ = true;
    status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return true;
  }

  [[noreturn]] void become_program(const std::vector<std::string>& arguments,
                                   const ProgramStart& start) const {
    constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC;
    dup2(idle_pipe_[0], STDIN_FILENO);
    dup2(open(directory_.file("messages").c_str(), kFlags, 0600), STDERR_FILENO);
    dup2(open_output(start.output, kFlags), STDOUT_FILENO);
    if (start.input == Stream::kClosed) close(STDIN_FILENO);
    if (start.input == Stream::kNullDevice) {
      dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    }
    if (start.output == Stream::kClosed) close(STDOUT_FILENO);
    if (start.messages == Stream::kClosed) close(STDERR_FILENO);
    const std::string& place = start.working_directory;
    if (!place.empty() && chdir(place.c_str()) != 0) _exit(126);
    if (start.prepare && !start.prepare()) _exit(126);
    std::vector<char*> argv;
    std::string program = start.program;
    argv.push_back(program.data());
    for (const std::string& argument : arguments) {
      argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    execv(argv[0], argv.data());
    _exit(127);
  }

  int open_output(Stream stream, int flags) const {
    if (stream == Stream::kFull) return open("/dev/full", O_WRONLY | O_CLOEXEC);
    if (stream != Stream::kBrokenPipe) {
      return open(directory_.file("output").c_str(), flags, 0600);
    }
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
    close(ends[0]);
    return ends[1];
  }

  TempDirectory directory_;
  int idle_pipe_[2] = {-1, -1};
  pid_t child_ = -1;
  bool has_ended_ = false;
  int status_ = -1;
};

inline ProgramResult run_program(const std::vector<std::string>& arguments,
                                 const ProgramStart& start = {}) {
  return RunningProgram(arguments, start).wait();
}

}  // namespace depth_io::test
