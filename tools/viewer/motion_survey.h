#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_set>
#include <vector>

#include "tools/viewer/background.h"
#include "tools/viewer/frame_decoder.h"
#include "tools/viewer/viewed_recording.h"

namespace depth_io::tools {

/// Measures in the background how much moves between frames and those before them, for some frames
/// of the part of the recording that is looked at.
class MotionSurvey {
 public:
  MotionSurvey(const ViewedRecording& recording, const Background& background);

  /// Samples found after the first `after`, JSON; from now on frames `first` to `last` are looked
  /// at.
  std::string found_after(std::uint64_t generation, std::size_t after, std::size_t first,
                          std::size_t last);

 private:
  /// Samples of one part: more would not be seen, and each costs the decoding of two frames.
  static constexpr std::size_t kMostOfPart = 1200;

  struct Sample {
    std::uint32_t frame;
    float share;  ///< of all pixels; negative: not known
  };
  struct Part {
    std::uint64_t generation = 0;
    std::size_t first = 0;
    std::size_t last = 0;
    bool operator==(const Part&) const = default;
  };

  void work(const std::stop_token& stop);
  void measure_part(const Part& part, const RecordingView& view, const std::stop_token& stop);
  bool is_current(const Part& part);
  float measure(const RecordingView& view, std::size_t frame);
  bool decode(const RecordingView& view, std::size_t frame);

  const ViewedRecording& recording_;
  const Background& background_;
  FrameDecoder decoder_;
  std::vector<float> before_;

  std::mutex mutex_;
  std::condition_variable_any asked_;
  Part wanted_;
  Part done_;
  std::uint64_t generation_ = 0;
  std::vector<Sample> samples_;
  std::unordered_set<std::uint32_t> known_;
  std::jthread thread_;
};

/// Share of all pixels whose depth changed by more than a tenth, counted where both frames (metres)
/// have readings: the recorder's measure of motion.
float moved_share(const float* before, const float* depth);

}  // namespace depth_io::tools
