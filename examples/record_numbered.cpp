// Records from your own camera loop, second generation: only while something moves, at most ten
// frames a second, into numbered sub-directories of a hundred frames.
//
//   record_numbered DIRECTORY [FRAMES]
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "engine/camera_depth_rw2.h"

namespace {

constexpr int kPixels = 640 * 480;
constexpr int kFramesPerSecond = 30;

// Your camera comes here. This one looks at a wall three metres away; from the second second on
// somebody walks by, in every other second.
void next_frame(int frame, float* depth, unsigned char* bgr) {
  std::fill_n(depth, kPixels, 3.0F);                               // metres; 0: no reading
  std::fill_n(bgr, 3 * kPixels, static_cast<unsigned char>(128));  // blue, green, red
  if (frame / kFramesPerSecond % 2 == 0) return;
  const int left = frame % kFramesPerSecond * 20;
  for (int row = 0; row < 480; ++row) std::fill_n(depth + row * 640 + left, 60, 1.5F);
}

// Your clock comes here: local wall-clock time. This one starts at a quarter past two.
depth_io::Moment time_of(int frame) {
  const int milliseconds = frame * 1000 / kFramesPerSecond;
  return {
      2024, 5, 17, 14, 15 + milliseconds / 60000, milliseconds / 1000 % 60, milliseconds % 1000};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY [FRAMES]\n", argv[0]);
    return 2;
  }
  std::string directory = argv[1];
  const int frames = argc > 2 ? std::atoi(argv[2]) : 90;
  std::filesystem::create_directories(directory);
  std::string depth_stem = "depth";  // playback wants these two stems
  std::string colour_stem = "bgrimage";

  // No keyboard, and no word but for what is said below.
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);

  KV_RGBD_CameraCompression2_parameters parameters;
  parameters.SetWriteOrRead('W');
  parameters.SetCameraType(0);  // Kinect class
  parameters.SetSizeBuffer(2);
  parameters.SetDirectory(directory.data());
  parameters.ActivateSubDirectory(/*_nbframes=*/100);
  parameters.SetDepthStem(depth_stem.data());
  parameters.SetBGRStem(colour_stem.data());
  parameters.SetMaxFPS(10);
  KV_RGBD_CameraCompression2 recorder(parameters);
  recorder.USE_FRAME_DIFF = true;
  recorder.threshold_motion_contrast = 0.1F;  // a pixel moved when its depth changed by a tenth
  recorder.threshold_pct_motion = 2.0F;       // per cent of all pixels

  int recorded = 0;
  for (int frame = 0; frame < frames; ++frame) {
    next_frame(frame, recorder.DepthMap, recorder.ColourImage);
    // Which pixels have a reading: only these count as moving.
    for (int i = 0; i < kPixels; ++i) {
      recorder.MapHasDepth.buffer[i] = recorder.DepthMap[i] > 0.0F;
    }
    const depth_io::Moment m = time_of(frame);
    if (!recorder.apply_with_timestamp(/*RECORD_NOW=*/false, frame, m.year, m.month, m.day, m.hour,
                                       m.minute, m.second, m.millisecond, /*debug=*/0)) {
      std::fprintf(stderr, "frame %d could not be recorded\n", frame);
      return EXIT_FAILURE;
    }
    if (recorder.RECORDED) ++recorded;
  }
  std::printf("%d of %d frames in %s\n", recorded, frames, argv[1]);
  return EXIT_SUCCESS;
}
