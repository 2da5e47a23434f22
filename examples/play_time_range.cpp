// Plays a range of time of a recording in a tree of day, hour and minute folders back.
//
//   play_time_range DIRECTORY FROM TO     times such as 2024-05-17T14-15-59.500000, both included
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "engine/camera_depth_rw3.h"

namespace {

constexpr int kMiddle = 240 * 640 + 320;

// Says whether `text` is a time, and which.
bool parse_time(const char* text, depth_io::Moment& moment) {
  std::string stamp = text;
  double seconds = 0;
  return stamp.size() == depth_io::kStampSize - 1 && depth_io::parse_stamp(stamp.data(), moment) &&
         depth_io::to_unix_time(seconds, moment, /*print_errors=*/false);
}

}  // namespace

int main(int argc, char** argv) {
  depth_io::Moment from;
  depth_io::Moment to;
  // Playback tells each folder that it enters, and waits for a key at the end: not here.
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  if (argc != 4 || !parse_time(argv[2], from) || !parse_time(argv[3], to)) {
    std::fprintf(stderr, "usage: %s DIRECTORY FROM TO   times as 2024-05-17T14-15-59.500000\n",
                 argv[0]);
    return 2;
  }

  std::string directory = argv[1];
  std::string depth_stem = "depth";
  std::string colour_stem = "bgrimage";
  KV_RGBD_CameraCompression3_parameters parameters;
  parameters.SetReadMode(from.year, from.month, from.day, from.hour, from.minute, from.second,
                         from.millisecond, to.year, to.month, to.day, to.hour, to.minute, to.second,
                         to.millisecond);
  parameters.SetCameraType(0);
  parameters.SetDirectory(directory.data());
  parameters.SetDepthStem(depth_stem.data());
  parameters.SetBGRStem(colour_stem.data());  // without it depth is read alone, and faster
  parameters.SetMaxFPS(-1);
  KV_RGBD_CameraCompression3 player(parameters);

  int frames = 0;
  while (player.Read(/*debug=*/0)) {
    // Playback goes by whole minutes: it passes over what lies before the range in the first one,
    // and would go on to the end of the last one. Times as texts are in the order of time.
    if (!player.REACHED_WANTED_START_TIME) continue;
    if (player.getCurrentTimestamp() > argv[3]) break;
    ++frames;
    std::printf("%s: %.3f m in the middle, blue %d\n", player.getCurrentTimestamp().c_str(),
                static_cast<double>(player.DepthMap[kMiddle]), player.ColourImage[3 * kMiddle]);
  }
  std::printf("%d frames\n", frames);
  return frames > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
