#include "bench/support/machine.h"

#include <benchmark/benchmark.h>
#include <png.h>
#include <sys/utsname.h>
#include <zstd.h>

#include <cstdio>
#include <fstream>
#include <string>

// libjpeg's headers want <cstdio> before them.
#include <jpeglib.h>

namespace depth_io::bench {
namespace {

std::string value_of(const char* file, const std::string& key) {
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (!line.starts_with(key)) continue;
    const std::size_t start = line.find_first_not_of("\t :=\"", key.size());
    const std::size_t end = line.find_last_not_of('"');
    return start == std::string::npos ? std::string() : line.substr(start, end - start + 1);
  }
  return "unknown";
}

std::string system_name() {
  utsname name{};
  uname(&name);
  return value_of("/etc/os-release", "PRETTY_NAME") + ", Linux " + name.release + " " +
         name.machine;
}

std::string jpeg_version() {
#ifdef LIBJPEG_TURBO_VERSION_NUMBER
  constexpr int kNumber = LIBJPEG_TURBO_VERSION_NUMBER;
  return "libjpeg-turbo " + std::to_string(kNumber / 1000000) + "." +
         std::to_string(kNumber / 1000 % 1000) + "." + std::to_string(kNumber % 1000);
#else
  return "libjpeg " + std::to_string(JPEG_LIB_VERSION);
#endif
}

}  // namespace

void describe_machine() {
  benchmark::AddCustomContext("processor", value_of("/proc/cpuinfo", "model name"));
  benchmark::AddCustomContext("system", system_name());
#ifdef __clang__
  benchmark::AddCustomContext("compiler", "Clang " __clang_version__);
#else
  benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
  benchmark::AddCustomContext("build_flags", CAMERA_DEPTH_RW_BENCH_FLAGS);
  benchmark::AddCustomContext("libraries", jpeg_version() + ", libpng " +
                                               png_get_libpng_ver(nullptr) + ", zstd " +
                                               ZSTD_versionString());
}

}  // namespace depth_io::bench
