// SPDX-License-Identifier: GPL-3.0-or-later
// The words of figures about progress. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/pace.h"

namespace quillet {

// "0:40", "12:05", "1:02:05".
std::u16string DurationText(std::uint64_t seconds);
// "0:40 left"; nothing from 100 hours on, which nobody can know.
std::optional<std::u16string> TimeLeftText(std::uint64_t seconds);
// "18 articles a second", "1 article a second", "7 articles a minute", rounded so that it can be
// read while it changes: two figures count. Nothing for less than one a minute.
std::optional<std::u16string> ArticlePaceText(double per_second);

// What stands on a progress bar: "34%", and "34%, 0:12 left" when the whole operation is known to
// be that long. Times are milliseconds of a clock that never goes back.
class BarText {
 public:
  // The range begins, from 0 to `units` (at least 1). `whole_operation`: nothing comes after it.
  void Begin(std::uint64_t now, std::uint64_t units, bool whole_operation);
  bool wants_time() const { return whole_operation_; }
  // The text when it is another one than the last time. Without wants_time `now` does not matter.
  std::optional<std::u16string> At(std::uint64_t now, std::uint64_t units_done);

 private:
  bool LookAtTime(std::uint64_t now, std::uint64_t done);

  std::uint64_t units_ = 1;
  bool whole_operation_ = false;
  Pace pace_{10000};
  CountDown count_down_;
  std::uint64_t next_look_ = 0;           // when the time left is worked out again
  std::optional<std::uint64_t> percent_;  // as shown
  std::u16string time_left_;              // as shown, with the comma before it; empty: not known
};

}  // namespace quillet
