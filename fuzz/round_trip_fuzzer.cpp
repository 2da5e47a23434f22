#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "codec/depth_code.h"
#include "codec/frame_reader.h"
#include "codec/frame_writer.h"
#include "fuzz/fuzz_support.h"

// A small frame of whatever floats, written and read back: what was acknowledged must come back.

namespace {

using depth_io::fuzz::Input;
using depth_io::fuzz::require;

constexpr int kMostColumns = 48;
constexpr int kMostRows = 32;

struct Record {
  struct_read_write_depth value;
  Record(int width, int height) {
    InitStruct(value);
    Allocate(value, width, height);
  }
  ~Record() { depth_io::release_record(value); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;
};

/// One depth, out of the whole range of floats or out of a plausible one.
float take_depth(Input& input, int style) {
  switch (style) {
    case 0:
      return input.real();
    case 1:
      return static_cast<float>(input.byte()) * 0.04F - 0.5F;
    case 2:
      return 1.0F + static_cast<float>(input.byte()) * 0.01F;
    default: {
      const int coarse = 256 * input.byte();
      return static_cast<float>(coarse + input.byte()) * 0.004F;
    }
  }
}

std::vector<float> take_depths(Input& input, std::size_t pixels, int style) {
  std::vector<float> given;
  while (!input.empty() && given.size() < pixels) given.push_back(take_depth(input, style));
  if (given.empty()) given.push_back(0.0F);
  std::vector<float> depths(pixels);
  for (std::size_t i = 0; i < pixels; ++i) depths[i] = given[i % given.size()];
  return depths;
}

/// The depth that a pixel's exact code stands for is read back within its tolerance. With a mask
/// the corrections belong to other pixels (recordings have always been so): only the labels are
/// certain.
void check_pixel(const struct_read_write_depth& written, const struct_read_write_depth& read,
                 std::size_t pixel, bool masked) {
  constexpr float kRounding = 0.001F;
  const int label = written.Label[pixel];
  require(read.Label[pixel] == label, "the label comes back");
  if (label < 0) {
    require(read.LoadedDepth[pixel] == 0.0F, "no depth without a label");
    return;
  }
  if (masked) return;
  const float meant = depth_io::decode_depth(written.Encode[pixel], written.LabelRefZ[label]);
  const float loaded = read.LoadedDepth[pixel];
  if (std::isnan(meant)) {
    require(std::isnan(loaded), "not-a-number comes back");
    return;
  }
  require(std::fabs(loaded - depth_io::clamp_depth(meant)) <=
              GetCompressionErrorThreshold(meant) + kRounding,
          "the depth comes back within its tolerance");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static const depth_io::fuzz::ScratchDirectory scratch;
  Input input(bytes, size);
  const int width = 1 + input.below(kMostColumns);
  const int height = 1 + input.below(kMostRows);
  const std::uint8_t options = input.byte();
  const bool masked = (options & 1) != 0;
  const bool with_colour = (options & 2) != 0;
  const int verification = (options >> 2) % 3;
  const int style = (options >> 4) % 4;

  Record written(width, height);
  const std::size_t pixels = depth_io::pixel_count(written.value);
  if (masked) {
    const std::uint8_t pattern = input.byte();
    for (std::size_t i = 0; i < pixels; ++i) {
      written.value.write_MapObject[i] = (pattern >> (i % 8) & 1) != 0 ? -1 : 0;
    }
  }
  std::vector<unsigned char> colour(3 * pixels, options);
  std::vector<float> depths = take_depths(input, pixels, style);
  std::string directory = scratch.path() + "/";
  std::string stem = "depth";
  std::string colour_stem = "bgrimage";
  std::string stamp = "2024-02-29T07-00-00.000000";

  scratch.clear();
  const std::size_t lines_before = depth_io::fuzz::printed_lines();
  const int result =
      write_compressed_data(false, verification, written.value, directory.data(), stem.data(),
                            with_colour, colour_stem.data(), colour.data(), true, 8, 1,
                            stamp.data(), depths.data(), 525.0F, 525.0F, 319.5F, 239.5F, 0);
  require(result == 0 || result == 1, "written or not");
  // The first line only announces the frame.
  require(result == 1 || depth_io::fuzz::printed_lines() > lines_before + 1, "a failure is told");
  if (result != 1) return 0;

  Record read(width, height);
  std::string base = directory + stem + "-" + stamp;
  require(load_compressed_data(read.value, base.data(), 0), "what was acknowledged can be read");
  for (std::size_t i = 0; i < pixels; ++i) check_pixel(written.value, read.value, i, masked);
  return 0;
}
