// SPDX-License-Identifier: GPL-3.0-or-later
// The command line of quillet-setup.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/server_security.h"

namespace quillet::setup {

enum class Action { kRun, kHelp, kVersion, kWrong };
// What becomes of servers and groups that are configured already.
enum class Existing { kRefuse, kAdd, kReplace };

// Texts are as given (UTF-8), not judged yet; nothing: the option was not given.
struct Options {
  Action action = Action::kRun;
  std::string error;  // with kWrong: what is wrong with which argument, one line

  Existing existing = Existing::kRefuse;
  std::string profile;  // folder; empty: the user's own
  std::optional<std::string> server;
  std::optional<std::uint32_t> port;  // 1 to 65535
  std::optional<ServerSecurity> security;
  std::optional<std::string> user;
  std::optional<std::string> password_file;  // "-" is standard input
  bool password_prompt = false;
  std::optional<std::string> full_name;
  std::optional<std::string> address;
  std::vector<std::string> groups;
  std::vector<std::pair<std::string, std::uint32_t>> numbers;  // names of settings, values

  ServerSecurity Security() const { return security.value_or(ServerSecurity::kNone); }
  // Without --port the usual one of the security.
  std::uint32_t Port() const { return port.value_or(PortFor(Security(), kPlainPort)); }
};

// Takes main's arguments. What cannot be judged without the program's own functions is left to
// JudgeOptions.
Options ParseOptions(int argc, const char* const* argv);

// What --help prints, with its line end.
std::string HelpText();

}  // namespace quillet::setup
