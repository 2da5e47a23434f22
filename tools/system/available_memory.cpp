#include "tools/system/available_memory.h"

#include <sys/resource.h>

#include <algorithm>
#include <fstream>
#include <string>

namespace depth_io::tools {

double available_memory() {
  constexpr double kUnknown = 1e15;
  double bytes = kUnknown;
  std::ifstream table("/proc/meminfo");
  std::string name;
  double kilobytes = 0;
  std::string unit;
  while (table >> name >> kilobytes && std::getline(table, unit)) {
    if (name == "MemAvailable:") bytes = kilobytes * 1024;
  }
  struct rlimit limit = {};
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    bytes = std::min(bytes, static_cast<double>(limit.rlim_cur));
  }
  return bytes;
}

}  // namespace depth_io::tools
