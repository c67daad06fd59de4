// SPDX-License-Identifier: GPL-3.0-or-later
// Progress of an operation over very many units, told to the dialog often enough to be seen moving.
// Program thread only.
#pragma once

#include <algorithm>
#include <cstdint>

#include "base/long_operation.h"

namespace quillet {

class ProgressMeter {
 public:
  // Sets the dialog's range; 0 units count as 1.
  explicit ProgressMeter(std::uint64_t units)
      : step_(std::max<std::uint64_t>(units / kSteps, 1)), next_(step_) {
    SetProgressRange(units);
  }

  void Add(std::uint64_t units) {
    done_ += units;
    if (done_ < next_) return;
    SetProgressPosition(done_);
    next_ = done_ + step_;
  }

 private:
  static constexpr std::uint64_t kSteps = 500;

  std::uint64_t step_;
  std::uint64_t next_;
  std::uint64_t done_ = 0;
};

}  // namespace quillet
