// Follows the desktop's rules for base directories: relative paths in the variables count as unset,
// and what is unset lies below the home folder. A named profile keeps everything in its one folder
// instead. Options are few and read by hand, the same for every main.
#include "port/linux/profile.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "port/linux/native_files.h"
#include "port/scheduler.h"
#include "util/format.h"
#include "util/text.h"
#include "util/version.h"

namespace quillet::port {
namespace {

constexpr std::string_view kProfileOption = "--profile";
constexpr std::string_view kProfilePrefix = "--profile=";

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
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--help" || argument == "--version") {
      arguments.action =
          argument == "--help" ? Arguments::Action::kHelp : Arguments::Action::kVersion;
      return arguments;
    }
    if (argument == kProfileOption || StartsWith(argument, kProfilePrefix)) {
      if (!arguments.profile.empty()) return Wrong("--profile is given twice");
      if (argument != kProfileOption) {
        arguments.profile = argument.substr(kProfilePrefix.size());
      } else if (++i < argc) {
        arguments.profile = argv[i];
      }
      if (arguments.profile.empty()) return Wrong("--profile needs a folder");
    } else if (FromUtf8(argument) == kScheduledCommandLine && arguments.command_line.empty()) {
      arguments.command_line.push_back(argument);
    } else {
      return Wrong("unknown argument '" + argument + "'");
    }
  }
  return arguments;
}

std::string HelpText(std::string_view program) {
  return FormatNarrow(
      "Usage: %s [--profile DIR] [%s]\n"
      "\n"
      "  --profile DIR   keep settings and articles in DIR instead of the user's own folders\n"
      "  --help          print this text\n"
      "  --version       print the version\n"
      "  %s    start a download, in the running program if there is one\n",
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
