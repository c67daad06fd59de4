// SPDX-License-Identifier: GPL-3.0-or-later
// Time. Any thread.
#pragma once

#include <cstdint>
#include <optional>

namespace quillet::port {

struct CalendarTime {
  int year = 1970;
  int month = 1;        // 1 to 12
  int day_of_week = 4;  // 0 = Sunday
  int day = 1;          // 1 to 31
  int hour = 0;
  int minute = 0;
  int second = 0;
  int millisecond = 0;
  bool operator==(const CalendarTime&) const = default;
};

class Clock {
 public:
  virtual ~Clock() = default;

  virtual CalendarTime LocalTime() = 0;
  virtual CalendarTime UtcTime() = 0;
  // That moment, in seconds since 1970, UTC, by the local time of then; nothing beyond the years
  // that the system counts.
  virtual std::optional<CalendarTime> LocalTimeOf(std::int64_t seconds) = 0;
  // Milliseconds since some fixed moment; never goes back.
  virtual std::uint64_t Ticks() = 0;
  virtual void Sleep(std::uint32_t milliseconds) = 0;
};

}  // namespace quillet::port
