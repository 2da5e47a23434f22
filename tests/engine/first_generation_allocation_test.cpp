#include <memory>

#include "tests/support/engine_fixture.h"
#include "tests/support/failing_allocations.h"

// Memory that runs out while an engine is built. Leaks are found by the leak checker.
namespace depth_io::test {
namespace {

bool is_empty(const KV_RGBD_CameraCompression& engine) {
  return engine.MapZd.N == 0 && engine.MapZd.buffer == nullptr && engine.colour_image.N == 0 &&
         engine.MapHasDepth.N == 0 && engine.prev_MapHasDepth.N == 0 &&
         engine.HistoryDepth.N1D == 0 && engine.HistoryBGR.N1D == 0 &&
         engine.HistoryTimeStamp.N1D == 0 && engine.HistoryYear.N == 0 && engine.tempF.N == 0 &&
         engine.tempUS.N == 0 && engine.DisplayMovingFrame.N == 0 && engine.timestamp.N == 0 &&
         engine.RW.Label == nullptr && engine.RW.LoadedColourImage == nullptr &&
         engine.RW.width == 0 && engine.SizeHistory == 0;
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
  const int failures =
      use_after_each_failure([] { return std::make_unique<KV_RGBD_CameraCompression>(2); },
                             [](KV_RGBD_CameraCompression& engine) { engine.Construct(3); },
                             [&](const KV_RGBD_CameraCompression& engine) {
                               if (!is_empty(engine)) ++half_engines;
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
