#include <cmath>

#include "tests/support/three_generations_fixture.h"

// The three engines write the same files to different places, and deliver the same from them.
namespace depth_io::test {
namespace {

ColourImage striped_colour(int step) {
  ColourImage image = flat_colour(0);
  for (std::size_t i = 0; i < image.size(); ++i) {
    image[i] = static_cast<unsigned char>(i / 1920 / 4 + i % 3 * 40 + static_cast<unsigned>(step));
  }
  return image;
}

class ThreeGenerations : public ::testing::Test {
 protected:
  /// Eight frames: three sub-directories, two minutes.
  void record() {
    for (int i = 0; i < 6; ++i) recorders_.record(scene_depth(i), striped_colour(20 * i));
    recorders_.record(flat_depth(0.0F), flat_colour(0));
    DepthMap steep = flat_depth(0.0F);
    for (std::size_t i = 0; i < steep.size(); ++i) steep[i] = static_cast<float>(i % 640) / 25.0F;
    recorders_.record(steep, flat_colour(255));
  }
  ThreeRecorders recorders_;
};

TEST_F(ThreeGenerations, DeliverTheSameFrames) {
  record();
  expect_same_playback(recorders_);
}

TEST_F(ThreeGenerations, DeliverWhatWasRecorded) {
  record();
  ThreePlayers players(recorders_);
  for (int i = 0; i < 6; ++i) {
    const PlayedFrame played = players.second();
    const DepthMap truth = scene_depth(i);
    int misses = 0;
    for (std::size_t k = 0; k < truth.size(); ++k) {
      if (std::abs(played.depth[k] - truth[k]) > 0.056F) ++misses;
    }
    EXPECT_EQ(misses, 0) << i;
  }
}

TEST_F(ThreeGenerations, WriteTheSameFiles) {
  record();
  for (std::size_t i = 0; i < recorders_.count(); ++i) {
    const std::vector<std::string> bases = recorders_.bases(i);
    for (const char* ending : {".rle", ".ref", ".jpg", ".err"}) {
      const std::string first = read_file(bases[0] + ending);
      EXPECT_FALSE(first.empty()) << bases[0] << ending;
      EXPECT_TRUE(first == read_file(bases[1] + ending)) << bases[1] << ending;
      EXPECT_TRUE(first == read_file(bases[2] + ending)) << bases[2] << ending;
    }
  }
}

TEST_F(ThreeGenerations, EachCanLoadTheOthersFramesByName) {
  record();
  KV_RGBD_CameraCompression2 player;
  SecondSettings settings;
  settings.directory = "elsewhere";
  start_engine(player, settings);
  DepthMap first;
  for (const std::string& base : recorders_.bases(4)) {
    Text name(base);
    ASSERT_TRUE(quietly([&] { return player.read_for_calib_tool(name); })) << base;
    if (first.empty()) first = depth_of(player);
    EXPECT_TRUE(depth_of(player) == first) << base;
  }
}

TEST_F(ThreeGenerations, NumberedAndTreePlaybackEndAfterTheLastFrame) {
  record();
  ThreePlayers players(recorders_);
  for (std::size_t i = 0; i < recorders_.count(); ++i) {
    ASSERT_TRUE(players.second().played);
    ASSERT_TRUE(players.third().played);
  }
  EXPECT_TRUE(players.second().played);   // the end, told by a line
  EXPECT_FALSE(players.second().played);  // behind the end
  EXPECT_FALSE(players.third().played);
}

}  // namespace
}  // namespace depth_io::test
