#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/catalogue.h"
#include "engine/camera_depth_rw2.h"
#include "fuzz/fuzz_support.h"

// The files of a catalogue, and the sorting behind them. The first byte chooses what is read.

namespace {

using depth_io::fuzz::Input;
using depth_io::fuzz::require;
using depth_io::fuzz::write_file;

/// A recording of two sub-directories without frames, so that a listing leaves their files alone.
struct Recording {
  depth_io::fuzz::ScratchDirectory scratch;
  std::string path = scratch.path();

  void begin() const {
    scratch.clear();
    for (const char* name : {"00000000", "00000001"}) mkdir(scratch.file(name).c_str(), 0700);
  }
  void store(const char* name, std::string_view bytes) const {
    write_file(scratch.file(name), bytes);
  }
};

void read_info(Recording& recording, Input& input) {
  recording.store("info.txt", input.rest());
  ReadInfoNbSubDir(recording.path.data());
}

void read_shell_listings(Recording& recording, Input& input) {
  recording.store("00000000/ls.txt", input.part());
  recording.store("00000001/ls.txt", input.part());
  ReadSubDirBatch_part2(recording.path.data(), 3);
  const int summaries = ReadNbSubDir(recording.path.data(), 3);
  require(summaries >= 0 && summaries <= 2, "a summary for a listing");
}

/// A player that is made once: its buffers are large. A name without a catalogue entry lets it find
/// frames that the listing at its start does not see.
KV_RGBD_CameraCompression2& player(Recording& recording) {
  static KV_RGBD_CameraCompression2 engine;
  if (engine.DepthMap == nullptr) {
    KV_RGBD_CameraCompression2_parameters parameters;
    std::string depth_stem = "depth";
    parameters.SetWriteOrRead('R');
    parameters.SetDirectory(recording.path.data());
    parameters.SetDepthStem(depth_stem.data());
    parameters.SetMaxFPS(-1.0F);
    parameters.ActivateSubDirectory();
    engine.Construct(parameters);
  }
  if (engine.fSubDir_r != nullptr) std::fclose(engine.fSubDir_r);
  engine.fSubDir_r = nullptr;
  engine.CurrentSubDirectoryIndex = 0;
  engine.INITIALISED = false;
  return engine;
}

void play_lists(Recording& recording, Input& input) {
  // A frame without labels, for the list to name: "x".
  const bool reverse_name = input.flag();
  const char* const base = reverse_name ? "00000000/x-depth" : "00000000/depth-x";
  recording.store((std::string(base) + ".ref").c_str(), "nblabels 0\n");
  recording.store((std::string(base) + ".rle").c_str(), "\n");
  KV_RGBD_CameraCompression2& engine = player(recording);
  engine.REVERSE_NAME = reverse_name;
  // In a recording under way no listing is made any more, and the lists stay what they are.
  if (input.flag()) engine.INITIALISED = true;
  recording.store("00000000/list.txt", input.part());
  recording.store("00000001/list.txt", input.part());
  if (engine.INITIALISED)
    engine.fSubDir_r = std::fopen(recording.scratch.file("00000000/list.txt").c_str(), "r");
  for (int i = 0; i < 8 && engine.CurrentSubDirectoryIndex < 3; ++i) engine.Read(0);
}

void sort_values(Recording& /*recording*/, Input& input) {
  const bool increasing = input.flag();
  std::vector<double> values;
  // Few different values: where they are equal the order is the question.
  while (!input.empty()) values.push_back(input.below(7));
  const auto size = static_cast<int>(values.size());
  std::vector<double> expected = values;
  std::vector<int> expected_index(values.size());
  std::vector<int> index(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) expected_index[i] = static_cast<int>(i);
  for (std::size_t i = 0; i < values.size(); ++i) {
    for (std::size_t k = 0; k < values.size(); ++k) {
      const bool exchanges = increasing ? expected[i] < expected[k] : expected[i] > expected[k];
      if (i == k || !exchanges) continue;
      std::swap(expected[i], expected[k]);
      std::swap(expected_index[i], expected_index[k]);
    }
  }
  require(BubbleSort(size, values.data(), index.data(), size, increasing), "values are sorted");
  require(values == expected && index == expected_index, "in the order of the exchange");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Recording recording;
  if (size > 4096) return 0;
  using Kind = void (*)(Recording&, Input&);
  constexpr Kind kKinds[] = {read_info, read_shell_listings, play_lists, sort_values};
  Input input(bytes, size);
  const int kind = input.below(std::size(kKinds));
  recording.begin();
  kKinds[kind](recording, input);
  return 0;
}
