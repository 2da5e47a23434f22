#include <algorithm>

#include "engine/camera_depth_rw2.h"
#include "engine/camera_depth_rw3.h"
#include "tools/frame/frame_time.h"
#include "tools/recorder/capture_engine.h"
#include "tools/system/failure.h"

namespace depth_io::tools {
namespace {

/// What the second and the third generation have in common for a recorder: every frame has a
/// stamp, and the limit of the rate stands among the parameters.
template <typename Engine, typename Parameters>
class StampedEngine : public CaptureEngine {
 public:
  bool capture(Frame& frame, const Shot& shot, bool request) override {
    std::copy(frame.depth.begin(), frame.depth.end(), engine_.DepthMap);
    if (recording_.colour) {
      std::copy(frame.bgr.begin(), frame.bgr.end(), engine_.ColourImage);
    }
    mark_readings(engine_.DepthMap, engine_.MapHasDepth.buffer);
    if (!engine_.INITIALISED) last_recorded_.moment = shot.moment;
    // The engine only ever counts up: tell it how many frames have really passed.
    engine_.delta_time_last_recorded = static_cast<int>(shot.index - last_recorded_.index);
    keep_rate_limit_going(shot.moment);
    prepare_folders(shot.moment);
    const bool is_due =
        engine_.Record_period && engine_.delta_time_last_recorded >= engine_.Record_period_gap;
    const Moment& m = shot.moment;
    const bool stored =
        engine_.apply_with_timestamp(request, static_cast<int>(shot.index), m.year, m.month, m.day,
                                     m.hour, m.minute, m.second, m.millisecond, 0);
    const bool is_moving = 100.0F * engine_.pct_moving > engine_.threshold_pct_motion;
    if (!is_moving && !is_due && !request) {
      decision_ = Decision::kNotAsked;
    } else if (!engine_.RECORDED) {
      decision_ = Decision::kTooSoon;
    } else {
      decision_ = is_moving ? Decision::kMotion : is_due ? Decision::kPeriod : Decision::kRequest;
      last_recorded_ = shot;
      folders_were_used(m);
    }
    return stored;
  }

  Decision decision() const override { return decision_; }

  bool save(const Shot& shot) override {
    const Moment& m = shot.moment;
    folders_were_used(m);
    return engine_.recording_from_buffer(m.year, m.month, m.day, m.hour, m.minute, m.second,
                                         m.millisecond, m.year, m.month, m.day, m.hour, m.minute,
                                         m.second, m.millisecond, 0, 0);
  }

  std::string folder() const override { return written_to().substr(directory_.size() + 1); }
  bool reverses_names() const override { return true; }

 protected:
  explicit StampedEngine(const EngineSettings& settings)
      : recording_(settings.recording), directory_(settings.directory) {}

  /// Sets what both kinds of parameters have, makes the engine, and switches its triggers on.
  void construct(Parameters& parameters, bool verify_writes) {
    std::string depth_stem = kDepthStem;
    std::string colour_stem = kColourStem;
    parameters.SetCameraType(recording_.camera_type);
    parameters.SetSizeBuffer(recording_.history);
    parameters.SetDirectory(directory_.data());
    parameters.SetDepthStem(depth_stem.data());
    if (recording_.colour) parameters.SetBGRStem(colour_stem.data());
    constexpr double kNoRateLimit = -1;
    parameters.SetMaxFPS(static_cast<float>(recording_.max_fps.value_or(kNoRateLimit)));
    if (!engine_.Construct(parameters)) throw Failure("the recording engine cannot be set up");
    engine_.VERIFICATION = verify_writes ? 1 : 0;
    set_triggers(engine_, recording_);
  }

  /// Called before a frame of that moment is captured, and after one was written.
  virtual void prepare_folders(const Moment& /*moment*/) {}
  virtual void folders_were_used(const Moment& /*moment*/) {}
  /// Directory of the frame written last, ending with "/".
  virtual std::string written_to() const = 0;

  const RecordingInfo& recording_;
  std::string directory_;
  Engine engine_;

 private:
  /// The library's seconds jump back in 2038. The limit would then wait for them to come again:
  /// tell it by the calendar how long ago the last frame was recorded.
  void keep_rate_limit_going(const Moment& moment) {
    double now = 0;
    if (!to_unix_time(now, moment, false) || now >= engine_.last_time_recorded_unixtime) return;
    // A clock that was set back must not end a recording until it has caught up.
    constexpr double kLongAgo = 1e9;
    const double elapsed = seconds_between(last_recorded_.moment, moment);
    engine_.last_time_recorded_unixtime = now - (elapsed < 0 ? kLongAgo : elapsed);
  }

  Shot last_recorded_{0, recording_.start};
  Decision decision_ = Decision::kNotAsked;
};

/// The second generation: numbered sub-directories of so many frames.
class NumberedEngine final
    : public StampedEngine<KV_RGBD_CameraCompression2, KV_RGBD_CameraCompression2_parameters> {
 public:
  explicit NumberedEngine(const EngineSettings& settings) : StampedEngine(settings) {
    KV_RGBD_CameraCompression2_parameters parameters;
    parameters.SetWriteOrRead('W');
    parameters.ActivateSubDirectory(recording_.per_directory);
    construct(parameters, settings.verify_writes);
  }

 private:
  std::string written_to() const override { return engine_.temp_string; }
};

/// The third generation: a folder for each day, hour and minute.
class TreeEngine final
    : public StampedEngine<KV_RGBD_CameraCompression3, KV_RGBD_CameraCompression3_parameters> {
 public:
  explicit TreeEngine(const EngineSettings& settings) : StampedEngine(settings) {
    KV_RGBD_CameraCompression3_parameters parameters;
    parameters.SetWriteMode();
    construct(parameters, settings.verify_writes);
  }

 private:
  /// The engine compares day, hour and minute each by itself, and a frame saved out of its memory
  /// leaves its own folders behind. Unless the frame belongs where the last one was written, no
  /// field is to look the same, so that all three levels are entered anew.
  void prepare_folders(const Moment& moment) override {
    if (minute_text(moment) == current_minute_) return;
    engine_.last_time_recorded_day = -1;
    engine_.last_time_recorded_hour = -1;
    engine_.last_time_recorded_minute = -1;
  }

  void folders_were_used(const Moment& moment) override { current_minute_ = minute_text(moment); }

  std::string written_to() const override { return engine_.CurrentFolderStringMinute; }

  static std::string minute_text(const Moment& moment) {
    constexpr std::size_t kUpToMinute = 16;
    return stamp_text(moment).substr(0, kUpToMinute);
  }

  std::string current_minute_;  ///< of the folders that the engine has entered
};

}  // namespace

std::unique_ptr<CaptureEngine> make_numbered_engine(const EngineSettings& settings) {
  return std::make_unique<NumberedEngine>(settings);
}

std::unique_ptr<CaptureEngine> make_tree_engine(const EngineSettings& settings) {
  return std::make_unique<TreeEngine>(settings);
}

}  // namespace depth_io::tools
