// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/setup_reach.h"

#include <utility>
#include <vector>

#include "app/pages/fields.h"
#include "app/pages/server_names.h"
#include "app/server_probe.h"
#include "base/messages.h"
#include "base/wait_cursor.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/blanks.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::uint32_t kLongestProbe = 3000;  // milliseconds

// As it is set, or the usual one.
Reach ReachOf(const Prefs& prefs, std::u16string_view server) {
  const std::optional<std::size_t> at = FindServer(prefs, server);
  if (!at) return {};
  return {FormatWide(u"%lu", prefs.port[*at]),
          ReadServerSecurity(prefs.servers[*at]).value_or(ServerSecurity::kTls)};
}

}  // namespace

SetupReach::SetupReach(const Prefs& prefs, std::u16string_view server)
    : reach_(ReachOf(prefs, server)), offered_(reach_), offered_for_(server) {}

void SetupReach::Show(port::WindowHandle dialog) const {
  const auto names = ServerSecurityNames();
  gPlatform->dialogs.WriteMany(
      dialog, {{kControlSetupPort, port::Text{reach_.port}},
               {kControlSetupSecurity, port::Choices{{names.begin(), names.end()}}},
               {kControlSetupSecurity, port::Choice{static_cast<int>(reach_.security)}},
               {kControlSetupNote, port::Text{note_}},
               {kControlSetupNote, port::Visible{!note_.empty()}}});
}

void SetupReach::Read(port::WindowHandle dialog) {
  reach_.port = Trimmed(gPlatform->dialogs.Read(dialog, kControlSetupPort).text);
  const int choice = gPlatform->dialogs.Read(dialog, kControlSetupSecurity).choice;
  if (choice >= 0) reach_.security = static_cast<ServerSecurity>(choice);
}

void SetupReach::Handle(port::WindowHandle dialog, const port::Message& message) const {
  if (!IsPress(message, kControlSetupSecurity)) return;
  LetPortFollow(dialog, kControlSetupSecurity, kControlSetupPort);
}

std::optional<Refusal> SetupReach::RefusalOfPort() const {
  const std::optional<std::uint32_t> port = NumberIn(reach_.port, kHighestPort);
  if (port && *port != 0) return std::nullopt;
  return RefusedNumber(kControlSetupPort, u"port", kHighestPort);
}

bool SetupReach::FindOut(const Prefs& prefs, port::WindowHandle dialog,
                         const std::u16string& server) {
  if (reach_ != offered_) return false;  // by hand
  if (offered_for_ != server) Offer(dialog, server, ReachOf(prefs, server), {});
  if (reach_ != Reach() || probed_ == server) return false;
  probed_ = server;
  const WaitCursor wait;
  if (!AnswersOnPort(server, kTlsPort, kLongestProbe)) return false;
  Offer(dialog, server, {FormatWide(u"%lu", kTlsPort), ServerSecurity::kTls},
        u"The server answers on port 563: TLS is filled in.");
  return true;
}

void SetupReach::Take(Prefs& prefs, std::size_t server) const {
  prefs.port[server] = NumberIn(reach_.port, kHighestPort).value_or(kPlainPort);
}

// Before the servers themselves are stored: whatever ends the program in between, none that is to
// be secured stands there without.
void SetupReach::StoreSecurity(const Prefs& prefs) const {
  std::vector<SecuredServer> securities;
  for (std::size_t at = 0; at < prefs.servers.size(); ++at) {
    const std::u16string& name = prefs.servers[at];
    const auto stored = ReadServerSecurity(name).value_or(ServerSecurity::kTls);
    securities.push_back({name, at == prefs.selectedserver ? reach_.security : stored});
  }
  if (WriteServerSecurities(securities)) return;
  ShowMessage(u"The security of the news servers could not be saved.");
}

void SetupReach::Offer(port::WindowHandle dialog, const std::u16string& server, Reach reach,
                       std::u16string_view note) {
  reach_ = offered_ = std::move(reach);
  offered_for_ = server;
  note_ = note;
  Show(dialog);
}

}  // namespace quillet
