// SPDX-License-Identifier: GPL-3.0-or-later
// Numbers that look random and are the same on every machine for the same seed.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace quillet::demo {

class Random {
 public:
  explicit Random(std::uint64_t seed) : state_(seed) {}

  // The SplitMix64 sequence.
  std::uint64_t Next() {
    state_ += 0x9E3779B97F4A7C15ULL;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
  }
  // 0 to limit - 1; limit is at least 1.
  std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(Next() % limit); }
  // low to high, both included.
  std::size_t Between(std::size_t low, std::size_t high) { return low + Below(high - low + 1); }
  bool OneIn(std::size_t n) { return Below(n) == 0; }
  template <class T, std::size_t N>
  const T& Pick(const std::array<T, N>& choices) {
    return choices[Below(N)];
  }

 private:
  std::uint64_t state_;
};

}  // namespace quillet::demo
