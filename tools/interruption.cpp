#include "tools/interruption.h"

#include <cerrno>
#include <csignal>
#include <ctime>

namespace depth_io::tools {
namespace {

volatile std::sig_atomic_t end_requested = 0;

void request_end(int /*signal*/) { end_requested = 1; }

}  // namespace

void watch_signals() {
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_handler = request_end;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

bool interrupted() { return end_requested != 0; }

void sleep_until(double seconds) {
  timespec moment = {};
  moment.tv_sec = static_cast<std::time_t>(seconds);
  moment.tv_nsec = static_cast<long>((seconds - static_cast<double>(moment.tv_sec)) * 1e9);
  while (!interrupted() &&
         clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr) == EINTR) {
  }
}

double monotonic_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace depth_io::tools
