#include "tools/verify/source_comparison.h"

#include <cmath>
#include <cstdint>
#include <utility>

#include "tools/frame/frame_time.h"
#include "tools/source/frame_clock.h"
#include "tools/system/failure.h"
#include "tools/system/output.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

constexpr double kUsualMaxDepth = 30;

double millimetres(double metres) { return metres * 1e3; }

}  // namespace

SourceComparison::SourceComparison(const VerifyArguments& arguments, const Recording& recording)
    : arguments_(arguments), recording_(recording), max_depth_(kUsualMaxDepth) {
  SourceChoice choice;
  choice.text = arguments_.against;
  choice.with_colour = false;
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

void SourceComparison::check_times_tell_frames() const {
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

void SourceComparison::note_source_times() {
  if (!source_->time_of(0)) return;
  const FrameClock clock(*source_);
  for (const RecordingInfo& run : recording_.runs()) {
    for (long i = 0; run.source_times && i < *source_->frame_count(); ++i) {
      source_indices_[stamp_text(moment_after(run.start, clock.seconds_of(i)))] = i;
    }
  }
}

std::optional<long> SourceComparison::source_index(const RecordedFrame& recorded,
                                                   long place) const {
  if (arguments_.in_order) return place;
  if (recorded.moment) {
    const auto known = source_indices_.find(stamp_text(*recorded.moment));
    if (known != source_indices_.end()) return known->second;
  }
  return recording_.source_index(recorded);
}

std::string SourceComparison::compare(const RecordedFrame& recorded, const Frame& frame,
                                      long place) {
  const std::optional<long> index = source_index(recorded, place);
  if (!index) return "fits no frame of the source by its time";
  try {
    source_->load(*index, source_frame_);
  } catch (const Failure& failure) {
    return std::string("cannot be compared: ") + failure.what();
  }
  remove_unusable_readings(source_frame_.depth, static_cast<float>(max_depth_));
  const std::size_t outside =
      statistics_.add(recorded.depth_name(), source_frame_.depth, frame.depth);
  if (outside == 0) return {};
  return format_text("has %zu pixels outside the tolerance", outside);
}

void SourceComparison::print() const {
  if (statistics_.pixels() == 0) return;
  const DepthStatistics::Worst& worst = statistics_.worst();
  write_data("against    %s\n", arguments_.against.c_str());
  write_data("pixels     %ju compared, %ju outside the tolerance of their distance\n",
             static_cast<std::uintmax_t>(statistics_.pixels()),
             static_cast<std::uintmax_t>(statistics_.outside()));
  write_data("error      %.2f mm at most, %.3f mm on average\n", millimetres(statistics_.largest()),
             millimetres(statistics_.mean()));
  write_data("worst      %s row %d column %d: %.4f m, read as %.4f m\n", worst.frame.c_str(),
             worst.row, worst.column, static_cast<double>(worst.source),
             static_cast<double>(worst.read));
  print_bands();
  print_histogram();
}

void SourceComparison::print_bands() const {
  write_data("\n%-12s %14s %12s %12s\n", "distance", "pixels", "mean, mm", "largest, mm");
  for (const DepthStatistics::Band& band : statistics_.bands()) {
    if (band.pixels == 0) continue;
    write_data("%-12s %14ju %12.3f %12.2f\n", band.name, static_cast<std::uintmax_t>(band.pixels),
               millimetres(band.sum / static_cast<double>(band.pixels)), millimetres(band.largest));
  }
}

void SourceComparison::print_histogram() const {
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

ordered_json SourceComparison::json() const {
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

}  // namespace depth_io::tools
