// SPDX-License-Identifier: GPL-3.0-or-later
// One row an option: its name, what its value is called, and what takes it. A value may stand
// behind the option or, after a "=", in it.
#include "setup/options.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

namespace quillet::setup {
namespace {

// What is wrong with the value, empty when it is taken.
using Take = std::string (*)(Options& options, const std::string& value);

struct Row {
  std::string_view name;
  std::string_view value;  // what it is called in the help; empty: the option has none
  std::string_view help;
  Take take;
};

std::string Quoted(const std::string& value, std::string_view wrong) {
  return "\"" + value + "\" " + std::string(wrong);
}

template <std::optional<std::string> Options::*member>
std::string TakeText(Options& options, const std::string& value) {
  if (options.*member) return "is given twice";
  options.*member = value;
  return {};
}

template <Existing existing>
std::string TakeExisting(Options& options, const std::string& /*value*/) {
  if (options.existing != Existing::kRefuse && options.existing != existing) {
    return "--add and --replace exclude each other";
  }
  options.existing = existing;
  return {};
}

template <Action action>
std::string TakeAction(Options& options, const std::string& /*value*/) {
  options.action = action;
  return {};
}

// A number of digits alone, within both ends.
std::optional<std::uint32_t> NumberOf(std::string_view text, std::uint32_t least,
                                      std::uint32_t most) {
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (number < least || number > most) return std::nullopt;
  return number;
}

std::string TakePort(Options& options, const std::string& value) {
  if (options.port) return "is given twice";
  options.port = NumberOf(value, 1, 65535);
  return options.port ? std::string() : Quoted(value, "is not a number from 1 to 65535");
}

std::string TakeSecurity(Options& options, const std::string& value) {
  constexpr std::array<std::string_view, 3> kNames = {"none", "tls", "starttls"};
  const auto found = std::ranges::find(kNames, value);
  if (options.security) return "is given twice";
  if (found == kNames.end()) return Quoted(value, "is none of none, tls and starttls");
  options.security = static_cast<ServerSecurity>(found - kNames.begin());
  return {};
}

std::string TakeGroup(Options& options, const std::string& value) {
  options.groups.push_back(value);
  return {};
}

std::string TakeNumber(Options& options, const std::string& value) {
  const std::size_t equals = value.find('=');
  if (equals == std::string::npos || equals == 0) return Quoted(value, "is not NAME=VALUE");
  const auto number = NumberOf(std::string_view(value).substr(equals + 1), 0, 0xFFFFFFFF);
  if (!number) return Quoted(value, "does not end with a number from 0 to 4294967295");
  options.numbers.emplace_back(value.substr(0, equals), *number);
  return {};
}

std::string TakeProfile(Options& options, const std::string& value) {
  if (value.empty()) return "needs a folder";
  if (!options.profile.empty()) return "is given twice";
  options.profile = value;
  return {};
}

std::string TakePrompt(Options& options, const std::string& /*value*/) {
  options.password_prompt = true;
  return {};
}

constexpr auto kRows = std::to_array<Row>({
    {"--server", "NAME", "the news server", TakeText<&Options::server>},
    {"--group", "NAME", "a newsgroup to fetch; may be given several times", TakeGroup},
    {"--port", "NUMBER", "its port; without it 119, with --security tls 563", TakePort},
    {"--security", "KIND", "none, tls (from the start) or starttls", TakeSecurity},
    {"--user", "NAME", "log in by that name", TakeText<&Options::user>},
    {"--password-file", "FILE", "the first line of FILE is the password; - is standard input",
     TakeText<&Options::password_file>},
    {"--password-prompt", "", "ask for the password at the terminal", TakePrompt},
    {"--full-name", "TEXT", "your name, as it stands in articles", TakeText<&Options::full_name>},
    {"--address", "TEXT", "your e-mail address, as it stands in articles",
     TakeText<&Options::address>},
    {"--number", "NAME=VALUE", "another setting by its name, e.g. maxarticles=500", TakeNumber},
    {"--add", "", "add to what is configured already", TakeExisting<Existing::kAdd>},
    {"--replace", "", "take the place of all servers and groups that are configured",
     TakeExisting<Existing::kReplace>},
    {"--profile", "DIR", "keep settings and articles in DIR instead of the user's own folders",
     TakeProfile},
    {"--help", "", "print this text", TakeAction<Action::kHelp>},
    {"--version", "", "print the version", TakeAction<Action::kVersion>},
});

Options Wrong(std::string error) {
  Options options;
  options.action = Action::kWrong;
  options.error = std::move(error);
  return options;
}

// What is wrong with the options together, empty when nothing is.
std::string WrongTogether(const Options& options) {
  const bool adds = options.existing == Existing::kAdd;
  if (!options.server && !(adds && !options.groups.empty())) return "--server is missing";
  if (options.groups.empty() && !(adds && options.server)) return "--group is missing";
  if (!options.server && options.port) return "--port needs --server";
  if (!options.server && options.security) return "--security needs --server";
  if (!options.server && options.user) return "--user needs --server";
  const bool password = options.password_file || options.password_prompt;
  if (password && !options.user) {
    return std::string(options.password_file ? "--password-file" : "--password-prompt") +
           " needs --user";
  }
  if (options.password_file && options.password_prompt) {
    return "--password-file and --password-prompt exclude each other";
  }
  return {};
}

// Every user of the machine can read the arguments of a running program, and shells keep them.
constexpr std::string_view kNoPasswordHere =
    "--password: a password is not taken from the command line, where others can read it; give it "
    "by --password-file or --password-prompt";

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    const std::string name = argument.substr(0, argument.find('='));
    if (name == "--password") return Wrong(std::string(kNoPasswordHere));
    const auto row = std::ranges::find(kRows, name, &Row::name);
    if (row == kRows.end()) return Wrong("unknown argument \"" + argument + "\"");
    const bool has_value = name.size() != argument.size();
    std::string value = has_value ? argument.substr(name.size() + 1) : std::string();
    if (row->value.empty() && has_value) return Wrong(name + ": takes no value");
    if (!row->value.empty() && !has_value) {
      // What looks like an option is one; a value that does may stand behind "=".
      if (++i == argc || std::string_view(argv[i]).starts_with("--")) {
        return Wrong(name + ": needs a value");
      }
      value = argv[i];
    }
    if (const std::string wrong = row->take(options, value); !wrong.empty()) {
      return Wrong(name + ": " + wrong);
    }
    if (options.action != Action::kRun) return options;
  }
  if (std::string wrong = WrongTogether(options); !wrong.empty()) return Wrong(std::move(wrong));
  return options;
}

std::string HelpText() {
  constexpr std::size_t kColumn = 24;
  std::string text =
      "Usage: quillet-setup --server NAME --group NAME [OPTION...]\n"
      "       quillet-setup --add [--server NAME] [--group NAME...] [OPTION...]\n"
      "\n"
      "Tells Quillet CE its news server and the newsgroups to fetch. See quillet-setup(1).\n"
      "\n";
  for (const Row& row : kRows) {
    std::string left = "  " + std::string(row.name);
    if (!row.value.empty()) left += " " + std::string(row.value);
    if (left.size() < kColumn) {
      left.resize(kColumn, ' ');
    } else {
      left += "\n" + std::string(kColumn, ' ');
    }
    text += left + std::string(row.help) + "\n";
  }
  return text;
}

}  // namespace quillet::setup
