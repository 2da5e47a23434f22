#include <memory>

#include "tests/faults/fault_walk.h"
#include "tests/faults/recording_bench.h"

// Faults while a recording is played back, by each generation.
namespace depth_io::test {
namespace {

constexpr int kFrames = 3;

/// Close to each other: the third generation looks at every minute between two frames.
Moment played_moment(int number) { return {2013, 4, 9, 14, 5 + number, 0, 0}; }

/// Plays the frames that the recorder of its generation made.
class Player {
 public:
  virtual ~Player() = default;
  /// Goes to the beginning.
  virtual void rewind() = 0;
  /// The next frame; its maps are cleared before.
  virtual bool read() = 0;
  /// Whether a read that gave no frame was the end of the recording.
  virtual bool is_at_end() = 0;
  virtual float* depth() = 0;
  virtual unsigned char* colour() = 0;
};

class FirstPlayer : public Player {
 public:
  explicit FirstPlayer(const std::string& directory) : folder_(directory + "/") {}
  void rewind() override { next_ = 0; }
  bool read() override {
    if (next_ == kFrames) return false;
    const Moment m = played_moment(next_++);
    return engine_.read(depth_.data(), colour_.data(), folder_.data(), depth_stem_.data(),
                        colour_stem_.data(), m.year, m.month, m.day, m.hour, m.minute, m.second,
                        m.millisecond);
  }
  bool is_at_end() override { return next_ == kFrames; }
  float* depth() override { return depth_.data(); }
  unsigned char* colour() override { return colour_.data(); }

 private:
  KV_RGBD_CameraCompression engine_;
  std::string folder_;
  std::string depth_stem_ = "depth";
  std::string colour_stem_ = "bgrimage";
  DepthMap depth_ = flat_depth(0.0F);
  ColourImage colour_ = flat_colour(0);
  int next_ = 0;
};

class SecondPlayer : public Player {
 public:
  explicit SecondPlayer(const std::string& directory) : directory_(directory) {}
  void rewind() override {
    start_engine(
        engine_,
        {.directory = directory_, .mode = 'R', .colour_stem = "bgrimage", .sub_directories = true});
  }
  bool read() override { return engine_.Read(0); }
  bool is_at_end() override { return engine_.fSubDir_r == nullptr; }
  float* depth() override { return engine_.DepthMap; }
  unsigned char* colour() override { return engine_.ColourImage; }

 private:
  std::string directory_;
  KV_RGBD_CameraCompression2 engine_;
};

class ThirdPlayerBench : public Player {
 public:
  explicit ThirdPlayerBench(const std::string& directory) {
    set_recording(parameters_, directory);
    set_colour(parameters_);
    const Moment a = played_moment(0);
    const Moment b = played_moment(kFrames);
    EXPECT_TRUE(parameters_.SetReadMode(a.year, a.month, a.day, a.hour, a.minute, a.second,
                                        a.millisecond, b.year, b.month, b.day, b.hour, b.minute,
                                        b.second, b.millisecond));
  }
  void rewind() override { EXPECT_TRUE(engine_.Construct(parameters_)); }
  bool read() override { return engine_.Read(0); }
  bool is_at_end() override { return engine_.REACHED_WANTED_STOP_TIME; }
  float* depth() override { return engine_.DepthMap; }
  unsigned char* colour() override { return engine_.ColourImage; }

 private:
  KV_RGBD_CameraCompression3_parameters parameters_;
  KV_RGBD_CameraCompression3 engine_;
};

std::unique_ptr<Player> make_player(int generation, const std::string& directory) {
  if (generation == 1) return std::make_unique<FirstPlayer>(directory);
  if (generation == 2) return std::make_unique<SecondPlayer>(directory);
  return std::make_unique<ThirdPlayerBench>(directory);
}

/// Plays everything. It is done when every frame came; a frame that did not come is told, and no
/// frame is another than it should be.
class PlaybackWork : public Work {
 public:
  explicit PlaybackWork(int generation) {
    const auto recorder = make_recorder(generation, directory_.path());
    for (int number = 0; number < kFrames; ++number) {
      recorder->show(number);
      EXPECT_TRUE(recorder->capture(played_moment(number), true)) << console.text();
    }
    player_ = make_player(generation, directory_.path());
  }
  void prepare() override { player_->rewind(); }
  bool act() override {
    delivered_ = 0;
    all_are_right_ = true;
    for (int number = 0; number <= kFrames; ++number) {
      player_->depth()[0] = kNoFrame;
      const bool good = player_->read();
      if (good && player_->depth()[0] != kNoFrame) deliver(number);
      if (player_->is_at_end() || !good) break;
    }
    return delivered_ == kFrames && player_->is_at_end();
  }
  void check(bool) override { EXPECT_TRUE(all_are_right_) << console.text(); }
  void resume() override {
    player_->rewind();
    EXPECT_TRUE(act()) << console.text();
    EXPECT_TRUE(all_are_right_);
  }

 private:
  static constexpr float kNoFrame = -7.0F;

  void deliver(int) {
    ++delivered_;
    bool is_known = false;
    for (int number = 0; number < kFrames; ++number) {
      is_known |= shows(number, player_->depth(), player_->colour());
    }
    all_are_right_ &= is_known;
  }

  TempDirectory directory_;
  std::unique_ptr<Player> player_;
  int delivered_ = 0;
  bool all_are_right_ = true;
};

struct Case {
  int generation;
  FaultKind kind;
};

void PrintTo(const Case& tested, std::ostream* out) {
  *out << tested.generation << " " << kind_name(tested.kind);
}

std::vector<Case> cases() {
  std::vector<Case> all;
  for (const FaultKind kind : {kFaultOpen, kFaultRead, kFaultAllocation}) {
    if (kind == kFaultAllocation && !kAllocationsCanFail) continue;
    for (const int generation : {1, 2, 3}) all.push_back({generation, kind});
  }
  // Only the later generations read folders, and only the second writes: it lists what it plays.
  for (const FaultKind kind : {kFaultWrite, kFaultShortWrite, kFaultRename}) {
    all.push_back({2, kind});
  }
  for (const int generation : {2, 3}) all.push_back({generation, kFaultReadFolder});
  return all;
}

class PlaybackFaults : public testing::TestWithParam<Case> {};

TEST_P(PlaybackFaults, AreToldAndGiveNoWrongFrame) {
  PlaybackWork work(GetParam().generation);
  const WalkCount count = walk(work, GetParam().kind);
  EXPECT_GT(count.failed_calls, 0);
  std::printf("%ld tries, %ld failed calls\n", count.tries, count.failed_calls);
}

INSTANTIATE_TEST_SUITE_P(Calls, PlaybackFaults, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<Case>& tested) {
                           std::string name = kind_name(tested.param.kind);
                           std::replace(name.begin(), name.end(), ' ', '_');
                           return "generation_" + std::to_string(tested.param.generation) + "_" +
                                  name;
                         });

}  // namespace
}  // namespace depth_io::test
