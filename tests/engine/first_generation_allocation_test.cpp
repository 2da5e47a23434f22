#include <cstdlib>
#include <new>

#include "tests/support/engine_fixture.h"

namespace {

/// Large allocations left until one fails; negative: none fails. Only the engine's pixel arrays are
/// large, so the test's own allocations never fail.
int g_large_allocations_left = -1;
constexpr std::size_t kLarge = 300'000;

void* allocate(std::size_t size) {
  if (size >= kLarge && g_large_allocations_left >= 0 && g_large_allocations_left-- == 0) {
    throw std::bad_alloc();
  }
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// NOLINTBEGIN: the replaceable allocation functions of this program.
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
// NOLINTEND

// Memory that runs out while an engine is built. Leaks are found by the leak checker.
namespace depth_io::test {
namespace {

constexpr int kMoreThanAnyEngineTakes = 200;

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

bool is_empty(const KV_RGBD_CameraCompression& engine) {
  return engine.MapZd.N == 0 && engine.MapZd.buffer == nullptr && engine.colour_image.N == 0 &&
         engine.MapHasDepth.N == 0 && engine.prev_MapHasDepth.N == 0 &&
         engine.HistoryDepth.N1D == 0 && engine.HistoryBGR.N1D == 0 &&
         engine.HistoryTimeStamp.N1D == 0 && engine.HistoryYear.N == 0 && engine.tempF.N == 0 &&
         engine.tempUS.N == 0 && engine.DisplayMovingFrame.N == 0 && engine.timestamp.N == 0 &&
         engine.RW.Label == nullptr && engine.RW.LoadedColourImage == nullptr &&
         engine.RW.width == 0;
}

TEST(FirstGenerationAllocation, FailedConstructionThrowsAndPrintsNothing) {
  int failures = 0;
  const ConsoleTrace trace = capture_console(
      [&] { failures = failures_until_success([] { KV_RGBD_CameraCompression engine(2); }); });
  EXPECT_GT(failures, 14);
  EXPECT_LT(failures, kMoreThanAnyEngineTakes);
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(trace.keys, 0);
}

TEST(FirstGenerationAllocation, FailedSecondConstructLeavesNothingAllocated) {
  int half_engines = 0;
  const int failures = failures_until_success([&] {
    const int allowed = g_large_allocations_left;
    g_large_allocations_left = -1;
    KV_RGBD_CameraCompression engine(2);
    g_large_allocations_left = allowed;
    try {
      engine.Construct(3);
    } catch (const std::bad_alloc&) {
      g_large_allocations_left = -1;
      if (!is_empty(engine)) ++half_engines;
      throw;
    }
  });
  EXPECT_GT(failures, 14);
  EXPECT_LT(failures, kMoreThanAnyEngineTakes);
  EXPECT_EQ(half_engines, 0);
}

TEST(FirstGenerationAllocation, EngineIsBuiltAgainAfterAFailure) {
  KV_RGBD_CameraCompression engine(2);
  g_large_allocations_left = 5;
  EXPECT_THROW(engine.Construct(3), std::bad_alloc);
  g_large_allocations_left = -1;
  const ConsoleTrace trace = capture_console([&] { engine.Construct(3); });
  EXPECT_EQ(trace.output, "");
  EXPECT_EQ(engine.SizeHistory, 3);
  EXPECT_TRUE(store_flat(engine, 2, 1.5F));
  EXPECT_EQ(slot_depth(engine, 2), 1.5F);
}

}  // namespace
}  // namespace depth_io::test
