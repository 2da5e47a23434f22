#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "codec/timestamps.h"
#include "tools/frame/layout.h"
#include "tools/recording/trigger.h"

namespace depth_io::tools {

inline constexpr char kDepthStem[] = "depth";
inline constexpr char kColourStem[] = "bgrimage";
inline constexpr int kNumberDigits = 8;
inline constexpr double kLowestFps = 1e-6;
inline constexpr double kHighestFps = 1e6;

/// What distinguishes the file names of frames.
enum class Naming { kNumber, kTime };

/// Frames that were recorded, by what had them recorded.
struct KeptFrames {
  long motion = 0;
  long period = 0;
  long request = 0;  ///< by the user: always, or while a signal's time runs
  long history = 0;  ///< saved out of memory after a signal
};

/// Frames that were seen and not recorded, by reason.
struct SkippedFrames {
  long not_triggered = 0;
  long rate_limit = 0;
  long already_recorded = 0;  ///< a frame of the same time was there before
};

/// Jumps of the wall clock while frames were recorded.
struct ClockSteps {
  long count = 0;
  double largest_seconds = 0;  ///< negative: back
};

/// How a recording was made: the file `recording.json` beside its frames.
struct RecordingInfo {
  std::string program;          ///< name and version
  std::string source;           ///< as the user named it
  std::uint32_t seed = 1;       ///< of the synthetic source
  std::optional<double> scale;  ///< units per metre, when the user gave them
  bool loop = false;            ///< the source begins again at its end
  double max_gap = 0.02;        ///< seconds between the images of a frame of the source
  double fps = 30;              ///< about so many with the source's own times
  bool source_times = false;    ///< frames have the source's own times instead of even ones
  Moment start;                 ///< of frame 0
  Layout layout = Layout::kFlat;
  Naming naming = Naming::kNumber;
  int per_directory = 0;  ///< frames of a numbered sub-directory
  int camera_type = 0;    ///< 0 Kinect class, 1 ASUS class
  bool colour = false;
  double max_depth = 0;           ///< metres; deeper readings were left out
  std::optional<double> max_fps;  ///< most frames recorded per second
  int history = 1;                ///< frames kept in memory
  Trigger trigger = Trigger::kAlways;
  std::optional<double> motion_percent;
  std::optional<long> every;
  double before_seconds = 0;  ///< saved out of memory at a signal
  double after_seconds = 0;   ///< recorded after a signal
  bool realtime = false;      ///< at the pace of the clock
  bool live = false;          ///< frames have the times at which a camera delivered them

  bool complete = false;     ///< the recording came to its end
  std::string end;           ///< why it ended
  long frames_offered = 0;   ///< by the source
  long frames_recorded = 0;  ///< and acknowledged
  long frames_failed = 0;
  long frames_dropped = 0;  ///< never looked at, the recorder being late
  long frames_missed = 0;   ///< that a camera delivered, and the recorder did not take
  KeptFrames kept;
  SkippedFrames skipped;
  ClockSteps clock_steps;
  long signals = 0;
  std::vector<std::string> signal_times;  ///< of the first of them, stamp texts
  std::uint64_t readings_cut = 0;
};

/// As JSON; the caller holds a `JsonMemory`.
nlohmann::ordered_json recording_json(const RecordingInfo& info);

/// Its text, as in the file.
std::string recording_text(const RecordingInfo& info);

/// Writes it as a whole. Throws `Failure`.
void write_recording_info(const std::string& directory, const RecordingInfo& info);

/// Reads it; none when there is no such file. Throws `Failure` when it is damaged.
std::optional<RecordingInfo> read_recording_info(const std::string& directory);

/// Whether a run came to its end without a frame. One that did not come to its end may have
/// recorded more than it wrote down.
bool recorded_nothing(const RecordingInfo& info);

/// Puts the description of an earlier run aside, to make room for that of the next one in the same
/// directory, unless that run came to its end without a frame. Throws `Failure`.
void put_recording_info_aside(const std::string& directory);

/// The descriptions of all runs that recorded into a directory, by their start. Throws `Failure`
/// when one of them is damaged or the directory cannot be listed.
std::vector<RecordingInfo> read_all_recording_infos(const std::string& directory);

}  // namespace depth_io::tools
