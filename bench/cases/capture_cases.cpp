#include <algorithm>
#include <cstring>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "bench/cases/cases.h"
#include "bench/support/engines.h"
#include "bench/support/interleaved.h"
#include "bench/support/rows.h"
#include "engine/capture_rules.h"

namespace depth_io::bench {
namespace {

constexpr int kSlots = 30;
constexpr int kRounds = 31;
constexpr float kMotionContrast = 0.1F;

/// A copy of depth and colour into a ring of as many slots as the engines have: the least that
/// keeping the last frames can cost.
class PlainRing {
 public:
  PlainRing() : slots_(kSlots) {}
  void copy(const Frame& frame) {
    Frame& slot = slots_[next_];
    std::memcpy(slot.depth.data(), frame.depth.data(), frame.depth.size() * sizeof(float));
    std::memcpy(slot.bgr.data(), frame.bgr.data(), frame.bgr.size());
    next_ = (next_ + 1) % slots_.size();
  }

 private:
  std::vector<Frame> slots_;
  std::size_t next_ = 0;
};

template <typename Generation>
class Captures {
 public:
  Captures(const Frame& frame, bool with_motion) {
    generation_.construct(scratch_, kSlots);
    generation_.engine.USE_FRAME_DIFF = with_motion;
    // Never enough motion to record a frame.
    generation_.engine.threshold_pct_motion = 1000.0F;
    hold(frame);
    // Every slot is touched once before the time counts.
    for (int i = 0; i < 2 * kSlots; ++i) capture();
  }
  void hold(const Frame& frame) {
    generation_.hold(frame);
    for (std::size_t i = 0; i < kFramePixels; ++i) {
      generation_.engine.MapHasDepth.buffer[i] = frame.depth[i] > 0.0F;
    }
  }
  void capture() { generation_.capture(number_++); }

 private:
  Scratch scratch_;
  Generation generation_;
  int number_ = 0;
};

template <typename Generation>
void add_captures(std::vector<Operation>& group, const Frame& frame) {
  for (const bool with_motion : {false, true}) {
    const auto captures = std::make_shared<Captures<Generation>>(frame, with_motion);
    group.push_back({.name = std::string(Generation::kName) + (with_motion ? ", motion" : ""),
                     .run = [captures] { captures->capture(); }});
  }
}

/// Two frames after each other, with what the engines know of them.
struct MotionPair {
  std::vector<float> depth[2];
  std::unique_ptr<bool[]> has_depth[2];

  explicit MotionPair(const Frame& before, const Frame& after) : depth{before.depth, after.depth} {
    for (int i = 0; i < 2; ++i) {
      has_depth[i] = std::make_unique<bool[]>(kFramePixels);
      for (std::size_t p = 0; p < kFramePixels; ++p) has_depth[i][p] = depth[i][p] > 0.0F;
    }
  }
  MotionInput input() const {
    return {depth[0].data(), depth[1].data(), has_depth[0].get(), has_depth[1].get()};
  }
};

/// Adds up memory in whole words, which the compiler reads as fast as the machine can.
std::uint64_t sum_words(const void* data, std::size_t bytes) {
  const auto* const words = static_cast<const std::uint64_t*>(data);
  return std::accumulate(words, words + bytes / sizeof(std::uint64_t), std::uint64_t{0});
}

std::uint64_t read_plainly(const MotionPair& pair) {
  std::uint64_t sum = 0;
  for (const int i : {0, 1}) {
    sum += sum_words(pair.depth[i].data(), kFramePixels * sizeof(float));
    sum += sum_words(pair.has_depth[i].get(), kFramePixels);
  }
  return sum;
}

const Measurements& capture_measurements() {
  static const Measurements measurements = [] {
    constexpr std::size_t kBlocks = 10;
    const Frame frame = synthetic_frames(1).frames[0];
    const auto ring = std::make_shared<PlainRing>();
    for (int i = 0; i < 2 * kSlots; ++i) ring->copy(frame);
    Group group = {{.name = "plain copy", .run = [&frame, ring] { ring->copy(frame); }}};
    const MotionPair still(frame, frame);
    group.push_back(
        {.name = "plain read", .run = [&still] { benchmark::DoNotOptimize(read_plainly(still)); }});
    add_captures<FirstGeneration>(group, frame);
    add_captures<SecondGeneration>(group, frame);
    add_captures<ThirdGeneration>(group, frame);
    return measure_interleaved({group}, kBlocks, kRounds, [](std::size_t) {});
  }();
  return measurements;
}

const Measurements& motion_measurements(const std::string& set) {
  static std::map<std::string, Measurements> known;
  const auto found = known.find(set);
  if (found != known.end()) return found->second;
  const FrameSet frames = set == "synthetic" ? synthetic_frames() : real_frames(set);
  std::unique_ptr<MotionPair> pair;
  std::vector<float> moving(kFramePixels);
  const Group group = {
      {.name = "plain read", .run = [&] { benchmark::DoNotOptimize(read_plainly(*pair)); }},
      {.name = "motion measure", .run = [&] {
         benchmark::DoNotOptimize(measure_motion(pair->input(), kMotionContrast, moving.data()));
       }}};
  return known[set] =
             measure_interleaved({group}, frames.frames.size() - 1, kRounds, [&](std::size_t i) {
               pair = std::make_unique<MotionPair>(frames.frames[i], frames.frames[i + 1]);
             });
}

void register_capture(const std::string& operation) {
  register_row("capture/" + operation, [operation](benchmark::State& state) {
    const Measurements& measured = capture_measurements();
    state.counters["of a plain copy"] = measured.ratio({operation}, {"plain copy"});
    return measured.seconds(operation);
  });
}

}  // namespace

void register_capture_cases() {
  for (const std::string generation :
       {FirstGeneration::kName, SecondGeneration::kName, ThirdGeneration::kName}) {
    register_row(std::string(kGoalPrefix) +
                     "capture without recording / copy of depth and colour, " + generation,
                 [generation](benchmark::State& state) {
                   const Measurements& measured = capture_measurements();
                   report_goal(state, measured.ratio({generation}, {"plain copy"}), {1.25, 1.1});
                   return measured.seconds(generation);
                 });
    register_capture(generation);
    register_capture(generation + ", motion");
  }
  register_capture("plain copy");
  const std::string third = ThirdGeneration::kName;
  register_row(std::string(kCompareWithPrefix) +
                   "(capture with motion - capture without) / read of both maps and masks, " +
                   third,
               [third](benchmark::State& state) {
                 const Measurements& measured = capture_measurements();
                 const double more = measured.seconds(third + ", motion") - measured.seconds(third);
                 report_goal(state, more / measured.seconds("plain read"), {1.5, 1.2});
                 return more;
               });
  for (const std::string set : {"kinect_kitchen", "synthetic"}) {
    if (set != "synthetic" && !has_real_frames(set)) continue;
    register_row(
        std::string(kGoalPrefix) + "motion measure / read of both maps and masks, " + set,
        [set](benchmark::State& state) {
          const Measurements& measured = motion_measurements(set);
          report_goal(state, measured.ratio({"motion measure"}, {"plain read"}), {1.5, 1.2});
          return measured.seconds("motion measure");
        });
    for (const std::string operation : {"motion measure", "plain read"}) {
      register_row("capture/" + operation + ", " + set, [set, operation](benchmark::State&) {
        return motion_measurements(set).seconds(operation);
      });
    }
  }
}

}  // namespace depth_io::bench
