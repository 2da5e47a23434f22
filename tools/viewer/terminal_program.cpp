#include "tools/viewer/terminal_program.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

#include "tools/system/failure.h"
#include "tools/system/interruption.h"

extern char** environ;

namespace depth_io::tools {
namespace {

/// The streams and signals that a program starts with.
class SpawnPlan {
 public:
  SpawnPlan() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawnattr_init(&attributes_);
  }
  ~SpawnPlan() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnPlan(const SpawnPlan&) = delete;
  SpawnPlan& operator=(const SpawnPlan&) = delete;

  void use_null_device(int stream) {
    posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
  }
  void use(int descriptor, int stream) {
    posix_spawn_file_actions_adddup2(&actions_, descriptor, stream);
  }
  /// Of its own, so that keys pressed in our terminal do not reach it.
  void make_group() {
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETPGROUP);
    posix_spawnattr_setpgroup(&attributes_, 0);
  }

  /// The error number; 0 when it runs.
  int start(std::vector<std::string> command, pid_t& id) {
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    return posix_spawnp(&id, arguments[0], &actions_, &attributes_, arguments.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_ = {};
  posix_spawnattr_t attributes_ = {};
};

int exit_status(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

TerminalProgram::TerminalProgram(const std::vector<std::string>& command) {
  int program_side = -1;
  winsize size = {};
  size.ws_row = 24;
  size.ws_col = 160;
  if (openpty(&terminal_, &program_side, nullptr, nullptr, &size) != 0) {
    throw Failure(std::string("cannot open a terminal: ") + std::strerror(errno));
  }
  fcntl(terminal_, F_SETFD, FD_CLOEXEC);
  fcntl(program_side, F_SETFD, FD_CLOEXEC);
  SpawnPlan plan;
  plan.use_null_device(STDIN_FILENO);
  plan.use(program_side, STDOUT_FILENO);
  plan.use(program_side, STDERR_FILENO);
  plan.make_group();
  const int error = plan.start(command, id_);
  close(program_side);
  if (error == 0) return;
  close(terminal_);
  throw Failure("cannot start '" + command.front() + "': " + std::strerror(error));
}

TerminalProgram::~TerminalProgram() {
  ask_to_end();
  wait_for_end();
  close(terminal_);
}

std::string TerminalProgram::read_output() {
  constexpr int kPatienceMilliseconds = 100;
  pollfd wanted{terminal_, POLLIN, 0};
  if (poll(&wanted, 1, kPatienceMilliseconds) <= 0) return {};
  std::array<char, 4096> bytes;
  // At its end a terminal gives an error instead of nothing.
  const ssize_t count = read(terminal_, bytes.data(), bytes.size());
  if (count > 0) return {bytes.data(), static_cast<std::size_t>(count)};
  std::this_thread::sleep_for(std::chrono::milliseconds(kPatienceMilliseconds));
  return {};
}

std::optional<int> TerminalProgram::status() {
  int status = 0;
  if (!status_ && waitpid(id_, &status, WNOHANG) == id_) status_ = exit_status(status);
  return status_;
}

void TerminalProgram::ask_to_end() {
  if (!this->status()) kill(id_, SIGTERM);
}

void TerminalProgram::wait_for_end() {
  constexpr double kPatienceSeconds = 5;
  const double end = monotonic_seconds() + kPatienceSeconds;
  while (!status()) {
    if (monotonic_seconds() > end) kill(id_, SIGKILL);
    read_output();  // a full terminal would keep it from ending
  }
}

bool start_detached(const std::vector<std::string>& command) {
  SpawnPlan plan;
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    plan.use_null_device(stream);
  plan.make_group();
  pid_t id = -1;
  if (plan.start(command, id) != 0) return false;
  // Somebody has to take note of its end.
  std::thread([id] { waitpid(id, nullptr, 0); }).detach();
  return true;
}

}  // namespace depth_io::tools
