#include "tools/system/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

#include "tools/system/failure.h"
#include "tools/system/interruption.h"

extern char** environ;

namespace depth_io::tools {
namespace {

/// What a program is started with.
class Start {
 public:
  Start(int input, int errors) {
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&files, errors, STDERR_FILENO);
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &usual);
  }
  ~Start() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  Start(const Start&) = delete;
  Start& operator=(const Start&) = delete;

  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
};

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command, const std::string& hint)
    : errors_(std::tmpfile()) {
  int ends[2] = {-1, -1};
  if (errors_ == nullptr || pipe2(ends, O_CLOEXEC) != 0) {
    const std::string reason = std::strerror(errno);
    if (errors_ != nullptr) std::fclose(errors_);
    throw Failure("cannot start '" + command[0] + "': " + reason);
  }
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  const Start start(ends[0], fileno(errors_));
  const int result =
      posix_spawnp(&id_, arguments[0], &start.files, &start.attributes, arguments.data(), environ);
  ::close(ends[0]);
  input_ = ends[1];
  if (result == 0) return;
  end_input();
  std::fclose(errors_);
  const bool is_absent = result == ENOENT || result == EACCES;
  throw Failure("cannot start '" + command[0] + "': " + std::strerror(result) +
                (is_absent ? "; " + hint : std::string()));
}

ChildProcess::~ChildProcess() {
  end_input();
  stop();
  std::fclose(errors_);
}

bool ChildProcess::write(std::string_view bytes) {
  while (!bytes.empty()) {
    if (interrupted()) return false;
    const ssize_t count = ::write(input_, bytes.data(), bytes.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

bool ChildProcess::finish() {
  end_input();
  if (id_ <= 0) return false;
  int status = 0;
  for (;;) {
    const pid_t ended = ::waitpid(id_, &status, 0);
    if (ended == id_) break;
    if (errno != EINTR || interrupted()) {
      stop();
      return false;
    }
  }
  id_ = -1;
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::vector<std::string> ChildProcess::messages() const {
  constexpr std::size_t kMostLines = 6;
  constexpr int kLongestLine = 600;
  std::vector<std::string> lines;
  std::rewind(errors_);
  char line[kLongestLine];
  while (std::fgets(line, kLongestLine, errors_) != nullptr) {
    lines.emplace_back(line, std::strcspn(line, "\r\n"));
    if (lines.size() > kMostLines) lines.erase(lines.begin());
  }
  return lines;
}

void ChildProcess::end_input() {
  if (input_ >= 0) ::close(input_);
  input_ = -1;
}

void ChildProcess::stop() {
  if (id_ <= 0) return;
  ::kill(id_, SIGKILL);
  while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
  }
  id_ = -1;
}

}  // namespace depth_io::tools
