// Writes and reads one fixed frame under `valgrind --tool=callgrind --instr-atstart=no`, which then
// dumps the instructions of the write and of the read and of nothing else. Prints the instruction
// set that the library's functions find. Usage: instruction_probe DIRECTORY

#include <valgrind/callgrind.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "codec/camera_depth_rw.h"

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;

/// Whole millimetres of a slanted wall with two boxes before it, shadows without a reading beside
/// them, and the sensor's noise: whole numbers, so that every compiler makes the same frame.
int millimetres_at(int row, int column, std::uint32_t random) {
  int depth = 1800 + 3 * column + row / 2;
  if (row > 180 && row < 400 && column > 90 && column < 230) depth = 1150 + row / 4;
  if (row > 60 && row < 300 && column > 400 && column < 560) depth = 2900 - column / 3;
  if (row > 180 && row < 400 && column >= 230 && column < 246) return 0;
  if (row > 60 && row < 300 && column >= 560 && column < 590) return 0;
  if (random % 97U == 0) return 0;
  const int noise = static_cast<int>(random >> 8U) % 7 - 3;
  return depth + noise * depth / 1200;
}

std::vector<float> make_depth() {
  std::vector<float> depth;
  std::uint32_t random = 1;
  for (int row = 0; row < kHeight; ++row) {
    for (int column = 0; column < kWidth; ++column) {
      random = random * 1664525U + 1013904223U;
      depth.push_back(static_cast<float>(millimetres_at(row, column, random >> 8U)) / 1000.0F);
    }
  }
  return depth;
}

bool write_frame(struct_read_write_depth& record, std::string& directory,
                 std::vector<float>& depth) {
  char stem[] = "depth";
  char colour_stem[] = "bgrimage";
  char stamp[] = "";
  return write_compressed_data(false, -1, record, directory.data(), stem, false, colour_stem,
                               nullptr, false, 8, 0, stamp, depth.data(), 533.0F, 533.0F, 240.0F,
                               320.0F, 0) == 1;
}

/// What the library's functions choose their variants by; valgrind tells its own.
const char* instruction_set() {
#ifdef __x86_64__
  if (__builtin_cpu_supports("avx2")) return "avx2";
#endif
  return "baseline";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::string directory = std::string(argv[1]) + "/";
  std::string name = directory + "depth-00000000";
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  std::vector<float> depth = make_depth();
  struct_read_write_depth record;
  InitStruct(record);
  Allocate(record, kWidth, kHeight);
  // Once without counting: names are bound and pages touched at first use.
  bool good = write_frame(record, directory, depth) && load_compressed_data(record, name.data(), 0);

  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  good = write_frame(record, directory, depth) && good;
  CALLGRIND_DUMP_STATS_AT("write");
  CALLGRIND_ZERO_STATS;
  good = load_compressed_data(record, name.data(), 0) && good;
  CALLGRIND_DUMP_STATS_AT("read");
  CALLGRIND_STOP_INSTRUMENTATION;

  depth_io::release_record(record);
  std::puts(instruction_set());
  return good ? 0 : 1;
}
