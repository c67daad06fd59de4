// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/daily_timer.h"

#include <algorithm>
#include <utility>

namespace quillet::port {
namespace {

constexpr std::int64_t kDaySeconds = 24 * 60 * 60;

std::int64_t TimeOfDaySeconds(const CalendarTime& time) {
  return (time.hour * 60 + time.minute) * 60 + time.second;
}

std::int64_t DayNumber(const CalendarTime& time) {
  const std::chrono::year_month_day date{std::chrono::year{time.year},
                                         std::chrono::month{static_cast<unsigned>(time.month)},
                                         std::chrono::day{static_cast<unsigned>(time.day)}};
  return std::chrono::sys_days{date}.time_since_epoch().count();
}

// The first moment after `now` with that time of day.
std::int64_t NextDaily(std::int64_t now, std::int64_t time_of_day) {
  const std::int64_t today = now - now % kDaySeconds + time_of_day;
  return today > now ? today : today + kDaySeconds;
}

}  // namespace

std::int64_t CalendarSeconds(const CalendarTime& time) {
  return DayNumber(time) * kDaySeconds + TimeOfDaySeconds(time);
}

DailyTimer::DailyTimer(Clock& clock, std::function<void()> ring,
                       std::chrono::milliseconds look_every)
    : clock_(clock), ring_(std::move(ring)), look_every_(look_every) {}

void DailyTimer::Start(const CalendarTime& at) {
  Stop();
  stopping_ = false;
  at_ = at;
  thread_ = std::thread([this] { Run(); });
}

void DailyTimer::Stop() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void DailyTimer::Run() {
  const std::int64_t time_of_day = TimeOfDaySeconds(at_);
  std::int64_t next = CalendarSeconds(at_);
  bool recurring = false;
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const std::int64_t now = CalendarSeconds(clock_.LocalTime());
    if (now >= next) {
      recurring = true;
      next = NextDaily(now, time_of_day);
      lock.unlock();
      ring_();
      lock.lock();
      continue;
    }
    // A clock that was set back brings the next day's turn nearer again.
    if (recurring) next = std::min(next, NextDaily(now, time_of_day));
    const auto wait = std::min<std::chrono::milliseconds>(
        look_every_, std::chrono::seconds(std::min<std::int64_t>(next - now, kDaySeconds)));
    changed_.wait_for(lock, wait);
  }
}

}  // namespace quillet::port
