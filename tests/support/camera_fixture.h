#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "camera/asus_reader.h"
#include "tests/support/console_capture.h"
#include "tests/support/oni_recording.h"
#include "tests/support/temp_directory.h"

// What the tests of the camera reader share: recordings in place of a camera, what the reader says
// about them, and its arrays.
namespace depth_io::test {

inline constexpr int kWidth = 640;
inline constexpr int kHeight = 480;
inline constexpr std::size_t kPixels = std::size_t{kWidth} * kHeight;
inline constexpr std::size_t kDepthEntries = kPixels + 1;
inline constexpr std::size_t kColourEntries = 1000000;

inline constexpr char kOpenTrace[] = " - DEBUG ASUS - 11\n - DEBUG ASUS - 12\n - DEBUG ASUS - 13\n";
inline constexpr char kNoContext[] = "UpdateData failed: Input pointer is null!\n";

/// Depth in which neighbours differ and each value below `limit` occurs, 0 included.
inline std::vector<std::uint16_t> depth_pattern(unsigned width, unsigned height, unsigned seed,
                                                unsigned limit = 10000) {
  std::vector<std::uint16_t> depth(std::size_t{width} * height);
  for (std::size_t i = 0; i < depth.size(); ++i) {
    depth[i] = static_cast<std::uint16_t>((i * 7919 + seed * 104729U) % limit);
  }
  return depth;
}

/// The reading in the middle of such a frame of 640 * 480.
inline unsigned middle_of_pattern(unsigned seed) {
  return depth_pattern(kWidth, kHeight, seed)[std::size_t{240} * 640 + 320];
}

/// Colour in which red, green, blue and neighbours differ.
inline std::vector<std::uint8_t> colour_pattern(unsigned width, unsigned height, unsigned seed) {
  std::vector<std::uint8_t> colour(std::size_t{width} * height * 3);
  std::uint32_t state = seed + 1;
  for (std::uint8_t& value : colour) {
    state = state * 1664525U + 1013904223U;
    value = static_cast<std::uint8_t>(state >> 24U);
  }
  return colour;
}

/// A frame of the camera with both patterns, the `index`-th of a recording.
inline OniFrame pattern_frame(const OniCamera& camera, unsigned index) {
  return {depth_pattern(camera.depth_width, camera.depth_height, index),
          colour_pattern(camera.colour_width, camera.colour_height, index), index,
          std::uint64_t{33333} * index};
}

/// What a camera reader has in its arrays.
inline std::vector<float> depth_of(const class_asus_reader& reader) {
  return {std::begin(reader.DepthMap), std::end(reader.DepthMap)};
}
inline std::vector<std::uint8_t> colour_of(const class_asus_reader& reader) {
  return {std::begin(reader.ColourImage), std::end(reader.ColourImage)};
}

/// What the arrays hold of a frame, in front of what they held before it.
inline std::vector<float> metres(const std::vector<std::uint16_t>& millimetres,
                                 std::vector<float> before = std::vector<float>(kDepthEntries)) {
  const std::size_t count = std::min(millimetres.size(), before.size());
  for (std::size_t i = 0; i < count; ++i) {
    before[i] = static_cast<float>(millimetres[i] / 1000.0);
  }
  return before;
}
inline std::vector<std::uint8_t> in_colour_array(std::vector<std::uint8_t> colour) {
  colour.resize(kColourEntries);
  return colour;
}

inline constexpr std::ptrdiff_t kNowhere = -1;

/// Where two arrays differ first; sizes count. Tells more than a print of both.
template <class Value>
std::ptrdiff_t first_difference(const std::vector<Value>& a, const std::vector<Value>& b) {
  const auto where = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
  return where == a.end() && a.size() == b.size() ? kNowhere : where - a.begin();
}

/// The rate depends on the machine: its digits become "?".
inline std::string without_rate(const std::string& output) {
  static const std::regex rate("FPS: [0-9]+\\.[0-9]{6}\n");
  return std::regex_replace(output, rate, "FPS: ?\n");
}

/// What a frame prints.
inline std::string frame_line(long id, unsigned middle) {
  return "Frame " + std::to_string(id) + " Middle point is: " + std::to_string(middle) +
         ". FPS: ?\n";
}
inline std::string resolution_line(const char* stream, unsigned height, unsigned width) {
  return std::string(stream) + " res " + std::to_string(height) + " x " + std::to_string(width) +
         "\n";
}

/// OpenNI looks for the modules that it knows below this directory from now on.
inline void set_openni_home(const std::string& directory) {
  if (setenv("OPEN_NI_INSTALL_PATH", directory.c_str(), 1) != 0) std::abort();
}

class CameraTest : public testing::Test {
 protected:
  CameraTest() { set_openni_home(CAMERA_OPENNI_HOME); }

  /// Writes a file and gives its path.
  std::string file(const std::string& name, const std::string& text) const {
    write_file(directory_.file(name), text);
    return directory_.file(name);
  }

  /// Makes a recording; gives the configuration that plays it back once.
  std::string record(const OniCamera& camera, const std::vector<OniFrame>& frames,
                     const std::string& name = "camera") const {
    write_oni(directory_.file(name + ".oni"), camera, frames);
    return file(name + ".xml", oni_configuration(directory_.file(name + ".oni"), false));
  }

  /// The same of so many frames of patterns.
  std::string record(const OniCamera& camera, unsigned count,
                     const std::string& name = "camera") const {
    std::vector<OniFrame> frames;
    for (unsigned i = 1; i <= count; ++i) frames.push_back(pattern_frame(camera, i));
    return record(camera, frames, name);
  }

  Outcome<int> init(Text configuration, int debug = 0) {
    return observe([&] { return reader_->init(configuration, debug); });
  }
  Outcome<int> process(int debug = 0) {
    Outcome<int> outcome = observe([&] { return reader_->process(debug); });
    outcome.output = without_rate(outcome.output);
    return outcome;
  }
  void release() { reader_->release(); }

  /// Opens a recording that is good.
  void open(const std::string& configuration) {
    const Outcome<int> outcome = init(configuration);
    ASSERT_EQ(outcome.result, 0) << outcome.output;
  }
  /// Opens a good recording of these frames and takes the first.
  void play_first(const OniCamera& camera, const std::vector<OniFrame>& frames) {
    open(record(camera, frames));
    process();
  }

  const TempDirectory& directory() const { return directory_; }
  class_asus_reader& reader() { return *reader_; }

 private:
  TempDirectory directory_;
  std::unique_ptr<class_asus_reader> reader_ = std::make_unique<class_asus_reader>();
};

/// The configuration has been read and found good.
inline std::string reading(const std::string& configuration) {
  return "Reading config from: '" + configuration + "'\n";
}

}  // namespace depth_io::test
