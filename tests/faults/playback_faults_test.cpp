#include <memory>

#include "tests/faults/fault_walk.h"
#include "tests/support/players.h"

// Faults while a recording is played back, by each generation.
namespace depth_io::test {
namespace {

/// Plays everything. It is done when every frame came; a frame that did not come is told, and no
/// frame is another than it should be.
class PlaybackWork : public Work {
 public:
  explicit PlaybackWork(int generation) {
    EXPECT_TRUE(record_to_play(generation, directory_.path())) << console.text();
    player_ = make_player(generation, directory_.path());
  }
  void prepare() override { player_->rewind(); }
  bool act() override {
    played_ = play(*player_);
    return played_.frames == kPlayedFrames && played_.came_to_end;
  }
  void check(bool) override { EXPECT_TRUE(played_.all_are_right) << console.text(); }
  void resume() override {
    player_->rewind();
    EXPECT_TRUE(act()) << console.text();
    EXPECT_TRUE(played_.all_are_right);
  }

 private:
  TempDirectory directory_;
  std::unique_ptr<Player> player_;
  Played played_;
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
  for (const FaultKind kind : {kFaultOpen, kFaultRead, kFaultClose, kFaultAllocation}) {
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
  walk(work, GetParam().kind);
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
