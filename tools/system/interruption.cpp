#include "tools/system/interruption.h"

#include <algorithm>
#include <csignal>
#include <ctime>

namespace depth_io::tools {
namespace {

volatile std::sig_atomic_t end_requested = 0;
volatile std::sig_atomic_t trigger_requested = 0;

void request_end(int /*signal*/) { end_requested = 1; }
void request_trigger(int /*signal*/) { trigger_requested = 1; }

timespec to_timespec(double seconds) {
  timespec moment = {};
  moment.tv_sec = static_cast<std::time_t>(seconds);
  moment.tv_nsec = static_cast<long>((seconds - static_cast<double>(moment.tv_sec)) * 1e9);
  return moment;
}

}  // namespace

void watch_signals() {
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  action.sa_handler = request_end;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  // Of a session that ends; unless the user saw to it that it goes on after that.
  struct sigaction hangup = {};
  sigaction(SIGHUP, nullptr, &hangup);
  if (hangup.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
  action.sa_handler = request_trigger;
  sigaction(SIGUSR1, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

bool interrupted() { return end_requested != 0; }

bool take_trigger() {
  if (trigger_requested == 0) return false;
  trigger_requested = 0;
  return true;
}

void sleep_until(double seconds) {
  // In slices: a signal between the test and the sleep would be noticed only at the end of it.
  constexpr double kSlice = 0.1;
  for (double now = monotonic_seconds(); now < seconds && !interrupted() && trigger_requested == 0;
       now = monotonic_seconds()) {
    const timespec moment = to_timespec(std::min(seconds, now + kSlice));
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &moment, nullptr);
  }
}

double monotonic_seconds() {
  timespec now = {};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

}  // namespace depth_io::tools
