// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_clock.h"

#include <chrono>

namespace quillet::port {
namespace {

using Milliseconds = std::chrono::milliseconds;

std::int64_t FromCalendar(const CalendarTime& time) {
  const std::chrono::year_month_day date(std::chrono::year(time.year),
                                         std::chrono::month(static_cast<unsigned>(time.month)),
                                         std::chrono::day(static_cast<unsigned>(time.day)));
  const auto days = std::chrono::sys_days(date).time_since_epoch();
  const auto seconds = std::chrono::hours(time.hour) + std::chrono::minutes(time.minute) +
                       std::chrono::seconds(time.second);
  return std::chrono::duration_cast<Milliseconds>(days + seconds).count() + time.millisecond;
}

}  // namespace

CalendarTime FakeClock::At(std::int64_t milliseconds) const {
  const std::chrono::sys_time<Milliseconds> moment{Milliseconds(milliseconds)};
  const auto day = std::chrono::floor<std::chrono::days>(moment);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss<Milliseconds> clock(moment - day);
  CalendarTime time;
  time.year = static_cast<int>(date.year());
  time.month = static_cast<int>(static_cast<unsigned>(date.month()));
  time.day_of_week = static_cast<int>(std::chrono::weekday(day).c_encoding());
  time.day = static_cast<int>(static_cast<unsigned>(date.day()));
  time.hour = static_cast<int>(clock.hours().count());
  time.minute = static_cast<int>(clock.minutes().count());
  time.second = static_cast<int>(clock.seconds().count());
  time.millisecond = static_cast<int>(clock.subseconds().count());
  return time;
}

CalendarTime FakeClock::LocalTime() {
  const std::lock_guard lock(mutex_);
  return At(local_);
}

CalendarTime FakeClock::UtcTime() {
  const std::lock_guard lock(mutex_);
  return At(local_ - offset_);
}

std::optional<CalendarTime> FakeClock::LocalTimeOf(std::int64_t seconds) {
  const std::lock_guard lock(mutex_);
  return At(seconds * 1000 + offset_);
}

std::uint64_t FakeClock::Ticks() {
  const std::lock_guard lock(mutex_);
  return ticks_;
}

void FakeClock::Sleep(std::uint32_t milliseconds) {
  {
    const std::lock_guard lock(mutex_);
    sleeps_.push_back(milliseconds);
  }
  Move(milliseconds);
}

void FakeClock::SetLocalTime(const CalendarTime& time) {
  const std::lock_guard lock(mutex_);
  local_ = FromCalendar(time);
}

void FakeClock::SetUtcOffset(int minutes_ahead_of_utc) {
  const std::lock_guard lock(mutex_);
  offset_ = std::int64_t{minutes_ahead_of_utc} * 60 * 1000;
}

void FakeClock::Advance(std::uint64_t milliseconds) {
  Move(milliseconds);
}

std::vector<std::uint32_t> FakeClock::sleeps() const {
  const std::lock_guard lock(mutex_);
  return sleeps_;
}

// The callback takes locks of its own, under which the ticks are read: it runs without this one.
void FakeClock::Move(std::uint64_t milliseconds) {
  {
    const std::lock_guard lock(mutex_);
    ticks_ += milliseconds;
    local_ += static_cast<std::int64_t>(milliseconds);
  }
  if (on_move) on_move();
}

}  // namespace quillet::port
