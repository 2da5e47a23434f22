#include "tools/verify_command.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/depth_statistics.h"
#include "tools/failure.h"
#include "tools/frame_check.h"
#include "tools/frame_clock.h"
#include "tools/frame_time.h"
#include "tools/interruption.h"
#include "tools/open_source.h"
#include "tools/output.h"
#include "tools/progress_bar.h"
#include "tools/recording.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

struct VerifyArguments {
  std::string directory;
  std::string against;
  std::optional<std::uint32_t> seed;
  std::optional<double> scale;
  std::optional<double> max_depth;
  bool in_order = false;
  TimeRangeArguments range;
  bool json = false;
  bool verbose = false;
};

constexpr double kUsualMaxDepth = 30;

double millimetres(double metres) { return metres * 1e3; }

class VerifyRun {
 public:
  explicit VerifyRun(const VerifyArguments& arguments)
      : arguments_(arguments),
        range_(time_range_of(arguments.range)),
        log_(arguments.verbose),
        recording_(arguments.directory, log_, range_) {
    if (!arguments.against.empty()) open_counterpart();
  }

  int run() {
    verify_frames();
    find_missing_frames();
    tell_troubles(recording_);
    if (arguments_.json) {
      print_json();
    } else {
      print_report();
    }
    if (good_ == 0) return kFailed;
    const bool all_good = bad_ == 0 && missing_ == 0 && recording_.troubles().empty();
    return all_good && !interrupted() ? kGood : kPartial;
  }

 private:
  void open_counterpart() {
    SourceChoice choice;
    choice.text = arguments_.against;
    choice.with_colour = false;
    max_depth_ = kUsualMaxDepth;
    if (!recording_.runs().empty()) {
      const RecordingInfo& run = recording_.runs().back();
      choice.seed = run.seed;
      choice.scale = run.scale;
      choice.loop = run.loop;
      choice.max_gap = run.max_gap;
      choice.with_unpaired = !run.colour;
      max_depth_ = run.max_depth;
    }
    if (arguments_.seed) choice.seed = *arguments_.seed;
    if (arguments_.scale) choice.scale = arguments_.scale;
    if (arguments_.max_depth) max_depth_ = *arguments_.max_depth;
    source_ = open_indexed_source(choice);
    note_source_times();
    if (!arguments_.in_order) check_times_tell_frames();
  }

  void check_times_tell_frames() const {
    if (!recording_.frames().back().moment) return;
    if (recording_.runs().empty()) {
      throw Failure(
          "frames named by time cannot be compared without 'recording.json', which tells "
          "when the source began; --in-order compares one after the other");
    }
    if (recording_.runs().back().live) {
      throw Failure(
          "a camera's frames came when they came, and their times do not tell which they are; "
          "--in-order compares one after the other");
    }
  }

  /// Frames of runs that have the source's own times are found by them.
  void note_source_times() {
    if (!source_->time_of(0)) return;
    const FrameClock clock(*source_);
    for (const RecordingInfo& run : recording_.runs()) {
      for (long i = 0; run.source_times && i < *source_->frame_count(); ++i) {
        source_indices_[stamp_text(moment_after(run.start, clock.seconds_of(i)))] = i;
      }
    }
  }

  std::optional<long> source_index(const RecordedFrame& recorded) const {
    if (arguments_.in_order) return good_ + bad_;
    if (recorded.moment) {
      const auto place = source_indices_.find(stamp_text(*recorded.moment));
      if (place != source_indices_.end()) return place->second;
    }
    return recording_.source_index(recorded);
  }

  void verify_frames() {
    const auto count = static_cast<long>(recording_.frames().size());
    ProgressBar progress(count, !arguments_.verbose);
    std::uintmax_t bytes = 0;
    for (const RecordedFrame& recorded : recording_.frames()) {
      if (interrupted() || !data_can_be_written()) break;
      const std::vector<std::string> faults = verify(recorded);
      if (faults.empty()) {
        ++good_;
      } else {
        ++bad_;
        progress.hide();
        tell(recorded, faults);
      }
      bytes += kFramePixels * sizeof(float);
      progress.update(good_ + bad_, bytes);
    }
  }

  std::vector<std::string> verify(const RecordedFrame& recorded) {
    log_.start_operation();
    std::vector<std::string> faults = find_faults(recording_, recorded);
    const std::string fault = recording_.read(recorded, frame_);
    if (!fault.empty()) {
      if (faults.empty()) faults.push_back(fault);
    } else if (source_ != nullptr) {
      const std::string difference = compare(recorded);
      if (!difference.empty()) faults.push_back(difference);
    }
    return faults;
  }

  /// Compares the frame that was read with its source.
  std::string compare(const RecordedFrame& recorded) {
    const std::optional<long> index = source_index(recorded);
    if (!index) return "fits no frame of the source by its time";
    try {
      source_->load(*index, source_frame_);
    } catch (const Failure& failure) {
      return std::string("cannot be compared: ") + failure.what();
    }
    remove_unusable_readings(source_frame_.depth, static_cast<float>(max_depth_));
    const std::size_t outside =
        statistics_.add(recorded.depth_name(), source_frame_.depth, frame_.depth);
    if (outside == 0) return {};
    return format_text("has %zu pixels outside the tolerance", outside);
  }

  void tell(const RecordedFrame& recorded, const std::vector<std::string>& faults) {
    for (const std::string& fault : faults) {
      write_message("%s: %s", recorded.depth_name().c_str(), fault.c_str());
    }
    log_.show_last_lines();
    bad_frames_.push_back({{"name", recorded.depth_name()}, {"faults", faults}});
  }

  /// Frames of which nothing is left cannot be named, but counted.
  void find_missing_frames() {
    const std::vector<RecordingInfo>& runs = recording_.runs();
    if (runs.empty() || !range_.is_everything()) return;
    long recorded = 0;
    for (const RecordingInfo& run : runs) {
      recorded += run.frames_recorded;
      if (run.complete) continue;
      write_message("the recording was not ended properly; its last frame may be incomplete");
      return;
    }
    missing_ = std::max(recorded - static_cast<long>(recording_.frames().size()), 0L);
    if (missing_ > 0) {
      write_message("%ld of %ld recorded frames are missing altogether", missing_, recorded);
    }
  }

  void print_report() const {
    write_data("frames     %ld checked, %ld good, %ld bad, %ld missing\n", good_ + bad_, good_,
               bad_, missing_);
    if (source_ == nullptr || statistics_.pixels() == 0) return;
    const DepthStatistics::Worst& worst = statistics_.worst();
    write_data("against    %s\n", arguments_.against.c_str());
    write_data("pixels     %ju compared, %ju outside the tolerance of their distance\n",
               static_cast<std::uintmax_t>(statistics_.pixels()),
               static_cast<std::uintmax_t>(statistics_.outside()));
    write_data("error      %.2f mm at most, %.3f mm on average\n",
               millimetres(statistics_.largest()), millimetres(statistics_.mean()));
    write_data("worst      %s row %d column %d: %.4f m, read as %.4f m\n", worst.frame.c_str(),
               worst.row, worst.column, static_cast<double>(worst.source),
               static_cast<double>(worst.read));
    print_bands();
    print_histogram();
  }

  void print_bands() const {
    write_data("\n%-12s %14s %12s %12s\n", "distance", "pixels", "mean, mm", "largest, mm");
    for (const DepthStatistics::Band& band : statistics_.bands()) {
      if (band.pixels == 0) continue;
      write_data("%-12s %14ju %12.3f %12.2f\n", band.name, static_cast<std::uintmax_t>(band.pixels),
                 millimetres(band.sum / static_cast<double>(band.pixels)),
                 millimetres(band.largest));
    }
  }

  void print_histogram() const {
    constexpr std::size_t kEdges[] = {0, 1, 2, 3, 4, 5, 6, 8, 10, 15, 20, 30, 40, 50, 60, 100};
    constexpr int kBarWidth = 40;
    write_data("\n%-12s %14s %8s\n", "error, mm", "pixels", "share");
    const auto& histogram = statistics_.histogram();
    for (std::size_t i = 0; i < std::size(kEdges); ++i) {
      const bool is_last = i + 1 == std::size(kEdges);
      const std::size_t end = is_last ? histogram.size() : kEdges[i + 1];
      std::uint64_t pixels = 0;
      for (std::size_t bin = kEdges[i]; bin < end; ++bin) pixels += histogram[bin];
      if (pixels == 0) continue;
      const double share = static_cast<double>(pixels) / static_cast<double>(statistics_.pixels());
      const std::string range =
          is_last ? format_text("from %zu", kEdges[i]) : format_text("%zu to %zu", kEdges[i], end);
      const std::string bar(static_cast<std::size_t>(std::ceil(share * kBarWidth)), '#');
      write_data("%-12s %14ju %6.2f %%  %s\n", range.c_str(), static_cast<std::uintmax_t>(pixels),
                 100 * share, bar.c_str());
    }
  }

  ordered_json comparison_json() const {
    if (source_ == nullptr) return {};
    const DepthStatistics::Worst& worst = statistics_.worst();
    ordered_json comparison;
    comparison["source"] = arguments_.against;
    comparison["pixels"] = statistics_.pixels();
    comparison["outside_tolerance"] = statistics_.outside();
    comparison["largest_error"] = statistics_.largest();
    comparison["mean_error"] = statistics_.mean();
    if (statistics_.pixels() > 0) {
      comparison["worst"] = {{"frame", worst.frame},
                             {"row", worst.row},
                             {"column", worst.column},
                             {"source", worst.source},
                             {"read", worst.read}};
    }
    ordered_json bands = ordered_json::array();
    for (const DepthStatistics::Band& band : statistics_.bands()) {
      if (band.pixels == 0) continue;
      bands.push_back({{"distance", band.name},
                       {"pixels", band.pixels},
                       {"mean_error", band.sum / static_cast<double>(band.pixels)},
                       {"largest_error", band.largest}});
    }
    comparison["bands"] = std::move(bands);
    comparison["histogram_mm"] = statistics_.histogram();
    return comparison;
  }

  void print_json() const {
    ordered_json root;
    root["directory"] = recording_.directory();
    root["layout"] = recording_.layout();
    root["frames"] = {
        {"checked", good_ + bad_}, {"good", good_}, {"bad", bad_}, {"missing", missing_}};
    root["bad_frames"] = bad_frames_;
    root["against"] = comparison_json();
    const std::string text = root.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    write_data("%s\n", text.c_str());
  }

  const VerifyArguments& arguments_;
  TimeRange range_;
  LibraryLog log_;
  Recording recording_;
  std::unique_ptr<IndexedSource> source_;
  std::unordered_map<std::string, long> source_indices_;  ///< by stamp
  double max_depth_ = kUsualMaxDepth;
  Frame frame_;
  Frame source_frame_;
  DepthStatistics statistics_;
  long good_ = 0;
  long bad_ = 0;
  long missing_ = 0;
  ordered_json bad_frames_ = ordered_json::array();
};

int verify(const VerifyArguments& arguments) {
  if (arguments.in_order && arguments.against.empty()) {
    throw UsageFailure("--in-order belongs to --against");
  }
  if (arguments.scale && !(std::isfinite(*arguments.scale) && *arguments.scale > 0)) {
    throw UsageFailure("--scale must be a number of units per metre above 0");
  }
  if (arguments.max_depth && !(*arguments.max_depth > 0 && *arguments.max_depth <= 255)) {
    throw UsageFailure("--max-depth must be above 0 and at most 255 metres");
  }
  return VerifyRun(arguments).run();
}

}  // namespace

std::function<int()> add_verify_command(CLI::App& program) {
  auto arguments = std::make_shared<VerifyArguments>();
  VerifyArguments& a = *arguments;
  CLI::App& command = *program.add_subcommand(
      "verify", "Checks that every frame of a recording is complete and can be decoded");
  command.add_option("DIR", a.directory, "Directory of the recording")->required();
  add_time_range_options(command, a.range);
  command.add_option("--against", a.against,
                     "Compare each pixel with the source, too: synthetic or images:PATH");
  command.add_flag("--in-order", a.in_order,
                   "Compare the first frame with the source's first one and so on, whatever their "
                   "times");
  command.add_option("--seed", a.seed, "Of the synthetic source (default: as recorded)");
  command.add_option("--scale", a.scale,
                     "Units per metre of depth images (default: as recorded, or in PATH/scale)");
  command.add_option("--max-depth", a.max_depth,
                     "Metres; deeper readings were left out (default: as recorded, or 30)");
  command.add_flag("--json", a.json, "Print JSON instead of a report");
  command.add_flag("--verbose", a.verbose, "Show what the library says");
  return [arguments] { return verify(*arguments); };
}

}  // namespace depth_io::tools
