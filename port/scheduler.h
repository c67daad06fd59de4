// SPDX-License-Identifier: GPL-3.0-or-later
// Starts the program at a time of day to fetch news.
#pragma once

#include <string_view>

#include "port/clock.h"

namespace quillet::port {

// The command line of such a start.
inline constexpr std::u16string_view kScheduledCommandLine = u"AppRunAtTime";

class Scheduler {
 public:
  virtual ~Scheduler() = default;

  // Registers the executable (its device path identifies the registration) for the local time
  // *at and every day at the same time from then on, replacing an earlier registration; null
  // cancels it. False when the system refused. Without a system scheduler the running program is
  // told instead, at the same moments. Program thread only.
  virtual bool RunAppAtTime(std::u16string_view executable, const CalendarTime* at) = 0;
};

}  // namespace quillet::port
