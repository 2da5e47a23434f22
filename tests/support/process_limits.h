#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

// What a process may do less of, for as long as an object lives.
namespace depth_io::test {

/// Fewer descriptors than the process may have otherwise.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(rlim_t limit) {
    getrlimit(RLIMIT_NOFILE, &saved_);
    rlimit lower = saved_;
    lower.rlim_cur = limit;
    setrlimit(RLIMIT_NOFILE, &lower);
  }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &saved_); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

 private:
  rlimit saved_{};
};

/// Gives up the rights of the superuser, who may read and write everything.
class OrdinaryUser {
 public:
  OrdinaryUser() : was_(geteuid()) {
    if (was_ == 0) ordinary_ = seteuid(65534) == 0;
  }
  ~OrdinaryUser() {
    if (was_ == 0 && seteuid(0) != 0) std::abort();
  }
  OrdinaryUser(const OrdinaryUser&) = delete;
  OrdinaryUser& operator=(const OrdinaryUser&) = delete;
  bool ordinary() const { return ordinary_; }

 private:
  uid_t was_;
  bool ordinary_ = true;
};

}  // namespace depth_io::test
