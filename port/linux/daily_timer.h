// SPDX-License-Identifier: GPL-3.0-or-later
// A timer of the running program that follows the wall clock: changes of the zone, of summer time
// and of the clock itself, and time spent in suspend.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include "port/clock.h"

namespace quillet::port {

class DailyTimer {
 public:
  // `ring` is called on the timer's own thread. The clock is looked at this often at least.
  DailyTimer(Clock& clock, std::function<void()> ring, std::chrono::milliseconds look_every);
  DailyTimer(const DailyTimer&) = delete;
  DailyTimer& operator=(const DailyTimer&) = delete;
  ~DailyTimer() { Stop(); }

  // Rings at that local time (at once when it is past) and every day at the same time from then
  // on, once however much time was missed. Replaces what was set before.
  void Start(const CalendarTime& at);
  // No ring comes any more when this returns. Must not be called from `ring`.
  void Stop();

 private:
  void Run();

  Clock& clock_;
  const std::function<void()> ring_;
  const std::chrono::milliseconds look_every_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool stopping_ = false;
  CalendarTime at_;
  std::thread thread_;
};

// Seconds from the first day of 1970 to that local time, zones left aside.
std::int64_t CalendarSeconds(const CalendarTime& time);

}  // namespace quillet::port
