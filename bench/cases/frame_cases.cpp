#include <benchmark/benchmark.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "bench/cases/cases.h"
#include "bench/cases/frame_bench.h"
#include "bench/support/rows.h"

namespace depth_io::bench {
namespace {

using Names = Measurements::Names;
using Sense = Goal::Sense;

constexpr char kKitchen[] = "kinect_kitchen";
constexpr char kLab[] = "realsense_lab";
constexpr char kSynthetic[] = "synthetic";
constexpr char kQuarterNan[] = "quarter_nan";

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

/// The frames of a set, and for one of them the same frames with another value in the holes.
struct Study {
  std::vector<Frame> frames;
  std::vector<Frame> twins;
};

Study load(const std::string& set) {
  if (set == kSynthetic) return {synthetic_frames().frames, {}};
  if (set != kQuarterNan) return {real_frames(set).frames, {}};
  Study study;
  std::uint32_t seed = 1;
  const FrameSet whole = has_real_frames(kKitchen) ? real_frames(kKitchen) : synthetic_frames();
  for (const Frame& frame : whole.frames) {
    const std::vector<bool> holes = quarter_of_holes(frame, seed++);
    study.frames.push_back(with_holes(frame, holes, kNan));
    study.twins.push_back(with_holes(frame, holes, 0.0F));
  }
  return study;
}

const FrameResults& results_of(const std::string& set) {
  static std::map<std::string, FrameResults> results;
  const auto known = results.find(set);
  if (known != results.end()) return known->second;
  const Study study = load(set);
  return results[set] = FrameBench().measure(study.frames, study.twins);
}

/// A row of milliseconds, and of bytes where the operation makes some.
void register_operation(const std::string& set, const std::string& operation) {
  register_row("frames/" + set + "/" + operation, [set, operation](benchmark::State& state) {
    const FrameResults& results = results_of(set);
    const auto bytes = results.bytes.find(operation);
    if (bytes != results.bytes.end()) state.counters["bytes"] = bytes->second;
    return results.measured.seconds(operation);
  });
}

/// A row of a ratio, whose time is that of the numerator.
void register_ratio(const std::string& name, const std::string& set, const std::string& numerator,
                    const Names& denominators, const Goal& goal) {
  register_row(name + ", " + set, [=](benchmark::State& state) {
    const Measurements& measured = results_of(set).measured;
    report_goal(state, measured.ratio({numerator}, denominators), goal);
    return measured.seconds(numerator);
  });
}

void register_operations(const std::string& set) {
  for (const char* const operation :
       {"write", "write, verification 0", "write, verification 1", "write with colour",
        "write with colour, verification 0", "read", "read with colour", "jpeg grey encode",
        "jpeg grey decode", "jpeg colour encode", "jpeg colour decode", "png level 1 encode",
        "png level 1 decode", "png level 6 encode", "png level 6 decode", "zstd level 1 encode",
        "zstd level 1 decode", "rvl encode", "rvl decode"}) {
    register_operation(set, operation);
  }
}

/// What must be reached on real frames: `write_goal` depends on the number of labels.
void register_goals(const std::string& set, const Goal& write_goal) {
  const Names grey = {"jpeg grey encode", "jpeg grey decode"};
  const Names grey_and_colour = {"jpeg grey encode", "jpeg grey decode", "jpeg colour encode"};
  const auto goal = [&set](const std::string& name, const std::string& numerator,
                           const Names& denominators, const Goal& wanted) {
    register_ratio(kGoalPrefix + name, set, numerator, denominators, wanted);
  };
  goal("write, depth only / (grey encode + grey decode)", "write", grey, write_goal);
  goal("write with colour / (grey encode + grey decode + colour encode)", "write with colour",
       grey_and_colour, {1.45, 1.2});
  goal("read, depth only / grey decode", "read", {"jpeg grey decode"}, {1.9, 1.5});
  goal("read with colour / (grey decode + colour decode)", "read with colour",
       {"jpeg grey decode", "jpeg colour decode"}, {1.45, 1.25});
  goal("PNG level 6 encode / write (verification 0)", "png level 6 encode",
       {"write, verification 0"}, {9.0, 14.0, Sense::kAtLeast});
  const auto compare = [&set](const std::string& name, const std::string& numerator,
                              const Names& denominators, const Goal& wanted) {
    register_ratio(kCompareWithPrefix + name, set, numerator, denominators, wanted);
  };
  compare("write, verification 0, depth only / (grey encode + grey decode)",
          "write, verification 0", grey, write_goal);
  compare("write, verification 0, with colour / (grey encode + grey decode + colour encode)",
          "write with colour, verification 0", grey_and_colour, {1.45, 1.2});
}

}  // namespace

void register_frame_cases() {
  constexpr Goal kFewLabels{1.6, 1.35};
  constexpr Goal kManyLabels{1.8, 1.5};
  std::string left_out;
  for (const char* const set : {kKitchen, kLab}) {
    if (!has_real_frames(set)) {
      left_out += (left_out.empty() ? "" : ", ") + std::string(set);
      continue;
    }
    register_operations(set);
    register_goals(set, set == kLab ? kManyLabels : kFewLabels);
  }
  if (!left_out.empty()) benchmark::AddCustomContext("left_out", left_out);
  register_operations(kSynthetic);
  register_operations(kQuarterNan);
  register_operation(kQuarterNan, "write twin");
  register_ratio(std::string(kGoalPrefix) + "write of 25 % NaN / the same frame with 0 there",
                 kQuarterNan, "write", {"write twin"}, {1.5, 1.2});
}

}  // namespace depth_io::bench
