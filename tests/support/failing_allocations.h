#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

// Memory that runs out: replaces the allocation functions of the test program that includes it.
namespace depth_io::test {

/// Large allocations left until one fails; negative: none fails. Only an engine's pixel arrays are
/// large, so the test's own allocations never fail.
inline int g_large_allocations_left = -1;

inline void* allocate_or_fail(std::size_t size) {
  constexpr std::size_t kLarge = 300'000;
  if (size >= kLarge && g_large_allocations_left >= 0 && g_large_allocations_left-- == 0) {
    throw std::bad_alloc();
  }
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace depth_io::test

// Not inlined, for the compiler would then see a `free` of what a `new` has given.
// NOLINTBEGIN: the replaceable allocation functions of this program.
[[gnu::noinline]] void* operator new(std::size_t size) {
  return depth_io::test::allocate_or_fail(size);
}
[[gnu::noinline]] void* operator new[](std::size_t size) {
  return depth_io::test::allocate_or_fail(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
// NOLINTEND

namespace depth_io::test {

inline constexpr int kMoreThanAnyEngineTakes = 200;

/// Runs `code` with the first, second, ... large allocation failing until it gets through; gives
/// how often it failed.
template <typename Code>
int failures_until_success(Code&& code) {
  for (int allowed = 0; allowed < kMoreThanAnyEngineTakes; ++allowed) {
    g_large_allocations_left = allowed;
    bool failed = false;
    try {
      code();
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    g_large_allocations_left = -1;
    if (!failed) return allowed;
  }
  return kMoreThanAnyEngineTakes;
}

/// Has `engine`, which is in order, fail in each of the allocations of `construct` in turn, and
/// calls `use(engine)` with what is left of it; gives how often that was.
template <typename Make, typename Construct, typename Use>
int use_after_each_failure(const Make& make, const Construct& construct, const Use& use) {
  return failures_until_success([&] {
    const int allowed = g_large_allocations_left;
    g_large_allocations_left = -1;
    const auto engine = make();
    g_large_allocations_left = allowed;
    try {
      construct(*engine);
    } catch (const std::bad_alloc&) {
      g_large_allocations_left = -1;
      use(*engine);
      throw;
    }
  });
}

}  // namespace depth_io::test
