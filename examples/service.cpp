// The library in a service: no terminal, no keyboard. What the library says goes into the service's
// log, line by line, and where it would wait for a key the service goes on and remembers that
// something was wrong.
//
//   service DIRECTORY
//
// Build: find_package(camera_depth_rw CONFIG), or pkg-config --cflags --libs camera_depth_rw.

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "engine/camera_depth_rw.h"

namespace {

constexpr int kPixels = 640 * 480;

// Where the library's words go: here to standard error, in a daemon perhaps to syslog().
class ServiceLog {
 public:
  // From here on nothing of the library reaches standard output or waits for standard input.
  void take_over() {
    depth_io::set_print_handler(
        [](void* log, const char* text, std::size_t length) {
          static_cast<ServiceLog*>(log)->add({text, length});
        },
        this);
    depth_io::set_key_wait_handler([](void* log) { ++static_cast<ServiceLog*>(log)->alarms_; },
                                   this);
  }

  // How often the library would have waited for somebody to see what it said.
  int alarms() const { return alarms_; }

 private:
  // Text comes in pieces: a line may be several of them.
  void add(std::string_view text) {
    for (const char c : text) {
      if (c != '\n') {
        line_ += c;
      } else {
        std::fprintf(stderr, "library: %s\n", line_.c_str());
        line_.clear();
      }
    }
  }

  std::string line_;
  int alarms_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s DIRECTORY\n", argv[0]);
    return 2;
  }
  ServiceLog log;  // outlives every call of the library
  log.take_over();

  // A good day: a frame is recorded, and nothing is said.
  std::string directory = std::string(argv[1]) + "/";
  std::string stem = "depth";
  std::filesystem::create_directories(directory);
  std::vector<float> depth(kPixels, 2.0F);
  KV_RGBD_CameraCompression recorder(/*SizeBuffer=*/1);
  recorder.a11 = recorder.a22 = 525.0F;  // your camera's focal lengths, pixels
  recorder.cx = 319.5F;
  recorder.cy = 239.5F;
  recorder.start_recording(directory.data(), stem.data(), /*number_digits=*/8);
  recorder.input(depth.data());
  const bool recorded = recorder.apply(/*current_frame=*/0, /*debug=*/0);
  std::printf("recorded: %s, alarms: %d\n", recorded ? "yes" : "no", log.alarms());

  // A bad one: the directory went away. The call comes back with false at once.
  std::string gone = directory + "gone/";
  recorder.start_recording(gone.data(), stem.data(), /*number_digits=*/8);
  recorder.input(depth.data());
  const bool impossible = recorder.apply(/*current_frame=*/1, /*debug=*/0);
  std::printf("recorded without a directory: %s, alarms: %d\n", impossible ? "yes" : "no",
              log.alarms());
  return recorded && !impossible && log.alarms() > 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
