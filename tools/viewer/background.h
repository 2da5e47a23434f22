#pragma once

#include <atomic>
#include <chrono>
#include <stop_token>

namespace depth_io::tools {

/// Keeps what is found out in the background from delaying the frames that somebody waits for: the
/// processors of a small machine have enough to do with those.
class Background {
 public:
  /// Lets the calling thread have only the time that others leave.
  static void join();

  /// A frame is wanted.
  void note_request() { last_request_ = Clock::now(); }

  /// Waits while frames are wanted. Not for long: where a recording is played for hours, the rest
  /// goes on slowly.
  void give_way(const std::stop_token& stop) const;

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds kQuiet{300};  ///< after a request
  static constexpr std::chrono::milliseconds kPatience{500};
  static constexpr std::chrono::milliseconds kNap{20};

  std::atomic<Clock::time_point> last_request_{Clock::time_point{}};
};

}  // namespace depth_io::tools
