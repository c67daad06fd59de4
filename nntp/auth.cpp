#include "nntp/auth.h"

#include <string>
#include <vector>

#include "base/prefs.h"
#include "nntp/connection.h"
#include "nntp/ntlm.h"
#include "nntp/replies.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

bool FlagOfServer(const std::vector<std::uint32_t>& flags) {
  return gPrefs->selectedserver < flags.size() && flags[gPrefs->selectedserver] != 0;
}

std::string TextOfServer(const std::vector<std::u16string>& texts) {
  return gPrefs->selectedserver < texts.size() ? Narrow(texts[gPrefs->selectedserver]) : "";
}

// Logged like every command, the password too.
bool Exchange(std::string_view command) {
  return SendCommand(command) && ReadResponse();
}

RunEnd SendUserAndPassword() {
  if (!Exchange("AUTHINFO USER " + TextOfServer(gPrefs->authusers))) return RunEnd::kLost;
  if (StartsWith(gConnection.reply, "381") &&
      !Exchange("AUTHINFO PASS " + TextOfServer(gPrefs->authpasses))) {
    return RunEnd::kLost;
  }
  if (StartsWith(gConnection.reply, "281")) return RunEnd::kGoOn;
  LogError(FormatWide(u"I sent AUTHINFO, and the server responded '%ls'.\r\n", gConnection.reply));
  return RunEnd::kRefused;
}

}  // namespace

RunEnd SendAuthInfo() {
  if (!FlagOfServer(gPrefs->useauths)) return RunEnd::kGoOn;
  return FlagOfServer(gPrefs->usentlms) ? NegotiateNtlm() : SendUserAndPassword();
}

}  // namespace quillet
