#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "codec/timestamps.h"

namespace depth_io::tools {

inline constexpr char kDepthStem[] = "depth";
inline constexpr char kColourStem[] = "bgrimage";
inline constexpr int kNumberDigits = 8;

/// What distinguishes the file names of frames.
enum class Naming { kNumber, kTime };

/// How a recording was made: the file `recording.json` beside its frames.
struct RecordingInfo {
  std::string program;          ///< name and version
  std::string source;           ///< as the user named it
  std::uint32_t seed = 1;       ///< of the synthetic source
  std::optional<double> scale;  ///< units per metre, when the user gave them
  double fps = 30;
  Moment start;  ///< of frame 0
  Naming naming = Naming::kNumber;
  bool colour = false;
  double max_depth = 0;  ///< metres; deeper readings were left out
  int history = 1;
  std::optional<double> motion_percent;
  std::optional<long> every;
  bool complete = false;     ///< the recording came to its end
  long frames_offered = 0;   ///< by the source
  long frames_recorded = 0;  ///< and acknowledged
  long frames_failed = 0;
  std::uint64_t readings_cut = 0;
};

/// Writes it as a whole. Throws `Failure`.
void write_recording_info(const std::string& directory, const RecordingInfo& info);

/// Reads it; none when there is no such file. Throws `Failure` when it is damaged.
std::optional<RecordingInfo> read_recording_info(const std::string& directory);

}  // namespace depth_io::tools
