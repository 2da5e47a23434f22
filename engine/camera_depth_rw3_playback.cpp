#include <cstdint>
#include <tuple>

#include "catalogue/catalogue.h"
#include "engine/camera_depth_rw3.h"
#include "engine/minute_folders.h"
#include "engine/stamped_engine.h"

using depth_io::Moment;
using depth_io::PathText;
using depth_io::print;
using depth_io::print_line;
using depth_io::print_line_and_wait;
using depth_io::wait_for_key;

namespace {

using Engine = KV_RGBD_CameraCompression3;

// Kept: playback looks for these stems, whatever the settings say.
constexpr char kDepthStem[] = "depth";
constexpr char kColourStem[] = "bgrimage";

void trace(int debug, const char* text) {
  if (debug == 1) print_line(text);
}

/// Puts the folder position to the start moment and finds the first folder.
bool start_playback(Engine& engine, int debug) {
  engine.param.ReadFolder_Current_Year = engine.param.ReadFolder_Start_Year;
  engine.param.ReadFolder_Current_Month = engine.param.ReadFolder_Start_Month;
  engine.param.ReadFolder_Current_Day = engine.param.ReadFolder_Start_Day;
  engine.param.ReadFolder_Current_Hour = engine.param.ReadFolder_Start_Hour;
  engine.param.ReadFolder_Current_Minute = engine.param.ReadFolder_Start_Minute;
  trace(debug,
        "DEBUG - read - not initialised so do that now: "
        "Read_FindNextFolder_and_update_CurrentTime");
  if (engine.Read_FindNextFolder_and_update_CurrentTime(debug)) return true;
  print_line_and_wait(" WARNING - sub dir content file non existent");
  return false;
}

bool check_last_index(const Engine& engine, int debug) {
  if (engine.LAST_STAMP_INDEX >= 0) return true;
  print("ERROR - LAST_STAMP_INDEX %d should not be 0\n", engine.LAST_STAMP_INDEX);
  if (debug == 1) wait_for_key();
  return false;
}

/// Goes to the next folder when the current one is used up.
bool leave_finished_folder(Engine& engine, int debug) {
  if (engine.CURRENT_STAMP_INDEX <= engine.LAST_STAMP_INDEX) return true;
  engine.CURRENT_STAMP_INDEX = 0;
  trace(debug, "DEBUG - read - EOF redo Read_FindNextFolder_and_update_CurrentTime");
  return engine.Read_FindNextFolder_and_update_CurrentTime(debug);
}

/// Takes the next stamp of the folder's list into `temp_string2`.
bool take_next_stamp(Engine& engine, int debug) {
  if (!depth_io::is_slot(engine.CURRENT_STAMP_INDEX, engine.SortedStamps.N1D)) return false;
  char* const stamp = engine.temp_string2;
  depth_io::copy_text(stamp, sizeof engine.temp_string2,
                      engine.SortedStamps.arr1D[engine.CURRENT_STAMP_INDEX].buffer);
  ++engine.CURRENT_STAMP_INDEX;
  if (debug == 1) {
    // Kept: the number is the low half of the text's address, not the index.
    print("DEBUG - read - current stamp (next index %d)\n",
          static_cast<int>(reinterpret_cast<std::uintptr_t>(stamp)));
  }
  engine.currentTimeStamp = stamp;
  return true;
}

/// Notices the first stamp at or after the start moment.
void look_for_start(Engine& engine, int debug) {
  if (engine.REACHED_WANTED_START_TIME) return;
  Moment m;
  double unix_time = 0.0;
  if (depth_io::parse_stamp(engine.temp_string2, m) &&
      depth_io::to_unix_time(unix_time, m, false) &&
      unix_time >= engine.param.ReadFolder_Start_Unixtime) {
    engine.REACHED_WANTED_START_TIME = true;
  }
  if (debug == 1) {
    print(
        "DEBUG - read - check if we reach wanted start time '%s''%s' : %d %d %d, %d %d %d.%d "
        "REACHED_WANTED_START_TIME %d\n",
        engine.depth_string, engine.temp_string2, m.year, m.month, m.day, m.hour, m.minute,
        m.second, m.millisecond, engine.REACHED_WANTED_START_TIME);
  }
}

/// Writes the name of the stamp's files with this stem; false when it does not fit.
bool build_name(Engine& engine, const char* stem, const char* ending, char* field,
                std::size_t size) {
  PathText name(size);
  depth_io::append_frame_name(name, engine.CurrentFolderStringMinute, stem, engine.REVERSE_NAME,
                              {.by_timestamp = true, .timestamp = engine.temp_string2});
  name.append(ending);
  return depth_io::copy_text(field, size, name.fits() ? name.c_str() : nullptr);
}

bool build_names(Engine& engine) {
  const bool depth_fits =
      build_name(engine, kDepthStem, "", engine.depth_string, sizeof engine.depth_string);
  const bool colour_fits = build_name(engine, kColourStem, depth_io::kJpegEnding, engine.bgr_string,
                                      sizeof engine.bgr_string);
  return depth_fits && colour_fits;
}

bool load_depth(Engine& engine, bool has_names, int debug) {
  trace(debug, "DEBUG - read - load_compressed_data");
  if (has_names && load_compressed_data(engine.RW, engine.depth_string, debug)) return true;
  depth_io::report_unread_frame(engine);
  return false;
}

bool load_colour(Engine& engine, int debug) {
  if (!engine.param.BGRStem_active) return true;
  if (debug == 1) print("DEBUG - read - read_compressed jpeg '%s'\n", engine.bgr_string);
  trace(debug, "DEBUG - read - LoadColourImage");
  if (engine.LoadColourImage(engine.bgr_string)) return true;
  print_line_and_wait("failed to read bgr image");
  return false;
}

bool load_frame(Engine& engine, bool has_names, int debug) {
  if (!load_depth(engine, has_names, debug)) return false;
  if (!load_colour(engine, debug)) return false;
  trace(debug, "DEBUG - read - set map depth validity");
  depth_io::take_stamped_frame(engine);
  return true;
}

Moment current_folder(const Engine& engine) {
  return {engine.param.ReadFolder_Current_Year,
          engine.param.ReadFolder_Current_Month,
          engine.param.ReadFolder_Current_Day,
          engine.param.ReadFolder_Current_Hour,
          engine.param.ReadFolder_Current_Minute,
          0,
          0};
}

/// Carries a minute that was counted up. Kept: every month has 31 days; folders of days that do not
/// exist are simply not found.
void carry_folder_position(KV_RGBD_CameraCompression3_parameters& param) {
  if (param.ReadFolder_Current_Minute > 59) {
    param.ReadFolder_Current_Minute = 0;
    ++param.ReadFolder_Current_Hour;
  }
  if (param.ReadFolder_Current_Hour > 23) {
    param.ReadFolder_Current_Hour = 0;
    ++param.ReadFolder_Current_Day;
  }
  if (param.ReadFolder_Current_Day > 31) {
    param.ReadFolder_Current_Day = 1;
    ++param.ReadFolder_Current_Month;
  }
  if (param.ReadFolder_Current_Month > 12) {
    param.ReadFolder_Current_Month = 1;
    ++param.ReadFolder_Current_Year;
  }
}

/// Whether the folder position lies behind the stop minute on the calendar. The seconds since 1970
/// wrap in 2038 and alone would let the walk go on for ever.
bool is_behind_stop_minute(const KV_RGBD_CameraCompression3_parameters& param) {
  if (param.ReadFolder_Stop_Year < 0) return false;
  const auto position = std::tie(param.ReadFolder_Current_Year, param.ReadFolder_Current_Month,
                                 param.ReadFolder_Current_Day, param.ReadFolder_Current_Hour,
                                 param.ReadFolder_Current_Minute);
  const auto stop =
      std::tie(param.ReadFolder_Stop_Year, param.ReadFolder_Stop_Month, param.ReadFolder_Stop_Day,
               param.ReadFolder_Stop_Hour, param.ReadFolder_Stop_Minute);
  return position > stop;
}

bool report_stop(Engine& engine) {
  engine.REACHED_WANTED_STOP_TIME = true;
  print_line_and_wait("REACHED asked stop reading time (press)");
  return false;
}

}  // namespace

bool KV_RGBD_CameraCompression3::Read(int debug) {
  trace(debug, "DEBUG - read - read_compressed start");
  if (!INITIALISED && !start_playback(*this, debug)) return false;
  if (!check_last_index(*this, debug)) return false;
  if (!leave_finished_folder(*this, debug)) return false;
  if (!take_next_stamp(*this, debug)) return false;
  depth_io::copy_text(depth_string, sizeof depth_string, CurrentFolderStringMinute);
  depth_io::copy_text(bgr_string, sizeof bgr_string, CurrentFolderStringMinute);
  look_for_start(*this, debug);
  const bool has_names = build_names(*this);
  if (debug == 1) {
    print("DEBUG - read - REACHED_WANTED_START_TIME %d\n", REACHED_WANTED_START_TIME);
  }
  // A frame before the start is passed over; the caller simply calls again.
  if (REACHED_WANTED_START_TIME && !load_frame(*this, has_names, debug)) return false;
  depth_io::forget_position(*this);
  INITIALISED = true;
  trace(debug, "DEBUG - read - done");
  return true;
}

bool KV_RGBD_CameraCompression3::Read_FindNextFolder_and_update_CurrentTime(int /*debug*/) {
  if (CURRENT_STAMP_INDEX != 0) {
    print_line_and_wait(
        "ERROR - FindNextFolder_and_update_CurrentTime - cannot be performed if current folder not "
        "done yet");
    return false;
  }
  double folder_time = -1.0;
  if (!(param.ReadFolder_Stop_Unixtime > folder_time)) return true;
  // The very first search starts at the start minute itself, every later one behind the current
  // one.
  bool at_start_minute = !INITIALISED;
  while (param.ReadFolder_Stop_Unixtime > folder_time) {
    if (!at_start_minute) ++param.ReadFolder_Current_Minute;
    at_start_minute = false;
    carry_folder_position(param);
    const Moment folder = current_folder(*this);
    depth_io::find_folders(*this, folder);
    depth_io::to_unix_time(folder_time, folder, true);
    ListEntriesInSubDir(CurrentFolderStringMinute, SortedStamps, TimeStamps, UnixTimes,
                        SortedIndex);
    print("searching for '%s'\n", CurrentFolderStringMinute);
    if (folder_time >= param.ReadFolder_Stop_Unixtime || is_behind_stop_minute(param)) break;
    CURRENT_STAMP_INDEX = 0;
    LAST_STAMP_INDEX = 0;
    if (SortedStamps.GetCounter() > 0) {
      LAST_STAMP_INDEX = SortedStamps.GetCounter() - 1;
      return true;
    }
  }
  return report_stop(*this);
}

bool KV_RGBD_CameraCompression3::LoadColourImage(char* FILENAME) {
  return !param.BGRStem_active || depth_io::load_engine_colour(*this, FILENAME);
}

bool KV_RGBD_CameraCompression3::read_for_calib_tool(char* depth_filename, char* bgr_filename) {
  return depth_io::read_depth_for_calibration(*this, depth_filename) &&
         depth_io::read_colour_for_calibration(*this, bgr_filename);
}

bool KV_RGBD_CameraCompression3::read_for_calib_tool(char* depth_filename) {
  return depth_io::read_depth_for_calibration(*this, depth_filename);
}
