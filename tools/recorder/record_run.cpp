#include "tools/recorder/record_run.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>

#include "tools/frame/frame_time.h"
#include "tools/recorder/clock_watch.h"
#include "tools/recorder/record_summary.h"
#include "tools/recorder/recorder.h"
#include "tools/recorder/tree_end.h"
#include "tools/system/directory_lock.h"
#include "tools/system/failure.h"
#include "tools/system/files.h"
#include "tools/system/free_space.h"
#include "tools/system/interruption.h"
#include "tools/system/library_log.h"
#include "tools/system/output.h"
#include "tools/system/progress_bar.h"

namespace depth_io::tools {
namespace {

/// What is known of a long recording is written down so often, for the case that it is killed.
constexpr double kDescriptionSeconds = 10;
/// So many signals are remembered by their times.
constexpr std::size_t kMostSignalTimes = 1000;

/// One run of the recorder: what is asked for and what became of it.
class RecordRun {
 public:
  RecordRun(const RecordArguments& arguments, std::string directory, FrameSource& source,
            const FrameClock& times, const RecordingInfo& info, long frame_count, LibraryLog& log)
      : arguments_(arguments),
        directory_(std::move(directory)),
        source_(source),
        times_(times),
        frame_count_(frame_count),
        info_(info),
        floor_(directory_, free_bytes_wanted(arguments)),
        log_(log),
        progress_(is_length_known() ? frame_count : 0, !arguments.verbose),
        recorder_({directory_, info_, arguments.verify_writes}, info_, log_,
                  [this](const std::string& name) { acknowledge(name); }) {}

  /// Goes on after the frames of an earlier run: those are never written over.
  void go_on_after(const Moment& last) {
    if (seconds_between(last, info_.start) > 0) return;
    last_of_earlier_runs_ = last;
    tell_clock_step(seconds_between(last, info_.start),
                    "frames that are there already are not written over");
  }

  /// False after a message when the disk is too full for a first frame.
  bool can_begin() { return has_room(); }

  /// The end of a run that could not begin. Nothing is written: there is no room for it.
  int end_without_a_frame() {
    info_.complete = true;
    print_record_summary({directory_, info_, recorder_.bytes(), 0}, arguments_.json,
                         arguments_.acknowledge);
    return kPartial;
  }

  int run() {
    write_recording_info(directory_, info_);
    const double begin = monotonic_seconds();
    const bool good = record_frames(begin);
    const double seconds = monotonic_seconds() - begin;
    info_.complete = true;
    const bool described = describe_run();
    progress_.hide();
    print_record_summary({directory_, info_, recorder_.bytes(), seconds}, arguments_.json,
                         arguments_.acknowledge);
    if (disk_is_full_ || has_stalled_) return kPartial;
    if (good && described) return kGood;
    return info_.frames_recorded > 0 ? kPartial : kFailed;
  }

 private:
  bool is_length_known() const {
    if (goes_on_forever(arguments_, source_)) return false;
    return !info_.live || arguments_.frames;
  }

  /// False when a frame failed or the disk is full: nothing is recorded after it.
  bool record_frames(double begin) {
    begin_ = begin;
    last_description_ = begin;
    clock_.emplace(local_time_now(), begin);
    info_.end = "the source ended";
    try {
      take_frames();
      notice_signal();
      save_backlog();
    } catch (const Failure& failure) {
      ++info_.frames_failed;
      info_.end = "a frame failed";
      progress_.hide();
      write_message("%s", failure.what());
      log_.show_last_lines();
      return false;
    }
    if (interrupted() && !disk_is_full_) info_.end = "interrupted";
    return !disk_is_full_ && !has_stalled_;
  }

  void take_frames() {
    Frame frame;
    try {
      for (long index = 0; index < frame_count_ && !interrupted(); ++index) {
        if (info_.realtime && !info_.live) index = wait_for_frame(index);
        if (interrupted()) break;
        notice_signal();
        if (!has_room() || !source_.next(frame)) break;
        info_.frames_missed = source_.frames_missed();
        const double seconds = info_.live ? time_of_arrival() : time_of(index);
        if (info_.live && arguments_.duration && seconds >= *arguments_.duration) break;
        offer(frame, {index, moment_after(info_.start, seconds)});
        save_backlog_between_frames();
        progress_.update(index + 1, recorder_.bytes().sum());
        describe_now_and_then();
      }
    } catch (const SourceStalled& stalled) {
      has_stalled_ = true;
      info_.end = "the camera stalled";
      progress_.hide();
      write_message("%s; the recording ends", stalled.what());
    }
  }

  /// Seconds since the first frame that a live source delivered. Stamps count milliseconds, and no
  /// two frames may have the same.
  double time_of_arrival() {
    const double now = monotonic_seconds();
    if (last_arrival_ms_ < 0) begin_ = now;
    watch_clock(now);
    last_arrival_ms_ = std::max(std::lround((now - begin_) * 1e3), last_arrival_ms_ + 1);
    return static_cast<double>(last_arrival_ms_) / 1e3;
  }

  /// Waits for a frame's time and writes what is still to be written meanwhile. Returns the frame
  /// that is to be taken: a later one, when the recorder is late by more than a frame.
  long wait_for_frame(long index) {
    const double due = begin_ + time_of(index);
    for (;;) {
      notice_signal();
      if (interrupted() || monotonic_seconds() >= due) break;
      if (recorder_.has_backlog() && has_room()) {
        recorder_.save_next();
      } else {
        sleep_until(due);
      }
    }
    if (interrupted()) return index;
    const double now = monotonic_seconds();
    watch_clock(now);
    const long newest = times_.newest_at(now - begin_);
    const long taken = std::clamp(newest, index, frame_count_ - 1);
    info_.frames_dropped += taken - index;
    source_.skip(taken - index);
    return taken;
  }

  void watch_clock(double now) {
    if (const auto step = clock_->look(local_time_now(), now))
      tell_clock_step(*step, "frame times go on evenly");
  }

  void tell_clock_step(double seconds, const char* consequence) {
    ClockSteps& steps = info_.clock_steps;
    ++steps.count;
    if (std::abs(seconds) > std::abs(steps.largest_seconds)) steps.largest_seconds = seconds;
    progress_.hide();
    write_message("the clock went %s by %.3f s; %s", seconds < 0 ? "back" : "forward",
                  std::abs(seconds), consequence);
  }

  /// A signal before the first frame waits for it.
  void notice_signal() {
    if (take_trigger()) signal_waits_ = info_.trigger == Trigger::kSignal;
    if (!signal_waits_) return;
    const std::optional<Moment> moment = recorder_.fire();
    if (!moment) return;
    signal_waits_ = false;
    ++info_.signals;
    const std::string time = stamp_text(*moment);
    if (info_.signal_times.size() < kMostSignalTimes) info_.signal_times.push_back(time);
    progress_.hide();
    write_message("signal at %s: recording %g s before and %g s after it", time.c_str(),
                  info_.before_seconds, info_.after_seconds);
  }

  bool has_room() {
    if (disk_is_full_) return false;
    const std::string shortage = floor_.shortage();
    if (shortage.empty()) return true;
    disk_is_full_ = true;
    info_.end = "the disk is full";
    progress_.hide();
    write_message("%s; the recording ends", shortage.c_str());
    return false;
  }

  void offer(Frame& frame, const Shot& shot) {
    if (!info_.colour) frame.has_colour = false;
    info_.readings_cut +=
        remove_unusable_readings(frame.depth, static_cast<float>(info_.max_depth));
    ++info_.frames_offered;
    if (is_recorded_already(shot.moment)) {
      ++info_.skipped.already_recorded;
      return;
    }
    recorder_.offer(frame, shot);
  }

  bool is_recorded_already(const Moment& moment) const {
    return last_of_earlier_runs_ && seconds_between(*last_of_earlier_runs_, moment) <= 0 &&
           tree_has_frame(directory_, moment);
  }

  /// A source that sets a pace must not be kept waiting; where it waits for us, all is written.
  void save_backlog_between_frames() {
    if (!info_.realtime) save_backlog();
    if (!info_.live) return;
    constexpr double kShareOfFrameTime = 0.5;
    const double deadline = monotonic_seconds() + kShareOfFrameTime / info_.fps;
    while (recorder_.has_backlog() && monotonic_seconds() < deadline && has_room()) {
      recorder_.save_next();
    }
  }

  void save_backlog() {
    while (recorder_.has_backlog() && has_room()) recorder_.save_next();
  }

  void acknowledge(const std::string& name) {
    if (!arguments_.acknowledge) return;
    write_data("%s\n", name.c_str());
    flush_data();
  }

  void describe_now_and_then() {
    const double now = monotonic_seconds();
    if (now - last_description_ < kDescriptionSeconds) return;
    last_description_ = now;
    describe_run();
  }

  bool describe_run() {
    try {
      write_recording_info(directory_, info_);
      return true;
    } catch (const Failure& failure) {
      progress_.hide();
      write_message("%s", failure.what());
      return false;
    }
  }

  double time_of(long index) const { return times_.seconds_of(index); }

  const RecordArguments& arguments_;
  std::string directory_;
  FrameSource& source_;
  const FrameClock& times_;
  long frame_count_;
  RecordingInfo info_;
  FreeSpaceFloor floor_;
  LibraryLog& log_;
  ProgressBar progress_;
  Recorder recorder_;
  std::optional<ClockWatch> clock_;
  std::optional<Moment> last_of_earlier_runs_;
  double begin_ = 0;
  double last_description_ = 0;
  long last_arrival_ms_ = -1;  ///< of a live source's frame, after `begin_`
  bool signal_waits_ = false;
  bool disk_is_full_ = false;
  bool has_stalled_ = false;
};

void tell_change_of_source(const std::string& directory, const RecordingInfo& info) {
  const std::optional<RecordingInfo> before = read_recording_info(directory);
  if (!before || before->source == info.source) return;
  write_message("the frames that are there came from '%s', these come from '%s'",
                before->source.c_str(), info.source.c_str());
}

}  // namespace

int record(RecordArguments arguments) {
  check_arguments(arguments);
  const std::string directory = checked_directory(arguments);
  arguments.source.with_colour = !arguments.no_colour;
  arguments.source.with_unpaired = arguments.no_colour;
  if (arguments.stall_seconds) arguments.source.stall_seconds = *arguments.stall_seconds;
  LibraryLog log(arguments.verbose);
  if (!arguments.source_is_given) write_message("no --source: this is the synthetic scene");
  const std::unique_ptr<FrameSource> source = open_source(arguments.source, log);
  const FrameClock times = clock_of(arguments, *source);
  arguments.fps = times.fps();
  const RecordingInfo info = describe(arguments, *source);
  const long frame_count = frames_to_offer(arguments, *source, times, info);

  make_directories(directory);
  const DirectoryLock lock(directory);
  const bool is_new = check_contents(directory, arguments.append);
  RecordRun run(arguments, directory, *source, times, info, frame_count, log);
  if (!run.can_begin()) return run.end_without_a_frame();
  if (!is_new) {
    tell_change_of_source(directory, info);
    if (const auto last = last_moment_of_tree(directory)) run.go_on_after(*last);
    put_recording_info_aside(directory);
  }
  return run.run();
}

}  // namespace depth_io::tools
