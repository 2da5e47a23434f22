#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "codec/timestamps.h"
#include "engine/capture_rules.h"
#include "fuzz/fuzz_support.h"

/// Arguments of engine calls, taken from an input. Everything that is written stays below a scratch
/// directory.
namespace depth_io::fuzz {

/// One call: which, and every argument that it could want. All are drawn for every call and in
/// this order, so that an input means the same with every compiler.
struct EngineCall {
  int choice;
  bool flag;
  bool second_flag;
  bool third_flag;
  int debug;
  Moment start;
  Moment stop;
  int number;
  int second_number;
  int third_number;
  int ring_size;
  float rate;
  char* directory;
  char* depth_stem;
  char* colour_stem;
  char* depth_name;
  char* colour_name;
  char* text;
  float* depth;  ///< painted, or null
  unsigned char* colour;
};

/// Draws calls and owns what their arguments point to.
class EngineCalls {
 public:
  EngineCalls(Input& input, const std::string& directory) : input_(input), directory_(directory) {}

  EngineCall next() {
    EngineCall call = {};
    call.choice = input_.below(16);
    const int flags = input_.byte();
    call.flag = (flags & 1) != 0;
    call.second_flag = (flags & 2) != 0;
    call.third_flag = (flags & 4) != 0;
    call.debug = (flags & 24) == 24 ? 1 : 0;
    call.start = take_moment();
    call.stop = take_moment();
    call.number = take_number();
    call.second_number = take_number();
    call.third_number = take_number();
    call.ring_size = take_ring_size();
    call.rate = take_rate();
    call.directory = take_directory();
    call.depth_stem = take_stem("depth");
    call.colour_stem = take_stem("bgrimage");
    call.depth_name = take_path("depth-00000001");
    call.colour_name = take_path("bgrimage-00000001.jpg");
    call.text = take_text();
    call.depth = take_depth();
    call.colour = (flags & 224) == 224 ? nullptr : colour_.data();
    return call;
  }

 private:
  /// A small number, and now and then any number.
  int take_number() {
    const int choice = input_.byte();
    return choice == 255 ? input_.integer() : choice % 12 - 2;
  }
  /// Rings that a test machine has memory for.
  int take_ring_size() {
    constexpr int kSizes[] = {1, 2, 3, 0, -1, -2147483647 - 1};
    return kSizes[input_.byte() % std::size(kSizes)];
  }
  float take_rate() {
    const int choice = input_.below(5);
    return choice == 4 ? input_.real() : 5.0F * static_cast<float>(choice) - 5.0F;
  }
  /// Moments that lie close together, and now and then one that does not exist.
  Moment take_moment() {
    const int choice = input_.byte();
    Moment m{2024, 2, 29, 7, choice % 3, choice / 3 % 60, 0};
    if (choice < 250) return m;
    int* const fields[] = {&m.year,   &m.month,  &m.day,        &m.hour,
                           &m.minute, &m.second, &m.millisecond};
    int& field = *fields[input_.byte() % std::size(fields)];
    field = input_.integer();
    return m;
  }
  /// The scratch directory in several spellings, a place in it that is missing, an overlong text,
  /// or null. Never the empty text: it would mean the root of the file system.
  char* take_directory() {
    switch (input_.below(8)) {
      case 7:
        return nullptr;
      case 6:
        return keep(directory_ + "/missing/");
      case 5:
        return keep(directory_ + std::string(600, 'd'));
      case 4:
        return keep(directory_);
      default:
        return keep(directory_ + "/");
    }
  }
  char* take_stem(const char* usual) {
    switch (input_.below(12)) {
      case 11:
        return nullptr;
      case 10:
        return keep("");
      case 9:
        return keep(std::string(240, 's'));
      case 8:
        return keep(std::string(700, 's'));
      default:
        return keep(usual);
    }
  }
  char* take_path(const char* name) {
    return input_.below(8) == 7 ? nullptr : keep(directory_ + "/" + name);
  }
  /// A text of the input, without what would lead out of a directory.
  char* take_text() {
    const std::string_view given = input_.short_part();
    if (given.empty()) return keep("2024-02-29T07-00-00.000000");
    std::string text(given);
    std::replace(text.begin(), text.end(), '/', '_');
    return keep(text);
  }
  /// Flat, in strips, or strips of the input's own floats.
  float* take_depth() {
    const int style = input_.below(8);
    if (style == 7) return nullptr;
    float strips[4] = {1.5F, 1.5F, 1.5F, 1.5F};
    for (float& depth : strips) {
      if (style == 1) depth = static_cast<float>(input_.byte()) * 0.05F;
      if (style == 2) depth = input_.real();
    }
    for (int row = 0; row < kFrameHeight; ++row) {
      std::fill_n(depth_.begin() + std::ptrdiff_t{row} * kFrameWidth, kFrameWidth, strips[row % 4]);
    }
    return depth_.data();
  }

  char* keep(const std::string& text) { return texts_.emplace_back(text).data(); }

  Input& input_;
  std::string directory_;
  std::list<std::string> texts_;
  std::vector<float> depth_ = std::vector<float>(kFramePixels);
  std::vector<unsigned char> colour_ = std::vector<unsigned char>(kColourBytes, 77);
};

}  // namespace depth_io::fuzz
