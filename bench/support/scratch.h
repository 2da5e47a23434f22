#pragma once

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace depth_io::bench {

/// A fresh directory in memory, where there is one: the disk is not what is measured.
class Scratch {
 public:
  Scratch() {
    const std::filesystem::path memory = "/dev/shm";
    const std::filesystem::path parent =
        std::filesystem::is_directory(memory) ? memory : std::filesystem::temp_directory_path();
    std::string pattern = (parent / "cdrw_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
    slash_ = pattern + "/";
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;

  const std::string& path() const { return path_; }
  /// With a trailing "/", as the writer takes it.
  char* slash() { return slash_.data(); }

  void clear() const {
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::filesystem::remove_all(entry.path());
    }
  }

  std::uintmax_t bytes() const {
    std::uintmax_t sum = 0;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) sum += entry.file_size();
    return sum;
  }

 private:
  std::string path_;
  std::string slash_;
};

}  // namespace depth_io::bench
