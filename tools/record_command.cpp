#include "tools/record_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "tools/failure.h"
#include "tools/files.h"
#include "tools/frame_time.h"
#include "tools/interruption.h"
#include "tools/library_log.h"
#include "tools/open_source.h"
#include "tools/output.h"
#include "tools/progress_bar.h"
#include "tools/recorder.h"

namespace depth_io::tools {
namespace {

struct RecordArguments {
  std::string out;
  SourceChoice source;
  std::optional<long> frames;
  std::optional<double> duration;
  double fps = 30;
  int history = 1;
  std::string name_by = "number";
  std::string start;
  std::optional<double> motion;
  std::optional<long> every;
  double max_depth = 30;
  bool no_colour = false;
  bool verify_writes = false;
  bool realtime = false;
  bool verbose = false;
};

/// Frame numbers are exact up to here.
constexpr long kMostFrames = 1L << 24U;
constexpr int kLargestHistory = 1000;
constexpr long kSyntheticFrames = 150;
constexpr double kDeepestReading = 255;  ///< that the format can hold

void require(bool condition, const char* message) {
  if (!condition) throw UsageFailure(message);
}

void check_numbers(const RecordArguments& a) {
  require(std::isfinite(a.fps) && a.fps > 0, "--fps must be a number above 0");
  require(a.fps <= 1000 || a.name_by == "number",
          "--fps must be at most 1000 when frames are named by time: stamps count milliseconds");
  require(!a.frames || (*a.frames >= 1 && *a.frames <= kMostFrames),
          "--frames must be from 1 to 16777216");
  require(!a.duration || (std::isfinite(*a.duration) && *a.duration > 0),
          "--duration must be a number of seconds above 0");
  require(a.history >= 1 && a.history <= kLargestHistory, "--history must be from 1 to 1000");
  require(!a.motion || (*a.motion >= 0 && *a.motion < 100),
          "--motion must be a percentage from 0 to below 100");
  require(!a.every || (*a.every >= 1 && *a.every <= kMostFrames),
          "--every must be from 1 to 16777216 frames");
  require(a.max_depth > 0 && a.max_depth <= kDeepestReading,
          "--max-depth must be above 0 and at most 255 metres");
  require(!a.source.scale || (std::isfinite(*a.source.scale) && *a.source.scale > 0),
          "--scale must be a number of units per metre above 0");
}

/// Frames that the user wants; none for all there are.
std::optional<long> wanted_frames(const RecordArguments& a) {
  if (a.frames) return a.frames;
  if (!a.duration) return {};
  const double frames = std::round(*a.duration * a.fps);
  require(frames >= 1, "--duration is shorter than a frame");
  require(frames <= static_cast<double>(kMostFrames),
          "--duration covers more than 16777216 frames");
  return static_cast<long>(frames);
}

/// The directory without "/" at its end; the engine wants names that fit.
std::string checked_directory(const std::string& out) {
  namespace fs = std::filesystem;
  std::string directory = out;
  while (directory.size() > 1 && directory.back() == '/') directory.pop_back();
  require(!directory.empty(), "--out must name a directory");
  constexpr std::size_t kLongestDirectory = 200;
  require(directory.size() <= kLongestDirectory, "--out must have at most 200 characters");
  std::error_code error;
  if (!fs::exists(directory, error)) return directory;
  if (!fs::is_directory(directory, error)) {
    throw UsageFailure("'" + directory + "' exists and is no directory");
  }
  const bool is_empty = fs::is_empty(directory, error);
  if (error) throw Failure("cannot look into '" + directory + "': " + error.message());
  if (!is_empty) throw UsageFailure("'" + directory + "' is not empty; recordings are not mixed");
  return directory;
}

Moment start_of(const RecordArguments& a) {
  if (a.start.empty()) return local_time_now();
  const std::optional<Moment> start = parse_moment(a.start);
  require(start.has_value(), "--start must be a time such as 2013-04-09T14:05:07.042");
  return *start;
}

/// Number of frames to record from a source.
long frames_to_offer(const FrameSource& source, std::optional<long> wanted) {
  const std::optional<long> available = source.frame_count();
  if (!available) return wanted.value_or(kSyntheticFrames);
  if (wanted && *wanted > *available) {
    write_message("the source has only %ld frames", *available);
  }
  return std::min({wanted.value_or(*available), *available, kMostFrames});
}

RecordingInfo describe(const RecordArguments& a, const FrameSource& source) {
  RecordingInfo info;
  info.program = "depthrw " DEPTHRW_VERSION;
  info.source = a.source.text;
  info.seed = a.source.seed;
  info.scale = a.source.scale;
  info.fps = a.fps;
  info.start = start_of(a);
  info.naming = a.name_by == "time" ? Naming::kTime : Naming::kNumber;
  info.colour = source.has_colour() && !a.no_colour;
  info.max_depth = a.max_depth;
  info.history = a.history;
  info.motion_percent = a.motion;
  info.every = a.every;
  return info;
}

/// One run of the recorder: what is asked for and what became of it.
class RecordRun {
 public:
  RecordRun(const RecordArguments& arguments, std::string directory, FrameSource& source,
            long frame_count)
      : arguments_(arguments),
        directory_(std::move(directory)),
        source_(source),
        frame_count_(frame_count),
        info_(describe(arguments, source)),
        log_(arguments.verbose) {
    const Moment last = moment_after(info_.start, static_cast<double>(frame_count) / info_.fps);
    require(last.year <= 9999, "the recording would go on after the year 9999");
  }

  int run() {
    make_directories(directory_);
    write_recording_info(directory_, info_);
    Recorder recorder(recorder_options(), log_);
    const double begin = monotonic_seconds();
    const bool good = record_frames(recorder);
    const double seconds = monotonic_seconds() - begin;
    info_.complete = true;
    const bool described = write_final_info();
    print_summary(recorder.bytes(), seconds);
    if (good && described) return kGood;
    return info_.frames_recorded > 0 ? kPartial : kFailed;
  }

 private:
  RecorderOptions recorder_options() const {
    RecorderOptions options;
    options.directory = directory_;
    options.naming = info_.naming;
    options.history = info_.history;
    options.motion_percent = info_.motion_percent;
    options.every = info_.every;
    options.verify_writes = arguments_.verify_writes;
    return options;
  }

  /// False when a frame failed: nothing is recorded after it.
  bool record_frames(Recorder& recorder) {
    ProgressBar progress(frame_count_, !arguments_.verbose);
    Frame frame;
    const double begin = monotonic_seconds();
    for (long index = 0; index < frame_count_ && !interrupted(); ++index) {
      const double offset = static_cast<double>(index) / info_.fps;
      if (arguments_.realtime) {
        sleep_until(begin + offset);
        if (interrupted()) break;
      }
      try {
        if (!source_.next(frame)) break;
        if (!info_.colour) frame.has_colour = false;
        info_.readings_cut +=
            remove_unusable_readings(frame.depth, static_cast<float>(info_.max_depth));
        ++info_.frames_offered;
        if (recorder.record(frame, index, moment_after(info_.start, offset))) {
          ++info_.frames_recorded;
        }
      } catch (const Failure& failure) {
        ++info_.frames_failed;
        progress.hide();
        write_message("%s", failure.what());
        log_.show_last_lines();
        return false;
      }
      progress.update(index + 1, recorder.bytes().sum());
    }
    return true;
  }

  bool write_final_info() const {
    try {
      write_recording_info(directory_, info_);
      return true;
    } catch (const Failure& failure) {
      write_message("%s", failure.what());
      return false;
    }
  }

  void print_summary(const FileBytes& bytes, double seconds) const {
    const long frames = info_.frames_recorded;
    write_data("recorded   %ld of %ld frames to %s%s\n", frames, info_.frames_offered,
               directory_.c_str(), interrupted() ? " (interrupted)" : "");
    if (info_.frames_failed > 0) write_data("failed     %ld\n", info_.frames_failed);
    const auto print_kind = [frames](const char* name, std::uintmax_t size) {
      if (frames == 0) return;
      write_data("%-10s %14ju bytes  %10.0f a frame\n", name, size,
                 static_cast<double>(size) / static_cast<double>(frames));
    };
    if (info_.colour) print_kind("colour", bytes.colour);
    print_kind("codes", bytes.codes);
    print_kind("label map", bytes.label_map);
    print_kind("references", bytes.reference);
    print_kind("errors", bytes.errors);
    print_kind("all", bytes.sum());
    const double time = std::max(seconds, 1e-6);
    const double megabytes = static_cast<double>(bytes.sum()) / 1e6;
    write_data("time       %.2f s, %.1f frames/s, %.2f MB, %.2f MB/s\n", seconds,
               static_cast<double>(info_.frames_offered) / time, megabytes, megabytes / time);
    write_data("readings   %ju cut (deeper than %g m, negative or no number)\n",
               static_cast<std::uintmax_t>(info_.readings_cut), info_.max_depth);
  }

  const RecordArguments& arguments_;
  std::string directory_;
  FrameSource& source_;
  long frame_count_;
  RecordingInfo info_;
  LibraryLog log_;
};

int record(RecordArguments arguments) {
  check_numbers(arguments);
  check_source_text(arguments.source.text, "--source");
  const std::optional<long> wanted = wanted_frames(arguments);
  const std::string directory = checked_directory(arguments.out);
  start_of(arguments);
  arguments.source.with_colour = !arguments.no_colour;
  const std::unique_ptr<FrameSource> source = open_source(arguments.source);
  RecordRun run(arguments, directory, *source, frames_to_offer(*source, wanted));
  return run.run();
}

}  // namespace

std::function<int()> add_record_command(CLI::App& program) {
  auto arguments = std::make_shared<RecordArguments>();
  RecordArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand("record", "Records frames into a new directory");
  command.add_option("--out", a.out, "Directory for the recording; it must not hold anything yet")
      ->required();
  command
      .add_option("--source", a.source.text,
                  "Where frames come from: synthetic, or images:PATH for PATH/depth/*.png "
                  "(16-bit grey) with PATH/rgb/*.{png,jpg}")
      ->capture_default_str();
  CLI::Option* const frames = command.add_option(
      "--frames", a.frames, "Number of frames (default: all of the images, 150 synthetic ones)");
  command.add_option("--duration", a.duration, "Length in seconds instead of --frames")
      ->excludes(frames);
  command.add_option("--fps", a.fps, "Frames per second of the source")->capture_default_str();
  command.add_flag("--realtime", a.realtime, "Keep to that pace instead of going fast");
  command.add_option("--history", a.history, "Frames that the engine keeps in memory")
      ->capture_default_str();
  command.add_option("--name-by", a.name_by, "Name frames by number or time")
      ->check(CLI::IsMember({"number", "time"}))
      ->capture_default_str();
  command.add_option("--start", a.start,
                     "Time of the first frame, such as 2013-04-09T14:05:07.042 (default: now)");
  command.add_option("--motion", a.motion,
                     "Record a frame only when more than this percentage of its pixels moved");
  command.add_option("--every", a.every, "Record a frame only when so many frames have passed");
  command.add_option("--max-depth", a.max_depth, "Metres; deeper readings are left out")
      ->capture_default_str();
  command.add_option("--scale", a.source.scale,
                     "Units per metre of depth images (default: the number in PATH/scale)");
  command.add_option("--seed", a.source.seed, "Chooses the synthetic scene's noise")
      ->capture_default_str();
  command.add_flag("--no-colour", a.no_colour, "Record depth only");
  command.add_flag("--verify-writes", a.verify_writes, "Read each frame back and compare");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return record(*arguments); };
}

}  // namespace depth_io::tools
