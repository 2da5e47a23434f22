#pragma once

namespace depth_io::tools {

/// Lets SIGINT, SIGTERM and SIGHUP (unless that is ignored) ask for an orderly end and SIGUSR1 for
/// a recording instead of killing the program, and makes a broken pipe an ordinary write error.
void watch_signals();

/// True after SIGINT, SIGTERM or SIGHUP.
bool interrupted();

/// True once after one or more SIGUSR1.
bool take_trigger();

/// Sleeps until `seconds` on the monotonic clock, or until one of these signals comes.
void sleep_until(double seconds);

/// Seconds on the monotonic clock.
double monotonic_seconds();

}  // namespace depth_io::tools
