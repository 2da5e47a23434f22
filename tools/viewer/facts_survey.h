#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/viewer/background.h"
#include "tools/viewer/frame_facts.h"
#include "tools/viewer/viewed_recording.h"

namespace depth_io::tools {

/// Looks at the files of all frames in the background, roughly first; from the first question on.
class FactsSurvey {
 public:
  FactsSurvey(const ViewedRecording& recording, const Background& background);

  /// What was found after the first `after` frames looked at, at most `kMostAtOnce`, as 32-bit
  /// little-endian numbers: the generation, how many frames were looked at so far, and for each
  /// frame its index and the fields of `FrameFacts`.
  std::string found_after(std::uint64_t generation, std::size_t after);

  static constexpr std::size_t kMostAtOnce = 16384;

 private:
  struct Finding {
    std::uint32_t frame;
    FrameFacts facts;
  };

  void work(const std::stop_token& stop);
  bool look_at(const RecordingView& view, std::size_t begin, const std::stop_token& stop);

  const ViewedRecording& recording_;
  const Background& background_;
  std::mutex mutex_;
  std::condition_variable_any asked_;
  std::uint64_t generation_ = 0;
  std::vector<Finding> findings_;
  std::jthread thread_;
};

}  // namespace depth_io::tools
