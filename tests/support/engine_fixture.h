#pragma once

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/camera_depth_rw.h"
#include "tests/support/console_capture.h"
#include "tests/support/temp_directory.h"

// What the tests of the recording engines share: frames, moments, names of files, and the lines
// that every recorded frame prints.
namespace depth_io::test {

inline constexpr int kWidth = 640;
inline constexpr int kHeight = 480;
inline constexpr int kPixels = kWidth * kHeight;
inline constexpr int kColourBytes = kPixels * 3;

using DepthMap = std::vector<float>;
using ColourImage = std::vector<unsigned char>;

inline DepthMap flat_depth(float metres) {
  return DepthMap(static_cast<std::size_t>(kPixels), metres);
}

inline ColourImage flat_colour(unsigned char value) {
  return ColourImage(static_cast<std::size_t>(kColourBytes), value);
}

/// Flat, except for the first `count` pixels.
inline DepthMap depth_with_head(float metres, int count, float head_metres) {
  DepthMap map = flat_depth(metres);
  std::fill_n(map.begin(), count, head_metres);
  return map;
}

/// Slanted walls, a box in front of them that `step` moves, and holes without a reading.
inline DepthMap scene_depth(int step) {
  DepthMap map = flat_depth(0.0F);
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column) {
      float z = 1.5F + 0.002F * static_cast<float>(column) + 0.001F * static_cast<float>(row);
      if (row > 200 && row < 300 && column > 100 + 20 * step && column < 180 + 20 * step) z = 1.2F;
      if (row % 97 < 5 && column % 131 < 9) z = 0.0F;
      map[static_cast<std::size_t>(column + row * kWidth)] = z;
    }
  }
  return map;
}

/// 2013-04-09 14:05:07.042, whose seconds since 1970 are 1365516307.
inline constexpr Moment kMoment{2013, 4, 9, 14, 5, 7, 42};
inline constexpr char kMomentStamp[] = "2013-04-09T14-05-07.042000";

/// The same second as `kMoment`.
inline Moment moment_at(int millisecond) {
  Moment m = kMoment;
  m.millisecond = millisecond;
  return m;
}

inline std::string stamp_of(const Moment& m) {
  char text[kStampSize];
  write_stamp(text, m);
  return text;
}

inline bool apply_at(KV_RGBD_CameraCompression& engine, int frame, const Moment& m, float fps,
                     int debug = 0) {
  return engine.apply_with_timestamp(frame, m.year, m.month, m.day, m.hour, m.minute, m.second,
                                     m.millisecond, fps, debug);
}

/// Puts a flat frame into the ring by its number; true when it is there.
inline bool store_flat(KV_RGBD_CameraCompression& engine, int frame, float metres) {
  DepthMap map = flat_depth(metres);
  return quietly([&] {
    engine.input(map.data());
    return engine.apply(frame, 0);
  });
}

/// The same with a stamp and without a rate limit.
inline bool store_flat_at(KV_RGBD_CameraCompression& engine, int frame, const Moment& m,
                          float metres) {
  DepthMap map = flat_depth(metres);
  return quietly([&] {
    engine.input(map.data());
    return apply_at(engine, frame, m, -1.0F);
  });
}

/// First depth of a slot of the ring; the frames here are flat.
inline float slot_depth(const KV_RGBD_CameraCompression& engine, int slot) {
  return engine.HistoryDepth.arr1D[slot].buffer[0];
}

inline std::string format_moment(const Moment& m) {
  char text[120];
  std::snprintf(text, sizeof text, "%d-%d-%d,%d:%d:%d,%d", m.year, m.month, m.day, m.hour, m.minute,
                m.second, m.millisecond);
  return text;
}

/// The line that every decision prints. The start values are those of a frame without a stamp
/// before any frame was written.
struct InfoLine {
  int moving = 0;
  int too_long = 0;
  int pass = 1;
  std::string times = "-1.000000--1.000000=-1.000000 vs inf";
  Moment current{};
  Moment last{-1, -1, -1, -1, -1, -1, -1};

  std::string str() const {
    return " --- info Moving " + std::to_string(moving) + ", ItsBeenTooLong " +
           std::to_string(too_long) + ", pass_delta_unix_time " + std::to_string(pass) + " (" +
           times + ") " + format_moment(current) + " - " + format_moment(last) + " ---\n";
  }
};

inline constexpr char kPeriodLine[] = "(Record compressed depth period)\n";
inline constexpr char kEngineWriteFailedLine[] =
    "ERROR KV_RGBD_CameraCompression apply - write_compressed failed\n";
inline constexpr char kColourFailedLine[] =
    " - ERROR - KV_RGBD_CameraCompression - loading JpegFileToRGB failed !!!\n";

inline std::string saving_line(const std::string& directory, const std::string& stem, int index,
                               const std::string& stamp = "") {
  return "saving '" + directory + "/" + stem + "' index " + std::to_string(index) + " timestamp " +
         stamp + "\n";
}

inline std::string saving_colour_lines(const std::string& directory, const std::string& stem,
                                       const std::string& colour_stem, int index,
                                       const std::string& stamp = "") {
  return "saving '" + directory + "/" + stem + "|" + colour_stem + "' index " +
         std::to_string(index) + ", timestamp " + stamp + "\nsaving done\n";
}

inline std::string failed_to_write_line(const std::string& file) {
  return "write_compressed_data - failed to write '" + file + "'\n";
}

inline std::string reading_line(const std::string& base) {
  return "reading compressed data '" + base + "'\n";
}

inline std::string failed_to_open_line(const std::string& file) {
  return " - WARNING - load_compressed_data - failed to open '" + file + "'\n";
}

inline std::string cannot_open_jpeg_lines(const std::string& file) {
  return "JPEG :\nCan't open " + file + "\n";
}

/// One line, and an error.
inline bool is_one_error_line(const std::string& output) {
  return output.find("ERROR") != std::string::npos && output.back() == '\n' &&
         std::count(output.begin(), output.end(), '\n') == 1;
}

/// Names of the entries of a directory, sorted.
inline std::vector<std::string> files_in(const std::string& directory) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// The files of frames without colour images, as `files_in` gives them; `bases` is sorted.
inline std::vector<std::string> depth_files(const std::vector<std::string>& bases) {
  std::vector<std::string> names;
  for (const std::string& base : bases) {
    for (const char* ending : {kErrorEnding, kJpegEnding, kReferenceEnding, kLabelMapEnding}) {
      names.push_back(base + ending);
    }
  }
  return names;
}

/// Depth at the first pixel of a recorded frame, read by an engine of its own; -1 when it cannot be
/// read.
inline float recorded_depth(const std::string& base) {
  return quietly([&] {
    KV_RGBD_CameraCompression player;
    DepthMap depth = flat_depth(-1.0F);
    Text name(base);
    return player.read_for_calib_tool(depth.data(), name) == 1 ? depth[0] : -1.0F;
  });
}

}  // namespace depth_io::test
