#include "codec/numeric.h"
#include "engine/camera_depth_rw.h"
#include "engine/capture_rules.h"
#include "engine/frame_write.h"

using depth_io::Moment;
using depth_io::print;

namespace {

using Engine = KV_RGBD_CameraCompression;

/// The frame that is to be decided about.
struct Capture {
  bool timestamped;
  int frame_number;
  Moment moment;
  float most_frames_per_second;
  int debug;
};

/// What the rate limit found.
struct RateCheck {
  bool passes = true;
  double now = -1.0;
  double last_recorded = -1.0;
  double elapsed_seconds = -1.0;
};

/// Compares with what stands in the slot of the frame number before this one, whatever that is.
void measure_motion(Engine& engine, int current_frame) {
  if (!engine.USE_FRAME_DIFF) return;
  const int previous_slot =
      engine.GetHistoryCorrespondingIndex(depth_io::wrapping_subtract(current_frame, 1));
  if (!depth_io::is_slot(previous_slot, engine.SizeHistory)) {
    engine.DisplayMovingFrame.Init(0.0F);
    return;
  }
  engine.pct_moving =
      depth_io::measure_motion({.previous_depth = engine.HistoryDepth.arr1D[previous_slot].buffer,
                                .depth = engine.MapZd.buffer,
                                .previous_has_depth = engine.prev_MapHasDepth.buffer,
                                .has_depth = engine.MapHasDepth.buffer},
                               engine.threshold_motion_contrast, engine.DisplayMovingFrame.buffer);
}

bool convert(double& unix_time, const Moment& moment, bool print_errors) {
  if (depth_io::to_unix_time(unix_time, moment, print_errors)) return true;
  depth_io::report_impossible_moment(moment);
  return false;
}

/// False when a moment cannot be converted.
bool check_rate(Engine& engine, const Capture& capture, RateCheck& rate) {
  if (!capture.timestamped) return true;
  depth_io::write_stamp(engine.timestamp.buffer, capture.moment);
  if (!convert(rate.now, capture.moment, false)) return false;
  if (engine.last_time_recorded_year < 0) {
    depth_io::set_last_time_recorded(engine, capture.moment);
  }
  if (!convert(rate.last_recorded, depth_io::last_time_recorded(engine), true)) return false;
  rate.elapsed_seconds = rate.now - rate.last_recorded;
  rate.passes = !engine.INITIALISED ||
                depth_io::passes_rate_limit(rate.elapsed_seconds, capture.most_frames_per_second);
  return true;
}

void print_decision(const Engine& engine, const Capture& capture, bool moving, bool too_long,
                    const RateCheck& rate) {
  const Moment& now = capture.moment;
  const Moment last = depth_io::last_time_recorded(engine);
  print(
      " --- info Moving %d, ItsBeenTooLong %d, pass_delta_unix_time %d (%f-%f=%f vs %f) "
      "%d-%d-%d,%d:%d:%d,%d - %d-%d-%d,%d:%d:%d,%d ---\n",
      moving, too_long, rate.passes, rate.now, rate.last_recorded, rate.elapsed_seconds,
      static_cast<double>(1.0F / capture.most_frames_per_second), now.year, now.month, now.day,
      now.hour, now.minute, now.second, now.millisecond, last.year, last.month, last.day, last.hour,
      last.minute, last.second, last.millisecond);
}

bool write_current_frame(Engine& engine, const Capture& capture) {
  engine.RECORDED = true;
  return depth_io::write_frame({.reverse_name = engine.REVERSE_NAME,
                                .verification = engine.VERIFICATION,
                                .record = engine.RW,
                                .directory = engine.Record_directory,
                                .stem_depth = engine.Record_stem_depth,
                                .with_colour = engine.COLOUR_IMAGE_ON,
                                .stem_bgr = engine.Record_stem_bgr,
                                .colour_image = engine.colour_image.buffer,
                                .by_timestamp = capture.timestamped,
                                .number_digits = engine.Record_number_digits,
                                .frame_number = capture.frame_number,
                                .timestamp = engine.timestamp.buffer,
                                .depth_map = engine.MapZd.buffer,
                                .a11 = engine.a11,
                                .a22 = engine.a22,
                                .cx = engine.cx,
                                .cy = engine.cy,
                                .debug = capture.debug});
}

/// Untimed frames lie in the slot of their number, stamped ones in the order of their arrival.
int choose_slot(Engine& engine, const Capture& capture) {
  if (!capture.timestamped) return engine.GetHistoryCorrespondingIndex(capture.frame_number);
  const int slot = engine.GetHistoryCorrespondingIndex(engine.HistoryCounter);
  engine.HistoryCounter = depth_io::wrapping_add(engine.HistoryCounter, 1);
  return slot;
}

bool store_in_ring(Engine& engine, const Capture& capture) {
  const int slot = choose_slot(engine, capture);
  if (!depth_io::is_slot(slot, engine.SizeHistory)) {
    print("depth history corresponding index out of range (SizeHistory %d)\n", engine.SizeHistory);
    return false;
  }
  engine.HistoryDepth.arr1D[slot].CopyFrom(engine.MapZd);
  engine.HistoryBGR.arr1D[slot].CopyFromUC(engine.colour_image);
  if (capture.timestamped) {
    engine.HistoryTimeStamp.arr1D[slot].CopyFrom(engine.timestamp);
    depth_io::set_history_moment(engine, slot, capture.moment);
  }
  engine.HistoryModCounter = depth_io::next_slot(engine.HistoryModCounter, engine.SizeHistory);
  engine.prev_MapHasDepth.CopyFrom(engine.MapHasDepth);
  if (engine.RECORDED) depth_io::set_last_time_recorded(engine, capture.moment);
  engine.INITIALISED = true;
  return true;
}

}  // namespace

bool KV_RGBD_CameraCompression::apply(int current_frame, int debug) {
  return _apply(false, current_frame, 0, 0, 0, 0, 0, 0, 0, 0.0F, debug);
}

bool KV_RGBD_CameraCompression::apply_with_timestamp(int current_frame, int year, int month,
                                                     int day, int hour, int minute, int second,
                                                     int millisecond, float THRESHOLD_INTERVAL_FPS,
                                                     int debug) {
  return _apply(true, current_frame, year, month, day, hour, minute, second, millisecond,
                THRESHOLD_INTERVAL_FPS, debug);
}

bool KV_RGBD_CameraCompression::_apply(bool SAVE_WITH_TIMESTAMP, int current_frame, int year,
                                       int month, int day, int hour, int minute, int second,
                                       int millisecond, float THRESHOLD_INTERVAL_FPS, int debug) {
  const Capture capture{.timestamped = SAVE_WITH_TIMESTAMP,
                        .frame_number = current_frame,
                        .moment = {year, month, day, hour, minute, second, millisecond},
                        .most_frames_per_second = THRESHOLD_INTERVAL_FPS,
                        .debug = debug};
  RECORDED = false;
  pct_moving = 0.0F;
  measure_motion(*this, current_frame);
  const bool moving = depth_io::is_moving(*this);
  const bool too_long = depth_io::period_is_over(
      *this, depth_io::wrapping_subtract(current_frame, last_time_recorded_at));
  RateCheck rate;
  if (!check_rate(*this, capture, rate)) return false;
  print_decision(*this, capture, moving, too_long, rate);
  if (Record || moving || too_long) {
    // Kept: a frame that the rate limit vetoes restarts the period all the same.
    last_time_recorded_at = current_frame;
    if (rate.passes && !write_current_frame(*this, capture)) return false;
  }
  return store_in_ring(*this, capture);
}
