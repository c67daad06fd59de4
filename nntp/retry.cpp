// SPDX-License-Identifier: GPL-3.0-or-later
// Slept in small pieces: the clock knows nothing of an abort request.
#include "nntp/retry.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "base/long_operation.h"
#include "port/clock.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::array<std::uint32_t, 3> kWaits = {5, 15, 45};  // seconds
constexpr std::uint64_t kSecond = 1000;                       // milliseconds
constexpr std::uint64_t kNap = 100;                           // milliseconds

std::uint64_t SecondsBefore(std::uint32_t attempt) {
  const std::size_t place = std::min<std::size_t>(std::max(attempt, 1U) - 1, kWaits.size() - 1);
  return kWaits[place];
}

void SayHowLong(std::uint64_t seconds) {
  SetProgressDetail(
      seconds == 1
          ? u"The connection was lost. Trying again in 1 second..."
          : FormatWide(u"The connection was lost. Trying again in %lu seconds...", seconds));
}

}  // namespace

RunEnd WaitBeforeRetry(std::uint32_t attempt) {
  const std::uint64_t due = gPlatform->clock.Ticks() + SecondsBefore(attempt) * kSecond;
  std::uint64_t said = 0;
  for (;;) {
    RunEnd end = RunEnd::kGoOn;
    if (Ended(end)) return end;
    const std::uint64_t now = gPlatform->clock.Ticks();
    if (now >= due) return RunEnd::kGoOn;
    const std::uint64_t left = (due - now + kSecond - 1) / kSecond;
    if (left != said) SayHowLong(said = left);
    gPlatform->clock.Sleep(static_cast<std::uint32_t>(std::min(due - now, kNap)));
  }
}

}  // namespace quillet
