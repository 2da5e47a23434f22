#include <algorithm>
#include <atomic>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/file_tree.h"
#include "tests/support/jpeg_fixture.h"
#include "tests/support/players.h"
#include "tests/support/quiet_console.h"

// What engines of every generation must bear: colour images that break off, and each other.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

// --- Colour images that fail midway -------------------------------------------------------------

/// A whole image, and behind it the header of a second one: rows are decoded before it fails.
std::string image_with_two_headers(const TempDirectory& place) {
  encode_flat(place.file("image.jpg"), kWidth, kHeight, 3, 200);
  const std::string bytes = read_file(place.file("image.jpg"));
  const std::size_t header = bytes.find("\xFF\xC0");
  constexpr std::size_t kHeaderSize = 2 + 17;
  return bytes.substr(0, bytes.size() - 2) + bytes.substr(header, kHeaderSize) + "\xFF\xD9";
}

/// More scans than are read of any image.
std::string image_of_many_scans(const TempDirectory& place) {
  const std::vector<unsigned char> grey(std::size_t{kPixels}, 200);
  encode_plainly(place.file("image.jpg"), kWidth, kHeight, 1, grey, one_coefficient_scans(1));
  return read_file(place.file("image.jpg"));
}

class FailingColourImage : public testing::TestWithParam<int> {
 protected:
  void expect_left_alone(const std::string& image) {
    QuietConsole console;
    ASSERT_TRUE(record_to_play(GetParam(), directory_.path())) << console.text();
    for (const auto& entry : fs::recursive_directory_iterator(directory_.path())) {
      const std::string name = entry.path().filename().string();
      const bool is_colour = name.find("bgrimage") != std::string::npos;
      if (is_colour && name.ends_with(".jpg")) write_file(entry.path(), image);
    }
    const auto player = make_player(GetParam(), directory_.path());
    player->rewind();
    std::fill_n(player->colour(), kColourBytes, kBefore);
    console.clear();
    for (int i = 0; i <= kPlayedFrames; ++i) player->read();
    EXPECT_NE(console.text().find("JPEG Fatal Error"), std::string_view::npos) << console.text();
    EXPECT_TRUE(std::all_of(player->colour(), player->colour() + kColourBytes,
                            [](unsigned char byte) { return byte == kBefore; }));
  }
  const TempDirectory& directory() const { return directory_; }

 private:
  static constexpr unsigned char kBefore = 77;
  TempDirectory directory_;
};

TEST_P(FailingColourImage, LeavesTheCallersImageWhenRowsWereDecoded) {
  const TempDirectory place;
  expect_left_alone(image_with_two_headers(place));
}

TEST_P(FailingColourImage, LeavesTheCallersImageWhenScansWereRead) {
  const TempDirectory place;
  expect_left_alone(image_of_many_scans(place));
}

INSTANTIATE_TEST_SUITE_P(Generations, FailingColourImage, testing::Values(1, 2, 3));

// --- Side by side -------------------------------------------------------------------------------

/// Prints nothing; unlike other consoles of the tests it may be used by many threads at once.
class SilentConsole {
 public:
  SilentConsole() {
    set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
    set_key_wait_handler([](void*) {}, nullptr);
  }
  ~SilentConsole() {
    set_print_handler(nullptr, nullptr);
    set_key_wait_handler(nullptr, nullptr);
  }
  SilentConsole(const SilentConsole&) = delete;
  SilentConsole& operator=(const SilentConsole&) = delete;
};

struct Lane {
  int generation = 0;
  TempDirectory directory;
  bool good = false;

  void record_and_play() {
    good = record_to_play(generation, directory.path());
    const auto player = make_player(generation, directory.path());
    player->rewind();
    const Played played = play(*player);
    good = good && played.frames == kPlayedFrames && played.all_are_right && played.came_to_end;
  }
};

TEST(ThreeGenerationsThreads, EnginesSideBySideDoWhatEachDoesAlone) {
  const SilentConsole console;
  std::vector<Lane> together(6);
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < together.size(); ++i) {
    together[i].generation = 1 + static_cast<int>(i % 3);
    threads.emplace_back([&lane = together[i]] { lane.record_and_play(); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Lane& lane : together) {
    Lane alone;
    alone.generation = lane.generation;
    alone.record_and_play();
    EXPECT_TRUE(lane.good && alone.good) << lane.generation;
    EXPECT_TRUE(file_tree(lane.directory.path()) == file_tree(alone.directory.path()))
        << lane.generation;
  }
}

TEST(ThreeGenerationsThreads, PlayersOfOneDirectoryDoNotDisturbEachOther) {
  // Each lists the directory before it plays.
  const SilentConsole console;
  const TempDirectory directory;
  ASSERT_TRUE(record_to_play(2, directory.path()));
  std::atomic<int> good{0};
  constexpr int kRounds = 10;
  const auto play_again_and_again = [&] {
    const auto player = make_player(2, directory.path());
    for (int round = 0; round < kRounds; ++round) {
      player->rewind();
      const Played played = play(*player);
      good += played.frames == kPlayedFrames && played.all_are_right && played.came_to_end;
    }
  };
  std::thread other(play_again_and_again);
  play_again_and_again();
  other.join();
  EXPECT_EQ(good, 2 * kRounds);
}

}  // namespace
}  // namespace depth_io::test
