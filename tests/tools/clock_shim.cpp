// A wall clock that is put back while a program runs. Preloaded into the program, it gives the time
// of an hour ago from the moment on when the file exists that CLOCK_SHIM names.

#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace {

constexpr std::time_t kSecondsBack = 3600;

// Asked for at once: who changes the environment must not meet who looks at it.
const char* const sign = std::getenv("CLOCK_SHIM");

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  const bool is_put_back = clock == CLOCK_REALTIME && sign != nullptr && access(sign, F_OK) == 0;
  if (is_put_back) time->tv_sec -= kSecondsBack;
  return result;
}
