// Records ten frames of a plane that comes nearer, then reads them back.
// Build: find_package(camera_depth_rw), or pkg-config --cflags --libs camera_depth_rw.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "engine/camera_depth_rw.h"

namespace {

constexpr int kPixels = 640 * 480;
constexpr int kFrames = 10;

std::vector<float> plane_at(float metres) { return std::vector<float>(kPixels, metres); }

float distance_of(int frame) { return 3.0F - 0.1F * static_cast<float>(frame); }

}  // namespace

int main(int argc, char** argv) {
  // A program without a console: no diagnostics, no waiting for keys.
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);

  std::string directory = argc > 1 ? argv[1] : "plane";
  directory += "/";
  std::filesystem::create_directories(directory);
  char stem[] = "depth";

  KV_RGBD_CameraCompression recorder(/*SizeBuffer=*/3);
  recorder.a11 = recorder.a22 = 525.0F;  // focal lengths, pixels
  recorder.cx = 319.5F;
  recorder.cy = 239.5F;
  recorder.start_recording(directory.data(), stem, /*number_digits=*/8);
  for (int frame = 0; frame < kFrames; ++frame) {
    std::vector<float> depth = plane_at(distance_of(frame));
    recorder.input(depth.data());
    if (!recorder.apply(frame, /*debug=*/0)) return EXIT_FAILURE;
  }

  KV_RGBD_CameraCompression player;
  std::vector<float> depth(kPixels);
  for (int frame = 0; frame < kFrames; ++frame) {
    if (!player.read(depth.data(), directory.data(), stem, 8, frame)) return EXIT_FAILURE;
    const float error = std::fabs(depth[0] - distance_of(frame));
    std::printf("frame %d: %.3f m, read within %.1f mm\n", frame,
                static_cast<double>(distance_of(frame)), 1000.0 * static_cast<double>(error));
    if (error > GetCompressionErrorThreshold(distance_of(frame)) + 0.005F) return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
