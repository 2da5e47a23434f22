#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "tests/support/held_resources.h"
#include "tests/support/players.h"
#include "tests/support/quiet_console.h"

// Many small frames with each generation. scripts/soak.sh wants more than a day's:
// CAMERA_DEPTH_RW_SOAK_FRAMES=100000.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

int soak_frames() {
  const char* const text = std::getenv("CAMERA_DEPTH_RW_SOAK_FRAMES");
  if (text != nullptr) return std::max(std::atoi(text), 100);
  return kMemoryIsMeasured ? 2000 : 60;
}

/// So many frames may be recorded before memory has to stay the same.
int warm_up_frames() { return std::min(1000, soak_frames() / 4); }

/// Few, for the test itself lists their names.
constexpr int kRemovedAtOnce = 50;

/// A frame a second.
Moment soak_moment(int frame) {
  return {2013, 4, 9 + frame / 86400, frame / 3600 % 24, frame / 60 % 60, frame % 60, 0};
}

bool is_numbered(const fs::path& folder) {
  const std::string name = folder.filename().string();
  return name.size() == 8 && name.find_first_not_of("0123456789") == std::string::npos;
}

/// Makes room on the disk. The folders that an engine may go on in stay.
void remove_frames(const std::string& directory) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file() || is_numbered(entry.path())) files.push_back(entry.path());
  }
  for (const fs::path& path : files) fs::remove_all(path);
}

class RecordingSoak : public testing::TestWithParam<int> {
 protected:
  /// Runs `step` for each frame and holds what the process has at its end against the warm-up's.
  template <typename Step>
  void expect_no_growth(const char* steps, int frames, int warm_up, const Step& step) {
    Held warm;
    for (int frame = 0; frame < frames && !HasFatalFailure(); ++frame) {
      if (frame == warm_up) warm = Held::now();
      step(frame);
    }
    const Held end = Held::now();
    expect_constant(warm, end);
    std::printf("generation %d: %d %s, %ld kB resident after %d and %ld kB at the end, %d and %d ",
                GetParam(), frames, steps, warm.resident / 1024, warm_up, end.resident / 1024,
                warm.descriptors, end.descriptors);
    std::printf("descriptors\n");
    std::fflush(stdout);
  }

  TempDirectory directory_;
  QuietConsole console_;
};

TEST_P(RecordingSoak, RecordedFramesHoldNoMore) {
  constexpr int kLookedAt = 97;
  const auto recorder = make_recorder(GetParam(), directory_.path());
  expect_no_growth("frames recorded", soak_frames(), warm_up_frames(), [&](int frame) {
    if (frame % kRemovedAtOnce == 0) remove_frames(directory_.path());
    recorder->show_flat(frame);
    console_.clear();
    ASSERT_TRUE(recorder->capture(soak_moment(frame), true)) << frame << console_.text();
    if (frame % kLookedAt == 0) {
      ASSERT_TRUE(recorder->has_flat(frame, soak_moment(frame))) << frame;
    }
  });
}

TEST_P(RecordingSoak, FramesRecordedOutOfTheRingHoldNoMore) {
  const auto recorder = make_recorder(GetParam(), directory_.path());
  recorder->show_flat(1);
  expect_no_growth("frames recorded out of the ring", soak_frames() / 4, warm_up_frames() / 4,
                   [&](int frame) {
                     if (frame % kRemovedAtOnce == 0) remove_frames(directory_.path());
                     const Moment m = soak_moment(frame);
                     console_.clear();
                     ASSERT_TRUE(recorder->capture(m, false)) << frame << console_.text();
                     ASSERT_TRUE(recorder->record_ring(m, m)) << frame << console_.text();
                   });
}

TEST_P(RecordingSoak, PlayedFramesHoldNoMore) {
  ASSERT_TRUE(record_to_play(GetParam(), directory_.path()));
  const auto player = make_player(GetParam(), directory_.path());
  // Each round constructs its engine anew, which takes longer than a frame.
  const int rounds = soak_frames() / 10;
  // The allocator, too, learns once how large what it is asked for is.
  const int warm_up = std::min(std::max(warm_up_frames() / 10, 100), rounds / 2);
  expect_no_growth("recordings played", rounds, warm_up, [&](int round) {
    player->rewind();
    console_.clear();
    const Played played = play(*player);
    ASSERT_EQ(played.frames, kPlayedFrames) << round << console_.text();
    ASSERT_TRUE(played.all_are_right && played.came_to_end);
  });
}

INSTANTIATE_TEST_SUITE_P(Generations, RecordingSoak, testing::Values(1, 2, 3));

// --- Counters of weeks --------------------------------------------------------------------------

/// Whether single precision still finds a slot of the ring for a frame.
bool has_slot(int frame, int slots) {
  const auto quotient = static_cast<int>(static_cast<float>(frame) / static_cast<float>(slots));
  const int slot = frame - quotient * slots;
  return slot >= 0 && slot < slots;
}

/// The count of stamped frames, which the slots of the first generation follow, where single
/// precision stops to be exact.
class RingCounterSoak : public testing::TestWithParam<int> {};

TEST_P(RingCounterSoak, EveryFrameIsOnDiskAndNoneOutsideTheRing) {
  constexpr int kBefore = 30;
  constexpr int kFrames = kMemoryIsMeasured ? 60 : 40;
  QuietConsole console;
  for (const int slots : {1, 3, 10}) {
    TempDirectory directory;
    FirstGenerationRecorder recorder(directory.path(), slots);
    recorder.engine().HistoryCounter = GetParam() - kBefore;
    for (int frame = 0; frame < kFrames; ++frame) {
      const int number = recorder.engine().HistoryCounter;
      recorder.show_flat(frame);
      console.clear();
      EXPECT_EQ(recorder.capture(soak_moment(frame), true), has_slot(number, slots)) << number;
      EXPECT_TRUE(has_slot(number, slots) ||
                  console.text().find("out of range") != std::string_view::npos);
      EXPECT_TRUE(recorder.has_flat(frame, soak_moment(frame))) << number;
    }
    EXPECT_EQ(recorder.engine().HistoryCounter, GetParam() - kBefore + kFrames);
  }
}

INSTANTIATE_TEST_SUITE_P(Counters, RingCounterSoak, testing::Values(1 << 24, 1 << 25));

TEST(FolderCounterSoak, SubDirectoriesBeyondEightExactDigitsAreRefusedAndNotMixed) {
  QuietConsole console;
  TempDirectory directory;
  SecondGenerationRecorder recorder(directory.path());
  recorder.engine().CurrentSubDirectoryIndex = (1 << 24) - 2;
  int recorded = 0;
  for (int frame = 0; frame < 12; ++frame) {
    recorder.show_flat(frame);
    const bool good = recorder.capture(soak_moment(frame), true);
    recorded += good ? 1 : 0;
    EXPECT_EQ(recorder.has_flat(frame, soak_moment(frame)), good) << frame;
  }
  // Two frames in each of 16777214, 16777215 and 16777216.
  EXPECT_EQ(recorded, 6);
}

}  // namespace
}  // namespace depth_io::test
