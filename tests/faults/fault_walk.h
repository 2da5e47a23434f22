#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "tests/faults/fault_shim.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/quiet_console.h"

// Walks through the calls that a piece of work makes: first its first call fails, then its second,
// until no call is left.
namespace depth_io::test {

inline constexpr std::array<int, 6> kErrors = {ENOSPC, EIO, EMFILE, EACCES, EROFS, EINTR};

/// Sanitizers bring an allocator of their own.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kAllocationsCanFail = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kAllocationsCanFail = false;
#else
inline constexpr bool kAllocationsCanFail = true;
#endif
#else
inline constexpr bool kAllocationsCanFail = true;
#endif

/// Whether every call is tried with every error. That takes minutes: else each call is tried with
/// one error, its neighbours with others, and of many calls some are left out.
inline bool tries_every_error() { return std::getenv("CAMERA_DEPTH_RW_EVERY_FAULT") != nullptr; }

inline bool has_one_outcome(FaultKind kind) {
  return kind == kFaultAllocation || kind == kFaultShortWrite;
}

/// Whether the n-th call is tried with this one of `kErrors`.
inline bool is_tried(FaultKind kind, long nth, std::size_t error, bool lasting) {
  if (has_one_outcome(kind)) return error == 0;
  if (tries_every_error()) return true;
  return error == (static_cast<std::size_t>(nth) + (lasting ? 3 : 0)) % kErrors.size();
}

inline long next_tried(long nth) {
  constexpr long kFirstCalls = 12;
  if (tries_every_error() || nth < kFirstCalls) return nth + 1;
  return nth + 1 + nth / 6;
}

inline const char* kind_name(FaultKind kind) {
  constexpr const char* kNames[] = {"open",  "write",   "short write", "read",      "close",
                                    "mkdir", "readdir", "rename",      "allocation"};
  return kNames[kind];
}

inline std::string describe(const Fault& fault) {
  return std::string(kind_name(fault.kind)) + " " + std::to_string(fault.nth) +
         (fault.lasting ? " and later" : "") + ": " + std::strerror(fault.error);
}

/// A piece of work that faults are brought into.
class Work {
 public:
  virtual ~Work() = default;
  /// Before each walk: an empty place.
  virtual void begin() {}
  /// Before each try, without faults.
  virtual void prepare() = 0;
  /// The work itself; whether it told that all of it was done.
  virtual bool act() = 0;
  /// Whether what was told is true, and what was done earlier is still there.
  virtual void check(bool told_success) = 0;
  /// Whether a part that was not done need not be told.
  virtual bool may_be_silent() const { return false; }
  /// The fault is over: everything must go as ever.
  virtual void resume() = 0;

  QuietConsole console;
};

struct WalkCount {
  long tries = 0;
  long injected = 0;  ///< tries in which calls failed

  void add(bool has_failed) {
    ++tries;
    injected += has_failed ? 1 : 0;
  }
};

/// Says how many faults there were, and that there were any. scripts/faults.sh adds these lines up.
inline void tell_count(FaultKind kind, const WalkCount& count) {
  EXPECT_GT(count.injected, 0) << kind_name(kind);
  std::printf("%s: %ld tries, %ld faults injected\n", kind_name(kind), count.tries, count.injected);
}

/// One try; how many calls failed.
inline long try_fault(Work& work, const Fault& fault) {
  SCOPED_TRACE(describe(fault));
  const int descriptors = open_descriptors();
  work.prepare();
  work.console.clear();
  bool told_success = false;
  bool has_thrown = false;
  fault_shim_arm(&fault);
  try {
    told_success = work.act();
  } catch (const std::bad_alloc&) {
    has_thrown = true;
  }
  const long failed_calls = fault_shim_disarm();
  EXPECT_FALSE(has_thrown);
  EXPECT_TRUE(told_success || failed_calls > 0) << work.console.text();
  EXPECT_TRUE(told_success || work.may_be_silent() || work.console.complains())
      << work.console.text();
  work.check(told_success);
  work.resume();
  EXPECT_EQ(open_descriptors(), descriptors);
  return failed_calls;
}

/// Walks through all calls of a kind.
inline void walk(Work& work, FaultKind kind) {
  constexpr long kEndless = 100'000;
  WalkCount count;
  work.begin();
  for (const bool lasting : {false, true}) {
    bool was_reached = true;
    for (long nth = 1; was_reached && !testing::Test::HasFailure(); nth = next_tried(nth)) {
      was_reached = false;
      for (std::size_t error = 0; error < kErrors.size(); ++error) {
        if (!is_tried(kind, nth, error, lasting)) continue;
        const long failed = try_fault(work, {kind, nth, kErrors[error], lasting});
        was_reached |= failed > 0;
        count.add(failed > 0);
      }
      if (nth > kEndless) ADD_FAILURE() << "the work never gets through";
    }
  }
  tell_count(kind, count);
}

}  // namespace depth_io::test
