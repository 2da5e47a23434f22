#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/recording/recording_info.h"
#include "tools/source/frame_clock.h"
#include "tools/source/open_source.h"

namespace depth_io::tools {

/// What the user asks of `depthrw record`.
struct RecordArguments {
  std::string out;
  SourceChoice source;
  bool source_is_given = false;
  std::optional<long> frames;
  std::optional<double> duration;
  double fps = 30;
  bool fps_is_given = false;
  std::optional<std::string> times;
  std::string layout = "tree";
  std::optional<int> per_directory;
  std::optional<int> camera_type;
  std::optional<double> stall_seconds;
  std::optional<int> history;
  std::optional<double> history_seconds;
  std::optional<std::string> name_by;
  std::string start;
  std::optional<std::string> trigger;
  std::optional<double> motion;
  std::optional<long> every;
  std::optional<double> before;
  std::optional<double> after;
  std::optional<double> max_fps;
  double max_depth = 30;
  std::string min_free = "256M";
  bool realtime = false;
  bool no_realtime = false;
  bool no_colour = false;
  bool append = false;
  bool verify_writes = false;
  bool acknowledge = false;
  bool json = false;
  bool verbose = false;
};

/// Throws `UsageFailure` when they make no sense.
void check_arguments(const RecordArguments& arguments);

/// The directory without "/" at its end. Throws `UsageFailure` when it cannot take a recording.
std::string checked_directory(const RecordArguments& arguments);

/// When the frames are taken: evenly, or by the source's own times. Throws `UsageFailure` when the
/// user asks for times that there are not.
FrameClock clock_of(const RecordArguments& arguments, const FrameSource& source);

/// How the recording will be made. Throws `UsageFailure` when there is not the memory for it.
RecordingInfo describe(const RecordArguments& arguments, const FrameSource& source);

/// Number of frames to look at; as many as there can be when the user is to end it. Throws
/// `UsageFailure`.
long frames_to_offer(const RecordArguments& arguments, const FrameSource& source,
                     const FrameClock& clock, const RecordingInfo& info);

/// True when only the user ends the recording.
bool goes_on_forever(const RecordArguments& arguments, const FrameSource& source);

/// Bytes that are to stay free on the disk.
std::uintmax_t free_bytes_wanted(const RecordArguments& arguments);

}  // namespace depth_io::tools
