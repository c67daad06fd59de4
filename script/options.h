// SPDX-License-Identifier: GPL-3.0-or-later
// The command line of quillet-script: its own options, and the arguments of every Quillet program.
#pragma once

#include <chrono>
#include <string>

#include "port/linux/profile.h"
#include "port/windows.h"

namespace quillet {

struct ScriptOptions {
  port::Arguments program;  // with kWrong, program.error says what is wrong with any option
  bool user_folders = false;
  port::Size work_area{240, 320};
  std::string log;  // native path; empty: none
  std::chrono::milliseconds timeout{60000};
  bool hold = false;
};

// Takes main's arguments.
ScriptOptions ParseScriptOptions(int argc, const char* const* argv);

// What --help prints, with its line ends.
std::string ScriptHelpText();

}  // namespace quillet
