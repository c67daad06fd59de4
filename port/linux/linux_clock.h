// SPDX-License-Identifier: GPL-3.0-or-later
// The clock over the system's clocks and the zone of the user.
#pragma once

#include "port/clock.h"

namespace quillet::port {

class LinuxClock final : public Clock {
 public:
  CalendarTime LocalTime() override;
  CalendarTime UtcTime() override;
  std::optional<CalendarTime> LocalTimeOf(std::int64_t seconds) override;
  std::uint64_t Ticks() override;
  void Sleep(std::uint32_t milliseconds) override;
};

}  // namespace quillet::port
