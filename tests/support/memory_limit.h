#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>

namespace depth_io::test {

/// Lets the process have little more memory than it has now. Sanitizers reserve terabytes of
/// addresses and cannot live with it.
class MemoryLimit {
 public:
  static constexpr bool kPossible =
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
      false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
      false;
#else
      true;
#endif
#else
      true;
#endif

  explicit MemoryLimit(rlim_t more_bytes) {
    getrlimit(RLIMIT_AS, &saved_);
    long pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
      if (std::fscanf(file, "%ld", &pages) != 1) pages = 0;
      std::fclose(file);
    }
    rlimit lower = saved_;
    lower.rlim_cur =
        static_cast<rlim_t>(pages) * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + more_bytes;
    setrlimit(RLIMIT_AS, &lower);
  }
  ~MemoryLimit() { setrlimit(RLIMIT_AS, &saved_); }
  MemoryLimit(const MemoryLimit&) = delete;
  MemoryLimit& operator=(const MemoryLimit&) = delete;

 private:
  rlimit saved_{};
};

}  // namespace depth_io::test
