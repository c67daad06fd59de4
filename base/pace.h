// SPDX-License-Identifier: GPL-3.0-or-later
// How fast units of work are done, and what is left of the time. Pure: who calls says what time it
// is, in milliseconds of a clock that never goes back.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>

namespace quillet {

// Looks back over a window of time, or over the last five units where they come more slowly than
// that. Work that stands still gets slower and slower, until after two minutes nothing is known.
class Pace {
 public:
  explicit Pace(std::uint64_t window) : window_(window) {}

  // What was before does not count any more: `units` were done at this moment.
  void Restart(std::uint64_t now, std::uint64_t units);
  // That many are done by now; never fewer than before. Does nothing before the first Restart.
  void Note(std::uint64_t now, std::uint64_t units);
  // Units a second; nothing in the first second, and while none is done.
  std::optional<double> PerSecond(std::uint64_t now) const;

 private:
  struct Sample {
    std::uint64_t time = 0;
    std::uint64_t units = 0;
  };

  std::uint64_t window_;        // milliseconds
  std::deque<Sample> samples_;  // the oldest is where counting starts
};

// What is said to be left runs down evenly, and is put right when it is off by more than a tenth.
class CountDown {
 public:
  void Restart() { due_.reset(); }
  // The seconds to show for an estimate in milliseconds; 0 only for an estimate of 0.
  std::uint64_t Seconds(std::uint64_t now, std::uint64_t estimate);

 private:
  std::optional<std::uint64_t> due_;
};

}  // namespace quillet
