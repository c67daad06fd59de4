// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_clock.h"

#include <cerrno>
#include <ctime>

namespace quillet::port {
namespace {

timespec Now(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now;
}

CalendarTime ToCalendar(const tm& parts, long nanoseconds) {
  CalendarTime time;
  time.year = parts.tm_year + 1900;
  time.month = parts.tm_mon + 1;
  time.day_of_week = parts.tm_wday;
  time.day = parts.tm_mday;
  time.hour = parts.tm_hour;
  time.minute = parts.tm_min;
  time.second = parts.tm_sec;
  time.millisecond = static_cast<int>(nanoseconds / 1000000);
  return time;
}

}  // namespace

CalendarTime LinuxClock::LocalTime() {
  const timespec now = Now(CLOCK_REALTIME);
  tm parts{};
  tzset();  // localtime_r alone keeps the zone of its first call
  localtime_r(&now.tv_sec, &parts);
  return ToCalendar(parts, now.tv_nsec);
}

CalendarTime LinuxClock::UtcTime() {
  const timespec now = Now(CLOCK_REALTIME);
  tm parts{};
  gmtime_r(&now.tv_sec, &parts);
  return ToCalendar(parts, now.tv_nsec);
}

std::optional<CalendarTime> LinuxClock::LocalTimeOf(std::int64_t seconds) {
  const time_t moment = seconds;
  tm parts{};
  tzset();
  if (localtime_r(&moment, &parts) == nullptr) return std::nullopt;
  return ToCalendar(parts, 0);
}

std::uint64_t LinuxClock::Ticks() {
  const timespec now = Now(CLOCK_MONOTONIC);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000U +
         static_cast<std::uint64_t>(now.tv_nsec) / 1000000U;
}

void LinuxClock::Sleep(std::uint32_t milliseconds) {
  timespec until = Now(CLOCK_MONOTONIC);
  until.tv_sec += static_cast<time_t>(milliseconds / 1000U);
  until.tv_nsec += static_cast<long>(milliseconds % 1000U) * 1000000L;
  if (until.tv_nsec >= 1000000000L) {
    until.tv_nsec -= 1000000000L;
    ++until.tv_sec;
  }
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
  }
}

}  // namespace quillet::port
