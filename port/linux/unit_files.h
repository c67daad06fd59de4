// SPDX-License-Identifier: GPL-3.0-or-later
// The texts of the user units that start a scheduled download.
#pragma once

#include <string>
#include <string_view>

#include "port/clock.h"
#include "port/linux/profile.h"

namespace quillet::port {

// "quillet-download" for the user's own profile; for another one a suffix made from its folder.
std::string UnitName(const Profile& profile);

// The service: `executable` (native path) with the profile's option and kScheduledCommandLine.
std::string ServiceUnit(const Profile& profile, std::string_view executable);

// The timer: at that local moment and every day at the same time.
std::string TimerUnit(const std::string& unit_name, const CalendarTime& at);

// A word of a command line in a unit file, in double quotes. In the word that names the program a
// dollar sign stands for itself; in the others it would begin a variable.
enum class CommandWord { kProgram, kArgument };
std::string QuoteForUnit(std::string_view word, CommandWord kind);

}  // namespace quillet::port
