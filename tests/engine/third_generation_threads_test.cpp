#include <string>
#include <thread>
#include <vector>

#include "tests/support/third_generation_fixture.h"

namespace depth_io::test {
namespace {

Moment frame_moment(int frame) { return {2013, 4, 9, 14, frame / 4, frame % 4, 0}; }

float frame_depth(int thread, int frame) {
  return 1.0F + 0.5F * static_cast<float>(thread) + 0.05F * static_cast<float>(frame);
}

TEST(ThirdThreads, EnginesOfTheirOwnRecordAndPlaySideBySide) {
  constexpr int kThreads = 4;
  constexpr int kFrames = 12;
  std::vector<TempDirectory> directories(kThreads);
  std::vector<int> good(kThreads, 0);
  {
    const ConsoleCapture console;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        const std::string& path = directories[static_cast<std::size_t>(t)].path();
        ThirdParameters parameters;
        set_recording(parameters, path);
        ThirdEngine recorder(parameters);
        for (int i = 0; i < kFrames; ++i) {
          fill_frame(recorder, frame_depth(t, i));
          capture(recorder, true, frame_moment(i));
        }
        set_range(parameters, frame_moment(0), frame_moment(kFrames));
        ThirdEngine player(parameters);
        for (int i = 0; i < kFrames && player.Read(0); ++i) {
          if (player.getCurrentTimestamp() == stamp_of(frame_moment(i)) &&
              player.DepthMap[0] == frame_depth(t, i)) {
            ++good[static_cast<std::size_t>(t)];
          }
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(good, std::vector<int>(kThreads, kFrames));
}

}  // namespace
}  // namespace depth_io::test
