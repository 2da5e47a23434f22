#pragma once

#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>

#include "tests/support/catalogue_fixture.h"
#include "tests/support/stamped_engine_fixture.h"

// What a process holds, for long runs.
namespace depth_io::test {

/// The sanitizers' allocator keeps what was released.
inline constexpr bool kMemoryIsMeasured = MemoryLimit::kPossible;
inline constexpr long kAllowedGrowth = 1 << 20;

/// Bytes that the process holds.
struct Held {
  long resident = 0;
  long allocated = 0;
  int descriptors = 0;

  static Held now() {
    Held held;
    long pages = 0;
    long resident_pages = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
      if (std::fscanf(file, "%ld %ld", &pages, &resident_pages) != 2) resident_pages = 0;
      std::fclose(file);
    }
    held.resident = resident_pages * sysconf(_SC_PAGESIZE);
    const struct mallinfo2 info = mallinfo2();
    held.allocated = static_cast<long>(info.uordblks + info.hblkhd);
    held.descriptors = open_descriptors();
    return held;
  }
};

inline void expect_constant(const Held& before, const Held& after) {
  EXPECT_EQ(after.descriptors, before.descriptors);
  if (!kMemoryIsMeasured) return;
  EXPECT_LE(after.allocated - before.allocated, kAllowedGrowth);
  EXPECT_LE(after.resident - before.resident, kAllowedGrowth);
}

}  // namespace depth_io::test
