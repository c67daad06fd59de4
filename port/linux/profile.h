// SPDX-License-Identifier: GPL-3.0-or-later
// The profile: where a run of the program keeps what is its own, and the arguments of all mains.
//
// --profile DIR: DIR/registry.db, DIR/data, everything else in DIR too.
// Without it:    $XDG_CONFIG_HOME/quillet/registry.db (~/.config), $XDG_DATA_HOME/quillet
//                (~/.local/share), $XDG_RUNTIME_DIR/quillet (or the configuration folder).
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet::port {

struct Profile {
  std::string name;            // absolute folder of --profile; empty for the user's own profile
  std::string config_folder;   // registry, display file and instance lock
  std::string data_folder;     // what the device path "\" stands for
  std::string runtime_folder;  // the instance socket
  std::string config_home;     // where user units lie in systemd/user, whatever the profile

  std::string RegistryFile() const { return config_folder + "/registry.db"; }
  // Where a display keeps what belongs to this screen: sizes of windows.
  std::string DisplayFile() const { return config_folder + "/display.ini"; }
};

// All folders are absolute; nothing is created. `folder` empty: the user's own profile.
Profile LocateProfile(const std::string& folder);

// Creates the folders with mode 0700. What is wrong, for standard error, when one cannot be
// created; empty when all is well.
std::string PrepareProfile(const Profile& profile);

struct Arguments {
  enum class Action { kRun, kHelp, kVersion, kWrong };
  Action action = Action::kRun;
  std::string profile;                    // argument of --profile; empty without it
  std::vector<std::string> command_line;  // what is left: nothing or kScheduledCommandLine
  std::u16string link;                    // as port::Shell::Link; never with a command line
  std::string error;                      // with kWrong: one line for standard error

  std::u16string CommandLine() const;  // joined by one blank
};

// Takes main's arguments; behind "--" none is an option. With kWrong the caller ends with
// kExitUsage.
Arguments ParseArguments(int argc, const char* const* argv);

constexpr int kExitUsage = 2;

// What --help and --version print, with their line ends.
std::string HelpText(std::string_view program);
std::string VersionText(std::string_view program);

// The user's home folder and where the desktop keeps settings and data there: absolute, without a
// slash at the end.
std::string HomeFolder();
std::string ConfigHome();
std::string DataHome();

// Native path of the running executable; empty when it cannot be told.
std::string OwnExecutable();

}  // namespace quillet::port
