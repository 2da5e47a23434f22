#pragma once

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/camera_depth_rw2.h"
#include "tests/support/catalogue_fixture.h"
#include "tests/support/no_space_left.h"
#include "tests/support/stamped_engine_fixture.h"

// What the tests of the second-generation engine share: its settings in one call, and the lines
// that a captured, recorded or played frame prints.
namespace depth_io::test {

/// What a test wants to set; a negative number or an empty text leaves that setter out.
struct SecondSettings {
  std::string directory;
  char mode = 'W';
  std::string depth_stem = "depth";
  std::string colour_stem;
  int camera = 1;
  int history = 1;
  float max_fps = -1.0F;
  bool sub_directories = false;
  int per_directory = 1000;
};

inline KV_RGBD_CameraCompression2_parameters second_parameters(const SecondSettings& settings) {
  KV_RGBD_CameraCompression2_parameters parameters;
  Text directory(settings.directory);
  Text depth_stem(settings.depth_stem);
  Text colour_stem(settings.colour_stem);
  parameters.SetWriteOrRead(settings.mode);
  if (settings.camera >= 0) parameters.SetCameraType(settings.camera);
  parameters.SetSizeBuffer(settings.history);
  parameters.SetDirectory(directory);
  if (!settings.depth_stem.empty()) parameters.SetDepthStem(depth_stem);
  if (!settings.colour_stem.empty()) parameters.SetBGRStem(colour_stem);
  parameters.SetMaxFPS(settings.max_fps);
  if (settings.sub_directories) {
    EXPECT_TRUE(settings.mode == 'W' ? parameters.ActivateSubDirectory(settings.per_directory)
                                     : parameters.ActivateSubDirectory());
  }
  return parameters;
}

inline void start_engine(KV_RGBD_CameraCompression2& engine, const SecondSettings& settings) {
  KV_RGBD_CameraCompression2_parameters parameters = second_parameters(settings);
  ASSERT_TRUE(engine.Construct(parameters));
}

inline void fill(KV_RGBD_CameraCompression2& engine, const DepthMap& depth) {
  std::copy(depth.begin(), depth.end(), engine.DepthMap);
}

inline void fill(KV_RGBD_CameraCompression2& engine, const DepthMap& depth,
                 const ColourImage& colour) {
  fill(engine, depth);
  std::copy(colour.begin(), colour.end(), engine.ColourImage);
}

inline bool capture_at(KV_RGBD_CameraCompression2& engine, bool record_now, int frame,
                       const Moment& m, int debug = 0) {
  return engine.apply_with_timestamp(record_now, frame, m.year, m.month, m.day, m.hour, m.minute,
                                     m.second, m.millisecond, debug);
}

/// 14:05:07 on the day of `kMoment`, and so many seconds.
inline Moment moment_after(int seconds, int millisecond = 0) {
  Moment m = kMoment;
  m.second += seconds;
  m.millisecond = millisecond;
  return m;
}

inline DepthMap depth_of(const KV_RGBD_CameraCompression2& engine) {
  return {engine.DepthMap, engine.DepthMap + kPixels};
}

inline ColourImage colour_of(const KV_RGBD_CameraCompression2& engine) {
  return {engine.ColourImage, engine.ColourImage + kColourBytes};
}

inline float slot_depth(const KV_RGBD_CameraCompression2& engine, int slot) {
  return engine.HistoryDepth.arr1D[slot].buffer[0];
}

/// The request line of a frame without a stamp, before any frame was written.
inline RequestLine index_request() {
  RequestLine line;
  line.current = {};
  line.last = {-1, -1, -1, -1, -1, -1, -1};
  line.seconds = "-1.000000";
  return line;
}

/// The request line of the first stamped frame without a rate limit.
inline std::string first_info_line(const Moment& m) {
  RequestLine line;
  line.current = line.last = m;
  return line.str();
}

inline std::string creating_line(const std::string& folder) {
  return " - INFO - CREATING SUB FOLDER '" + folder + "'\n";
}

inline std::string failed_to_create_line(const std::string& folder) {
  return "FAILED to create sub dir '" + folder + "' (status -1)\n";
}

inline std::string opening_line(const std::string& list) { return "opening '" + list + "'\n"; }

inline std::string opening_next_line(const std::string& list) {
  return "opening new subfolder '" + list + "'\n";
}

inline constexpr char kFinishedLine[] = "finished reading (case2)\n";
inline constexpr char kNoListLine[] = "ERROR - sub dir content file non existent!!\n";

/// What the engine prints for a frame that cannot be loaded.
inline std::string read_failed_line(const std::string& base, int frame = 0,
                                    const std::string& stamp = "", const std::string& text = "") {
  return "ERROR KV_RGBD_CameraCompression read - (1)" + std::to_string(frame) + ", (2) '" + stamp +
         "', (3) '" + text + "'  (" + base + ")\n";
}

/// What the frame writer prints with its trace on, without checks of what it wrote. `base` is the
/// name of the depth files without ending, `colour` the name of the colour image or empty.
inline std::string traced_writer_lines(const std::string& saving, const std::string& base,
                                       const std::string& colour = "") {
  const std::string trace = " - DEBUG - write_compressed_data";
  std::string output = trace + "\n" + saving;
  if (!colour.empty()) {
    output += trace + " - jpgfile saving '" + colour + "'\n" + trace +
              " - jpgfile saved sucessfull\nsaving done\n";
  }
  for (const char* step :
       {"init", "label ref", "rle init", "rle exe", "rle success", "ref", "jpg init"}) {
    output += trace + " - " + step + "\n";
  }
  output += trace + " - jpg saving '" + base + ".jpg'\n";
  for (const char* step : {"jpg saved", "load jpg for err", "loaded jpg", "err prep", "err init"}) {
    output += trace + " - " + step + "\n";
  }
  output += trace + " - err '" + base + ".err'\n";
  output += trace + " - err saved\n" + trace + " - done\n";
  return output;
}

/// Names of the frames of a directory, sorted: their label maps without ending.
inline std::vector<std::string> frames_in(const std::string& directory) {
  std::vector<std::string> frames;
  for (const std::string& name : files_in(directory)) {
    if (name.ends_with(kLabelMapEnding)) frames.push_back(name.substr(0, name.size() - 4));
  }
  return frames;
}

/// Records frames to be played back, by an engine of its own.
class SecondRecorder {
 public:
  explicit SecondRecorder(const SecondSettings& settings) { start_engine(engine_, settings); }

  void record(const Moment& m, const DepthMap& depth, unsigned char colour = 0) {
    fill(engine_, depth, flat_colour(colour));
    ASSERT_TRUE(quietly([&] { return capture_at(engine_, true, 0, m); }));
    ASSERT_TRUE(engine_.RECORDED);
  }
  /// Named by a number: the file is there although the capture is refused.
  void record_number(int number, const DepthMap& depth, unsigned char colour = 0) {
    fill(engine_, depth, flat_colour(colour));
    quietly([&] { return engine_.apply_with_index(true, number, 0); });
    ASSERT_TRUE(engine_.RECORDED);
  }

 private:
  KV_RGBD_CameraCompression2 engine_;
};

}  // namespace depth_io::test
