// Measures the library beside what its work cannot do without and what others would use instead.
// Compare within one run only. `--benchmark_filter=REGEX` chooses rows; scripts/bench.sh runs all
// of them and makes tables of the results.

#include <benchmark/benchmark.h>

#include <exception>
#include <iostream>

#include "bench/cases/cases.h"
#include "bench/support/machine.h"
#include "codec/console.h"

int main(int argc, char** argv) {
  depth_io::set_print_handler([](void*, const char*, std::size_t) {}, nullptr);
  depth_io::set_key_wait_handler([](void*) {}, nullptr);
  depth_io::bench::describe_machine();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  try {
    depth_io::bench::register_frame_cases();
    depth_io::bench::register_capture_cases();
    depth_io::bench::register_engine_cases();
    depth_io::bench::register_catalogue_cases();
    depth_io::bench::register_growth_cases();
    depth_io::bench::register_camera_cases();
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& failure) {
    std::cerr << failure.what() << '\n';
    return 1;
  }
  return 0;
}
