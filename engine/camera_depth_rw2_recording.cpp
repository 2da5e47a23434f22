#include <sys/stat.h>

#include "engine/camera_depth_rw2.h"
#include "engine/history_recording.h"
#include "engine/stamped_engine.h"

using depth_io::PathText;
using depth_io::print;
using depth_io::print_line_and_wait;
using depth_io::StampedCapture;

namespace {

using Engine = KV_RGBD_CameraCompression2;

constexpr char kNoCameraType[] = "ERROR KV_RGBD_CameraCompression2::Construct CameraType non set";

/// Writes the current frame into the current output directory.
bool write_current_frame(Engine& engine, const StampedCapture& capture, bool by_timestamp) {
  if (!engine.SubDirHandle(by_timestamp, capture.frame_number)) return false;
  if (!depth_io::write_stamped_frame(engine, {.directory = engine.temp_string,
                                              .frame_number = capture.frame_number,
                                              .by_timestamp = by_timestamp,
                                              .depth_map = engine.DepthMap,
                                              .colour_image = engine.ColourImage,
                                              .debug = capture.debug})) {
    return false;
  }
  engine.RECORDED = true;
  engine.SubDirUpdate();
  return true;
}

bool fail_to_make_folder(const char* path) {
  print("FAILED to create sub dir '%s' (status %d)\n", path, -1);
  depth_io::wait_for_key();
  return false;
}

/// Kept: a folder that exists already is a failure; nothing is written into one that was not made
/// here.
bool make_sub_directory(Engine& engine) {
  PathText path;
  depth_io::append_numbered_folder(path, engine.param.Directory, engine.CurrentSubDirectoryIndex);
  if (!path.fits()) return fail_to_make_folder(path.c_str());
  depth_io::copy_text(engine.temp_string2, sizeof engine.temp_string2, path.c_str());
  print(" - INFO - CREATING SUB FOLDER '%s'\n", engine.temp_string2);
  return mkdir(engine.temp_string2, 0777) == 0 || fail_to_make_folder(engine.temp_string2);
}

}  // namespace

bool KV_RGBD_CameraCompression2::SubDirHandle(bool SAVE_WITH_TIMESTAMP, int current_frame) {
  PathText path;
  if (param.SubDirectory_active) {
    __GetStringFromInt(temp_strdest, 8, CurrentSubDirectoryIndex);
    depth_io::append_numbered_folder(path, param.Directory, CurrentSubDirectoryIndex);
  } else {
    path.append(param.Directory);
  }
  path.append("/");
  // An engine without a directory, whose construction was refused, would write into the file
  // system's root.
  if (!path.fits() || !param.Directory_active) return fail_to_make_folder(path.c_str());
  depth_io::copy_text(temp_string, sizeof temp_string, path.c_str());
  if (!param.SubDirectory_active || CurrentNbFramesSavedInSubDirectory != 0) return true;

  if (SAVE_WITH_TIMESTAMP) {
    FirstTimeStampSavedInSubDirectory.CopyFrom(timestamp);
  } else {
    FirstIndexSavedInSubDirectory = current_frame;
  }
  // Made already, when the first frame in it could not be written: go on in it.
  if (made_current_sub_directory_) return true;
  made_current_sub_directory_ = make_sub_directory(*this);
  return made_current_sub_directory_;
}

void KV_RGBD_CameraCompression2::SubDirUpdate() {
  if (!param.SubDirectory_active) return;
  ++CurrentNbFramesSavedInSubDirectory;
  if (CurrentNbFramesSavedInSubDirectory < param.NbFramesPerSubDirectory) return;
  ++CurrentSubDirectoryIndex;
  CurrentNbFramesSavedInSubDirectory = 0;
  made_current_sub_directory_ = false;
}

bool KV_RGBD_CameraCompression2::apply_with_index(bool RECORD_NOW, int current_frame, int debug) {
  return _apply(RECORD_NOW, false, current_frame, 0, 0, 0, 0, 0, 0, 0, debug);
}

bool KV_RGBD_CameraCompression2::apply_with_timestamp(bool RECORD_NOW, int current_frame, int year,
                                                      int month, int day, int hour, int minute,
                                                      int second, int millisecond, int debug) {
  return _apply(RECORD_NOW, true, current_frame, year, month, day, hour, minute, second,
                millisecond, debug);
}

bool KV_RGBD_CameraCompression2::_apply(bool RECORD_NOW, bool SAVE_WITH_TIMESTAMP,
                                        int current_frame, int year, int month, int day, int hour,
                                        int minute, int second, int millisecond, int debug) {
  StampedCapture capture{.record_now = RECORD_NOW,
                         .frame_number = current_frame,
                         .moment = {year, month, day, hour, minute, second, millisecond},
                         .debug = debug};
  if (DepthMap == nullptr) return false;
  depth_io::measure_motion_since_last(*this);
  capture.moving = depth_io::is_moving(*this);
  capture.too_long = depth_io::period_is_over(*this, delta_time_last_recorded);
  if (SAVE_WITH_TIMESTAMP && !depth_io::check_stamp_and_rate(*this, capture)) return false;
  depth_io::print_capture_decision(*this, capture);
  if (!depth_io::know_camera(*this, kNoCameraType)) return false;
  if (capture.asks_for_recording() && capture.passes_rate_limit &&
      !write_current_frame(*this, capture, SAVE_WITH_TIMESTAMP)) {
    return false;
  }
  if (!SAVE_WITH_TIMESTAMP) {
    print_line_and_wait("ERROR we do not use frame index anymore");
    return false;
  }
  return depth_io::store_stamped_frame(*this, capture);
}

bool KV_RGBD_CameraCompression2::recording_from_buffer(int start_frame_index, int stop_frame_index,
                                                       int current_frame, int print, int debug) {
  return _recording_from_buffer(false, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1,
                                start_frame_index, stop_frame_index, current_frame, print, debug);
}

bool KV_RGBD_CameraCompression2::recording_from_buffer(
    int start_year, int start_month, int start_day, int start_hour, int start_minute,
    int start_second, int start_millisecond, int stop_year, int stop_month, int stop_day,
    int stop_hour, int stop_minute, int stop_second, int stop_millisecond, int print, int debug) {
  return _recording_from_buffer(true, start_year, start_month, start_day, start_hour, start_minute,
                                start_second, start_millisecond, stop_year, stop_month, stop_day,
                                stop_hour, stop_minute, stop_second, stop_millisecond, -1, -1, -1,
                                print, debug);
}

bool KV_RGBD_CameraCompression2::_recording_from_buffer(
    bool SAVE_WITH_TIMESTAMP, int start_year, int start_month, int start_day, int start_hour,
    int start_minute, int start_second, int start_millisecond, int stop_year, int stop_month,
    int stop_day, int stop_hour, int stop_minute, int stop_second, int stop_millisecond,
    int start_frame_index, int stop_frame_index, int current_frame, int print, int debug) {
  if (debug == 1) {
    depth_io::print(" - DEBUG - _recording_from_buffer - SAVE_WITH_TIMESTAMP %d\n",
                    SAVE_WITH_TIMESTAMP);
  }
  if (!SAVE_WITH_TIMESTAMP) {
    if (!param.Directory_active) return fail_to_make_folder(param.Directory);
    // Kept: the ring holds stamped frames only, so every number means the slot that comes next.
    const auto slot_of = [this](int /*number*/) { return HistoryModCounter; };
    const auto write = [&](int slot, int number) {
      return depth_io::write_stamped_frame(*this, {.directory = param.Directory,
                                                   .frame_number = number,
                                                   .by_timestamp = false,
                                                   .depth_map = HistoryDepth.arr1D[slot].buffer,
                                                   .colour_image = HistoryBGR.arr1D[slot].buffer,
                                                   .debug = debug});
    };
    return depth_io::record_numbered_range(
        {start_frame_index, stop_frame_index, current_frame, SizeHistory}, slot_of, write);
  }
  depth_io::BufferRange range{.start = {start_year, start_month, start_day, start_hour,
                                        start_minute, start_second, start_millisecond},
                              .stop = {stop_year, stop_month, stop_day, stop_hour, stop_minute,
                                       stop_second, stop_millisecond},
                              .reports = print == 1,
                              .traces = debug == 1};
  if (!depth_io::convert_range(range)) return false;
  if (!depth_io::report_range(*this, range)) return false;
  const auto open_folder = [&](int /*slot*/) -> char* {
    return SubDirHandle(true, current_frame) ? temp_string : nullptr;
  };
  return depth_io::record_range(*this, range, debug, open_folder, [this] { SubDirUpdate(); });
}
