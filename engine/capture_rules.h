#pragma once

#include <cstddef>

#include "codec/console.h"
#include "codec/timestamps.h"

/// The rules of capture that the engines share, on plain data.
namespace depth_io {

#ifdef CAMERA_DEPTH_RW_SMALL_ENGINES
// The fuzz targets try hundreds of engines a second.
inline constexpr int kFrameWidth = 64;
inline constexpr int kFrameHeight = 48;
#else
inline constexpr int kFrameWidth = 640;
inline constexpr int kFrameHeight = 480;
#endif
inline constexpr int kFramePixels = kFrameWidth * kFrameHeight;
inline constexpr int kColourBytes = kFramePixels * 3;

/// Two frames and which of their pixels have depth, each [480*640].
struct MotionInput {
  const float* previous_depth;
  const float* depth;
  const bool* previous_has_depth;
  const bool* has_depth;
};

/// Share (0..1) of all pixels whose depth changed by more than `contrast` relative to the current
/// depth, counted where both frames have depth; each such pixel gets 255.0 in `moving` and each
/// other one 0.0.
float measure_motion(const MotionInput& frames, float contrast, float* moving);

/// Whether a frame may be written so many seconds after the last one: negative rates are no limit,
/// 0 never passes. The shortest interval is a single-precision reciprocal.
bool passes_rate_limit(double seconds_since_last, float frames_per_second);

/// Intrinsics by camera type: 0 Kinect class, 1 ASUS class.
struct CameraConstants {
  float a11;
  float a22;
  float cx;
  float cy;
};
CameraConstants camera_constants(int camera_type);

/// The slot after `slot` in a ring of `size`.
int next_slot(int slot, int size);

/// Whether `slot` is one of a ring of `size`.
bool is_slot(int slot, int size);

/// Whether enough pixels moved; tells so.
template <typename Engine>
bool is_moving(const Engine& engine) {
  const float percent = 100.0F * engine.pct_moving;
  if (!(percent > engine.threshold_pct_motion)) return false;
  print("(Record compressed depth when motion detected ACTIVATED with pct motion %f)\n",
        static_cast<double>(percent));
  return true;
}

/// Whether the period, if one is set, is over after `elapsed` frames. Kept: the line tells that the
/// period is watched, not that it is over.
template <typename Engine>
bool period_is_over(const Engine& engine, int elapsed) {
  if (!engine.Record_period) return false;
  print_line("(Record compressed depth period)");
  return elapsed >= engine.Record_period_gap;
}

/// Prints that a moment of capture does not exist.
void report_impossible_moment(const Moment& moment);

// The engines keep moments as separate public fields and buffers; these turn them into one value.

template <typename Engine>
Moment last_time_recorded(const Engine& engine) {
  return {engine.last_time_recorded_year,       engine.last_time_recorded_month,
          engine.last_time_recorded_day,        engine.last_time_recorded_hour,
          engine.last_time_recorded_minute,     engine.last_time_recorded_second,
          engine.last_time_recorded_millisecond};
}

template <typename Engine>
void set_last_time_recorded(Engine& engine, const Moment& moment) {
  engine.last_time_recorded_year = moment.year;
  engine.last_time_recorded_month = moment.month;
  engine.last_time_recorded_day = moment.day;
  engine.last_time_recorded_hour = moment.hour;
  engine.last_time_recorded_minute = moment.minute;
  engine.last_time_recorded_second = moment.second;
  engine.last_time_recorded_millisecond = moment.millisecond;
}

template <typename Engine>
Moment history_moment(const Engine& engine, int slot) {
  return {engine.HistoryYear.buffer[slot],       engine.HistoryMonth.buffer[slot],
          engine.HistoryDay.buffer[slot],        engine.HistoryHour.buffer[slot],
          engine.HistoryMinute.buffer[slot],     engine.HistorySecond.buffer[slot],
          engine.HistoryMillisecond.buffer[slot]};
}

template <typename Engine>
void set_history_moment(Engine& engine, int slot, const Moment& moment) {
  engine.HistoryYear.buffer[slot] = moment.year;
  engine.HistoryMonth.buffer[slot] = moment.month;
  engine.HistoryDay.buffer[slot] = moment.day;
  engine.HistoryHour.buffer[slot] = moment.hour;
  engine.HistoryMinute.buffer[slot] = moment.minute;
  engine.HistorySecond.buffer[slot] = moment.second;
  engine.HistoryMillisecond.buffer[slot] = moment.millisecond;
}

/// Makes the ring's buffers; those of an earlier ring must be released before.
template <typename Engine>
void create_history(Engine& engine, int slots) {
  engine.HistoryDepth.Create(slots, kFramePixels);
  engine.HistoryBGR.Create(slots, kColourBytes);
  engine.HistoryTimeStamp.Create(slots, kStampSize);
  engine.HistoryYear.Create(slots);
  engine.HistoryMonth.Create(slots);
  engine.HistoryDay.Create(slots);
  engine.HistoryHour.Create(slots);
  engine.HistoryMinute.Create(slots);
  engine.HistorySecond.Create(slots);
  engine.HistoryMillisecond.Create(slots);
}

template <typename Engine>
void release_history(Engine& engine) {
  engine.SizeHistory = 0;
  engine.HistoryDepth.Kill();
  engine.HistoryBGR.Kill();
  engine.HistoryTimeStamp.Kill();
  engine.HistoryYear.Kill();
  engine.HistoryMonth.Kill();
  engine.HistoryDay.Kill();
  engine.HistoryHour.Kill();
  engine.HistoryMinute.Kill();
  engine.HistorySecond.Kill();
  engine.HistoryMillisecond.Kill();
}

}  // namespace depth_io
