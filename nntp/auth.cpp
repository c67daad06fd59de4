// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/auth.h"

#include <string>

#include "base/extensions.h"
#include "base/prefs.h"
#include "nntp/connection.h"
#include "nntp/ntlm.h"
#include "nntp/replies.h"
#include "nntp/selected_server.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// Logged like every command, the password too.
bool Exchange(std::string_view command) {
  return SendCommand(command) && ReadResponse();
}

RunEnd SendUserAndPassword() {
  if (!Exchange("AUTHINFO USER " + Narrow(OfSelectedServer(gPrefs->authusers))))
    return RunEnd::kLost;
  if (StartsWith(gConnection.reply, "381") &&
      !Exchange("AUTHINFO PASS " + Narrow(OfSelectedServer(gPrefs->authpasses)))) {
    return RunEnd::kLost;
  }
  if (StartsWith(gConnection.reply, "281")) return RunEnd::kGoOn;
  LogError(FormatWide(u"I sent AUTHINFO, and the server responded '%ls'.\r\n", gConnection.reply));
  return RunEnd::kRefused;
}

RunEnd LogInAsSet() {
  const RunEnd end =
      OfSelectedServer(gPrefs->usentlms) != 0 ? NegotiateNtlm() : SendUserAndPassword();
  gConnection.logged_in = end == RunEnd::kGoOn;
  return end;
}

}  // namespace

RunEnd SendAuthInfo() {
  const bool wanted = OfSelectedServer(gPrefs->useauths) != 0 && !gConnection.logged_in;
  return wanted ? LogInAsSet() : RunEnd::kGoOn;
}

std::optional<RunEnd> LogInIfAsked(std::string_view reply) {
  if (!StartsWith(reply, "480") || OfSelectedServer(gPrefs->authusers).empty()) {
    return std::nullopt;
  }
  if (ReadExtensions().loginlater == 0) return std::nullopt;
  return LogInAsSet();
}

}  // namespace quillet
