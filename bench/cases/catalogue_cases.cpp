#include <dirent.h>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "bench/cases/cases.h"
#include "bench/support/recorded_names.h"
#include "bench/support/rows.h"
#include "bench/support/timing.h"
#include "catalogue/catalogue.h"
#include "codec/typed_buffers.h"
#include "tools/system/failure.h"

namespace depth_io::bench {
namespace {

constexpr int kAMillion = 1'000'000;

int rounds_for(int count) { return std::max(1, std::min(21, 3 * 100'000 / count)); }

// --- Sorting -----------------------------------------------------------------------------------

/// Times of frames at 30 Hz in the order in which a directory yields them: none.
std::vector<double> shuffled_times(int count) {
  std::vector<double> times(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < times.size(); ++i) times[i] = 1.8e9 + 0.033 * static_cast<double>(i);
  std::shuffle(times.begin(), times.end(), std::mt19937(1));
  return times;
}

/// Every time ten times: several cameras, or clocks that count in steps.
std::vector<double> times_with_ties(int count) {
  std::vector<double> times = shuffled_times(count);
  for (double& time : times) time = 1.8e9 + 0.033 * std::floor((time - 1.8e9) / 0.33);
  return times;
}

std::vector<double> times_in_order(int count) {
  std::vector<double> times = shuffled_times(count);
  std::sort(times.begin(), times.end());
  return times;
}

double seconds_to_sort(const std::vector<double>& times) {
  const int count = static_cast<int>(times.size());
  std::vector<int> order(times.size());
  std::vector<double> seconds;
  const int rounds = std::max(3, rounds_for(count));
  for (int i = 0; i < rounds; ++i) {
    std::vector<double> sorted = times;
    seconds.push_back(seconds_of([&] { BubbleSort(count, sorted.data(), order.data(), count); }));
    if (!std::is_sorted(sorted.begin(), sorted.end())) throw tools::Failure("nothing was sorted");
  }
  return median(seconds);
}

void register_sorting() {
  using Times = std::vector<double> (*)(int);
  const std::pair<const char*, Times> kinds[] = {
      {"shuffled", shuffled_times}, {"with ties", times_with_ties}, {"in order", times_in_order}};
  for (const auto& [kind, times] : kinds) {
    for (const int count : {1'000, 10'000, 100'000, kAMillion}) {
      register_row(
          "catalogue/sort " + std::to_string(count) + " stamps, " + kind,
          [times = times, count](benchmark::State&) { return seconds_to_sort(times(count)); });
    }
  }
  for (const auto& [kind, times] : kinds) {
    register_row(
        std::string(kGoalPrefix) + "order and permutation of 1000000 stamps, CPU seconds, " + kind,
        [times = times](benchmark::State& state) {
          const double seconds = seconds_to_sort(times(kAMillion));
          report_goal(state, seconds, {1.0, 0.4});
          return seconds;
        });
  }
}

// --- Listing -----------------------------------------------------------------------------------

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

/// Beside the time of the listing, what reading the directory alone takes.
double seconds_to_list(int count, benchmark::State& state) {
  constexpr int kRowSize = 30;
  const RecordedNames names(1, count);
  const std::string folder = names.folder(0);
  depth_io_ClassBufferChar1D sorted;
  depth_io_ClassBufferChar1D stamps;
  depth_io_ClassBufferDOUBLE times;
  depth_io_ClassBufferINT order;
  sorted.Create(count, kRowSize);
  stamps.Create(count, kRowSize);
  times.Create(count);
  order.Create(count);
  std::vector<double> listing;
  std::vector<double> reading;
  for (int i = 0; i < rounds_for(count); ++i) {
    reading.push_back(seconds_of([&] { read_names(folder); }));
    listing.push_back(seconds_of([&] {
      if (ListEntriesInSubDir(folder.c_str(), sorted, stamps, times, order) != count) {
        throw tools::Failure("names are missing");
      }
    }));
  }
  state.counters["ms of reading the directory alone"] = 1e3 * median(reading);
  return median(listing);
}

/// Catalogue files of a recording of always as many frames.
double seconds_to_catalogue(int frames_per_folder, benchmark::State& state) {
  constexpr int kFrames = 20'000;
  constexpr int kRounds = 3;
  const int folders = kFrames / frames_per_folder;
  const RecordedNames names(folders, frames_per_folder);
  std::vector<double> seconds;
  for (int i = 0; i < kRounds; ++i) {
    seconds.push_back(seconds_of([&] {
      if (ListEntriesInDir(names.path().c_str()) != folders) {
        throw tools::Failure("folders are missing");
      }
    }));
  }
  state.counters["microseconds of a frame"] = 1e6 * median(seconds) / kFrames;
  return median(seconds);
}

void register_listing() {
  for (const int count : {1'000, 10'000, 100'000, kAMillion}) {
    register_row("catalogue/list " + std::to_string(count) + " frames of a folder",
                 [count](benchmark::State& state) { return seconds_to_list(count, state); });
  }
  for (const int frames : {10, 100, 1'000, 10'000}) {
    register_row("growth/frames per folder/catalogue files of 20000 frames, " +
                     std::to_string(frames) + " in a folder",
                 [frames](benchmark::State& state) { return seconds_to_catalogue(frames, state); });
  }
}

}  // namespace

void register_catalogue_cases() {
  register_sorting();
  register_listing();
}

}  // namespace depth_io::bench
