#include "tools/record_command.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/recorder/record_run.h"

namespace depth_io::tools {
namespace {

void add_source_options(CLI::App& command, RecordArguments& a) {
  command
      .add_option(
          "--source", a.source.text,
          "Where frames come from: synthetic, images:PATH for PATH/depth/*.png (16-bit grey) "
          "with PATH/rgb/*.{png,jpg} or for a data set in the TUM layout (PATH/depth.txt, "
          "PATH/rgb.txt), or openni:CONFIG.xml for a camera")
      ->each([&a](const std::string&) { a.source_is_given = true; })
      ->capture_default_str();
  CLI::Option* const frames = command.add_option(
      "--frames", a.frames,
      "Number of frames (default: all of the images; 150 synthetic ones; until it is ended from a "
      "camera, or with --trigger signal)");
  command.add_option("--duration", a.duration, "Length in seconds instead of --frames")
      ->excludes(frames);
  command.add_flag("--loop", a.source.loop,
                   "Begin again at the first image after the last one, until it is ended");
  command
      .add_option_function<double>(
          "--fps", [&a](double fps) { a.fps = fps, a.fps_is_given = true; },
          "Frames per second of the source")
      ->default_str("30");
  command
      .add_option("--times", a.times,
                  "source: the data set's own times (default where it has some and neither --fps "
                  "nor names by number forbid it); even: --start and --fps")
      ->check(CLI::IsMember({"source", "even"}));
  command
      .add_option("--max-gap", a.source.max_gap,
                  "Seconds that colour and depth image of a frame may lie apart in a data set with "
                  "times; depth images without a partner are left out")
      ->capture_default_str();
  CLI::Option* const realtime = command.add_flag(
      "--realtime", a.realtime,
      "Keep to that pace instead of going fast, and drop frames when late (default with --trigger "
      "signal)");
  command.add_flag("--no-realtime", a.no_realtime, "Go fast, also with --trigger signal")
      ->excludes(realtime);
  command.add_option("--stall", a.stall_seconds,
                     "End with status 3 when the camera delivers no new frame for so many seconds "
                     "(default: 5)");
  command.add_option("--start", a.start,
                     "Time of the first frame, such as 2013-04-09T14:05:07.042 (default: now)");
  command.add_option("--max-depth", a.max_depth, "Metres; deeper readings are left out")
      ->capture_default_str();
  command.add_option(
      "--scale", a.source.scale,
      "Units per metre of depth images (default: the number in PATH/scale; 5000 in the "
      "TUM layout)");
  command.add_option("--seed", a.source.seed, "Chooses the synthetic scene's noise")
      ->capture_default_str();
  command.add_flag("--no-colour", a.no_colour, "Record depth only");
}

void add_layout_options(CLI::App& command, RecordArguments& a) {
  command
      .add_option("--layout", a.layout,
                  "tree: a folder for each day, hour and minute; flat: one directory; numbered: "
                  "sub-directories of so many frames")
      ->check(CLI::IsMember({"tree", "flat", "numbered"}))
      ->capture_default_str();
  command.add_option("--per-directory", a.per_directory,
                     "Frames of a numbered sub-directory (default: 100)");
  command
      .add_option("--name-by", a.name_by,
                  "Name the frames of a flat directory by number (default) or time")
      ->check(CLI::IsMember({"number", "time"}));
  command.add_flag("--append", a.append, "Go on in a tree that was recorded into before");
  command.add_option("--camera-type", a.camera_type,
                     "Camera whose intrinsics are written: 0 Kinect class (default), 1 ASUS class "
                     "(default with openni:)");
}

void add_trigger_options(CLI::App& command, RecordArguments& a) {
  command
      .add_option("--trigger", a.trigger,
                  "What has a frame recorded: always (default), motion, every, or signal: SIGUSR1 "
                  "records the time around it")
      ->check(CLI::IsMember({"motion", "every", "always", "signal"}));
  command.add_option("--motion", a.motion,
                     "Record a frame only when more than this percentage of its pixels moved "
                     "(0.5 with --trigger motion)");
  command.add_option("--every", a.every,
                     "Record a frame only when so many frames have passed (100 with --trigger "
                     "every)");
  command.add_option("--before", a.before,
                     "Seconds to record from before a signal (default: the history, or 3)");
  command.add_option("--after", a.after, "Seconds to record after a signal (default: 3)");
  command.add_option("--history", a.history,
                     "Frames that the engine keeps in memory (default: 1, or what --before wants)");
  command.add_option("--history-seconds", a.history_seconds, "The same in seconds");
  command.add_option("--max-fps", a.max_fps,
                     "Record at most so many frames per second; frames are that far apart or more "
                     "(default and negative: no limit)");
}

}  // namespace

std::function<int()> add_record_command(CLI::App& program) {
  auto arguments = std::make_shared<RecordArguments>();
  RecordArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand("record",
                                              "Records frames into a new directory, until the "
                                              "source is over or SIGINT, SIGTERM or SIGHUP comes");
  command.add_option("--out", a.out, "Directory for the recording; it must not hold anything yet")
      ->required();
  add_source_options(command, a);
  add_layout_options(command, a);
  add_trigger_options(command, a);
  command
      .add_option("--min-free", a.min_free,
                  "End with status 3 when less is free on the disk: a size such as 500M or 1G, 0 "
                  "for no such floor")
      ->capture_default_str();
  command.add_flag("--verify-writes", a.verify_writes, "Read each frame back and compare");
  command.add_flag(
      "--acknowledge", a.acknowledge,
      "Print each frame's name as soon as it is written; the summary becomes a message");
  command.add_flag("--json", a.json, "Print the recording's description instead of a summary");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return record(*arguments); };
}

}  // namespace depth_io::tools
