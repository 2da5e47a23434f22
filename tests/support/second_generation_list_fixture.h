#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "tests/support/second_generation_fixture.h"

// Recordings of numbered sub-directories and a player that walks them.
namespace depth_io::test {

inline constexpr char kListAlreadyOpen[] =
    "ERROR - Read - sub dir content file existent at t=0!!\n";

/// What a listing of `directory` prints once its catalogue files are there: a later listing prints
/// the same.
inline std::string listing_lines(const std::string& directory) {
  quietly([&] { return ListEntriesInDir(directory.c_str()); });
  return observe([&] { return ListEntriesInDir(directory.c_str()); }).output;
}

/// Frames of 1 m, 2 m, ... a second apart; colour 10, 20, ...
class SecondGenerationListFixture : public ::testing::Test {
 protected:
  SecondGenerationListFixture() {
    settings_.directory = directory_.path();
    settings_.colour_stem = "bgrimage";
    settings_.sub_directories = true;
  }

  void record(int frames, int per_directory) {
    settings_.per_directory = per_directory;
    SecondRecorder recorder(settings_);
    for (int i = 0; i < frames; ++i) {
      recorder.record(moment_after(i), flat_depth(static_cast<float>(i + 1)),
                      static_cast<unsigned char>(10 * (i + 1)));
    }
  }
  void start_player() {
    SecondSettings settings = settings_;
    settings.mode = 'R';
    start_engine(engine_, settings);
    fill(engine_, flat_depth(-1.0F), flat_colour(7));
  }
  Outcome<bool> read(int debug = 0) {
    return observe([&] { return engine_.Read(debug); });
  }
  /// Reads and gives the depth of the flat frame; -1 when that fails.
  float read_depth() { return read().result ? engine_.DepthMap[0] : -1.0F; }

  std::string folder(int number) const {
    return directory_.file("0000000" + std::to_string(number));
  }
  std::string list(int number) const { return folder(number) + "/list.txt"; }
  static std::string stamp(int frame) { return stamp_of(moment_after(frame)); }
  std::string base(int number, int frame) const {
    return folder(number) + "/" + stamp(frame) + "-depth";
  }
  std::string start_lines(const std::string& listing, int sub_directories) const {
    return listing + " - INFO - " + std::to_string(sub_directories) + " Sub Directories in '" +
           directory_.path() + "' - PRESS TO START READING\n";
  }

  TempDirectory directory_;
  SecondSettings settings_;
  KV_RGBD_CameraCompression2 engine_;
};

}  // namespace depth_io::test
