// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/linux_scheduler.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "port/linux/child_process.h"
#include "port/linux/native_files.h"
#include "port/linux/unit_files.h"

namespace quillet::port {
namespace {

// The user manager listens there; without it systemctl would only fail more slowly.
bool HasUserManager() {
  const char* runtime = std::getenv("XDG_RUNTIME_DIR");
  std::error_code error;
  return runtime != nullptr && runtime[0] == '/' &&
         std::filesystem::exists(std::string(runtime) + "/systemd/private", error);
}

bool IsCalendarTime(const CalendarTime& at) {
  return at.year >= 1970 && at.year <= 9999 && at.month >= 1 && at.month <= 12 && at.day >= 1 &&
         at.day <= 31 && at.hour >= 0 && at.hour <= 23 && at.minute >= 0 && at.minute <= 59 &&
         at.second >= 0 && at.second <= 59;
}

}  // namespace

LinuxScheduler::LinuxScheduler(Profile profile, std::string executable, Clock& clock,
                               std::function<void()> download_due, SchedulerLimits limits)
    : profile_(std::move(profile)),
      executable_(std::move(executable)),
      unit_name_(UnitName(profile_)),
      unit_folder_(profile_.config_home + "/systemd/user"),
      systemctl_limit_ms_(limits.systemctl_ms),
      own_timer_(clock, std::move(download_due), limits.look_every) {}

std::string LinuxScheduler::UnitPath(const char* suffix) const {
  return unit_folder_ + "/" + unit_name_ + suffix;
}

bool LinuxScheduler::Systemctl(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), {"systemctl", "--user"});
  return RunToEnd(arguments, systemctl_limit_ms_) == 0;
}

bool LinuxScheduler::RunAppAtTime(std::u16string_view /*executable*/, const CalendarTime* at) {
  own_timer_.Stop();
  if (at == nullptr) {
    Cancel();
    return true;
  }
  if (!IsCalendarTime(*at)) return false;
  if (HasUserManager() && Register(*at)) return true;
  // An older registration must not start the program at an hour that is no longer wanted.
  Cancel();
  try {
    own_timer_.Start(*at);
  } catch (const std::system_error&) {
    return false;
  }
  return true;
}

bool LinuxScheduler::Register(const CalendarTime& at) {
  return !executable_.empty() && MakeFolders(unit_folder_) &&
         ReplaceTextFile(UnitPath(".service"), ServiceUnit(profile_, executable_)) &&
         ReplaceTextFile(UnitPath(".timer"), TimerUnit(unit_name_, at)) &&
         Systemctl({"daemon-reload"}) && Systemctl({"enable", "--now", unit_name_ + ".timer"});
}

void LinuxScheduler::Cancel() {
  std::error_code error;
  const bool registered = std::filesystem::exists(UnitPath(".timer"), error);
  if (!registered) return;
  const bool managed = HasUserManager() && Systemctl({"disable", "--now", unit_name_ + ".timer"});
  RemoveUnits();
  if (managed) Systemctl({"daemon-reload"});
}

// Also the link by which the timer is enabled: without a user manager nobody else removes it.
void LinuxScheduler::RemoveUnits() {
  std::error_code error;
  const std::string link = unit_folder_ + "/timers.target.wants/" + unit_name_ + ".timer";
  for (const std::string& path : {link, UnitPath(".timer"), UnitPath(".service")}) {
    std::filesystem::remove(path, error);
  }
}

}  // namespace quillet::port
