#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>

#include "tools/frame/depth_statistics.h"
#include "tools/recording/recording.h"
#include "tools/source/open_source.h"
#include "tools/verify/verify_arguments.h"

namespace depth_io::tools {

/// Compares the frames of a recording with those of the source that they were recorded from.
class SourceComparison {
 public:
  /// Both must outlive it. Throws `Failure` when there is no such source, or when times do not tell
  /// which of its frames is which.
  SourceComparison(const VerifyArguments& arguments, const Recording& recording);

  /// Compares a frame that was read, the `place`-th of the recording. Returns how it differs; empty
  /// when each pixel is within the tolerance.
  std::string compare(const RecordedFrame& recorded, const Frame& frame, long place);

  void print() const;
  nlohmann::ordered_json json() const;

 private:
  void check_times_tell_frames() const;
  /// Frames of runs that have the source's own times are found by them.
  void note_source_times();
  std::optional<long> source_index(const RecordedFrame& recorded, long place) const;
  void print_bands() const;
  void print_histogram() const;

  const VerifyArguments& arguments_;
  const Recording& recording_;
  std::unique_ptr<IndexedSource> source_;
  std::unordered_map<std::string, long> source_indices_;  ///< by stamp
  double max_depth_;
  Frame source_frame_;
  DepthStatistics statistics_;
};

}  // namespace depth_io::tools
