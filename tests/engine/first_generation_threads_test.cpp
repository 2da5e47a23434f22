#include <thread>

#include "tests/support/engine_fixture.h"

// One engine per thread, at the same time, without sharing anything.
namespace depth_io::test {
namespace {

constexpr int kFrames = 3;

void record_scene(const TempDirectory& directory, int first_step) {
  KV_RGBD_CameraCompression engine(2);
  Text path(directory.slash());
  Text stem("depth");
  engine.start_recording(path, stem, 3);
  for (int frame = 0; frame < kFrames; ++frame) {
    DepthMap depth = scene_depth(first_step + frame);
    ColourImage colour = flat_colour(static_cast<unsigned char>(40 * (first_step + frame)));
    engine.input(depth.data(), colour.data());
    engine.apply(frame, 0);
  }
}

std::vector<float> played_depths(const TempDirectory& directory) {
  KV_RGBD_CameraCompression engine;
  Text path(directory.slash());
  Text stem("depth");
  std::vector<float> all;
  for (int frame = 0; frame < kFrames; ++frame) {
    DepthMap depth = flat_depth(-1.0F);
    engine.read(depth.data(), path, stem, 3, frame);
    all.insert(all.end(), depth.begin(), depth.end());
  }
  return all;
}

void expect_same_files(const TempDirectory& a, const TempDirectory& b) {
  const std::vector<std::string> names = files_in(a.path());
  EXPECT_EQ(names.size(), 5U * kFrames);
  ASSERT_EQ(names, files_in(b.path()));
  for (const std::string& name : names) {
    EXPECT_TRUE(read_file(a.file(name)) == read_file(b.file(name))) << name;
  }
}

TEST(FirstGenerationThreads, TwoEnginesWriteWhatEachWritesAlone) {
  TempDirectory together[2];
  TempDirectory alone[2];
  const ConsoleTrace trace = capture_console([&] {
    std::thread first([&] { record_scene(together[0], 0); });
    std::thread second([&] { record_scene(together[1], 3); });
    first.join();
    second.join();
    record_scene(alone[0], 0);
    record_scene(alone[1], 3);
  });
  EXPECT_EQ(trace.keys, 0);
  expect_same_files(together[0], alone[0]);
  expect_same_files(together[1], alone[1]);
}

TEST(FirstGenerationThreads, OneEngineRecordsWhileAnotherPlays) {
  TempDirectory recorded;
  TempDirectory written_meanwhile;
  TempDirectory written_alone;
  std::vector<float> played_meanwhile;
  std::vector<float> played_alone;
  const ConsoleTrace trace = capture_console([&] {
    record_scene(recorded, 0);
    played_alone = played_depths(recorded);
    record_scene(written_alone, 3);
    std::thread recorder([&] { record_scene(written_meanwhile, 3); });
    std::thread player([&] { played_meanwhile = played_depths(recorded); });
    recorder.join();
    player.join();
  });
  EXPECT_EQ(trace.keys, 0);
  EXPECT_TRUE(played_meanwhile == played_alone);
  EXPECT_GT(played_alone[50 * kWidth], 1.0F);
  expect_same_files(written_meanwhile, written_alone);
}

}  // namespace
}  // namespace depth_io::test
