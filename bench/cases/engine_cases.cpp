#include <malloc.h>
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench/cases/cases.h"
#include "bench/support/engines.h"
#include "bench/support/rows.h"
#include "bench/support/timing.h"

namespace depth_io::bench {
namespace {

constexpr int kRingSizes[] = {1, 30, 300};

double allocated_bytes() {
  const struct mallinfo2 heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

double resident_bytes() {
  double pages = 0.0;
  std::ifstream("/proc/self/statm") >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
}

/// What an engine with a full ring holds.
struct Memory {
  double allocated = 0.0;
  double resident = 0.0;
};

template <typename Generation>
Memory memory_of_full_ring(int slots, const Frame& frame) {
  malloc_trim(0);
  Scratch scratch;
  const Memory before{allocated_bytes(), resident_bytes()};
  const auto generation = std::make_unique<Generation>();
  generation->construct(scratch, slots);
  generation->hold(frame);
  for (int i = 0; i < slots; ++i) generation->capture(i);
  return {allocated_bytes() - before.allocated, resident_bytes() - before.resident};
}

template <typename Generation>
double seconds_to_construct(int slots) {
  constexpr int kRounds = 7;
  Scratch scratch;
  std::vector<double> seconds;
  for (int i = 0; i < kRounds; ++i) {
    const auto generation = std::make_unique<Generation>();
    malloc_trim(0);
    seconds.push_back(seconds_of([&] { generation->construct(scratch, slots); }));
  }
  return median(seconds);
}

/// Milliseconds of a capture into a full ring, and of finding one frame in it and recording it.
template <typename Generation>
double seconds_to_capture(int slots, const Frame& frame) {
  constexpr int kCaptures = 301;
  Scratch scratch;
  Generation generation;
  generation.construct(scratch, slots);
  generation.hold(frame);
  int number = 0;
  for (; number < slots; ++number) generation.capture(number);
  std::vector<double> seconds;
  for (int i = 0; i < kCaptures; ++i, ++number) {
    seconds.push_back(seconds_of([&] { generation.capture(number); }));
  }
  return median(seconds);
}

template <typename Generation>
void register_generation() {
  const std::string generation = std::string(", ") + Generation::kName;
  for (const int slots : kRingSizes) {
    const std::string ring = ", history of " + std::to_string(slots);
    register_row("engine/Construct" + generation + ring,
                 [slots](benchmark::State&) { return seconds_to_construct<Generation>(slots); });
    register_row("growth/history/capture" + generation + ring, [slots](benchmark::State&) {
      return seconds_to_capture<Generation>(slots, synthetic_frames(1).frames[0]);
    });
  }
  register_row("engine/memory of a history slot" + generation, [](benchmark::State& state) {
    constexpr int kFew = 1;
    constexpr int kMany = 31;
    const Frame frame = synthetic_frames(1).frames[0];
    const Memory few = memory_of_full_ring<Generation>(kFew, frame);
    const Memory many = memory_of_full_ring<Generation>(kMany, frame);
    state.counters["bytes allocated"] = (many.allocated - few.allocated) / (kMany - kFew);
    state.counters["bytes resident"] = (many.resident - few.resident) / (kMany - kFew);
    state.counters["bytes of depth and colour"] = kFramePixels * (sizeof(float) + 3);
    return 0.0;
  });
}

}  // namespace

void register_engine_cases() {
  register_generation<FirstGeneration>();
  register_generation<SecondGeneration>();
  register_generation<ThirdGeneration>();
}

}  // namespace depth_io::bench
