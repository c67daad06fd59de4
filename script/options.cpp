// SPDX-License-Identifier: GPL-3.0-or-later
#include "script/options.h"

#include <array>
#include <string_view>
#include <vector>

#include "port/scheduler.h"
#include "script/words.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::uint32_t kLongestTimeoutSeconds = 86400;

// Each returns false when the value is no good.
bool SetUserFolders(ScriptOptions& options, std::string_view /*value*/) {
  options.user_folders = true;
  return true;
}
bool SetWorkArea(ScriptOptions& options, std::string_view value) {
  const auto size = ParseSize(FromUtf8(value));
  if (size) options.work_area = *size;
  return size.has_value();
}
bool SetLog(ScriptOptions& options, std::string_view value) {
  options.log = value;
  return !value.empty();
}
bool SetTimeout(ScriptOptions& options, std::string_view value) {
  const auto seconds = ParseNumber(FromUtf8(value));
  if (!seconds || *seconds == 0 || *seconds > kLongestTimeoutSeconds) return false;
  options.timeout = std::chrono::seconds(*seconds);
  return true;
}
bool SetHold(ScriptOptions& options, std::string_view /*value*/) {
  options.hold = true;
  return true;
}

struct Option {
  std::string_view name;
  bool has_value;
  bool (*apply)(ScriptOptions& options, std::string_view value);
};

constexpr std::array<Option, 5> kOptions = {{
    {"--xdg", false, SetUserFolders},
    {"--work-area", true, SetWorkArea},
    {"--log", true, SetLog},
    {"--timeout", true, SetTimeout},
    {"--hold", false, SetHold},
}};

const Option* FindOption(std::string_view name) {
  for (const Option& option : kOptions) {
    if (option.name == name) return &option;
  }
  return nullptr;
}

ScriptOptions Wrong(ScriptOptions options, std::string error) {
  options.program.action = port::Arguments::Action::kWrong;
  options.program.error = std::move(error);
  return options;
}

}  // namespace

ScriptOptions ParseScriptOptions(int argc, const char* const* argv) {
  ScriptOptions options;
  std::vector<const char*> others = {argc > 0 ? argv[0] : "quillet-script"};
  bool own = true;  // until "--"
  for (int i = 1; i < argc; ++i) {
    own = own && std::string_view(argv[i]) != "--";
    const Option* option = own ? FindOption(argv[i]) : nullptr;
    if (option == nullptr) {
      others.push_back(argv[i]);
      continue;
    }
    if (option->has_value && i + 1 == argc) {
      return Wrong(std::move(options), std::string(option->name) + " needs a value");
    }
    const char* value = option->has_value ? argv[++i] : "";
    if (!option->apply(options, value)) {
      return Wrong(std::move(options),
                   "bad value for " + std::string(option->name) + ": '" + value + "'");
    }
  }
  options.program = port::ParseArguments(static_cast<int>(others.size()), others.data());
  if (options.program.action != port::Arguments::Action::kRun) return options;
  if (options.program.profile.empty() == !options.user_folders) {
    return Wrong(std::move(options), "either --profile DIR or --xdg is needed");
  }
  return options;
}

std::string ScriptHelpText() {
  return FormatNarrow(
      "Usage: quillet-script --profile DIR [OPTION...] [%s | LINK]\n"
      "\n"
      "Runs Quillet CE with a scripted display: commands on standard input, one JSON object a\n"
      "line on standard output. See quillet-script(1).\n"
      "\n"
      "  --profile DIR      keep settings and articles in DIR\n"
      "  --xdg              use the user's own folders instead\n"
      "  --work-area WxH    usable screen area (240x320)\n"
      "  --log FILE         write the same lines to FILE\n"
      "  --timeout SECONDS  time limit of every wait (60)\n"
      "  --hold             do not start the program before the line \"start\"\n"
      "  --help             print this text\n"
      "  --version          print the version\n"
      "  %s       start a download, in the running program if there is one\n"
      "  LINK               open a \"news:\" or \"nntp:\" link there\n",
      port::kScheduledCommandLine, port::kScheduledCommandLine);
}

}  // namespace quillet
