// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/progress_text.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "util/format.h"

namespace quillet {
namespace {

constexpr std::uint64_t kLongestTime = 100 * 3600;  // seconds
constexpr std::uint64_t kLookPeriod = 250;          // milliseconds
constexpr std::uint64_t kTimeIsKnownAfter = 3000;   // milliseconds

// Whole numbers below 100, above it two figures that count.
std::uint64_t Readable(double value) {
  double step = 1;
  while (value / step >= 100) step *= 10;
  return static_cast<std::uint64_t>(std::llround(value / step) * std::llround(step));
}

std::u16string TwoDigits(std::uint64_t number) {
  return FormatWide(number < 10 ? u"0%lu" : u"%lu", number);
}

}  // namespace

std::u16string DurationText(std::uint64_t seconds) {
  const std::uint64_t minutes = seconds / 60;
  const std::u16string rest = u":" + TwoDigits(seconds % 60);
  if (minutes < 60) return FormatWide(u"%lu", minutes) + rest;
  return FormatWide(u"%lu:", minutes / 60) + TwoDigits(minutes % 60) + rest;
}

std::optional<std::u16string> TimeLeftText(std::uint64_t seconds) {
  if (seconds >= kLongestTime) return std::nullopt;
  return DurationText(seconds) + u" left";
}

std::optional<std::u16string> ArticlePaceText(double per_second) {
  const bool by_second = per_second >= 0.95;
  const std::uint64_t number = Readable(by_second ? per_second : per_second * 60);
  if (number == 0) return std::nullopt;
  return FormatWide(u"%lu article%ls a %ls", number, number == 1 ? u"" : u"s",
                    by_second ? u"second" : u"minute");
}

void BarText::Begin(std::uint64_t now, std::uint64_t units, bool whole_operation) {
  units_ = std::max<std::uint64_t>(units, 1);
  whole_operation_ = whole_operation;
  pace_.Restart(now, 0);
  count_down_.Restart();
  next_look_ = now + kTimeIsKnownAfter;
  percent_.reset();
  time_left_.clear();
}

std::optional<std::u16string> BarText::At(std::uint64_t now, std::uint64_t units_done) {
  const std::uint64_t done = std::min(units_done, units_);
  const bool new_time = whole_operation_ && LookAtTime(now, done);
  const auto percent =
      static_cast<std::uint64_t>(static_cast<double>(done) * 100 / static_cast<double>(units_));
  if (percent == percent_ && !new_time) return std::nullopt;
  percent_ = percent;
  return FormatWide(u"%lu%%", percent) + time_left_;
}

// Whether there is something else to say.
bool BarText::LookAtTime(std::uint64_t now, std::uint64_t done) {
  pace_.Note(now, done);
  if (now < next_look_) return false;
  next_look_ = now + kLookPeriod;
  const std::optional<double> pace = pace_.PerSecond(now);
  std::u16string text;
  if (pace) {
    const double left = static_cast<double>(units_ - done) * 1000 / *pace;
    const std::uint64_t seconds = count_down_.Seconds(now, static_cast<std::uint64_t>(left));
    if (const auto said = TimeLeftText(seconds)) text = u", " + *said;
  }
  return std::exchange(time_left_, text) != text;
}

}  // namespace quillet
