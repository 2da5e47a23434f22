#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "engine/camera_depth_rw3.h"
#include "fuzz/fuzz_support.h"

// A directory tree, made step by step from the input, then listed and played back.

namespace {

using depth_io::fuzz::Input;
using depth_io::fuzz::require;

constexpr int kMostSteps = 40;
constexpr int kMostStamps = 6;
constexpr int kStampSize = 30;

class Tree {
 public:
  void begin() {
    scratch_.clear();
    folders_.assign(1, scratch_.path());
  }

  /// One step: a folder, a file, a link or a pipe, below one of the folders made before.
  void grow(Input& input) {
    const int kind = input.below(8);
    const std::string parent = folders_[static_cast<std::size_t>(input.byte()) % folders_.size()];
    switch (kind) {
      case 0:
        make_minute(input.below(3));
        break;
      case 1:
        make_folder(parent + "/" + take_name(input));
        break;
      case 2: {
        const std::string target = input.flag() ? "." : take_name(input);
        symlink_quietly(target, parent + "/" + take_name(input));
        break;
      }
      case 3:
        mkfifo((parent + "/" + take_name(input)).c_str(), 0600);
        break;
      case 4:
      case 5:
        make_frame(parent, input);
        break;
      default: {
        const std::string path = parent + "/" + take_name(input);
        depth_io::fuzz::write_file(path, input.short_part());
      }
    }
  }

  const std::string& root() const { return folders_.front(); }
  const std::vector<std::string>& folders() const { return folders_; }

 private:
  /// A link that there is already stays as it is.
  static void symlink_quietly(const std::string& target, const std::string& path) {
    (void)!symlink(target.c_str(), path.c_str());
  }

  void make_folder(const std::string& path) {
    if (mkdir(path.c_str(), 0700) == 0) folders_.push_back(path);
  }

  void make_minute(int minute) {
    std::string path = root();
    for (const std::string& name :
         {std::string("2024-02-29"), std::string("07h"), "0" + std::to_string(minute) + "mn"}) {
      path += "/" + name;
      make_folder(path);
    }
  }

  /// The label map and references of a frame without labels, whose stamp differs in a few digits.
  static void make_frame(const std::string& parent, Input& input) {
    std::string stamp = "2024-02-29T07-00-00.000000";
    for (const std::size_t place : {15U, 17U, 18U, 21U}) {
      stamp[place] = static_cast<char>('0' + input.below(11));
    }
    const std::string base = parent + "/" + stamp + (input.flag() ? "-depth" : "-other");
    depth_io::fuzz::write_file(base + ".rle", "\n");
    depth_io::fuzz::write_file(base + ".ref", "nblabels 0\n");
  }

  /// A name that stays in its folder.
  static std::string take_name(Input& input) {
    std::string name(input.short_part());
    std::replace(name.begin(), name.end(), '/', '_');
    std::replace(name.begin(), name.end(), '\0', '_');
    return name.empty() || name == "." || name == ".." ? "_" : name;
  }

  depth_io::fuzz::ScratchDirectory scratch_;
  std::vector<std::string> folders_;
};

void list_folder(const std::string& folder) {
  depth_io_ClassBufferChar1D sorted_stamps;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE times;
  depth_io_ClassBufferINT index;
  sorted_stamps.Create(kMostStamps, kStampSize);
  stamps.Create(kMostStamps, kStampSize);
  times.Create(kMostStamps);
  index.Create(kMostStamps);
  const int count = ListEntriesInSubDir(folder.c_str(), sorted_stamps, stamps, times, index);
  require(count >= 0 && count <= kMostStamps, "no more frames than the tables hold");
  require(std::is_sorted(times.buffer, times.buffer + count), "frames in time order");
  require(count == 0 || sorted_stamps.GetCounter() == count, "a stamp of each frame");
}

/// A player that is made once: its buffers are large.
KV_RGBD_CameraCompression3& player(const std::string& directory) {
  static KV_RGBD_CameraCompression3 engine;
  if (engine.DepthMap == nullptr) {
    KV_RGBD_CameraCompression3_parameters parameters;
    std::string path = directory;
    std::string depth_stem = "depth";
    parameters.SetDirectory(path.data());
    parameters.SetDepthStem(depth_stem.data());
    parameters.SetMaxFPS(-1.0F);
    parameters.SetReadMode(2024, 2, 29, 7, 0, 20, 0, 2024, 2, 29, 7, 2, 30, 0);
    engine.Construct(parameters);
  }
  engine.INITIALISED = false;
  engine.REACHED_WANTED_START_TIME = false;
  engine.REACHED_WANTED_STOP_TIME = false;
  engine.CURRENT_STAMP_INDEX = 0;
  engine.LAST_STAMP_INDEX = 0;
  return engine;
}

void play(const std::string& directory) {
  KV_RGBD_CameraCompression3& engine = player(directory);
  int frames = 0;
  while (engine.Read(0)) {
    ++frames;
    require(frames <= 3 * kMostSteps, "playback comes to an end");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  static Tree tree;
  if (size > 2048) return 0;
  Input input(bytes, size);
  tree.begin();
  for (int step = 0; step < kMostSteps && !input.empty(); ++step) tree.grow(input);
  for (const std::string& folder : tree.folders()) list_folder(folder);
  play(tree.root());
  const int listed = ListEntriesInDir(tree.root().c_str());
  require(listed >= 0 && listed < static_cast<int>(tree.folders().size()) + 1,
          "no more sub-directories than there are");
  return 0;
}
