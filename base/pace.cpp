// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/pace.h"

#include <algorithm>

namespace quillet {
namespace {

constexpr std::uint64_t kGrain = 250;           // milliseconds between two samples that are kept
constexpr std::uint64_t kLeastSpan = 1000;      // milliseconds
constexpr std::uint64_t kLeastUnits = 5;        // that a window holds, if so many were done
constexpr std::uint64_t kLongestLull = 120000;  // milliseconds
constexpr std::uint64_t kLeastError = 500;      // milliseconds that are put right
constexpr std::uint64_t kErrorShare = 10;

}  // namespace

void Pace::Restart(std::uint64_t now, std::uint64_t units) {
  samples_.clear();
  samples_.push_back({now, units});
}

void Pace::Note(std::uint64_t now, std::uint64_t units) {
  if (samples_.empty() || units <= samples_.back().units) return;
  const std::size_t count = samples_.size();
  const bool close_together = count > 2 && now - samples_[count - 2].time < kGrain;
  if (close_together) samples_.pop_back();
  samples_.push_back({now, units});
  const auto dispensable = [&](const Sample& second) {
    return now - second.time >= window_ && units - second.units >= kLeastUnits;
  };
  while (samples_.size() > 2 && dispensable(samples_[1])) samples_.pop_front();
}

// Between two units the pace stays what it was, until the next one is overdue.
std::optional<double> Pace::PerSecond(std::uint64_t now) const {
  if (samples_.size() < 2) return std::nullopt;
  const Sample& oldest = samples_.front();
  const Sample& newest = samples_.back();
  const std::uint64_t lull = now - std::min(newest.time, now);
  const std::uint64_t span = std::max(now, newest.time) - oldest.time;
  if (span < kLeastSpan || lull > kLongestLull) return std::nullopt;
  const auto units = static_cast<double>(newest.units - oldest.units);
  const double overdue = (units + 1) * 1000 / static_cast<double>(span);
  if (newest.time == oldest.time) return overdue;
  return std::min(overdue, units * 1000 / static_cast<double>(newest.time - oldest.time));
}

std::uint64_t CountDown::Seconds(std::uint64_t now, std::uint64_t estimate) {
  const std::uint64_t due = now + estimate;
  const std::uint64_t error = due_ ? std::max(due, *due_) - std::min(due, *due_) : 0;
  if (!due_ || error > std::max(kLeastError, estimate / kErrorShare)) due_ = due;
  if (estimate == 0) return 0;
  const std::uint64_t left = *due_ > now ? *due_ - now : 0;
  return std::max<std::uint64_t>((left + 500) / 1000, 1);
}

}  // namespace quillet
