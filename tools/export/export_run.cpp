#include "tools/export/export_run.h"

#include <memory>
#include <optional>
#include <utility>

#include "tools/export/export_description.h"
#include "tools/export/export_directory.h"
#include "tools/export/frame_export.h"
#include "tools/frame/depth_units.h"
#include "tools/frame/frame_time.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/interruption.h"
#include "tools/system/json_text.h"
#include "tools/system/output.h"
#include "tools/system/progress_bar.h"
#include "tools/system/work_in_order.h"

namespace depth_io::tools {
namespace {

using nlohmann::ordered_json;

constexpr std::size_t kMostDamagedNamed = 1000;

class ExportRun {
 public:
  explicit ExportRun(const ExportArguments& arguments)
      : arguments_(arguments),
        settings_(export_settings(arguments)),
        log_(arguments.verbose),
        recording_(arguments.directory, log_, settings_.range),
        frames_(frames_to_export(recording_, settings_)),
        task_{arguments.out,
              recording_,
              settings_,
              frames_,
              recording_.has_colour() && settings_.colour != ColourFiles::kNone,
              {}},
        account_{recording_, settings_, frames_, task_.with_colour, {}, false, {}, {}},
        progress_(static_cast<long>(frames_.frames.size()), !arguments.verbose) {
    account_.counts.wanted = frames_.frames.size();
  }

  int run() {
    tell_troubles(recording_);
    find_camera();
    if (!is_stream()) open_directory();
    const bool good = export_frames();
    progress_.hide();
    const bool has_result = good || account_.counts.written + account_.counts.kept > 0;
    if (has_result) tell_losses();
    if (has_result && !is_stream()) print_summary();
    return status(good);
  }

 private:
  bool is_stream() const { return arguments_.out == "-"; }

  /// That of the first frame that tells it.
  void find_camera() {
    FrameReader reader;
    Frame frame;
    for (const ExportFrame& place : frames_.frames) {
      if (interrupted()) return;
      RecordedFrame depth_only = *place.recorded;
      depth_only.has_colour = false;
      log_.start_operation();
      if (!reader.read(recording_.directory(), depth_only, frame)) continue;
      const CameraModel camera = camera_model(reader.intrinsics(), settings_.swap_principal_point);
      if (!is_usable(camera)) continue;
      account_.camera = camera;
      is_column_first_ = reader.intrinsics().cx == kKinectIntrinsics.cx &&
                         reader.intrinsics().cy == kKinectIntrinsics.cy;
      return;
    }
  }

  void open_directory() {
    directory_ = std::make_unique<ExportDirectory>(
        arguments_.out, recording_.directory(), export_parameters(recording_, settings_, frames_),
        arguments_.overwrite);
    task_.out = directory_->path();
    const ordered_json& earlier = directory_->earlier();
    if (earlier.is_null()) {
      directory_->write_description(export_description(account_));
      return;
    }
    task_.finished_before = earlier_frames(earlier, frames_);
  }

  /// False when files could not be written.
  bool export_frames() {
    try {
      exporter_ = make_exporter(task_);
      const EarlierFrames earlier = exporter_->begin();
      account_.counts.kept = earlier.count - earlier.damaged;
      account_.counts.damaged = earlier.damaged;
      if (account_.camera) exporter_->describe_camera(*account_.camera);
      go_through(earlier.count);
      account_.complete = through_ == frames_.frames.size();
      if (!account_.complete) drop_part();
      finish(earlier.count > 0);
      return true;
    } catch (const Failure& failure) {
      progress_.hide();
      write_message("%s", failure.what());
      account_.complete = false;
      drop_part();
      return false;
    }
  }

  void drop_part() {
    if (exporter_ == nullptr || exporter_->keeps_part()) return;
    account_.counts.written = 0;
    account_.counts.kept = 0;
    exported_.clear();
  }

  void go_through(std::size_t first) {
    through_ = first;
    const auto make_worker = [this, first] {
      auto worker = std::make_shared<FrameExport>(task_, *exporter_, log_);
      return [this, worker, first](std::size_t piece) {
        return (*worker)(frames_.frames[first + piece]);
      };
    };
    const auto take = [this](std::size_t /*piece*/, const FrameOutcome& outcome) {
      take_outcome(frames_.frames[through_], outcome);
      ++through_;
      bytes_ += kFramePixels * (sizeof(float) + (outcome.has_colour ? 3 : 0));
      progress_.update(static_cast<long>(through_), bytes_);
    };
    WorkInOrder<FrameOutcome> work(frames_.frames.size() - first, settings_.jobs);
    work.run(make_worker, take, [] { return interrupted(); });
  }

  void take_outcome(const ExportFrame& place, const FrameOutcome& outcome) {
    ExportCounts& counts = account_.counts;
    if (!outcome.faults.empty()) tell_faults(place, outcome);
    if (outcome.is_damaged) {
      ++counts.damaged;
      if (exporter_->takes_damaged()) exporter_->take(place, outcome.piece);
      return;
    }
    if (outcome.lacks_colour) ++counts.without_colour;
    if (outcome.camera && is_usable(*outcome.camera) && outcome.camera != account_.camera) {
      ++counts.other_camera;
    }
    counts.readings_lost += outcome.piece.readings_lost;
    ++(outcome.is_kept ? counts.kept : counts.written);
    exported_.push_back({&place, outcome.has_colour});
    if (!outcome.is_kept) exporter_->take(place, outcome.piece);
  }

  void tell_faults(const ExportFrame& place, const FrameOutcome& outcome) {
    const std::string name = place.recorded->depth_name();
    progress_.hide();
    for (const std::string& fault : outcome.faults) {
      write_message("%s: %s%s", name.c_str(), fault.c_str(),
                    outcome.is_damaged ? "" : "; its depth is exported");
    }
    show_library_lines(outcome.library_lines);
    if (account_.damaged.size() < kMostDamagedNamed) {
      account_.damaged.push_back({{"name", name}, {"faults", outcome.faults}});
    }
  }

  void finish(bool has_earlier_list) {
    exporter_->finish(exported_, account_.complete);
    if (directory_ == nullptr) return;
    const bool has_list = settings_.format == ExportFormat::kCsv || has_earlier_list;
    if (!has_list) write_file_atomically(task_.out + "/times.csv", times_text());
    directory_->write_readme(export_readme(account_));
    directory_->write_description(export_description(account_));
  }

  std::string times_text() const {
    std::string text = "name,time,seconds,depth,colour\n";
    for (const ExportedFrame& frame : exported_) {
      const ExportFrame& place = *frame.place;
      const std::vector<std::string> files = exporter_->files_of(place, frame.has_colour);
      text += place.recorded->depth_name() + "," + time_text(frames_, place) + "," +
              seconds_text(place.microseconds);
      for (std::size_t i = 0; i < 2; ++i) text += "," + (i < files.size() ? files[i] : "");
      text += "\n";
    }
    return text;
  }

  void tell_losses() const {
    const ExportCounts& counts = account_.counts;
    if (counts.readings_lost > 0) {
      const DepthUnits units(settings_.units_per_metre);
      write_message(
          "%ju readings beyond %.3f m became no reading: 16 bits hold no more at %g "
          "units per metre",
          static_cast<std::uintmax_t>(counts.readings_lost), units.deepest(),
          units.units_per_metre());
    }
    if (settings_.format == ExportFormat::kCsv) return;
    if (!frames_.have_times) {
      write_message("the recording tells no times: %g frames a second are assumed (--fps)",
                    settings_.fps);
    }
    if (is_column_first_ && !settings_.swap_principal_point) {
      write_message(
          "this recording (camera type 0) holds the principal point column first, the format pairs "
          "rows first: --swap-principal-point exchanges the two");
    }
    if (counts.other_camera > 0) {
      write_message(
          "%zu frames were recorded with other intrinsics than the first one, which "
          "'export.json' tells",
          counts.other_camera);
    }
  }

  void print_summary() const {
    if (arguments_.json) {
      write_data("%s\n", json_text(export_description(account_)).c_str());
      return;
    }
    const ExportCounts& counts = account_.counts;
    write_data("exported   %zu of %zu frames to %s (%s%s)\n", counts.written + counts.kept,
               counts.wanted, task_.out.c_str(), format_name(settings_.format),
               interrupted() ? ", interrupted" : "");
    if (counts.kept > 0) write_data("kept       %zu of them were there already\n", counts.kept);
    if (counts.damaged > 0) write_data("damaged    %zu\n", counts.damaged);
    if (counts.without_colour > 0) {
      write_data("colour     missing for %zu\n", counts.without_colour);
    }
  }

  int status(bool good) const {
    const ExportCounts& counts = account_.counts;
    if (interrupted()) return kPartial;
    if (counts.written + counts.kept == 0) return kFailed;
    const bool all_good = good && counts.damaged == 0 && counts.without_colour == 0 &&
                          !recording_.has_unreadable_folders();
    return all_good ? kGood : kPartial;
  }

  const JsonMemory json_memory_;
  const ExportArguments& arguments_;
  ExportSettings settings_;
  LibraryLog log_;
  Recording recording_;
  ExportFrames frames_;
  ExportTask task_;
  ExportAccount account_;
  ProgressBar progress_;
  std::unique_ptr<ExportDirectory> directory_;
  std::unique_ptr<Exporter> exporter_;
  std::vector<ExportedFrame> exported_;
  bool is_column_first_ = false;  ///< its principal point
  std::size_t through_ = 0;       ///< frames that were looked at
  std::uintmax_t bytes_ = 0;
};

}  // namespace

int export_recording(const ExportArguments& arguments) { return ExportRun(arguments).run(); }

}  // namespace depth_io::tools
