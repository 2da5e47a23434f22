// Records from your own camera loop, first generation: every frame, depth and colour, into one flat
// directory, named by its number.
//
//   record_flat DIRECTORY [FRAMES]
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/camera_depth_rw.h"

namespace {

constexpr int kPixels = 640 * 480;

// Your camera comes here. This one looks at a wall that comes nearer by a centimetre a frame.
void next_frame(int frame, std::vector<float>& depth, std::vector<unsigned char>& bgr) {
  depth.assign(kPixels, 3.0F - 0.01F * static_cast<float>(frame));  // metres; 0: no reading
  bgr.assign(3 * kPixels, 128);                                     // blue, green, red
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY [FRAMES]\n", argv[0]);
    return 2;
  }
  std::string directory = std::string(argv[1]) + "/";  // with a "/" at its end
  const int frames = argc > 2 ? std::atoi(argv[2]) : 30;
  std::filesystem::create_directories(directory);
  std::string depth_stem = "depth";
  std::string colour_stem = "bgrimage";

  // No keyboard: what would wait for a key goes on.
  depth_io::set_key_wait_handler([](void*) {}, nullptr);

  KV_RGBD_CameraCompression recorder(/*SizeBuffer=*/3);  // remembers the last three frames
  recorder.a11 = recorder.a22 = 525.0F;                  // your camera's focal lengths, pixels
  recorder.cx = 319.5F;
  recorder.cy = 239.5F;
  recorder.start_recording(directory.data(), depth_stem.data(), colour_stem.data(),
                           /*number_digits=*/8);

  std::vector<float> depth;
  std::vector<unsigned char> bgr;
  for (int frame = 0; frame < frames; ++frame) {
    next_frame(frame, depth, bgr);
    recorder.input(depth.data(), bgr.data());
    if (!recorder.apply(frame, /*debug=*/0)) return EXIT_FAILURE;  // it printed why
  }
  recorder.stop_recording();
  std::printf("%d frames in %s\n", frames, argv[1]);
  return EXIT_SUCCESS;
}
