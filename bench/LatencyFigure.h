#pragma once

#include <algorithm>
#include <cstdio>
#include <vector>

namespace bench {

// Prints a latency figure as the benchmark table gives it: median and 95th percentile in ms.
inline void printLatencyFigure(const char* name, std::vector<double> milliseconds) {
  if (milliseconds.empty()) {
    std::printf("%-44s no measurement\n", name);
    return;
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  auto at = [&](double quantile) {
    return milliseconds[std::size_t(quantile * double(milliseconds.size() - 1) + 0.5)];
  };
  std::printf("%-44s median %6.1f ms  p95 %6.1f ms  min %6.1f ms  (n=%zu)\n", name, at(0.5),
              at(0.95), milliseconds.front(), milliseconds.size());
}

}  // namespace bench
