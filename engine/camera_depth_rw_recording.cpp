#include "engine/camera_depth_rw.h"
#include "engine/capture_rules.h"
#include "engine/frame_write.h"
#include "engine/history_recording.h"

using depth_io::Moment;
using depth_io::print;
using depth_io::print_line;

namespace {

using Engine = KV_RGBD_CameraCompression;

/// Where and how the frames of the ring are to be written.
struct Target {
  char* directory;
  char* stem_depth;
  bool with_colour;
  char* stem_bgr;
  bool by_timestamp;
  int number_digits;
  int debug;
};

bool write_slot(Engine& engine, const Target& target, int slot, int frame_number) {
  return depth_io::write_frame({.reverse_name = engine.REVERSE_NAME,
                                .verification = engine.VERIFICATION,
                                .record = engine.RW,
                                .directory = target.directory,
                                .stem_depth = target.stem_depth,
                                .with_colour = target.with_colour,
                                .stem_bgr = target.stem_bgr,
                                .colour_image = engine.HistoryBGR.arr1D[slot].buffer,
                                .by_timestamp = target.by_timestamp,
                                .number_digits = target.number_digits,
                                .frame_number = frame_number,
                                .timestamp = engine.timestamp.buffer,
                                .depth_map = engine.HistoryDepth.arr1D[slot].buffer,
                                .a11 = engine.a11,
                                .a22 = engine.a22,
                                .cx = engine.cx,
                                .cy = engine.cy,
                                .debug = target.debug});
}

int record_time_range(Engine& engine, const Target& target, const Moment& start,
                      const Moment& stop) {
  double start_time = 0.0;
  if (!depth_io::to_unix_time(start_time, start, true)) {
    print("ERROR - converting start timestamp %d.%d.%d|%d %d %d.%d recoding to unixtime\n",
          start.year, start.month, start.day, start.hour, start.minute, start.second,
          start.millisecond);
    return 0;
  }
  double stop_time = 0.0;
  if (!depth_io::to_unix_time(stop_time, stop, false)) {
    print_line("ERROR - converting stop timestamp recoding to unixtime");
    return 0;
  }
  int recorded = 0;
  for (int slot = 0; slot < engine.SizeHistory; ++slot) {
    // A slot that was never filled holds zeros and so lies long before 1970.
    double time = 0.0;
    depth_io::to_unix_time(time, depth_io::history_moment(engine, slot), false);
    if (!(start_time <= time && time <= stop_time)) continue;
    engine.timestamp.CopyFrom(engine.HistoryTimeStamp.arr1D[slot]);
    print("recording timestamp '%s'\n", engine.timestamp.buffer);
    ++recorded;
    if (!write_slot(engine, target, slot, -1)) return 0;
  }
  print("INFO %d frame recorded from buffer\n", recorded);
  return 1;
}

}  // namespace

int KV_RGBD_CameraCompression::recording(int start_frame_index, int stop_frame_index,
                                         int current_frame, char* directory, char* stem_depth,
                                         int number_digits, int debug) {
  return _recording(false, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                    start_frame_index, stop_frame_index, current_frame, directory, stem_depth,
                    false, nullptr, number_digits, debug);
}

int KV_RGBD_CameraCompression::recording(int start_frame_index, int stop_frame_index,
                                         int current_frame, char* directory, char* stem_depth,
                                         char* stem_bgr, int number_digits, int debug) {
  return _recording(false, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                    start_frame_index, stop_frame_index, current_frame, directory, stem_depth, true,
                    stem_bgr, number_digits, debug);
}

int KV_RGBD_CameraCompression::recording(int start_year, int start_month, int start_day,
                                         int start_hour, int start_minute, int start_second,
                                         int start_millisecond, int stop_year, int stop_month,
                                         int stop_day, int stop_hour, int stop_minute,
                                         int stop_second, int stop_millisecond, char* directory,
                                         char* stem_depth, int debug) {
  return _recording(true, start_year, start_month, start_day, start_hour, start_minute,
                    start_second, start_millisecond, stop_year, stop_month, stop_day, stop_hour,
                    stop_minute, stop_second, stop_millisecond, -1, -1, -1, directory, stem_depth,
                    false, nullptr, -1, debug);
}

int KV_RGBD_CameraCompression::recording(int start_year, int start_month, int start_day,
                                         int start_hour, int start_minute, int start_second,
                                         int start_millisecond, int stop_year, int stop_month,
                                         int stop_day, int stop_hour, int stop_minute,
                                         int stop_second, int stop_millisecond, char* directory,
                                         char* stem_depth, char* stem_bgr, int debug) {
  return _recording(true, start_year, start_month, start_day, start_hour, start_minute,
                    start_second, start_millisecond, stop_year, stop_month, stop_day, stop_hour,
                    stop_minute, stop_second, stop_millisecond, -1, -1, -1, directory, stem_depth,
                    true, stem_bgr, -1, debug);
}

int KV_RGBD_CameraCompression::_recording(
    bool SAVE_WITH_TIMESTAMP, int start_year, int start_month, int start_day, int start_hour,
    int start_minute, int start_second, int start_millisecond, int stop_year, int stop_month,
    int stop_day, int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
    int start_frame_index, int stop_frame_index, int current_frame, char* directory,
    char* stem_depth, bool with_colour, char* stem_bgr, int number_digits, int debug) {
  const Target target{.directory = directory,
                      .stem_depth = stem_depth,
                      .with_colour = with_colour,
                      .stem_bgr = stem_bgr,
                      .by_timestamp = SAVE_WITH_TIMESTAMP,
                      .number_digits = number_digits,
                      .debug = debug};
  if (!SAVE_WITH_TIMESTAMP) {
    const auto slot_of = [this](int number) { return GetHistoryCorrespondingIndex(number); };
    const auto write = [&](int slot, int number) {
      return write_slot(*this, target, slot, number);
    };
    const bool complete = depth_io::record_numbered_range(
        {start_frame_index, stop_frame_index, current_frame, SizeHistory}, slot_of, write);
    return complete ? 1 : 0;
  }
  const Moment start{start_year,   start_month,  start_day,        start_hour,
                     start_minute, start_second, start_millisecond};
  const Moment stop{stop_year,   stop_month,  stop_day,        stop_hour,
                    stop_minute, stop_second, stop_millisecond};
  return record_time_range(*this, target, start, stop);
}
