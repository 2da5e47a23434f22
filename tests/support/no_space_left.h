#pragma once

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

namespace depth_io::test {

/// Lets no file grow beyond `bytes`, as a full disk would; also the files that output goes to.
class NoSpaceLeft {
 public:
  explicit NoSpaceLeft(rlim_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &before_);
    rlimit limit = before_;
    limit.rlim_cur = bytes;
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  }
  ~NoSpaceLeft() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  NoSpaceLeft(const NoSpaceLeft&) = delete;
  NoSpaceLeft& operator=(const NoSpaceLeft&) = delete;

 private:
  rlimit before_ = {};
  void (*handler_)(int);
};

}  // namespace depth_io::test
