#include "engine/camera_depth_rw3.h"
#include "engine/minute_folders.h"
#include "engine/stamped_engine.h"

using depth_io::Moment;
using depth_io::StampedCapture;

namespace {

using Engine = KV_RGBD_CameraCompression3;

constexpr char kNoCameraType[] = "ERROR KV_RGBD_CameraCompression3::Construct CameraType non set";

/// Writes the current frame into its minute folder.
bool write_current_frame(Engine& engine, const StampedCapture& capture) {
  // Frames before this one may have been captured and not recorded, or their folder could not be
  // made. Then there is none, and without all three levels the frame would land in the process's
  // current directory.
  const bool has_folder = engine.CurrentFolderStringMinute[0] != '\0';
  const bool from_the_top = !engine.INITIALISED || !has_folder;
  if (!depth_io::make_capture_folders(engine, capture.moment, from_the_top)) return false;
  if (!depth_io::write_stamped_frame(engine, {.directory = engine.CurrentFolderStringMinute,
                                              .frame_number = capture.frame_number,
                                              .by_timestamp = true,
                                              .depth_map = engine.DepthMap,
                                              .colour_image = engine.ColourImage,
                                              .debug = capture.debug})) {
    return false;
  }
  engine.RECORDED = true;
  return true;
}

}  // namespace

bool KV_RGBD_CameraCompression3::SubDirHandle(int /*current_frame*/, int year, int month, int day,
                                              int hour, int minute, int second, int millisecond) {
  return depth_io::make_capture_folders(
      *this, {year, month, day, hour, minute, second, millisecond}, !INITIALISED);
}

bool KV_RGBD_CameraCompression3::apply_with_timestamp(bool RECORD_NOW, int current_frame, int year,
                                                      int month, int day, int hour, int minute,
                                                      int second, int millisecond, int debug) {
  return _apply(RECORD_NOW, current_frame, year, month, day, hour, minute, second, millisecond,
                debug);
}

bool KV_RGBD_CameraCompression3::_apply(bool RECORD_NOW, int current_frame, int year, int month,
                                        int day, int hour, int minute, int second, int millisecond,
                                        int debug) {
  StampedCapture capture{.record_now = RECORD_NOW,
                         .frame_number = current_frame,
                         .moment = {year, month, day, hour, minute, second, millisecond},
                         .debug = debug};
  if (DepthMap == nullptr) return false;
  depth_io::measure_motion_since_last(*this);
  capture.moving = depth_io::is_moving(*this);
  capture.too_long = depth_io::period_is_over(*this, delta_time_last_recorded);
  if (!depth_io::check_stamp_and_rate(*this, capture)) return false;
  depth_io::print_capture_decision(*this, capture);
  if (!depth_io::know_camera(*this, kNoCameraType)) return false;
  if (capture.asks_for_recording() && capture.passes_rate_limit &&
      !write_current_frame(*this, capture)) {
    return false;
  }
  return depth_io::store_stamped_frame(*this, capture);
}

bool KV_RGBD_CameraCompression3::recording_from_buffer(
    int start_year, int start_month, int start_day, int start_hour, int start_minute,
    int start_second, int start_millisecond, int stop_year, int stop_month, int stop_day,
    int stop_hour, int stop_minute, int stop_second, int stop_millisecond, int print, int debug) {
  return _recording_from_buffer(start_year, start_month, start_day, start_hour, start_minute,
                                start_second, start_millisecond, stop_year, stop_month, stop_day,
                                stop_hour, stop_minute, stop_second, stop_millisecond, -1, -1, -1,
                                print, debug);
}

bool KV_RGBD_CameraCompression3::_recording_from_buffer(
    int start_year, int start_month, int start_day, int start_hour, int start_minute,
    int start_second, int start_millisecond, int stop_year, int stop_month, int stop_day,
    int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
    int /*start_frame_index*/, int /*stop_frame_index*/, int /*current_frame*/, int print,
    int debug) {
  depth_io::BufferRange range{.start = {start_year, start_month, start_day, start_hour,
                                        start_minute, start_second, start_millisecond},
                              .stop = {stop_year, stop_month, stop_day, stop_hour, stop_minute,
                                       stop_second, stop_millisecond},
                              .reports = print == 1,
                              .traces = debug == 1};
  range.trace(" - DEBUG - _recording_from_buffer");
  if (!depth_io::convert_range(range)) return false;
  if (!depth_io::report_range(*this, range)) return false;
  const auto open_folder = [this](int slot) -> char* {
    const Moment moment = depth_io::history_moment(*this, slot);
    const bool made =
        SubDirHandle_for_buffer_recording(moment.year, moment.month, moment.day, moment.hour,
                                          moment.minute, moment.second, moment.millisecond);
    return made ? CurrentFolderStringMinute : nullptr;
  };
  return depth_io::record_range(*this, range, debug, open_folder, [] {});
}

bool KV_RGBD_CameraCompression3::SubDirHandle_for_buffer_recording(int year, int month, int day,
                                                                   int hour, int minute, int second,
                                                                   int millisecond) {
  return depth_io::make_buffer_folders(*this,
                                       {year, month, day, hour, minute, second, millisecond});
}
