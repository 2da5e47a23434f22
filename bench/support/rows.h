#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace depth_io::bench {

/// What a ratio (or a time) is to come to. The report goes by these counters of a row.
struct Goal {
  enum class Sense { kAtMost, kAtLeast };
  double must_reach;
  double aim;
  Sense sense = Sense::kAtMost;
};

/// Rows of these names make the report's table of goals and of values to compare them with.
inline constexpr char kGoalPrefix[] = "goal/";
inline constexpr char kCompareWithPrefix[] = "compare/";

/// Gives the row a value that is held against a goal.
inline void report_goal(benchmark::State& state, double value, const Goal& goal) {
  state.counters["value"] = value;
  state.counters["must_reach"] = goal.must_reach;
  state.counters["aim"] = goal.aim;
  state.counters["at_least"] = goal.sense == Goal::Sense::kAtLeast ? 1 : 0;
}

/// Adds a row whose seconds come from a measurement of our own; `measure` may add counters.
inline void register_row(const std::string& name,
                         std::function<double(benchmark::State&)> measure) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [measure = std::move(measure)](benchmark::State& state) {
                                 for (auto _ : state) state.SetIterationTime(measure(state));
                               })
      ->UseManualTime()
      ->Iterations(1)
      ->Unit(benchmark::kMillisecond);
}

}  // namespace depth_io::bench
