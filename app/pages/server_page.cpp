// SPDX-License-Identifier: GPL-3.0-or-later
// The list of servers, and the values of the one that is shown. What was typed for a server is
// stored into the copy before another one is shown; the one shown is the selected one. How servers
// are secured is no part of the record and runs along with its list.
#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include "app/pages/fields.h"
#include "app/pages/page.h"
#include "app/pages/server_names.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/subscriptions.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/blanks.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlOneServer, CheckBox{&Prefs::allserversareone}},
});

// What needs a server.
constexpr std::array kOfServer = {kControlServers,        kControlDeleteServer,  kControlServerPort,
                                  kControlServerSecurity, kControlExtraLogin,    kControlServerUser,
                                  kControlServerPassword, kControlEncryptedLogin};

// --- The values of one server --------------------------------------------------------------------

bool IsThere(const PrefsSheet& sheet) {
  return sheet.shown_server < sheet.copy->numservers;
}

int ChoiceOf(const PrefsSheet& sheet, std::size_t server) {
  return static_cast<int>(sheet.securities[server]);
}

void ShowServer(PrefsSheet& sheet, port::WindowHandle page) {
  const Prefs& prefs = *sheet.copy;
  sheet.shown_server = prefs.selectedserver;
  const std::size_t at = sheet.shown_server;
  const bool there = IsThere(sheet);
  const std::u16string none;
  std::vector<port::ControlWrite> writes;
  writes.reserve(3 * kOfServer.size());
  for (const std::uint32_t control : kOfServer) writes.push_back({control, port::Enabled{there}});
  writes.push_back({kControlServers, port::Choice{there ? static_cast<int>(at) : -1}});
  writes.push_back(
      {kControlServerPort, port::Text{there ? FormatWide(u"%lu", prefs.port[at]) : none}});
  const auto names = ServerSecurityNames();
  writes.push_back({kControlServerSecurity,
                    port::Choices{{names.begin(), there ? names.end() : names.begin()}}});
  writes.push_back({kControlServerSecurity, port::Choice{there ? ChoiceOf(sheet, at) : -1}});
  writes.push_back({kControlExtraLogin, port::Checked{there && prefs.useauths[at] != 0}});
  writes.push_back({kControlServerUser, port::Text{there ? prefs.authusers[at] : none}});
  writes.push_back({kControlServerPassword, port::Text{there ? prefs.authpasses[at] : none}});
  writes.push_back({kControlEncryptedLogin, port::Checked{there && prefs.usentlms[at] != 0}});
  gPlatform->dialogs.WriteMany(page, std::move(writes));
}

std::optional<Refusal> StoreText(PrefsSheet& sheet, std::u16string& stored, std::uint32_t control,
                                 const port::ControlState& state) {
  if (!state.text_state.changed) return std::nullopt;
  const std::u16string text = StorableText(state.text, false);
  std::optional<Refusal> refusal = RefusalOfLength(control, text);
  if (!refusal) SetIn(sheet, stored, text);
  return refusal;
}

void StoreFlag(PrefsSheet& sheet, std::uint32_t& stored, bool checked) {
  if (checked != (stored != 0)) SetIn(sheet, stored, checked ? 1U : 0U);
}

// The refused port stays what it was.
std::optional<Refusal> StorePort(PrefsSheet& sheet, const port::ControlState& state) {
  const std::optional<std::uint32_t> number = NumberIn(state.text, kHighestPort);
  if (!number || *number == 0) return RefusedNumber(kControlServerPort, u"port", kHighestPort);
  SetIn(sheet, sheet.copy->port[sheet.shown_server], *number);
  return std::nullopt;
}

void StoreSecurity(PrefsSheet& sheet, const port::ControlState& state) {
  if (state.choice < 0) return;
  SetIn(sheet, sheet.securities[sheet.shown_server], static_cast<ServerSecurity>(state.choice));
}

std::optional<Refusal> StoreServer(PrefsSheet& sheet, port::WindowHandle page) {
  const auto states = gPlatform->dialogs.ReadAll(page);
  if (!IsThere(sheet) || states.empty()) return std::nullopt;
  Prefs& prefs = *sheet.copy;
  const std::size_t at = sheet.shown_server;
  StoreSecurity(sheet, states.at(kControlServerSecurity));
  StoreFlag(sheet, prefs.useauths[at], states.at(kControlExtraLogin).checked);
  StoreFlag(sheet, prefs.usentlms[at], states.at(kControlEncryptedLogin).checked);
  const auto port = StorePort(sheet, states.at(kControlServerPort));
  const auto user =
      StoreText(sheet, prefs.authusers[at], kControlServerUser, states.at(kControlServerUser));
  const auto password = StoreText(sheet, prefs.authpasses[at], kControlServerPassword,
                                  states.at(kControlServerPassword));
  return port ? port : user ? user : password;
}

// --- The list ------------------------------------------------------------------------------------

void ShowServers(PrefsSheet& sheet, port::WindowHandle page, bool /*first*/) {
  gPlatform->dialogs.Write(page, kControlServers, port::Choices{sheet.copy->servers});
  ShowServer(sheet, page);
}

void Select(PrefsSheet& sheet, port::WindowHandle page, std::size_t server) {
  SetIn(sheet, sheet.copy->selectedserver, static_cast<std::uint32_t>(server));
  ShowServer(sheet, page);
}

// What is refused keeps its server in front.
bool StoreShown(PrefsSheet& sheet, port::WindowHandle page) {
  const std::optional<Refusal> refusal = StoreServer(sheet, page);
  if (!refusal) return true;
  gPlatform->dialogs.Write(page, kControlServers,
                           port::Choice{static_cast<int>(sheet.shown_server)});
  TellRefusal(page, *refusal);
  return false;
}

void ChooseServer(PrefsSheet& sheet, port::WindowHandle page) {
  const int choice = gPlatform->dialogs.Read(page, kControlServers).choice;
  if (choice < 0 || std::cmp_equal(choice, sheet.shown_server)) return;
  if (StoreShown(sheet, page)) Select(sheet, page, static_cast<std::size_t>(choice));
}

// Nothing when the user gave up.
std::optional<std::u16string> AskForName(const Prefs& prefs) {
  std::u16string name;
  const auto procedure = [&](port::WindowHandle dialog,
                             const port::Message& message) -> std::optional<int> {
    const std::optional<int> result = EndOnOkOrCancel(dialog, message);
    if (result != port::kIdOk) return result;
    name = Trimmed(gPlatform->dialogs.Read(dialog, kControlServerName).text);
    std::u16string refusal = RefusalOfServerName(name);
    if (refusal.empty() && FindServer(prefs, name)) {
      refusal = FormatWide(u"The news server \"%ls\" is in the list already.", name);
    }
    if (refusal.empty()) return result;
    TellRefusal(dialog, {refusal, kControlServerName});
    return std::nullopt;
  };
  if (RunModalDialog(kDialogAddServer, nullptr, procedure) != port::kIdOk) return std::nullopt;
  return name;
}

void AddToServers(PrefsSheet& sheet, port::WindowHandle page) {
  if (!StoreShown(sheet, page)) return;
  std::optional<std::u16string> name = AskForName(*sheet.copy);
  if (!name) return;
  AddServer(*sheet.copy, {.name = std::move(*name)});
  sheet.securities.push_back(ServerSecurity::kNone);
  sheet.copy->selectedserver = sheet.copy->numservers - 1;
  sheet.changed = true;
  ShowServers(sheet, page, false);
}

bool HoldsProgress(Prefs& prefs, std::size_t server) {
  for (std::size_t group = 0; group < prefs.numgroups; ++group) {
    const auto progress = Progress(prefs, ServerAt(server), GroupAt(group));
    if (progress && (progress->downloaded != 0 || progress->on_server != 0)) return true;
  }
  return false;
}

void DeleteShown(PrefsSheet& sheet, port::WindowHandle page) {
  if (!IsThere(sheet)) return;
  Prefs& prefs = *sheet.copy;
  const std::size_t at = sheet.shown_server;
  if (HoldsProgress(prefs, at) &&
      !ConfirmAction(FormatWide(u"Really delete the news server \"%ls\"? Quillet CE forgets how "
                                u"far it has downloaded the groups from it.",
                                prefs.servers[at]),
                     true)) {
    return;
  }
  // One that is added under this name again is another server.
  sheet.chosen_anew.insert(prefs.servers[at]);
  RemoveServer(prefs, ServerAt(at));
  sheet.securities.erase(sheet.securities.begin() + static_cast<std::ptrdiff_t>(at));
  sheet.changed = true;
  ShowServers(sheet, page, false);
}

// A choice that was changed back counts as well: it is how the user says that another certificate
// of that server is to be asked about.
void ChooseSecurity(PrefsSheet& sheet, port::WindowHandle page) {
  if (!IsThere(sheet)) return;
  sheet.changed |= sheet.chosen_anew.insert(sheet.copy->servers[sheet.shown_server]).second;
  LetPortFollow(page, kControlServerSecurity, kControlServerPort);
}

void HandleServer(PrefsSheet& sheet, port::WindowHandle page, const port::Message& message) {
  if (IsPress(message, kControlServers)) ChooseServer(sheet, page);
  if (IsPress(message, kControlAddServer)) AddToServers(sheet, page);
  if (IsPress(message, kControlDeleteServer)) DeleteShown(sheet, page);
  if (IsPress(message, kControlServerSecurity)) ChooseSecurity(sheet, page);
}

}  // namespace

PrefsPage ServerPage() {
  return {.form = kDialogServerPage,
          .caption = u"Server",
          .fields = kFields,
          .show = ShowServers,
          .store = StoreServer,
          .handle = HandleServer};
}

}  // namespace quillet
