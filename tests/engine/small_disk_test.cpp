#include "tests/support/small_disk.h"

#include <filesystem>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/support/child_process.h"
#include "tests/support/players.h"
#include "tests/support/quiet_console.h"

// Recording onto a real file system until it is full, and on when there is room again. Each test
// runs in a process of its own, which mounts the file system.
namespace depth_io::test {
namespace {

namespace fs = std::filesystem;

constexpr int kNoMounting = 77;

/// A small file system, and an engine that records onto it.
class SmallDisk {
 public:
  SmallDisk(int generation, const std::string& directory) : directory_(directory) {
    // What will make room again.
    write_file(directory_ + "/ballast", std::string(std::size_t{512} * 1024, 'b'));
    for (int i = 0; i < kSmallFiles; ++i) write_file(small_file(i), "b");
    fs::create_directory(recording());
    recorder_ = make_recorder(generation, recording());
  }

  /// Records until a frame fails; whether one did.
  bool record_until_full() {
    constexpr int kMostFrames = 200;
    while (next_ < kMostFrames) {
      recorder_->show(next_);
      console_.clear();
      if (!recorder_->capture(moment_of(next_), true)) return true;
      acknowledged_.push_back(next_++);
    }
    return false;
  }
  void expect_told() const { EXPECT_TRUE(console_.complains()) << console_.text(); }
  void expect_acknowledged_whole() const {
    EXPECT_GE(acknowledged_.size(), 2U) << "the disk is too small for this test";
    for (const int number : acknowledged_) {
      EXPECT_TRUE(recorder_->has(number, moment_of(number))) << number;
    }
  }
  /// Frames out of the ring find no room, either.
  void expect_ring_fails() {
    const Moment m = moment_of(next_, 40);
    recorder_->show(next_);
    // The third generation makes the folders of what it captures.
    if (!recorder_->capture(m, false)) return;
    console_.clear();
    EXPECT_FALSE(recorder_->record_ring(m, m));
    expect_told();
  }
  void make_room() const {
    fs::remove(directory_ + "/ballast");
    for (int i = 0; i < kSmallFiles; ++i) fs::remove(small_file(i));
  }
  void expect_to_go_on() {
    for (int more = 0; more < 2; ++more, ++next_) {
      recorder_->show(next_);
      console_.clear();
      EXPECT_TRUE(recorder_->capture(moment_of(next_), true)) << next_ << console_.text();
      acknowledged_.push_back(next_);
    }
  }

 private:
  static constexpr int kSmallFiles = 20;
  std::string recording() const { return directory_ + "/rec"; }
  std::string small_file(int i) const { return directory_ + "/small" + std::to_string(i); }

  QuietConsole console_;
  std::string directory_;
  std::unique_ptr<Recorder> recorder_;
  std::vector<int> acknowledged_;
  int next_ = 0;
};

struct Room {
  const char* name;
  const char* options;
};

class SmallDiskRecording : public testing::TestWithParam<std::tuple<int, Room>> {
 protected:
  static int generation() { return std::get<0>(GetParam()); }
  static const char* options() { return std::get<1>(GetParam()).options; }
};

TEST_P(SmallDiskRecording, KeepsWhatWasAcknowledgedTellsTheFailureAndGoesOnWhenThereIsRoom) {
  const TempDirectory directory;
  const int status = run_in_child([&] {
    if (!mount_small_disk(directory.path(), options())) _exit(kNoMounting);
    SmallDisk disk(generation(), directory.path());
    EXPECT_TRUE(disk.record_until_full()) << "the disk never was full";
    disk.expect_told();
    disk.expect_acknowledged_whole();
    disk.expect_ring_fails();
    disk.expect_acknowledged_whole();
    disk.make_room();
    disk.expect_to_go_on();
    disk.expect_acknowledged_whole();
    return true;
  });
  if (status == kNoMounting) GTEST_SKIP() << "SKIPPED: this system lets the tests mount nothing";
  EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(Generations, SmallDiskRecording,
                         testing::Combine(testing::Values(1, 2, 3),
                                          testing::Values(Room{"FullDisk", "size=2m"},
                                                          Room{"NoMoreFiles",
                                                               "size=64m,nr_inodes=60"})),
                         [](const auto& tested) {
                           return "Generation" + std::to_string(std::get<0>(tested.param)) +
                                  std::get<1>(tested.param).name;
                         });

class ReadOnlyMedium : public testing::TestWithParam<int> {};

TEST_P(ReadOnlyMedium, FailsTheFrameAndIsPlayed) {
  const TempDirectory directory;
  const int status = run_in_child([&] {
    if (!mount_small_disk(directory.path(), "size=8m")) _exit(kNoMounting);
    QuietConsole console;
    EXPECT_TRUE(record_to_play(GetParam(), directory.path())) << console.text();
    const auto recorder = make_recorder(GetParam(), directory.path());
    const auto player = make_player(GetParam(), directory.path());
    // The second generation plays what was listed.
    if (GetParam() == 2) {
      EXPECT_GT(ListEntriesInDir(directory.path().c_str()), 0);
    }
    EXPECT_TRUE(make_read_only(directory.path()));
    recorder->show(0);
    console.clear();
    EXPECT_FALSE(recorder->capture(moment_of(0), true));
    EXPECT_TRUE(console.complains()) << console.text();
    console.clear();
    player->rewind();
    const Played played = play(*player);
    EXPECT_EQ(played.frames, kPlayedFrames) << console.text();
    EXPECT_TRUE(played.all_are_right && played.came_to_end);
    return true;
  });
  if (status == kNoMounting) GTEST_SKIP() << "SKIPPED: this system lets the tests mount nothing";
  EXPECT_EQ(status, 0);
}

INSTANTIATE_TEST_SUITE_P(Generations, ReadOnlyMedium, testing::Values(1, 2, 3));

}  // namespace
}  // namespace depth_io::test
