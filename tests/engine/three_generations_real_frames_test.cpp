#include "tests/support/real_frames.h"
#include "tests/support/three_generations_fixture.h"

// Real frames through all three generations.
namespace depth_io::test {
namespace {

/// At most this many frames of a set, spread over it: each is written and read three times.
constexpr std::size_t kFrames = 40;

class ThreeGenerationsRealFrames : public ::testing::TestWithParam<const char*> {};

TEST_P(ThreeGenerationsRealFrames, DeliverTheSameFrames) {
  const RealFrames frames(GetParam());
  if (frames.count() == 0) GTEST_SKIP() << "no frames in " << frames.directory();
  ThreeRecorders recorders;
  const std::size_t step = std::max<std::size_t>(1, frames.count() / kFrames);
  for (std::size_t i = 0; i < frames.count() && recorders.count() < kFrames; i += step) {
    const DepthMap depth = frames.depth(i);
    ASSERT_EQ(depth.size(), static_cast<std::size_t>(kPixels));
    recorders.record(depth, flat_colour(static_cast<unsigned char>(i)));
  }
  EXPECT_GT(recorders.count(), 0U);
  expect_same_playback(recorders);
}

INSTANTIATE_TEST_SUITE_P(Sets, ThreeGenerationsRealFrames,
                         ::testing::Values("kinect_kitchen", "kinect_sparse", "realsense_lab",
                                           "realsense_rooms", "synthetic_room"),
                         [](const auto& tested) { return std::string(tested.param); });

}  // namespace
}  // namespace depth_io::test
