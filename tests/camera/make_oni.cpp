// make_oni OUT.oni IMAGES-DIR [COUNT [NUMBER...]]: the recording that a camera would have made of
// the first COUNT frames in a directory of images, to play back through OpenNI. The camera's
// numbers of the frames are 1, 2, 3, ... unless they are given for the first ones, at most COUNT
// each.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/oni_recording.h"
#include "tools/frame/frame.h"
#include "tools/source/image_source.h"

namespace {

using depth_io::test::OniCamera;
using depth_io::test::OniFrame;
using depth_io::test::OniRecording;
using depth_io::tools::Frame;
using depth_io::tools::ImageSource;

constexpr std::uint64_t kMicrosecondsPerFrame = 33333;
constexpr unsigned kLargestDepth = 65535;

std::vector<std::uint16_t> millimetres(const std::vector<float>& metres) {
  std::vector<std::uint16_t> values;
  values.reserve(metres.size());
  for (const float z : metres) {
    const long value = std::lround(static_cast<double>(z) * 1000.0);
    values.push_back(value > 0 && value <= kLargestDepth ? static_cast<std::uint16_t>(value) : 0);
  }
  return values;
}

OniFrame oni_frame(const Frame& frame, long index, unsigned number) {
  OniFrame converted;
  converted.depth = millimetres(frame.depth);
  if (frame.has_colour) converted.colour = frame.bgr;
  // Frames of the program are blue first, those of a camera red first.
  for (std::size_t i = 0; i + 2 < converted.colour.size(); i += 3) {
    std::swap(converted.colour[i], converted.colour[i + 2]);
  }
  converted.id = number;
  converted.microseconds = kMicrosecondsPerFrame * static_cast<std::uint64_t>(index + 1);
  return converted;
}

void make_oni(const std::string& path, const std::string& images, long wanted,
              std::vector<unsigned> numbers) {
  ImageSource source(images, depth_io::tools::ImageChoice{});
  OniCamera camera;
  camera.has_colour = source.has_colour();
  camera.largest_depth = kLargestDepth;
  OniRecording recording(path, camera);
  const long count = std::min(wanted, source.frame_count().value_or(0));
  numbers.resize(static_cast<std::size_t>(count));
  Frame frame;
  for (long i = 0; i < count; ++i) {
    source.load(i, frame);
    recording.add(oni_frame(frame, i, numbers[static_cast<std::size_t>(i)]));
  }
  recording.close();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fprintf(stderr, "usage: make_oni OUT.oni IMAGES-DIR [COUNT [NUMBER...]]\n");
    return 2;
  }
  std::vector<unsigned> numbers;
  for (int i = 4; i < argc; ++i) numbers.push_back(static_cast<unsigned>(std::atol(argv[i])));
  try {
    make_oni(argv[1], argv[2], argc > 3 ? std::atol(argv[3]) : 1000000, numbers);
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "make_oni: %s\n", failure.what());
    return 1;
  }
  return 0;
}
