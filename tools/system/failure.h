#pragma once

#include <stdexcept>
#include <string>

namespace depth_io::tools {

/// Exit statuses of the program.
inline constexpr int kGood = 0;
inline constexpr int kFailed = 1;
inline constexpr int kUsage = 2;
inline constexpr int kPartial = 3;

/// Ends a command with a message for the user and an exit status.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, int status = kFailed)
      : std::runtime_error(message), status_(status) {}
  int status() const { return status_; }

 private:
  int status_;
};

/// The arguments make no sense.
class UsageFailure : public Failure {
 public:
  explicit UsageFailure(const std::string& message) : Failure(message, kUsage) {}
};

}  // namespace depth_io::tools
