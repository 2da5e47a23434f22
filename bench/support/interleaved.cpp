#include "bench/support/interleaved.h"

#include "bench/support/timing.h"

namespace depth_io::bench {

double Measurements::seconds(const std::string& operation) const {
  return median(seconds_.at(operation));
}

double Measurements::ratio(const Names& numerators, const Names& denominators) const {
  std::vector<double> ratios = sums(numerators);
  const std::vector<double> divisors = sums(denominators);
  for (std::size_t frame = 0; frame < ratios.size(); ++frame) ratios[frame] /= divisors[frame];
  return median(ratios);
}

double Measurements::difference(const std::string& operation, const std::string& other) const {
  std::vector<double> differences = seconds_.at(operation);
  const std::vector<double>& others = seconds_.at(other);
  for (std::size_t frame = 0; frame < others.size(); ++frame) differences[frame] -= others[frame];
  return median(differences);
}

std::vector<double> Measurements::sums(const Names& operations) const {
  std::vector<double> sums;
  for (const std::string& operation : operations) {
    const std::vector<double>& seconds = seconds_.at(operation);
    sums.resize(seconds.size());
    for (std::size_t frame = 0; frame < seconds.size(); ++frame) sums[frame] += seconds[frame];
  }
  return sums;
}

namespace {

double seconds_prepared(const Operation& operation) {
  operation.prepare();
  return seconds_of(operation.run);
}

/// Adds each operation's median on the current frame.
void measure_group(const Group& group, int rounds, Measurements& measurements) {
  std::vector<std::vector<double>> samples(group.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (round % group[i].every_nth_round != 0) continue;
      samples[i].push_back(seconds_prepared(group[i]));
    }
  }
  for (std::size_t i = 0; i < group.size(); ++i) {
    measurements.add(group[i].name, median(samples[i]));
  }
}

}  // namespace

Measurements measure_interleaved(const std::vector<Group>& groups, std::size_t frames, int rounds,
                                 const std::function<void(std::size_t)>& start_frame) {
  Measurements measurements;
  for (std::size_t frame = 0; frame < frames; ++frame) {
    start_frame(frame);
    for (const Group& group : groups) measure_group(group, rounds, measurements);
  }
  return measurements;
}

Measurements measure_in_passes(const Group& group, std::size_t frames, int rounds,
                               const std::function<void(std::size_t)>& choose_frame) {
  using SamplesOfFrames = std::vector<std::vector<double>>;
  std::vector<SamplesOfFrames> samples(group.size(), SamplesOfFrames(frames));
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (round % group[i].every_nth_round != 0) continue;
      for (std::size_t frame = 0; frame < frames; ++frame) {
        choose_frame(frame);
        samples[i][frame].push_back(seconds_prepared(group[i]));
      }
    }
  }
  Measurements measurements;
  for (std::size_t i = 0; i < group.size(); ++i) {
    for (const std::vector<double>& of_frame : samples[i]) {
      measurements.add(group[i].name, median(of_frame));
    }
  }
  return measurements;
}

}  // namespace depth_io::bench
