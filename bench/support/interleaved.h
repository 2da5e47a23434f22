#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace depth_io::bench {

/// Something that is done to a frame and measured.
struct Operation {
  std::string name;
  std::function<void()> run;
  std::function<void()> prepare = [] {};  ///< before each run, not measured
  int every_nth_round = 1;                ///< slow operations need not take part in all
};

/// Processor seconds of each operation on each frame: the median of its rounds.
class Measurements {
 public:
  using Names = std::vector<std::string>;

  void add(const std::string& operation, double seconds) { seconds_[operation].push_back(seconds); }

  /// Takes over other operations on the same frames.
  void merge(Measurements other) { seconds_.merge(other.seconds_); }

  /// Median over the frames.
  double seconds(const std::string& operation) const;

  /// Median over the frames of how many times the denominators' sum the numerators' sum is.
  double ratio(const Names& numerators, const Names& denominators) const;

  /// Median over the frames of what an operation takes more than another, seconds.
  double difference(const std::string& operation, const std::string& other) const;

 private:
  std::vector<double> sums(const Names& operations) const;

  std::map<std::string, std::vector<double>> seconds_;
};

/// Operations that are done in turn.
using Group = std::vector<Operation>;

/// Goes through the frames; on each, group after group, does the operations of a group in turn,
/// round after round, so that what disturbs the machine disturbs all of them alike. `start_frame`
/// is called before a frame's first round.
Measurements measure_interleaved(const std::vector<Group>& groups, std::size_t frames, int rounds,
                                 const std::function<void(std::size_t)>& start_frame);

/// Does one operation after the other, each on all frames in order, round after round: in a
/// recorder and in a player, the call before was mostly the same one on the frame before.
/// `choose_frame` is called before each operation.
Measurements measure_in_passes(const Group& group, std::size_t frames, int rounds,
                               const std::function<void(std::size_t)>& choose_frame);

}  // namespace depth_io::bench
