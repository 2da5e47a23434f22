#pragma once

#include <sys/types.h>

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace depth_io::tools {

/// Another program, fed through its standard input. What it says on standard error is kept; its
/// standard output is dropped. A Ctrl-C of the terminal does not reach it.
class ChildProcess {
 public:
  /// Starts a program, looked for along PATH, with its arguments; no shell is involved. Throws
  /// `Failure` when it cannot be started; `hint` tells what to do when it is not there.
  ChildProcess(const std::vector<std::string>& command, const std::string& hint);
  /// Kills it if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Waits until it has taken the bytes; false when it takes no more, or the user interrupts.
  bool write(std::string_view bytes);

  /// Ends its input and waits for its end. True when it ended well; false also when the user
  /// interrupts: it is killed then.
  bool finish();

  /// The last lines it wrote on standard error.
  std::vector<std::string> messages() const;

 private:
  void end_input();
  void stop();

  pid_t id_ = -1;
  int input_ = -1;
  std::FILE* errors_ = nullptr;
};

}  // namespace depth_io::tools
