// SPDX-License-Identifier: GPL-3.0-or-later
// What the benchmarks share: arguments, requirements, times and what is taken of several rounds.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

namespace quillet {

// Ends the benchmark when what it measures did not work.
inline void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::exit(2);
}

// A whole number of at least 1; `value` when there is no such argument.
inline unsigned Argument(int argc, char** argv, int index, unsigned value) {
  if (argc <= index) return value;
  return static_cast<unsigned>(std::max(1L, std::strtol(argv[index], nullptr, 10)));
}

// Of the processor, for work that waits for nothing: what else the machine does is not counted.
template <class Work>
double ProcessorMilliseconds(const Work& work) {
  const std::clock_t start = std::clock();
  work();
  return static_cast<double>(std::clock() - start) * 1000.0 / CLOCKS_PER_SEC;
}

inline double Median(std::vector<double> values) {
  if (values.empty()) return 0;
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// The round that was disturbed least.
inline double Fastest(const std::vector<double>& values) {
  return *std::min_element(values.begin(), values.end());
}

}  // namespace quillet
