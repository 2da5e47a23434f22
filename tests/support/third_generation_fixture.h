#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/camera_depth_rw3.h"
#include "tests/support/stamped_engine_fixture.h"

// What the tests of the third generation share: the folder tree, recordings in it, and players.
namespace depth_io::test {

using ThirdParameters = KV_RGBD_CameraCompression3_parameters;
using ThirdEngine = KV_RGBD_CameraCompression3;

inline std::string day_folder(const std::string& directory, const Moment& m) {
  char text[40];
  std::snprintf(text, sizeof text, "/%04d-%02d-%02d/", m.year, m.month, m.day);
  return directory + text;
}

inline std::string hour_folder(const std::string& directory, const Moment& m) {
  char text[20];
  std::snprintf(text, sizeof text, "%02dh/", m.hour);
  return day_folder(directory, m) + text;
}

inline std::string minute_folder(const std::string& directory, const Moment& m) {
  char text[20];
  std::snprintf(text, sizeof text, "%02dmn/", m.minute);
  return hour_folder(directory, m) + text;
}

inline std::string new_day_line(const std::string& folder) {
  return " - INFO - CREATING NEW DAY FOLDER '" + folder + "'\n";
}
inline std::string new_hour_line(const std::string& folder) {
  return " - INFO - CREATING NEW HOUR FOLDER '" + folder + "'\n";
}
inline std::string new_minute_line(const std::string& folder) {
  return " - INFO - CREATING NEW MINUTE FOLDER '" + folder + "'\n";
}
inline const std::string kExistsLine = "(already exists)\n";

inline std::string new_folder_lines(const std::string& directory, const Moment& m) {
  return new_day_line(day_folder(directory, m)) + new_hour_line(hour_folder(directory, m)) +
         new_minute_line(minute_folder(directory, m));
}

inline std::string failed_folder_line(const std::string& folder) {
  return "FAILED to create sub dir '" + folder + "' (status -1)\n";
}

/// Whether a folder holds exactly one whole frame of a moment, without a colour image.
inline bool holds_only_frame(const std::string& folder, const Moment& m) {
  return std::filesystem::exists(folder) &&
         files_in(folder) == depth_files({stamp_of(m) + "-depth"});
}

inline bool holds_frame(const std::string& folder, const Moment& m) {
  return std::filesystem::exists(folder + stamp_of(m) + "-depth.err");
}

/// An engine that records into a directory of its own.
class ThirdRecorder {
 public:
  explicit ThirdRecorder(int slots = 1, float max_fps = -1.0F, bool colour = false) {
    set_recording(parameters, directory.path());
    parameters.SetSizeBuffer(slots);
    parameters.SetMaxFPS(max_fps);
    if (colour) set_colour(parameters);
    construct(engine, parameters);
  }

  std::string path() const { return directory.path(); }
  std::string folder(const Moment& m) const { return minute_folder(path(), m); }
  /// Depth at the first pixel of a recorded frame; -1 when it cannot be read.
  float depth_of(const Moment& m) const {
    return recorded_depth(folder(m) + stamp_of(m) + "-depth");
  }

  TempDirectory directory;
  ThirdParameters parameters;
  ThirdEngine engine;
};

struct FlatFrame {
  Moment moment;
  float metres = 1.0F;
  unsigned char colour = 0;
};

/// Records flat frames into the tree below `directory`, each into the folder of its own moment.
inline void record_tree(const std::string& directory, const std::vector<FlatFrame>& frames,
                        bool colour = false, int camera_type = 0) {
  ThirdParameters parameters;
  set_recording(parameters, directory);
  parameters.SetCameraType(camera_type);
  if (colour) set_colour(parameters);
  ThirdEngine engine;
  construct(engine, parameters);
  for (const FlatFrame& frame : frames) {
    ASSERT_TRUE(capture_flat(engine, false, frame.moment, frame.metres, frame.colour));
    ASSERT_TRUE(quietly([&] { return record_range(engine, frame.moment, frame.moment); }));
  }
}

inline bool set_range(ThirdParameters& parameters, const Moment& start, const Moment& stop) {
  return parameters.SetReadMode(start.year, start.month, start.day, start.hour, start.minute,
                                start.second, start.millisecond, stop.year, stop.month, stop.day,
                                stop.hour, stop.minute, stop.second, stop.millisecond);
}

/// An engine that plays a time range of the recording in a directory.
class ThirdPlayer {
 public:
  ThirdPlayer(const std::string& directory, const Moment& start, const Moment& stop,
              bool colour = false) {
    ThirdParameters parameters;
    set_recording(parameters, directory);
    if (colour) set_colour(parameters);
    EXPECT_TRUE(set_range(parameters, start, stop));
    construct(engine, parameters);
  }

  Outcome<bool> read(int debug = 0) {
    return observe([&] { return engine.Read(debug); });
  }

  /// Stamps of the frames up to the end of the range, those before the start left out.
  std::vector<std::string> stamps(int most = 10'000) {
    std::vector<std::string> seen;
    ConsoleCapture console;
    while (most-- > 0 && engine.Read(0)) {
      if (engine.REACHED_WANTED_START_TIME) seen.push_back(engine.getCurrentTimestamp());
    }
    return seen;
  }

  ThirdEngine engine;
};

inline std::string searching_line(const std::string& folder) {
  return "searching for '" + folder + "'\n";
}

inline std::string listed_line(int files, int frames, const std::string& folder) {
  return "nbfiles " + std::to_string(files) + " nbframes " + std::to_string(frames) + " (" +
         folder + ")\n";
}

inline const std::string kStopLine = "REACHED asked stop reading time (press)\n";
inline const std::string kNoContentLine = " WARNING - sub dir content file non existent\n";

}  // namespace depth_io::test
