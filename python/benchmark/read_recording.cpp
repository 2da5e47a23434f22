// The C++ side of iterate_recording.py: for each line on standard input, reads all frames of a
// recording with the library's own calls, and prints the processor seconds that each of them took.
// Usage: read_recording DIRECTORY

#include <cstdio>
#include <ctime>
#include <iostream>
#include <string>
#include <vector>

#include "codec/console.h"
#include "codec/frame_names.h"
#include "codec/frame_reader.h"
#include "codec/liblinjpeg.h"
#include "tools/frame/frame.h"
#include "tools/recording/recording.h"
#include "tools/system/failure.h"

namespace {

using depth_io::tools::Recording;

double processor_seconds() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Depth and colour go into memory that is used again and again.
bool read_frame(const std::string& directory, const depth_io::tools::RecordedFrame& frame,
                struct_read_write_depth& record, std::vector<unsigned char>& bgr) {
  std::string depth = directory + "/" + frame.depth_name();
  if (!load_compressed_data(record, depth.data(), 0)) return false;
  if (!frame.has_colour) return true;
  const std::string colour = directory + "/" + frame.colour_name() + depth_io::kJpegEnding;
  return depth_io::read_jpeg_file(colour.c_str(), bgr).decoded;
}

bool read_all(const Recording& recording, struct_read_write_depth& record,
              std::vector<unsigned char>& bgr) {
  std::vector<double> seconds;
  double begin = processor_seconds();
  for (const auto& frame : recording.frames()) {
    if (!read_frame(recording.directory(), frame, record, bgr)) return false;
    const double end = processor_seconds();
    seconds.push_back(end - begin);
    begin = end;
  }
  for (const double of_frame : seconds) std::printf("%.9f ", of_frame);
  std::printf("\n");
  std::fflush(stdout);
  return true;
}

int serve(const std::string& directory) {
  const Recording recording(directory);
  struct_read_write_depth record;
  InitStruct(record);
  if (!Allocate(record, depth_io::tools::kFrameWidth, depth_io::tools::kFrameHeight)) return 1;
  std::vector<unsigned char> bgr(depth_io::tools::kFramePixels * 3);
  bool good = true;
  std::string line;
  while (good && std::getline(std::cin, line)) good = read_all(recording, record, bgr);
  depth_io::release_record(record);
  return good ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: read_recording DIRECTORY\n");
    return 2;
  }
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  try {
    return serve(arguments[1]);
  } catch (const depth_io::tools::Failure& failure) {
    std::fprintf(stderr, "read_recording: %s\n", failure.what());
    return 1;
  }
}
