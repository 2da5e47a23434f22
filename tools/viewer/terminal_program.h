#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace depth_io::tools {

/// A program at work whose two output streams are a terminal of ours, so that it shows its
/// progress.
class TerminalProgram {
 public:
  /// Throws `Failure` when it cannot be started.
  explicit TerminalProgram(const std::vector<std::string>& command);
  /// Asks a program that is still at work to end, and waits for it.
  ~TerminalProgram();
  TerminalProgram(const TerminalProgram&) = delete;
  TerminalProgram& operator=(const TerminalProgram&) = delete;

  /// Waits a moment for output; empty when there is none yet.
  std::string read_output();
  /// The exit status once it has ended; 128 and the signal when a signal ended it.
  std::optional<int> status();
  void ask_to_end();

 private:
  void wait_for_end();

  int terminal_ = -1;
  pid_t id_ = -1;
  std::optional<int> status_;
};

/// Starts a program that goes on by itself, without a word; false when that does not work.
bool start_detached(const std::vector<std::string>& command);

}  // namespace depth_io::tools
