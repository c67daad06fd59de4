// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/ntlm.h"

#include "base/prefs.h"
#include "base/reset.h"
#include "nntp/connection.h"
#include "nntp/replies.h"
#include "nntp/selected_server.h"
#include "port/platform.h"
#include "util/base64.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {

SecurityInterface gSecurityInterface;

namespace {

const ResetAtEnd kReset([] { gSecurityInterface = {}; });

constexpr std::u16string_view kPackage = u"NTLM";
constexpr std::u16string_view kTarget = u"InetSvcs";
constexpr std::size_t kReplyCode = 3;  // bytes before what a reply says

// Credentials and context of one login.
class Exchange {
 public:
  Exchange() = default;
  Exchange(const Exchange&) = delete;
  Exchange& operator=(const Exchange&) = delete;
  ~Exchange() {
    gPlatform->security.FreeCredentials(credentials_);
    gPlatform->security.FreeContext(context_);
  }

  bool Acquire() {
    // What the registry keeps of a text ends at its first NUL.
    const std::u16string user = OfSelectedServer(gPrefs->authusers);
    const std::u16string password = OfSelectedServer(gPrefs->authpasses);
    SplitName name = SplitUserName(UntilNul(user));
    credentials_ = gPlatform->security.AcquireCredentials(
        kPackage,
        {std::move(name.user), std::move(name.domain), std::u16string(UntilNul(password))});
    return credentials_ != 0;
  }

  port::SecurityStep Step(std::string_view input) {
    return gPlatform->security.InitializeContext(credentials_, context_, kTarget, input);
  }

 private:
  port::CredentialsHandle credentials_ = 0;
  port::SecurityContextHandle context_ = 0;
};

bool ServerGoesOn() {
  return StartsWith(gConnection.reply, "381");
}

RunEnd RefusedByServer() {
  LogError(FormatWide(u"While negotiating NTLM AUTHINFO, the server responded '%ls'.\r\n",
                      gConnection.reply));
  return RunEnd::kRefused;
}

// A token may be longer than the line buffer that other commands are cut to.
bool SendToken(std::string_view token) {
  if (gConnection.wire.Send("AUTHINFO GENERIC " + Base64Encode(token) + "\r\n")) return true;
  LogLoss();
  return false;
}

RunEnd SendFirstCommand() {
  if (!SendCommand("AUTHINFO GENERIC NTLM", CommandLogging::kUnlogged)) return RunEnd::kLost;
  if (!ReadResponse()) {
    // Meant: a second time after ReadResponse. The user is shown this log, and the doubled line is
    // how it tells a loss during this login from others.
    LogLoss();
    return RunEnd::kLost;
  }
  return ServerGoesOn() ? RunEnd::kGoOn : RefusedByServer();
}

RunEnd ExchangeTokens() {
  Exchange exchange;
  if (!exchange.Acquire()) {
    LogError(u"AcquireCredentialsHandle failed; unable to send encrypted credentials.\r\n");
    return RunEnd::kRefused;
  }
  const port::SecurityStep first = exchange.Step({});
  // Meant: also when the package has failed. What is told is the server's reply, which then was
  // "go on".
  if (first.result != port::kSecurityContinueNeeded) return RefusedByServer();
  if (!SendToken(first.token) || !ReadResponse()) return RunEnd::kLost;
  if (!ServerGoesOn()) return RefusedByServer();
  const std::string challenge =
      Base64Decode(std::string_view(gConnection.reply).substr(kReplyCode));
  const port::SecurityStep second = exchange.Step(challenge);
  if (second.result != port::kSecurityDone) {
    LogError(FormatWide(u"While negotiating NTLM AUTHINFO, ISC returned %x; error is %d",
                        second.result, second.error));
    return RunEnd::kRefused;
  }
  if (!SendToken(second.token) || !ReadResponse()) return RunEnd::kLost;
  return RunEnd::kGoOn;
}

}  // namespace

void LoadSecurityInterface() {
  gSecurityInterface = {gPlatform->security.EnumeratePackages(), -1};
  const auto& packages = gSecurityInterface.packages;
  for (std::size_t i = 0; i < packages.size(); ++i) {
    constexpr std::uint32_t kWanted = port::kSecurityIntegrity | port::kSecurityPrivacy;
    if ((packages[i].capabilities & kWanted) != 0) {
      gSecurityInterface.best_package = static_cast<int>(i);
    }
  }
}

SplitName SplitUserName(std::u16string_view text) {
  const std::size_t backslash = text.find(u'\\');
  if (backslash == std::u16string_view::npos) return {std::u16string(text), {}};
  return {std::u16string(text.substr(0, backslash)), std::u16string(text.substr(backslash + 1))};
}

RunEnd NegotiateNtlm() {
  RunEnd end = SendFirstCommand();
  if (end == RunEnd::kGoOn) end = ExchangeTokens();
  if (end != RunEnd::kGoOn) return end;
  // Meant: any other reply is a success. Servers answer 281, but some of them with other codes.
  return StartsWith(gConnection.reply, "5") ? RefusedByServer() : RunEnd::kGoOn;
}

}  // namespace quillet
