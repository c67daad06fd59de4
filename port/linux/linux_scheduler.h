// SPDX-License-Identifier: GPL-3.0-or-later
// The scheduler: a user timer of systemd, or a timer of the running program where there is no user
// manager. The units lie in systemd/user of the user's configuration folder and are there only
// while a start is registered. There is one registration a profile, whatever its executable.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "port/linux/daily_timer.h"
#include "port/linux/profile.h"
#include "port/scheduler.h"

namespace quillet::port {

struct SchedulerLimits {
  std::chrono::milliseconds look_every{30'000};  // how often the own timer looks at the clock
  int systemctl_ms = 5000;                       // how long one call of systemctl may take
};

class LinuxScheduler final : public Scheduler {
 public:
  // `executable` is the native path that the timer starts. `download_due` is called on a thread of
  // the scheduler's own when the running program must start the download itself.
  LinuxScheduler(Profile profile, std::string executable, Clock& clock,
                 std::function<void()> download_due, SchedulerLimits limits = {});

  bool RunAppAtTime(std::u16string_view executable, const CalendarTime* at) override;

 private:
  std::string UnitPath(const char* suffix) const;
  bool Systemctl(std::vector<std::string> arguments) const;
  bool Register(const CalendarTime& at);
  void Cancel();
  void RemoveUnits();

  const Profile profile_;
  const std::string executable_;
  const std::string unit_name_;
  const std::string unit_folder_;
  const int systemctl_limit_ms_;
  DailyTimer own_timer_;
};

}  // namespace quillet::port
