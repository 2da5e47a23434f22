// Listing and sorting 100,000 recorded names, beside what reading their directories alone costs.

#include <benchmark/benchmark.h>
#include <dirent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "catalogue/catalogue.h"
#include "codec/camera_depth_rw.h"

namespace {

constexpr int kFolders = 100;
constexpr int kFramesPerFolder = 1000;
constexpr int kRowSize = 30;

/// A recording of empty files: names are all that listing looks at.
class RecordedNames {
 public:
  RecordedNames() {
    std::string pattern = (std::filesystem::temp_directory_path() / "cdrw_bench_XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
    for (int folder = 0; folder < kFolders; ++folder) fill(folder);
  }
  ~RecordedNames() { std::filesystem::remove_all(path_); }
  RecordedNames(const RecordedNames&) = delete;
  RecordedNames& operator=(const RecordedNames&) = delete;

  const std::string& path() const { return path_; }
  std::string folder(int index) const {
    depth_io::PathText name;
    depth_io::append_numbered_folder(name, path_.c_str(), index);
    return name.c_str();
  }

 private:
  void fill(int index) const {
    std::filesystem::create_directory(folder(index));
    std::vector<int> order(kFramesPerFolder);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(static_cast<unsigned>(index)));
    for (const int frame : order) {
      char stamp[depth_io::kStampSize];
      depth_io::write_stamp(
          stamp, {2026, 11, 1 + index / 60, 10, index % 60, frame / 30, frame % 30 * 33});
      std::ofstream(folder(index) + "/" + stamp + "-depth.rle");
    }
  }

  std::string path_;
};

const RecordedNames& recorded_names() {
  static const RecordedNames names;
  return names;
}

int read_names(const std::string& path) {
  int count = 0;
  DIR* const directory = opendir(path.c_str());
  while (const dirent* entry = readdir(directory)) {
    benchmark::DoNotOptimize(entry->d_name[0]);
    ++count;
  }
  closedir(directory);
  return count;
}

void ReadDirectoriesOnly(benchmark::State& state) {
  const RecordedNames& names = recorded_names();
  for (auto _ : state) {
    int count = 0;
    for (int folder = 0; folder < kFolders; ++folder) count += read_names(names.folder(folder));
    benchmark::DoNotOptimize(count);
  }
}
BENCHMARK(ReadDirectoriesOnly)->Unit(benchmark::kMillisecond);

void ListForPlayback(benchmark::State& state) {
  const RecordedNames& names = recorded_names();
  depth_io_ClassBufferChar1D sorted;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE times;
  depth_io_ClassBufferINT order;
  sorted.Create(kFramesPerFolder, kRowSize);
  stamps.Create(kFramesPerFolder, kRowSize);
  times.Create(kFramesPerFolder);
  order.Create(kFramesPerFolder);
  for (auto _ : state) {
    int count = 0;
    for (int folder = 0; folder < kFolders; ++folder) {
      count += ListEntriesInSubDir(names.folder(folder).c_str(), sorted, stamps, times, order);
    }
    if (count != kFolders * kFramesPerFolder) state.SkipWithError("names are missing");
  }
}
BENCHMARK(ListForPlayback)->Unit(benchmark::kMillisecond);

void ListAndWriteCatalogueFiles(benchmark::State& state) {
  const RecordedNames& names = recorded_names();
  for (auto _ : state) {
    if (ListEntriesInDir(names.path().c_str()) != kFolders) {
      state.SkipWithError("folders are missing");
    }
  }
}
BENCHMARK(ListAndWriteCatalogueFiles)->Unit(benchmark::kMillisecond);

void SortAMillionTimes(benchmark::State& state) {
  constexpr int kCount = 1000000;
  std::vector<double> times(kCount);
  std::vector<int> order(kCount);
  std::mt19937 random(1);
  for (auto _ : state) {
    state.PauseTiming();
    for (double& time : times) time = static_cast<double>(random() % 100000U);
    state.ResumeTiming();
    BubbleSort(kCount, times.data(), order.data(), kCount);
  }
}
BENCHMARK(SortAMillionTimes)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
