#include "engine/minute_folders.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "engine/camera_depth_rw3.h"

namespace depth_io {
namespace {

using Engine = KV_RGBD_CameraCompression3;

enum class Level { kDay, kHour, kMinute };

/// How much is said about a folder.
enum class Voice { kTellsAll, kTellsFailures };

void announce(Level level, const char* path) {
  switch (level) {
    case Level::kDay:
      print(" - INFO - CREATING NEW DAY FOLDER '%s'\n", path);
      break;
    case Level::kHour:
      print(" - INFO - CREATING NEW HOUR FOLDER '%s'\n", path);
      break;
    case Level::kMinute:
      print(" - INFO - CREATING NEW MINUTE FOLDER '%s'\n", path);
      break;
  }
}

bool fail_to_make(Level level, const char* path, int error) {
  if (level == Level::kDay) print("MKDIR ERROR: %s\n", std::strerror(error));
  print("FAILED to create sub dir '%s' (status %d)\n", path, -1);
  wait_for_key();
  return false;
}

/// Stores the path in its field and makes the folder.
template <std::size_t kSize>
bool make_folder(Level level, char (&field)[kSize], const PathText& path, Voice voice) {
  if (!path.fits()) return fail_to_make(level, path.c_str(), ENAMETOOLONG);
  copy_text(field, kSize, path.c_str());
  if (voice == Voice::kTellsAll) announce(level, field);
  if (mkdir(field, 0777) == 0) return true;
  if (errno != EEXIST) return fail_to_make(level, field, errno);
  if (voice == Voice::kTellsAll) print_line("(already exists)");
  return true;
}

bool make_day_folder(Engine& engine, const Moment& moment, Voice voice) {
  PathText path;
  append_day_folder(path, engine.param.Directory, moment);
  return make_folder(Level::kDay, engine.CurrentFolderStringDay, path, voice);
}

bool make_hour_folder(Engine& engine, const Moment& moment, Voice voice) {
  PathText path;
  path.append(engine.CurrentFolderStringDay);
  append_hour_folder(path, moment);
  return make_folder(Level::kHour, engine.CurrentFolderStringHour, path, voice);
}

bool make_minute_folder(Engine& engine, const Moment& moment, Voice voice) {
  PathText path;
  path.append(engine.CurrentFolderStringHour);
  append_minute_folder(path, moment);
  return make_folder(Level::kMinute, engine.CurrentFolderStringMinute, path, voice);
}

/// An engine without a directory, whose construction was refused, would make its folders in the
/// file system's root.
bool has_directory(const Engine& engine) {
  return engine.param.Directory_active || fail_to_make(Level::kDay, "", ENOENT);
}

}  // namespace

bool make_capture_folders(Engine& engine, const Moment& moment, bool from_the_top) {
  const bool same_day = engine.last_time_recorded_year == moment.year &&
                        engine.last_time_recorded_month == moment.month &&
                        engine.last_time_recorded_day == moment.day;
  // Kept: hour and minute are each compared alone, so the same hour of another day keeps its
  // folder.
  const bool same_hour = engine.last_time_recorded_hour == moment.hour;
  const bool same_minute = engine.last_time_recorded_minute == moment.minute;
  constexpr Voice kVoice = Voice::kTellsAll;
  const bool made = has_directory(engine) &&
                    ((!from_the_top && same_day) || make_day_folder(engine, moment, kVoice)) &&
                    ((!from_the_top && same_hour) || make_hour_folder(engine, moment, kVoice)) &&
                    ((!from_the_top && same_minute) || make_minute_folder(engine, moment, kVoice));
  // After a failure the next frame has all levels made, also when it is of the same minute.
  if (!made) engine.CurrentFolderStringMinute[0] = '\0';
  return made;
}

bool make_buffer_folders(Engine& engine, const Moment& moment) {
  return has_directory(engine) && make_day_folder(engine, moment, Voice::kTellsFailures) &&
         make_hour_folder(engine, moment, Voice::kTellsFailures) &&
         make_minute_folder(engine, moment, Voice::kTellsFailures);
}

void find_folders(Engine& engine, const Moment& moment) {
  PathText path;
  append_day_folder(path, engine.param.Directory, moment);
  const auto store = [&path](char* field, std::size_t size) {
    copy_text(field, size, path.fits() ? path.c_str() : "");
  };
  store(engine.CurrentFolderStringDay, sizeof engine.CurrentFolderStringDay);
  append_hour_folder(path, moment);
  store(engine.CurrentFolderStringHour, sizeof engine.CurrentFolderStringHour);
  append_minute_folder(path, moment);
  store(engine.CurrentFolderStringMinute, sizeof engine.CurrentFolderStringMinute);
}

}  // namespace depth_io
