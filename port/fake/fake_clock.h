// SPDX-License-Identifier: GPL-3.0-or-later
// A clock that moves only by hand and by sleeping, which costs nothing. Any thread.
#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "port/clock.h"

namespace quillet::port {

class FakeClock final : public Clock {
 public:
  // The local time starts at Tuesday 2 January 2024, 12:00:00, two hours ahead of UTC.
  CalendarTime LocalTime() override;
  CalendarTime UtcTime() override;
  // By the offset of now.
  std::optional<CalendarTime> LocalTimeOf(std::int64_t seconds) override;
  std::uint64_t Ticks() override;
  void Sleep(std::uint32_t milliseconds) override;

  // day_of_week is worked out.
  void SetLocalTime(const CalendarTime& time);
  void SetUtcOffset(int minutes_ahead_of_utc);
  void Advance(std::uint64_t milliseconds);
  // Every Sleep so far, in milliseconds.
  std::vector<std::uint32_t> sleeps() const;

  // Called after every movement, so that waiting threads look again.
  std::function<void()> on_move;

 private:
  CalendarTime At(std::int64_t utc_milliseconds) const;
  void Move(std::uint64_t milliseconds);

  mutable std::mutex mutex_;
  std::uint64_t ticks_ = 1000;
  std::int64_t local_ = 1704196800000;  // milliseconds since 1970 in local time
  std::int64_t offset_ = 120LL * 60 * 1000;
  std::vector<std::uint32_t> sleeps_;
};

}  // namespace quillet::port
