#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/support/scratch.h"
#include "codec/frame_names.h"
#include "codec/timestamps.h"

namespace depth_io::bench {

/// A recording in numbered folders, of empty files: names are all that listing looks at. In each
/// folder the frames come to be in no order, as file systems that hash names list them.
class RecordedNames {
 public:
  RecordedNames(int folders, int frames_per_folder) {
    for (int folder = 0; folder < folders; ++folder) fill(folder, frames_per_folder);
  }

  const std::string& path() const { return scratch_.path(); }
  std::string folder(int index) const {
    PathText name;
    append_numbered_folder(name, path().c_str(), index);
    return name.c_str();
  }

 private:
  void fill(int index, int frames) const {
    const std::string directory = folder(index);
    std::filesystem::create_directory(directory);
    std::vector<int> order(static_cast<std::size_t>(frames));
    std::iota(order.begin(), order.end(), index * frames);
    std::shuffle(order.begin(), order.end(), std::mt19937(static_cast<unsigned>(index)));
    for (const int frame : order) {
      const int seconds = frame / 30;
      char stamp[kStampSize];
      write_stamp(stamp, {2026, 11, 1 + seconds / 86400, seconds / 3600 % 24, seconds / 60 % 60,
                          seconds % 60, frame % 30 * 33});
      const std::string name = directory + "/" + stamp + "-depth.rle";
      close(open(name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
    }
  }

  Scratch scratch_;
};

}  // namespace depth_io::bench
