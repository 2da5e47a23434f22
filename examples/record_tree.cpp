// Records from your own camera loop, third generation: nothing until an event, then the seconds
// before it, out of the engine's memory, and those after it, into a tree of day, hour and minute
// folders.
//
//   record_tree DIRECTORY
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/camera_depth_rw3.h"

namespace {

constexpr int kPixels = 640 * 480;
constexpr int kFramesPerSecond = 10;
constexpr int kFrames = 6 * kFramesPerSecond;
constexpr int kEvent = 4 * kFramesPerSecond;  // the door opens
constexpr int kBefore = 2 * kFramesPerSecond;
constexpr int kAfter = 1 * kFramesPerSecond;

// Your camera comes here. This one looks at a wall that comes nearer by a centimetre a frame.
void next_frame(int frame, float* depth, unsigned char* bgr) {
  std::fill_n(depth, kPixels, 3.0F - 0.01F * static_cast<float>(frame));  // metres; 0: no reading
  std::fill_n(bgr, 3 * kPixels, static_cast<unsigned char>(128));         // blue, green, red
}

// Your clock comes here: local wall-clock time. This one starts two seconds before a full minute.
depth_io::Moment time_of(int frame) {
  const int milliseconds = 58000 + frame * 1000 / kFramesPerSecond;
  return {
      2024, 5, 17, 14, 15 + milliseconds / 60000, milliseconds / 1000 % 60, milliseconds % 1000};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  std::string directory = argv[1];
  std::filesystem::create_directories(directory);
  std::string depth_stem = "depth";  // playback wants these two stems
  std::string colour_stem = "bgrimage";

  // No keyboard: what would wait for a key goes on.
  depth_io::set_key_wait_handler([](void*) {}, nullptr);

  KV_RGBD_CameraCompression3_parameters parameters;
  parameters.SetWriteMode();
  parameters.SetCameraType(0);        // Kinect class
  parameters.SetSizeBuffer(kBefore);  // how many frames are remembered
  parameters.SetDirectory(directory.data());
  parameters.SetDepthStem(depth_stem.data());
  parameters.SetBGRStem(colour_stem.data());
  parameters.SetMaxFPS(-1);  // no limit
  KV_RGBD_CameraCompression3 recorder(parameters);

  for (int frame = 0; frame < kFrames; ++frame) {
    if (frame == kEvent) {
      const depth_io::Moment from = time_of(kEvent - kBefore);
      const depth_io::Moment to = time_of(kEvent - 1);
      if (!recorder.recording_from_buffer(from.year, from.month, from.day, from.hour, from.minute,
                                          from.second, from.millisecond, to.year, to.month, to.day,
                                          to.hour, to.minute, to.second, to.millisecond,
                                          /*print=*/0, /*debug=*/0)) {
        return EXIT_FAILURE;  // it printed why
      }
    }
    next_frame(frame, recorder.DepthMap, recorder.ColourImage);
    const bool record_now = frame >= kEvent && frame < kEvent + kAfter;
    const depth_io::Moment m = time_of(frame);
    if (!recorder.apply_with_timestamp(record_now, frame, m.year, m.month, m.day, m.hour, m.minute,
                                       m.second, m.millisecond, /*debug=*/0)) {
      return EXIT_FAILURE;
    }
  }
  std::printf("%d frames before the event and %d after it in %s\n", kBefore, kAfter, argv[1]);
  return EXIT_SUCCESS;
}
