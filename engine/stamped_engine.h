#pragma once

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>

#include "codec/camera_depth_rw.h"
#include "engine/capture_rules.h"
#include "engine/frame_write.h"
#include "engine/playback_maps.h"

/// What the second and the third generation truly share: both are configured by a parameter object,
/// store every frame with its stamp, and keep their own frame arrays. Where they differ is spelled
/// out in each.
namespace depth_io {

// --- Construction ------------------------------------------------------------------------------

template <typename Engine>
void release_stamped_engine(Engine& engine) {
  release_record(engine.RW);
  release_history(engine);
  engine.HistoryUnixTimes.Kill();
  engine.timestamp.Kill();
  engine.MapHasDepth.Kill();
  engine.prev_MapHasDepth.Kill();
  engine.DisplayMovingFrame.Kill();
  delete[] engine.DepthMap;
  engine.DepthMap = nullptr;
  delete[] engine.ColourImage;
  engine.ColourImage = nullptr;
}

/// What the construction of each generation says of settings that are missing.
struct SettingComplaints {
  const char* directory;
  const char* depth_stem;
  const char* rate_limit;
};

/// Fills in the settings that have defaults; false, after a message and a wait for a key, when one
/// is missing that has none. Kept: the warning about the rate limit waits for a key, too.
template <typename Parameters>
bool complete_settings(Parameters& param, const SettingComplaints& complaints) {
  constexpr float kDefaultFramesPerSecond = 8.0F;
  if (!param.SizeBuffer_active) param.SizeBuffer = 1;
  if (!param.Directory_active) {
    print_line_and_wait(complaints.directory);
    return false;
  }
  if (!param.DepthStem_active) {
    print_line_and_wait(complaints.depth_stem);
    return false;
  }
  if (!param.MaxFPS_active) {
    print_line(complaints.rate_limit);
    param.MaxFPS = kDefaultFramesPerSecond;
    param.MaxFPS_active = true;
    wait_for_key();
  }
  return true;
}

template <typename Engine>
void allocate_stamped_engine(Engine& engine) {
  engine.WW = kFrameWidth;
  engine.HH = kFrameHeight;
  engine.DepthMap = new float[kFramePixels]{};
  engine.ColourImage = new unsigned char[kColourBytes]{};
  engine.timestamp.Create(kStampSize);
  InitStruct(engine.RW);
  Allocate(engine.RW, kFrameWidth, kFrameHeight);
  engine.a11 = 0.0F;
  engine.a22 = 0.0F;
  engine.cx = 0.0F;
  engine.cy = 0.0F;
  engine.MapHasDepth.Create(kFramePixels);
  engine.MapHasDepth.Init(false);
  engine.prev_MapHasDepth.Create(kFramePixels);
  engine.prev_MapHasDepth.Init(false);

  engine.SizeHistory = engine.param.SizeBuffer;
  engine.HistoryModCounter = 0;
  engine.o_HistoryIndex = 0;
  create_history(engine, engine.SizeHistory);
  engine.HistoryYear.Init(-1);
  engine.HistoryUnixTimes.Create(engine.SizeHistory);
}

template <typename Engine>
void set_stamped_capture_defaults(Engine& engine) {
  engine.USE_FRAME_DIFF = false;
  engine.DisplayMovingFrame.Create(kFramePixels);
  engine.threshold_motion_contrast = 0.1F;
  engine.threshold_pct_motion = 0.5F;
  engine.pct_moving = 0.0F;
  engine.Record_period = false;
  engine.Record_period_gap = 100;
  engine.delta_time_last_recorded = 0;
  set_last_time_recorded(engine, {-1, -1, -1, -1, -1, -1, -1});
  engine.last_time_recorded_unixtime = -1.0;
}

/// Slot of the oldest frame: the first written one after the newest, going round.
template <typename Engine>
int oldest_slot(Engine& engine) {
  for (int k = 1; k <= engine.SizeHistory; ++k) {
    const int slot = __Modulo(engine.SizeHistory, wrapping_add(engine.o_HistoryIndex, k));
    if (!is_slot(slot, engine.SizeHistory)) return 0;
    if (engine.HistoryYear.buffer[slot] >= 0) return slot;
  }
  print_line_and_wait("ERROR bad oldest history slot");
  return -1;
}

// --- Capture -----------------------------------------------------------------------------------

/// The frame that is to be decided about, and what the rate limit found.
struct StampedCapture {
  bool record_now;
  int frame_number;
  Moment moment;
  int debug;
  bool moving = false;
  bool too_long = false;
  bool passes_rate_limit = true;
  double unix_time = -1.0;
  double elapsed_seconds = -1.0;

  bool asks_for_recording() const { return moving || too_long || record_now; }
};

/// Compares the current frame with the one captured last.
template <typename Engine>
void measure_motion_since_last(Engine& engine) {
  engine.RECORDED = false;
  engine.pct_moving = 0.0F;
  if (!engine.USE_FRAME_DIFF) return;
  const int before = wrapping_subtract(engine.HistoryModCounter, 1);
  const int previous_slot = before < 0 ? wrapping_subtract(engine.SizeHistory, 1) : before;
  if (!engine.INITIALISED || !is_slot(previous_slot, engine.SizeHistory)) {
    engine.DisplayMovingFrame.Init(0.0F);
    return;
  }
  engine.pct_moving =
      measure_motion({.previous_depth = engine.HistoryDepth.arr1D[previous_slot].buffer,
                      .depth = engine.DepthMap,
                      .previous_has_depth = engine.prev_MapHasDepth.buffer,
                      .has_depth = engine.MapHasDepth.buffer},
                     engine.threshold_motion_contrast, engine.DisplayMovingFrame.buffer);
}

/// Stamps the frame and holds it against the rate limit; false when its moment does not exist.
template <typename Engine>
bool check_stamp_and_rate(Engine& engine, StampedCapture& capture) {
  write_stamp(engine.timestamp.buffer, capture.moment);
  if (!to_unix_time(capture.unix_time, capture.moment, true)) {
    report_impossible_moment(capture.moment);
    return false;
  }
  if (engine.last_time_recorded_year < 0) {
    set_last_time_recorded(engine, capture.moment);
    engine.last_time_recorded_unixtime = capture.unix_time;
  }
  capture.elapsed_seconds = capture.unix_time - engine.last_time_recorded_unixtime;
  if (engine.param.MaxFPS_active) {
    capture.passes_rate_limit = passes_rate_limit(capture.elapsed_seconds, engine.param.MaxFPS);
  }
  if (!engine.INITIALISED) capture.passes_rate_limit = true;
  return true;
}

template <typename Engine>
void print_capture_decision(const Engine& engine, const StampedCapture& capture) {
  if (!capture.record_now) return;
  const Moment& now = capture.moment;
  print(
      " - info - Moving %d BeenTooLong %d (%d) pass_delta %d (%f vs %f) %d-%d-%d,%d:%d:%d,%d - "
      "(lastrec %d:%d:%d,%d)\n",
      capture.moving, capture.too_long, engine.delta_time_last_recorded, capture.passes_rate_limit,
      capture.elapsed_seconds, static_cast<double>(1.0F / engine.param.MaxFPS), now.year, now.month,
      now.day, now.hour, now.minute, now.second, now.millisecond, engine.last_time_recorded_hour,
      engine.last_time_recorded_minute, engine.last_time_recorded_second,
      engine.last_time_recorded_millisecond);
}

/// Sets the intrinsics of the camera; false, after the message and a wait for a key, when its type
/// was not set.
template <typename Engine>
bool know_camera(Engine& engine, const char* complaint) {
  if (!engine.param.CameraType_active) {
    print_line_and_wait(complaint);
    return false;
  }
  const CameraConstants constants = camera_constants(engine.param.CameraType);
  engine.a11 = constants.a11;
  engine.a22 = constants.a22;
  engine.cx = constants.cx;
  engine.cy = constants.cy;
  return true;
}

/// Which frame is to be written where.
struct StampedFrame {
  char* directory;
  int frame_number;
  bool by_timestamp;
  float* depth_map;
  unsigned char* colour_image;
  int debug;
};

/// Writes a frame with the engine's stems and its current stamp text.
template <typename Engine>
bool write_stamped_frame(Engine& engine, const StampedFrame& frame) {
  return write_frame({.reverse_name = engine.REVERSE_NAME,
                      .verification = engine.VERIFICATION,
                      .record = engine.RW,
                      .directory = frame.directory,
                      .stem_depth = engine.param.DepthStem,
                      .with_colour = engine.param.BGRStem_active,
                      .stem_bgr = engine.param.BGRStem,
                      .colour_image = frame.colour_image,
                      .by_timestamp = frame.by_timestamp,
                      .number_digits = 8,
                      .frame_number = frame.frame_number,
                      .timestamp = engine.timestamp.buffer,
                      .depth_map = frame.depth_map,
                      .a11 = engine.a11,
                      .a22 = engine.a22,
                      .cx = engine.cx,
                      .cy = engine.cy,
                      .debug = frame.debug});
}

/// Puts the captured frame into the ring and remembers when one was recorded.
template <typename Engine>
bool store_stamped_frame(Engine& engine, const StampedCapture& capture) {
  const int slot = engine.HistoryModCounter;
  if (!is_slot(slot, engine.SizeHistory)) {
    print("depth history corresponding index out of range (SizeHistory %d)\n", engine.SizeHistory);
    return false;
  }
  engine.HistoryDepth.arr1D[slot].CopyFrom(engine.DepthMap);
  engine.HistoryBGR.arr1D[slot].CopyFromUC(engine.ColourImage);
  engine.HistoryTimeStamp.arr1D[slot].CopyFrom(engine.timestamp);
  const Moment& now = capture.moment;
  set_history_moment(engine, slot, now);
  double unix_time = 0.0;
  if (!to_unix_time(unix_time, now, true)) {
    print(" - ERROR - apply - converting start timestamp %d.%d.%d|%d %d %d.%d to unixtime\n",
          now.year, now.month, now.day, now.hour, now.minute, now.second, now.millisecond);
    return false;
  }
  engine.HistoryUnixTimes.buffer[slot] = unix_time;
  engine.o_HistoryIndex = slot;
  engine.HistoryModCounter = next_slot(slot, engine.SizeHistory);
  engine.prev_MapHasDepth.CopyFrom(engine.MapHasDepth);
  if (engine.RECORDED) {
    set_last_time_recorded(engine, now);
    engine.last_time_recorded_unixtime = capture.unix_time;
  } else if (engine.delta_time_last_recorded < INT_MAX) {
    // Kept: counted up only, so a period that is over once stays so.
    ++engine.delta_time_last_recorded;
  }
  engine.INITIALISED = true;
  return true;
}

// --- Recording from buffer ---------------------------------------------------------------------

/// A time range of the history that is wanted on disk.
struct BufferRange {
  Moment start;
  Moment stop;
  double start_time = 0.0;
  double stop_time = 0.0;
  bool reports;
  bool traces;

  void trace(const char* text) const {
    if (traces) print_line(text);
  }
};

/// Converts the ends of the range; false after a message when one of them does not exist.
inline bool convert_range(BufferRange& range) {
  range.trace(" - DEBUG - _recording_from_buffer - start time");
  const Moment& start = range.start;
  if (!to_unix_time(range.start_time, start, true)) {
    print("ERROR - converting start timestamp %d.%d.%d|%d %d %d.%d recoding to unixtime\n",
          start.year, start.month, start.day, start.hour, start.minute, start.second,
          start.millisecond);
    return false;
  }
  range.trace(" - DEBUG - _recording_from_buffer - stop time");
  if (!to_unix_time(range.stop_time, range.stop, false)) {
    print_line("ERROR - converting stop timestamp recoding to unixtime");
    return false;
  }
  return true;
}

/// Prints the wanted range and the history's; false when the history is empty.
template <typename Engine>
bool report_range(Engine& engine, const BufferRange& range) {
  if (!range.reports) return true;
  const Moment& start = range.start;
  const Moment& stop = range.stop;
  print("RECORDING FROM BUFFER, wanted range [%d.%d.%d|%d %d %d.%d: %d.%d.%d|%d %d %d.%d]\n",
        start.year, start.month, start.day, start.hour, start.minute, start.second,
        start.millisecond, stop.year, stop.month, stop.day, stop.hour, stop.minute, stop.second,
        stop.millisecond);
  const int newest = engine.GetHistoryIndex();
  const int oldest = engine.GetHistoryOldest();
  if (oldest < 0) return false;
  print("[HISTORY RANGE (%d:%d) [%s : %s]\n", oldest, newest,
        engine.HistoryTimeStamp.arr1D[oldest].buffer, engine.HistoryTimeStamp.arr1D[newest].buffer);
  range.trace(" - DEBUG - _recording_from_buffer - old time");
  return true;
}

/// Writes the slots of the range, in slot order. `open_folder(slot)` makes a slot's folder and
/// gives its path, or null; `close_frame()` follows each written one.
template <typename Engine, typename OpenFolder, typename CloseFrame>
bool record_range(Engine& engine, const BufferRange& range, int debug, OpenFolder open_folder,
                  CloseFrame close_frame) {
  range.trace(" - DEBUG - _recording_from_buffer - scan history");
  int recorded = 0;
  for (int slot = 0; slot < engine.SizeHistory; ++slot) {
    if (range.traces) {
      print(" - DEBUG - _recording_from_buffer - scan history [%d/%d]\n", slot, engine.SizeHistory);
    }
    range.trace(" - DEBUG - _recording_from_buffer - unixtime comparison");
    const double time = engine.HistoryUnixTimes.buffer[slot];
    if (!(range.start_time <= time && time <= range.stop_time)) continue;
    range.trace(" - DEBUG - _recording_from_buffer - updating timestamp history");
    engine.timestamp.CopyFrom(engine.HistoryTimeStamp.arr1D[slot]);
    print("recording timestamp '%s'\n", engine.timestamp.buffer);
    ++recorded;
    char* const directory = open_folder(slot);
    if (directory == nullptr) return false;
    range.trace(" - DEBUG - _recording_from_buffer - write_compressed_data");
    if (!write_stamped_frame(engine, {.directory = directory,
                                      .frame_number = -1,
                                      .by_timestamp = true,
                                      .depth_map = engine.HistoryDepth.arr1D[slot].buffer,
                                      .colour_image = engine.HistoryBGR.arr1D[slot].buffer,
                                      .debug = debug})) {
      return false;
    }
    range.trace(" - DEBUG - _recording_from_buffer - su directory update");
    close_frame();
    range.trace(" - DEBUG - _recording_from_buffer - next scan");
  }
  print("INFO %d frame recorded from buffer\n", recorded);
  return true;
}

// --- Playback ----------------------------------------------------------------------------------

/// Takes the loaded frame into the engine's arrays. Entries of `MapHasDepth` are only ever set.
template <typename Engine>
void take_stamped_frame(Engine& engine) {
  std::copy_n(engine.RW.LoadedDepth, kFramePixels, engine.DepthMap);
  take_intrinsics(engine);
  mark_depth({engine.DepthMap, kFramePixels}, engine.MapHasDepth.buffer);
}

template <typename Engine>
void report_unread_frame(const Engine& engine) {
  print("ERROR KV_RGBD_CameraCompression read - (1)%d, (2) '%s', (3) '%s'  (%s)\n",
        engine._CurrentFrame, engine.timestamp.buffer, engine._CurrentStampString,
        engine.depth_string);
}

template <typename Engine>
bool load_engine_colour(Engine& engine, const char* file_name) {
  return load_colour_image(file_name, {engine.ColourImage, kColourBytes},
                           engine.RW.LoadedColourImage);
}

template <typename Engine>
bool read_depth_for_calibration(Engine& engine, char* depth_filename) {
  const bool has_maps = engine.DepthMap != nullptr;
  if (has_maps) std::fill_n(engine.DepthMap, kFramePixels, 0.0F);
  engine.MapHasDepth.Init(false);
  if (!has_maps || !load_compressed_data_vostrel(engine.RW, depth_filename)) {
    print("ERROR KV_RGBD_CameraCompression read - read_compressed '%s' failed\n", depth_filename);
    return false;
  }
  take_stamped_frame(engine);
  return true;
}

template <typename Engine>
bool read_colour_for_calibration(Engine& engine, const char* bgr_filename) {
  if (load_engine_colour(engine, bgr_filename)) return true;
  print_line(" - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed !!!");
  return false;
}

/// The playback position as three flags and their values, which no mode but the second generation's
/// direct one looks at.
template <typename Engine>
void set_current_moment(Engine& engine, const Moment& moment) {
  engine._CurrentYear = moment.year;
  engine._CurrentMonth = moment.month;
  engine._CurrentDay = moment.day;
  engine._CurrentHour = moment.hour;
  engine._CurrentMinute = moment.minute;
  engine._CurrentSecond = moment.second;
  engine._CurrentMillisecond = moment.millisecond;
  engine._CurrentTimeStamp_active = true;
}

template <typename Engine>
void set_current_stamp(Engine& engine, const char* text) {
  if (text == nullptr ||
      strnlen(text, sizeof engine._CurrentStampString) == sizeof engine._CurrentStampString) {
    print_line("ERROR SetCurrentTimeStamp - text too long");
    return;
  }
  copy_text(engine._CurrentStampString, sizeof engine._CurrentStampString, text);
  engine._CurrentStampString_active = true;
}

template <typename Engine>
void forget_position(Engine& engine) {
  engine._CurrentFrame_active = false;
  engine._CurrentTimeStamp_active = false;
  engine._CurrentStampString_active = false;
}

}  // namespace depth_io
