#pragma once

#include <algorithm>
#include <cstddef>
#include <ctime>
#include <vector>

namespace depth_io::bench {

/// Processor time of this process, seconds. What other processes take from the machine does not
/// count, so ratios hold on a busy one too; nothing that is measured here sleeps.
inline double cpu_seconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <typename Work>
double seconds_of(Work&& work) {
  const double start = cpu_seconds();
  work();
  return cpu_seconds() - start;
}

/// 0 for no values.
inline double median(std::vector<double> values) {
  if (values.empty()) return 0.0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 == 1) return *middle;
  return 0.5 * (*middle + *std::max_element(values.begin(), middle));
}

}  // namespace depth_io::bench
