#include "tools/info_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/frame/frame.h"
#include "tools/frame/frame_time.h"
#include "tools/recording/recording_statistics.h"
#include "tools/system/failure.h"
#include "tools/system/json_text.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

struct InfoArguments {
  std::string directory;
  TimeRangeArguments range;
  bool json = false;
};

/// Kinds of files, in the order in which they are listed.
struct Kind {
  const char* name;
  const char* key;
  std::uintmax_t FileBytes::*size;
};
constexpr Kind kKinds[] = {{"colour", "colour", &FileBytes::colour},
                           {"codes", "codes", &FileBytes::codes},
                           {"label map", "label_map", &FileBytes::label_map},
                           {"references", "references", &FileBytes::reference},
                           {"errors", "errors", &FileBytes::errors}};

void print_times(const RecordingStatistics& all) {
  if (!all.first) {
    write_data(
        "times      not known: frames are named by number, and 'recording.json' is missing\n");
    return;
  }
  write_data("first      %s\n", readable_text(*all.first).c_str());
  write_data("last       %s  (%.3f s later)\n", readable_text(*all.last).c_str(),
             seconds_between(*all.first, *all.last));
}

void print_gaps(const RecordingStatistics& all) {
  const char* const unit = all.steps_are_seconds ? "s" : "frames";
  if (!all.median_step) return;
  write_data("step       %g %s (median)\n", *all.median_step, unit);
  write_data("gaps       %zu longer than twice that\n", all.gaps.size());
  constexpr std::size_t kMostShown = 20;
  for (std::size_t i = 0; i < std::min(all.gaps.size(), kMostShown); ++i) {
    const Gap& gap = all.gaps[i];
    write_data("           %g %s from %s to %s\n", gap.length, unit, gap.after.c_str(),
               gap.before.c_str());
  }
  if (all.gaps.size() > kMostShown) {
    write_data("           and %zu more\n", all.gaps.size() - kMostShown);
  }
}

void print_size(const char* name, std::uintmax_t size, std::size_t frames) {
  write_data("%-10s %14ju bytes  %10.0f a frame\n", name, size,
             static_cast<double>(size) / static_cast<double>(frames));
}

void print_spread(const char* name, const Spread& spread) {
  write_data("%-10s %14.1f a frame, %ld at most\n", name, spread.mean(), spread.most);
}

/// By the names of the files' fields: which of them belongs to rows and which to columns is the
/// format's own.
void print_cameras(const std::vector<RecordingInfo>& runs) {
  std::set<int> types;
  for (const RecordingInfo& run : runs) types.insert(run.camera_type);
  for (const int type : types) {
    const Intrinsics camera = intrinsics_of(type);
    write_data("camera     type %d: a11 %g, a22 %g, cx %g, cy %g (pixels)\n", type,
               static_cast<double>(camera.a11), static_cast<double>(camera.a22),
               static_cast<double>(camera.cx), static_cast<double>(camera.cy));
  }
}

/// Nothing is known of recordings that the program did not make.
void print_runs(const Recording& recording) {
  constexpr std::size_t kMostShown = 20;
  const std::vector<RecordingInfo>& runs = recording.runs();
  for (std::size_t i = 0; i < std::min(runs.size(), kMostShown); ++i) {
    const RecordingInfo& run = runs[i];
    write_data("run        %s  %ld frames of %s, trigger %s%s\n", readable_text(run.start).c_str(),
               run.frames_recorded, run.source.c_str(), trigger_name(run.trigger),
               run.complete ? "" : ", not ended properly");
  }
  if (runs.size() > kMostShown) write_data("           and %zu more\n", runs.size() - kMostShown);
  print_cameras(runs);
}

void print_lines(const Recording& recording, const RecordingStatistics& all) {
  const std::size_t frames = recording.frames().size();
  write_data("layout     %s\n", recording.layout().c_str());
  write_data("frames     %zu", frames);
  if (all.incomplete > 0) write_data(", %ld of them incomplete", all.incomplete);
  write_data("\n");
  print_times(all);
  print_gaps(all);
  for (const Kind& kind : kKinds) {
    if (all.bytes.*kind.size > 0) print_size(kind.name, all.bytes.*kind.size, frames);
  }
  print_size("all", all.bytes.sum(), frames);
  print_spread("labels", all.labels);
  print_spread("records", all.error_records);
  print_runs(recording);
}

ordered_json time_json(const std::optional<Moment>& moment) {
  return moment ? ordered_json(stamp_text(*moment)) : ordered_json();
}

ordered_json spread_json(const Spread& spread) {
  return {{"mean", spread.mean()}, {"most", spread.most}};
}

void print_json(const Recording& recording, const RecordingStatistics& all) {
  const JsonMemory memory;
  ordered_json root;
  root["directory"] = recording.directory();
  root["layout"] = recording.layout();
  root["frames"] = recording.frames().size();
  root["incomplete"] = all.incomplete;
  root["first"] = time_json(all.first);
  root["last"] = time_json(all.last);
  root["median_step"] = all.median_step ? ordered_json(*all.median_step) : ordered_json();
  root["step_unit"] = all.steps_are_seconds ? "seconds" : "frames";
  ordered_json gaps = ordered_json::array();
  for (const Gap& gap : all.gaps) {
    gaps.push_back({{"after", gap.after}, {"before", gap.before}, {"length", gap.length}});
  }
  root["gaps"] = std::move(gaps);
  ordered_json bytes;
  for (const Kind& kind : kKinds) bytes[kind.key] = all.bytes.*kind.size;
  bytes["all"] = all.bytes.sum();
  root["bytes"] = std::move(bytes);
  root["labels"] = spread_json(all.labels);
  root["error_records"] = spread_json(all.error_records);
  root["runs"] = ordered_json::array();
  for (const RecordingInfo& run : recording.runs()) root["runs"].push_back(recording_json(run));
  write_data("%s\n", json_text(root).c_str());
}

int inform(const InfoArguments& arguments) {
  LibraryLog log(false);
  const Recording recording(arguments.directory, log, time_range_of(arguments.range));
  tell_troubles(recording);
  const RecordingStatistics all = statistics_of(recording);
  if (arguments.json) {
    print_json(recording, all);
  } else {
    print_lines(recording, all);
  }
  if (all.unread > 0) {
    write_message("the labels or records of %ld frames cannot be counted", all.unread);
  }
  const bool is_whole = recording.troubles().empty() && all.incomplete == 0 && all.unread == 0;
  return is_whole ? kGood : kPartial;
}

}  // namespace

std::function<int()> add_info_command(CLI::App& program) {
  auto arguments = std::make_shared<InfoArguments>();
  InfoArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "info",
      "Tells what a recording holds: layout, times, gaps, sizes, labels, error records, and how "
      "it was made");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  add_time_range_options(command, a.range);
  command.add_flag("--json", a.json, "Print JSON instead of lines");
  return [arguments] { return inform(*arguments); };
}

}  // namespace depth_io::tools
