#include "engine/camera_depth_rw.h"
#include "tools/recorder/capture_engine.h"

namespace depth_io::tools {
namespace {

constexpr float kNoRateLimit = -1.0F;

/// The first generation: all frames in one directory, by number or by time.
class FlatEngine final : public CaptureEngine {
 public:
  explicit FlatEngine(const EngineSettings& settings)
      : recording_(settings.recording),
        directory_(settings.directory + "/"),
        engine_(settings.recording.history) {
    const Intrinsics camera = intrinsics_of(recording_.camera_type);
    engine_.a11 = camera.a11;
    engine_.a22 = camera.a22;
    engine_.cx = camera.cx;
    engine_.cy = camera.cy;
    engine_.VERIFICATION = settings.verify_writes ? 1 : 0;
    engine_.start_recording(directory_.data(), depth_stem_.data(), colour_stem_.data(),
                            kNumberDigits);
    set_triggers(engine_, recording_);
  }

  bool capture(Frame& frame, const Shot& shot, bool request) override {
    if (frame.has_colour) {
      engine_.input(frame.depth.data(), frame.bgr.data());
    } else {
      engine_.input(frame.depth.data());
    }
    mark_readings(engine_.MapZd.buffer, engine_.MapHasDepth.buffer);
    const bool by_time = recording_.naming == Naming::kTime;
    if (!by_time && shot.index != last_index_ + 1) stand_in_for(shot.index - 1);
    last_index_ = shot.index;
    engine_.Record = request;
    // By time, the ring's places are counted; the motion measure wants numbers that go with them.
    const int number = by_time ? captured_++ : static_cast<int>(shot.index);
    const bool is_due = engine_.Record_period &&
                        number - engine_.last_time_recorded_at >= engine_.Record_period_gap;
    const Moment& m = shot.moment;
    const auto rate = static_cast<float>(recording_.max_fps.value_or(double{kNoRateLimit}));
    const bool stored =
        by_time ? engine_.apply_with_timestamp(number, m.year, m.month, m.day, m.hour, m.minute,
                                               m.second, m.millisecond, rate, 0)
                : engine_.apply(number, 0);
    const bool is_moving = 100.0F * engine_.pct_moving > engine_.threshold_pct_motion;
    if (!is_moving && !is_due && !request) {
      decision_ = Decision::kNotAsked;
    } else if (!engine_.RECORDED) {
      decision_ = Decision::kTooSoon;
    } else {
      decision_ = is_moving ? Decision::kMotion : is_due ? Decision::kPeriod : Decision::kRequest;
    }
    return stored;
  }

  Decision decision() const override { return decision_; }

  bool save(const Shot& shot) override {
    const Moment& m = shot.moment;
    const int number = static_cast<int>(shot.index);
    const bool by_time = recording_.naming == Naming::kTime;
    return engine_._recording(by_time, m.year, m.month, m.day, m.hour, m.minute, m.second,
                              m.millisecond, m.year, m.month, m.day, m.hour, m.minute, m.second,
                              m.millisecond, number, number, static_cast<int>(last_index_),
                              directory_.data(), depth_stem_.data(), recording_.colour,
                              colour_stem_.data(), kNumberDigits, 0) == 1;
  }

  std::string folder() const override { return {}; }
  bool reverses_names() const override { return false; }

 private:
  /// The motion measure compares with the frame before by its number. After frames were dropped
  /// that place of the ring holds an old one: let the frame seen last stand there, too.
  void stand_in_for(long index) {
    if (last_index_ < 0) return;
    const int from = engine_.GetHistoryCorrespondingIndex(static_cast<int>(last_index_));
    const int to = engine_.GetHistoryCorrespondingIndex(static_cast<int>(index));
    if (from < 0 || to < 0 || from == to) return;
    engine_.HistoryDepth.arr1D[to].CopyFrom(engine_.HistoryDepth.arr1D[from].buffer);
  }

  const RecordingInfo& recording_;
  std::string directory_;
  std::string depth_stem_ = kDepthStem;
  std::string colour_stem_ = kColourStem;
  KV_RGBD_CameraCompression engine_;
  long last_index_ = -1;
  int captured_ = 0;
  Decision decision_ = Decision::kNotAsked;
};

}  // namespace

std::unique_ptr<CaptureEngine> make_flat_engine(const EngineSettings& settings) {
  return std::make_unique<FlatEngine>(settings);
}

}  // namespace depth_io::tools
