#include "tools/recorder/record_arguments.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "tools/frame/frame_time.h"
#include "tools/system/available_memory.h"
#include "tools/system/failure.h"
#include "tools/system/free_space.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

/// Frame numbers in names and in the first generation's ring are exact up to here.
constexpr long kMostNumberedFrames = 1L << 24U;
constexpr long kMostFrames = std::numeric_limits<int>::max();
constexpr long kSyntheticFrames = 150;
constexpr double kDeepestReading = 255;  ///< that the format can hold
constexpr int kUsualPerDirectory = 100;
constexpr int kMostPerDirectory = 1000000;
constexpr double kUsualMotionPercent = 0.5;
constexpr long kUsualPeriod = 100;
constexpr double kUsualSignalSeconds = 3;
constexpr double kMostSeconds = 1e6;

void require(bool condition, const std::string& message) {
  if (!condition) throw UsageFailure(message);
}

Layout layout_of(const RecordArguments& a) {
  const std::optional<Layout> layout = layout_named(a.layout);
  require(layout.has_value(), "--layout must be tree, flat or numbered");
  return *layout;
}

Naming naming_of(const RecordArguments& a) {
  if (layout_of(a) != Layout::kFlat) return Naming::kTime;
  return a.name_by == "time" ? Naming::kTime : Naming::kNumber;
}

long most_frames(Layout layout) {
  return layout == Layout::kFlat ? kMostNumberedFrames : kMostFrames;
}

Trigger trigger_of(const RecordArguments& a) {
  if (!a.trigger) {
    if (a.motion) return Trigger::kMotion;
    return a.every ? Trigger::kEvery : Trigger::kAlways;
  }
  const std::optional<Trigger> trigger = trigger_named(*a.trigger);
  require(trigger.has_value(), "--trigger must be motion, every, always or signal");
  return *trigger;
}

bool is_realtime(const RecordArguments& a) {
  if (is_camera(a.source.text)) return true;
  return a.realtime || (trigger_of(a) == Trigger::kSignal && !a.no_realtime);
}

/// OpenNI cameras are of the ASUS class.
int camera_type_of(const RecordArguments& a) {
  return a.camera_type.value_or(is_camera(a.source.text) ? 1 : 0);
}

double before_seconds(const RecordArguments& a) {
  return a.before.value_or(a.history_seconds.value_or(kUsualSignalSeconds));
}

void check_source(const RecordArguments& a) {
  const long most = most_frames(layout_of(a));
  require(a.fps >= kLowestFps && a.fps <= kHighestFps,
          "--fps must be a number from 0.000001 to 1000000");
  require(a.fps <= 1000 || naming_of(a) == Naming::kNumber,
          "--fps must be at most 1000 when frames are named by time: stamps count milliseconds");
  require(!a.frames || (*a.frames >= 1 && *a.frames <= most),
          format_text("--frames must be from 1 to %ld", most));
  require(!a.duration || (std::isfinite(*a.duration) && *a.duration > 0),
          "--duration must be a number of seconds above 0");
  require(a.max_depth > 0 && a.max_depth <= kDeepestReading,
          "--max-depth must be above 0 and at most 255 metres");
  require(!a.source.scale || (std::isfinite(*a.source.scale) && *a.source.scale > 0),
          "--scale must be a number of units per metre above 0");
  require(!a.times || *a.times == "source" || *a.times == "even", "--times must be source or even");
  require(a.times != "source" || naming_of(a) == Naming::kTime,
          "--times source wants frames named by time: give --name-by time with --layout flat");
  require(a.times != "source" || !a.fps_is_given,
          "--fps and --times source exclude each other: the source has its own times");
  require(std::isfinite(a.source.max_gap) && a.source.max_gap >= 0,
          "--max-gap must be a number of seconds from 0");
  require(a.start.empty() || parse_moment(a.start).has_value(),
          "--start must be a time such as 2013-04-09T14:05:07.042");
}

void check_camera(const RecordArguments& a) {
  if (!is_camera(a.source.text)) {
    require(!a.stall_seconds, "--stall belongs to a camera");
    return;
  }
  require(!a.stall_seconds || (*a.stall_seconds > 0 && *a.stall_seconds <= kMostSeconds),
          "--stall must be a number of seconds above 0");
  require(!a.source.loop, "--loop belongs to images; a configuration repeats a recording itself");
  require(!a.source.scale, "--scale belongs to images: a camera delivers millimetres");
  require(!a.realtime && !a.no_realtime, "a camera sets the pace: leave --realtime out");
}

void check_layout(const RecordArguments& a) {
  const Layout layout = layout_of(a);
  require(camera_type_of(a) == 0 || camera_type_of(a) == 1,
          "--camera-type must be 0 (Kinect class) or 1 (ASUS class)");
  require(!a.per_directory || layout == Layout::kNumbered,
          "--per-directory belongs to --layout numbered");
  require(!a.per_directory || (*a.per_directory >= 1 && *a.per_directory <= kMostPerDirectory),
          "--per-directory must be from 1 to 1000000 frames");
  require(!a.name_by || *a.name_by == "time" || layout == Layout::kFlat,
          "--name-by number works with --layout flat only: the others name frames by time");
  require(!a.append || layout == Layout::kTree,
          "--append works with --layout tree only: the others begin anew at frame 0");
  require(!a.max_fps || (std::isfinite(*a.max_fps) && *a.max_fps != 0),
          "--max-fps must be a number of frames per second; a negative one is no limit");
  require(!a.max_fps || *a.max_fps < 0 || naming_of(a) == Naming::kTime,
          "--max-fps wants frames with times: give --name-by time with --layout flat");
}

void check_history(const RecordArguments& a) {
  require(!a.history || *a.history >= 1, "--history must be a number of frames above 0");
  require(!a.history || !a.history_seconds, "--history and --history-seconds exclude each other");
  const auto is_time = [](const std::optional<double>& seconds) {
    return !seconds || (std::isfinite(*seconds) && *seconds >= 0 && *seconds <= kMostSeconds);
  };
  require(is_time(a.history_seconds), "--history-seconds must be a number of seconds from 0");
  require(is_time(a.before), "--before must be a number of seconds from 0");
  require(is_time(a.after), "--after must be a number of seconds from 0");
}

void check_trigger(const RecordArguments& a) {
  const Trigger trigger = trigger_of(a);
  const bool by_content = trigger == Trigger::kMotion || trigger == Trigger::kEvery;
  require(!a.motion || (*a.motion >= 0 && *a.motion < 100),
          "--motion must be a percentage from 0 to below 100");
  require(!a.every || (*a.every >= 1 && *a.every <= kMostNumberedFrames),
          "--every must be from 1 to 16777216 frames");
  require(!a.motion || by_content, "--motion belongs to --trigger motion");
  require(!a.every || by_content, "--every belongs to --trigger every");
  const bool by_signal = trigger == Trigger::kSignal;
  require(!a.before || by_signal, "--before belongs to --trigger signal");
  require(!a.after || by_signal, "--after belongs to --trigger signal");
  const bool holds_enough =
      !by_signal || !a.before || !a.history_seconds || *a.before <= *a.history_seconds;
  require(holds_enough, "--before must be at most --history-seconds: older frames are forgotten");
  require(!by_signal || !a.history || !a.before || *a.before * a.fps <= *a.history,
          "--before must be at most --history frames: older frames are forgotten");
}

/// Frames that the engine is to keep in memory.
int history_frames(const RecordArguments& a) {
  double frames = a.history.value_or(1);
  if (a.history_seconds) {
    frames = std::ceil(*a.history_seconds * a.fps);
  } else if (!a.history && trigger_of(a) == Trigger::kSignal) {
    frames = std::ceil(before_seconds(a) * a.fps);
  }
  frames = std::max(frames, 1.0);
  // Depth, colour, and what little belongs to them.
  constexpr double kBytesPerFrame = static_cast<double>(kFramePixels * (sizeof(float) + 3) + 128);
  constexpr double kShareOfMemory = 0.8;
  const double wanted = frames * kBytesPerFrame;
  const double available = available_memory() * kShareOfMemory;
  if (frames > 1 && (wanted > available || frames > static_cast<double>(kMostNumberedFrames))) {
    throw UsageFailure(format_text(
        "a history of %.0f frames wants %s of memory, and there are %s; give a shorter one", frames,
        size_text(wanted).c_str(), size_text(available).c_str()));
  }
  return static_cast<int>(frames);
}

/// Frames until the calendar of the stamps ends.
double frames_until_the_last_year(const FrameClock& clock, const RecordingInfo& info) {
  constexpr Moment kEnd{9999, 12, 31, 23, 59, 59, 0};
  return std::floor(clock.frames_before(seconds_between(info.start, kEnd)));
}

bool has_times(const FrameSource& source) { return source.time_of(0).has_value(); }

bool uses_source_times(const RecordArguments& a, const FrameSource& source) {
  if (a.times) return *a.times == "source";
  return has_times(source) && naming_of(a) == Naming::kTime && !a.fps_is_given;
}

}  // namespace

void check_arguments(const RecordArguments& a) {
  check_source(a);
  check_layout(a);
  check_trigger(a);
  check_history(a);
  require(parse_size(a.min_free).has_value(), "--min-free must be a size such as 500M or 1G");
  require(!a.json || !a.acknowledge, "--json and --acknowledge exclude each other");
  check_source_text(a.source.text);
  check_camera(a);
}

std::string checked_directory(const RecordArguments& a) {
  namespace fs = std::filesystem;
  std::string directory = a.out;
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  require(!directory.empty(), "--out must name a directory");
  // The engine wants names of whole files that fit.
  constexpr std::size_t kLongestDirectory = 180;
  require(directory.size() <= kLongestDirectory, "--out must have at most 180 characters");
  std::error_code error;
  require(!fs::exists(directory, error) || fs::is_directory(directory, error),
          "'" + directory + "' exists and is no directory");
  return directory;
}

FrameClock clock_of(const RecordArguments& a, const FrameSource& source) {
  if (!uses_source_times(a, source)) return FrameClock(a.fps);
  require(has_times(source), "--times source: this source has no times of its own");
  return FrameClock(source);
}

RecordingInfo describe(const RecordArguments& a, const FrameSource& source) {
  RecordingInfo info;
  info.program = "depthrw " DEPTHRW_VERSION;
  info.source = a.source.text;
  info.seed = a.source.seed;
  info.scale = a.source.scale;
  info.loop = a.source.loop;
  info.max_gap = a.source.max_gap;
  info.fps = a.fps;
  info.source_times = uses_source_times(a, source);
  if (!a.start.empty()) {
    info.start = parse_moment(a.start).value();
  } else {
    info.start = info.source_times ? moment_at(source.time_of(0).value()) : local_time_now();
  }
  info.layout = layout_of(a);
  info.naming = naming_of(a);
  if (info.layout == Layout::kNumbered) {
    info.per_directory = a.per_directory.value_or(kUsualPerDirectory);
  }
  info.camera_type = camera_type_of(a);
  info.live = source.is_live();
  info.colour = source.has_colour() && !a.no_colour;
  info.max_depth = a.max_depth;
  if (a.max_fps && *a.max_fps > 0) info.max_fps = a.max_fps;
  info.history = history_frames(a);
  info.trigger = trigger_of(a);
  info.motion_percent = a.motion;
  info.every = a.every;
  if (info.trigger == Trigger::kMotion && !a.motion) info.motion_percent = kUsualMotionPercent;
  if (info.trigger == Trigger::kEvery && !a.every) info.every = kUsualPeriod;
  if (info.trigger == Trigger::kSignal) {
    info.before_seconds = std::min(before_seconds(a), info.history / info.fps);
    info.after_seconds = a.after.value_or(kUsualSignalSeconds);
  }
  info.realtime = is_realtime(a);
  return info;
}

bool goes_on_forever(const RecordArguments& a, const FrameSource& source) {
  const bool has_end = a.frames || a.duration || source.frame_count();
  return !has_end && (source.is_live() || trigger_of(a) == Trigger::kSignal || a.source.loop);
}

long frames_to_offer(const RecordArguments& a, const FrameSource& source, const FrameClock& clock,
                     const RecordingInfo& info) {
  const double until_the_last_year = frames_until_the_last_year(clock, info);
  const auto most = std::min(static_cast<double>(most_frames(info.layout)), until_the_last_year);
  require(most >= 1, "the recording would go on after the year 9999");
  double wanted = most;
  if (a.frames) wanted = static_cast<double>(*a.frames);
  // A camera's frames come when they come: its recording looks at the clock.
  if (a.duration) wanted = source.is_live() ? most : std::round(clock.frames_before(*a.duration));
  require(wanted >= 1, "--duration is shorter than a frame");
  require(wanted <= static_cast<double>(most_frames(info.layout)),
          format_text("--duration covers more than %ld frames", most_frames(info.layout)));
  const std::optional<long> available = source.frame_count();
  const bool is_bounded = a.frames || a.duration;
  if (!available && !is_bounded && !goes_on_forever(a, source)) wanted = kSyntheticFrames;
  if (available) {
    const auto count = static_cast<double>(*available);
    if (is_bounded && wanted > count) write_message("the source has only %ld frames", *available);
    wanted = std::min(wanted, count);
  }
  require(wanted <= until_the_last_year, "the recording would go on after the year 9999");
  return static_cast<long>(wanted);
}

std::uintmax_t free_bytes_wanted(const RecordArguments& a) { return *parse_size(a.min_free); }

}  // namespace depth_io::tools
