#include "tools/play_command.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "tools/frame/frame_time.h"
#include "tools/picture/contact_sheet.h"
#include "tools/picture/png_file.h"
#include "tools/recording/frame_check.h"
#include "tools/recording/recording.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/interruption.h"
#include "tools/system/json_text.h"
#include "tools/system/output.h"
#include "tools/system/progress_bar.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

struct PlayArguments {
  std::string directory;
  std::string png;
  std::string contact_sheet;
  TimeRangeArguments range;
  bool json = false;
  bool verbose = false;
};

/// What a list of frames says about a frame.
struct DepthSummary {
  bool has_readings = false;
  float nearest = 0;
  float farthest = 0;
  double percent = 0;  ///< of the pixels that have a reading
};

DepthSummary summarise(const std::vector<float>& depth) {
  DepthSummary summary;
  std::size_t readings = 0;
  for (const float reading : depth) {
    if (!(reading > kLeastReading)) continue;
    ++readings;
    summary.nearest = summary.has_readings ? std::min(summary.nearest, reading) : reading;
    summary.farthest = std::max(summary.farthest, reading);
    summary.has_readings = true;
  }
  summary.percent = 100.0 * static_cast<double>(readings) / static_cast<double>(depth.size());
  return summary;
}

std::string sheet_title(const Recording& recording) {
  std::string path = recording.directory();
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  const std::string name = path.substr(path.rfind('/') + 1);
  const std::size_t count = recording.frames().size();
  return name + format_text("   %zu frame%s", count, count == 1 ? "" : "s");
}

class PlayRun {
 public:
  explicit PlayRun(const PlayArguments& arguments)
      : arguments_(arguments),
        log_(arguments.verbose),
        recording_(arguments.directory, log_, time_range_of(arguments.range)),
        sheet_(sheet_title(recording_), static_cast<long>(recording_.frames().size()),
               recording_.has_colour()) {}

  int run() {
    tell_troubles(recording_);
    if (!arguments_.png.empty()) make_directories(arguments_.png);
    play_frames();
    if (!arguments_.contact_sheet.empty() && played_ > 0) {
      write_colour_png(arguments_.contact_sheet, sheet_.draw());
    }
    if (arguments_.json) print_json();
    if (unreadable_ > 0) {
      write_message("%ld of %zu frames could not be played", unreadable_,
                    recording_.frames().size());
    }
    if (damaged_ > 0) {
      write_message("%ld of %zu frames are damaged: what could be read of them was played",
                    damaged_, recording_.frames().size());
    }
    if (played_ == 0) return kFailed;
    return unreadable_ > 0 || damaged_ > 0 || recording_.has_unreadable_folders() ? kPartial
                                                                                  : kGood;
  }

 private:
  void play_frames() {
    const long count = static_cast<long>(recording_.frames().size());
    // The list is progress enough on a terminal.
    const bool list_shows_progress = !arguments_.json && isatty(STDOUT_FILENO) == 1;
    ProgressBar progress(count, !arguments_.verbose && !list_shows_progress);
    Frame frame;
    std::uintmax_t bytes = 0;
    for (long i = 0; i < count && !interrupted() && data_can_be_written(); ++i) {
      const RecordedFrame& recorded = recording_.frames()[static_cast<std::size_t>(i)];
      const std::string fault = recording_.read(recorded, frame);
      if (fault.empty()) {
        ++played_;
        show(recorded, i, frame);
        tell_damage(recorded, progress);
      } else {
        ++unreadable_;
        faults_.push_back({{"name", recorded.depth_name()}, {"fault", fault}});
        progress.hide();
        write_message("%s %s", recorded.depth_name().c_str(), fault.c_str());
        log_.show_last_lines();
      }
      bytes += kFramePixels * (sizeof(float) + (frame.has_colour ? 3 : 0));
      progress.update(i + 1, bytes);
    }
  }

  /// What a file that was cut off still holds is played. Depths may be metres off then.
  void tell_damage(const RecordedFrame& recorded, ProgressBar& progress) {
    const std::vector<std::string> faults = find_faults(recording_, recorded);
    if (faults.empty()) return;
    ++damaged_;
    for (const std::string& fault : faults) {
      damages_.push_back({{"name", recorded.depth_name()}, {"fault", fault}});
      progress.hide();
      write_message("%s is damaged: %s", recorded.depth_name().c_str(), fault.c_str());
    }
  }

  void show(const RecordedFrame& recorded, long position, const Frame& frame) {
    const std::string name = recorded.depth_name();
    const std::optional<Moment> moment = recording_.time_of(recorded);
    const std::string time = moment ? readable_text(*moment) : "-";
    const DepthSummary summary = summarise(frame.depth);
    if (arguments_.json) {
      add_to_json(name, moment, summary);
    } else if (summary.has_readings) {
      write_data("%s  %-23s  %6.3f .. %6.3f m  %5.1f %%\n", name.c_str(), time.c_str(),
                 static_cast<double>(summary.nearest), static_cast<double>(summary.farthest),
                 summary.percent);
    } else {
      write_data("%s  %-23s  %18s  %5.1f %%\n", name.c_str(), time.c_str(), "no reading", 0.0);
    }
    const bool time_is_news = moment.has_value() && !recorded.moment;
    const std::string base_name = recorded.base_name(kDepthStem);
    const std::string caption = time_is_news ? base_name + "   " + time : base_name;
    if (!arguments_.png.empty()) {
      write_colour_png(arguments_.png + "/" + base_name + ".png", frame_picture(frame, caption));
    }
    if (!arguments_.contact_sheet.empty() && sheet_.wants(position)) sheet_.add(frame, caption);
  }

  void add_to_json(const std::string& name, const std::optional<Moment>& moment,
                   const DepthSummary& summary) {
    ordered_json entry;
    entry["name"] = name;
    entry["time"] = moment ? ordered_json(stamp_text(*moment)) : ordered_json();
    entry["nearest"] = summary.has_readings ? ordered_json(summary.nearest) : ordered_json();
    entry["farthest"] = summary.has_readings ? ordered_json(summary.farthest) : ordered_json();
    entry["percent_with_depth"] = summary.percent;
    entries_.push_back(std::move(entry));
  }

  void print_json() const {
    ordered_json root;
    root["directory"] = recording_.directory();
    root["layout"] = recording_.layout();
    root["frames"] = entries_;
    root["unreadable"] = faults_;
    root["damaged"] = damages_;
    write_data("%s\n", json_text(root).c_str());
  }

  const PlayArguments& arguments_;
  LibraryLog log_;
  Recording recording_;
  ContactSheet sheet_;
  long played_ = 0;
  long unreadable_ = 0;
  long damaged_ = 0;  ///< and played
  const JsonMemory json_memory_;
  ordered_json entries_ = ordered_json::array();
  ordered_json faults_ = ordered_json::array();
  ordered_json damages_ = ordered_json::array();
};

}  // namespace

std::function<int()> add_play_command(CLI::App& program) {
  auto arguments = std::make_shared<PlayArguments>();
  PlayArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "play",
      "Plays a recording back: a line for each frame with its name, time, depth range and "
      "share of pixels with depth");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  add_time_range_options(command, a.range);
  command.add_option("--png", a.png, "Directory for a picture of each frame");
  command.add_option("--contact-sheet", a.contact_sheet,
                     "File for one picture (PNG) with frames from the whole recording");
  command.add_flag("--json", a.json, "Print JSON instead of lines");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return PlayRun(*arguments).run(); };
}

}  // namespace depth_io::tools
