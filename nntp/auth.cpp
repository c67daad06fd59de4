#include "nntp/auth.h"

#include <string>
#include <vector>

#include "base/prefs.h"
#include "nntp/connection.h"
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

bool SendUserAndPassword() {
  if (!Exchange("AUTHINFO USER " + TextOfServer(gPrefs->authusers))) return false;
  if (StartsWith(gConnection.line, "381") &&
      !Exchange("AUTHINFO PASS " + TextOfServer(gPrefs->authpasses))) {
    return false;
  }
  if (StartsWith(gConnection.line, "281")) return true;
  LogError(FormatWide(u"I sent AUTHINFO, and the server responded '%ls'.%ls", gConnection.line,
                      u"\r\n"));
  return false;
}

// Encrypted login. The device has no security provider, so it ends where credentials are asked of
// one.
bool NegotiateNtlm() {
  if (!SendCommand("AUTHINFO GENERIC NTLM", CommandLogging::kUnlogged)) return false;
  if (!ReadResponse()) {
    LogError(kSocketDestroyed);  // a second time after ReadResponse, which is meant
    return false;
  }
  if (StartsWith(gConnection.line, "381")) {
    LogError(u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n");
  } else {
    LogError(FormatWide(u"While negotiating NTLM AUTHINFO, the server responded '%ls'.%ls",
                        gConnection.line, u"\r\n"));
  }
  return false;
}

}  // namespace

bool SendAuthInfo() {
  if (!FlagOfServer(gPrefs->useauths)) return true;
  return FlagOfServer(gPrefs->usentlms) ? NegotiateNtlm() : SendUserAndPassword();
}

}  // namespace quillet
