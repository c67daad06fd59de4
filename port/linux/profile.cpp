// SPDX-License-Identifier: GPL-3.0-or-later
// Follows the desktop's rules for base directories: relative paths in the variables count as unset,
// and what is unset lies below the home folder. A named profile keeps everything in its one folder
// instead. Options are few and read by hand, the same for every main.
#include "port/linux/profile.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "port/linux/native_files.h"
#include "port/scheduler.h"
#include "util/blanks.h"
#include "util/format.h"
#include "util/news_link.h"
#include "util/text.h"
#include "util/version.h"

namespace quillet::port {
namespace {

constexpr std::string_view kProfileOption = "--profile";
constexpr std::string_view kProfilePrefix = "--profile=";
constexpr std::string_view kEndOfOptions = "--";
constexpr std::size_t kLongestShown = 100;  // of a wrong argument

// Relative paths in these variables are to be ignored.
std::string FolderFromEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && value[0] == '/' ? value : "";
}

std::string Absolute(const std::string& folder) {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::absolute(folder, error).lexically_normal();
  std::string text = error ? folder : path.string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

Arguments Wrong(std::string error) {
  Arguments arguments;
  arguments.action = Arguments::Action::kWrong;
  arguments.error = std::move(error);
  return arguments;
}

// Without what would move the cursor of a terminal or end a line of the instance socket.
std::u16string WithoutControls(std::u16string_view text) {
  std::u16string plain(text);
  std::ranges::replace_if(plain, IsControl, u'\uFFFD');
  return plain;
}

Arguments Unknown(const std::string& argument) {
  std::u16string shown = WithoutControls(FromUtf8(argument));
  if (shown.size() > kLongestShown) shown = shown.substr(0, kLongestShown) + u"...";
  return Wrong("unknown argument '" + ToUtf8(shown) + "'");
}

// Cut behind the length that a link may have, so that what is too long still is.
std::u16string LinkOf(const std::string& argument) {
  return WithoutControls(FromUtf8(argument.substr(0, kLongestNewsLink + 1)));
}

// A link that came with another word is no unknown argument: it is one too many.
Arguments Refused(const std::string& argument) {
  if (IsNewsLink(argument)) return Wrong("a link must be the only argument besides options");
  return Unknown(argument);
}

// What is no option: the scheduler's word or a link. False when it is neither, or one too many.
bool TakeWord(const std::string& argument, Arguments& arguments) {
  if (!arguments.command_line.empty() || !arguments.link.empty()) return false;
  if (FromUtf8(argument) == kScheduledCommandLine) {
    arguments.command_line.push_back(argument);
  } else if (IsNewsLink(argument)) {
    arguments.link = LinkOf(argument);
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::string HomeFolder() {
  std::string home = FolderFromEnvironment("HOME");
  if (!home.empty()) return home;
  const passwd* user = getpwuid(getuid());
  return user != nullptr && user->pw_dir != nullptr ? user->pw_dir : "/";
}

std::string ConfigHome() {
  const std::string folder = FolderFromEnvironment("XDG_CONFIG_HOME");
  return folder.empty() ? HomeFolder() + "/.config" : folder;
}

std::string DataHome() {
  const std::string folder = FolderFromEnvironment("XDG_DATA_HOME");
  return folder.empty() ? HomeFolder() + "/.local/share" : folder;
}

Profile LocateProfile(const std::string& folder) {
  Profile profile;
  profile.config_home = ConfigHome();
  if (!folder.empty()) {
    profile.name = Absolute(folder);
    profile.config_folder = profile.name;
    profile.data_folder = profile.name + "/data";
    profile.runtime_folder = profile.name;
    return profile;
  }
  profile.config_folder = profile.config_home + "/quillet";
  profile.data_folder = DataHome() + "/quillet";
  const std::string runtime = FolderFromEnvironment("XDG_RUNTIME_DIR");
  profile.runtime_folder = runtime.empty() ? profile.config_folder : runtime + "/quillet";
  return profile;
}

std::string PrepareProfile(const Profile& profile) {
  for (const std::string* folder : {&profile.config_folder, &profile.data_folder}) {
    if (!MakeFolders(*folder)) return "cannot create the folder " + *folder;
  }
  MakeFolders(profile.runtime_folder);  // without it the program runs all the same
  return {};
}

std::u16string Arguments::CommandLine() const {
  std::u16string joined;
  for (const std::string& argument : command_line) {
    if (!joined.empty()) joined += u' ';
    joined += FromUtf8(argument);
  }
  return joined;
}

Arguments ParseArguments(int argc, const char* const* argv) {
  Arguments arguments;
  bool options_ended = false;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (options_ended || !argument.starts_with('-')) {
      if (!TakeWord(argument, arguments)) return Refused(argument);
      continue;
    }
    if (argument == kEndOfOptions) {
      options_ended = true;
      continue;
    }
    if (argument == "--help" || argument == "--version") {
      arguments.action =
          argument == "--help" ? Arguments::Action::kHelp : Arguments::Action::kVersion;
      return arguments;
    }
    const bool separate = argument == kProfileOption;
    if (!separate && !StartsWith(argument, kProfilePrefix)) return Unknown(argument);
    if (!arguments.profile.empty()) return Wrong("--profile is given twice");
    if (!separate) {
      arguments.profile = argument.substr(kProfilePrefix.size());
    } else if (++i < argc) {
      arguments.profile = argv[i];
    }
    if (arguments.profile.empty()) return Wrong("--profile needs a folder");
  }
  return arguments;
}

std::string HelpText(std::string_view program) {
  return FormatNarrow(
      "Usage: %s [--profile DIR] [%s | LINK]\n"
      "\n"
      "  --profile DIR   keep settings and articles in DIR instead of the user's own folders\n"
      "  --help          print this text\n"
      "  --version       print the version\n"
      "  %s    start a download, in the running program if there is one\n"
      "  LINK            open a \"news:\" or \"nntp:\" link there: a newsgroup, or an article that "
      "is\n"
      "                  stored\n",
      program, kScheduledCommandLine, kScheduledCommandLine);
}

std::string VersionText(std::string_view program) {
  return FormatNarrow("%s (Quillet CE) %s\n", program, kVersionText);
}

std::string OwnExecutable() {
  std::error_code error;
  const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : path.string();
}

}  // namespace quillet::port
