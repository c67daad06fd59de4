// SPDX-License-Identifier: GPL-3.0-or-later
// Every change takes the memory it needs first and makes its changes after that. The numbers of
// servers and groups are stored as one block, server after server: a server is a row at its end, a
// group a column through all rows.
#include "base/subscriptions.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

template <class... Lists>
void Reserve(std::size_t size, Lists&... lists) {
  (lists.reserve(size), ...);
}

template <class... Lists>
void EraseAt(std::size_t position, Lists&... lists) {
  (lists.erase(lists.begin() + static_cast<std::ptrdiff_t>(position)), ...);
}

template <class... Lists>
void Resize(std::size_t size, Lists&... lists) {
  (lists.resize(size), ...);
}

std::size_t NumbersFor(std::size_t servers, std::size_t groups) {
  return servers * groups;
}

void EraseRow(std::vector<std::uint32_t>& numbers, std::size_t columns, std::size_t row) {
  const auto first = numbers.begin() + static_cast<std::ptrdiff_t>(row * columns);
  numbers.erase(first, first + static_cast<std::ptrdiff_t>(columns));
}

std::vector<std::uint32_t> WithoutColumn(const std::vector<std::uint32_t>& numbers,
                                         std::size_t columns, std::size_t column) {
  std::vector<std::uint32_t> kept;
  kept.reserve(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i % columns != column) kept.push_back(numbers[i]);
  }
  return kept;
}

template <class T>
std::vector<T> WithoutEntry(const std::vector<T>& list, std::size_t position) {
  std::vector<T> shorter;
  shorter.reserve(list.size() - 1);
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i != position) shorter.push_back(list[i]);
  }
  return shorter;
}

}  // namespace

// --- Servers -------------------------------------------------------------------------------------

void AddServer(Prefs& prefs, NewsServer server) {
  const std::size_t servers = prefs.numservers + std::size_t{1};
  const std::size_t numbers = NumbersFor(servers, prefs.numgroups);
  Reserve(servers, prefs.servers, prefs.authusers, prefs.authpasses, prefs.port, prefs.useauths,
          prefs.usentlms);
  Reserve(numbers, prefs.lastdownloaded, prefs.lastonserver);
  prefs.servers.push_back(std::move(server.name));
  prefs.authusers.push_back(std::move(server.user));
  prefs.authpasses.push_back(std::move(server.password));
  prefs.port.push_back(server.port);
  prefs.useauths.push_back(server.extra_login ? 1 : 0);
  prefs.usentlms.push_back(server.encrypted ? 1 : 0);
  Resize(numbers, prefs.lastdownloaded, prefs.lastonserver);
  ++prefs.numservers;
}

void RemoveServer(Prefs& prefs, ServerIndex server) {
  const std::size_t position = IndexOf(server);
  if (position >= prefs.numservers) return;
  EraseAt(position, prefs.servers, prefs.authusers, prefs.authpasses, prefs.port, prefs.useauths,
          prefs.usentlms);
  EraseRow(prefs.lastdownloaded, prefs.numgroups, position);
  EraseRow(prefs.lastonserver, prefs.numgroups, position);
  --prefs.numservers;
  if (prefs.selectedserver > position) --prefs.selectedserver;
  const std::uint32_t last = prefs.numservers == 0 ? 0 : prefs.numservers - 1;
  prefs.selectedserver = std::min(prefs.selectedserver, last);
}

void RemoveAllServers(Prefs& prefs) noexcept {
  prefs.numservers = 0;
  prefs.servers.clear();
  prefs.authusers.clear();
  prefs.authpasses.clear();
  prefs.port.clear();
  prefs.useauths.clear();
  prefs.usentlms.clear();
  prefs.lastdownloaded.clear();
  prefs.lastonserver.clear();
}

void SetLogins(Prefs& prefs, ServerLogins logins) {
  Resize(prefs.numservers, logins.authusers, logins.authpasses, logins.useauths, logins.usentlms);
  prefs.authusers = std::move(logins.authusers);
  prefs.authpasses = std::move(logins.authpasses);
  prefs.useauths = std::move(logins.useauths);
  prefs.usentlms = std::move(logins.usentlms);
}

// --- Groups --------------------------------------------------------------------------------------

void AddGroup(Prefs& prefs, std::u16string_view name) {
  const std::size_t groups = prefs.numgroups + std::size_t{1};
  const std::size_t numbers = NumbersFor(prefs.numservers, groups);
  std::u16string own_name(name);
  Reserve(groups, prefs.groups, prefs.checked);
  Reserve(numbers, prefs.lastdownloaded, prefs.lastonserver);
  prefs.groups.push_back(std::move(own_name));
  prefs.checked.push_back(1);
  // Meant: the old numbers stay one block, not spaced anew for the longer rows, so with several
  // servers those of the second and later ones move to other groups. Every version has let the
  // block grow so, and what is fetched next must not depend on the version that added a group.
  Resize(numbers, prefs.lastdownloaded, prefs.lastonserver);
  ++prefs.numgroups;
}

void RemoveGroup(Prefs& prefs, GroupIndex group) {
  const std::size_t position = IndexOf(group);
  if (position >= prefs.numgroups) return;
  std::vector<std::u16string> groups = WithoutEntry(prefs.groups, position);
  std::vector<std::uint32_t> checked = WithoutEntry(prefs.checked, position);
  std::vector<std::uint32_t> downloaded =
      WithoutColumn(prefs.lastdownloaded, prefs.numgroups, position);
  std::vector<std::uint32_t> on_server =
      WithoutColumn(prefs.lastonserver, prefs.numgroups, position);
  prefs.groups.swap(groups);
  prefs.checked.swap(checked);
  prefs.lastdownloaded.swap(downloaded);
  prefs.lastonserver.swap(on_server);
  --prefs.numgroups;
}

std::optional<GroupProgress> Progress(Prefs& prefs, ServerIndex server, GroupIndex group) {
  if (IndexOf(server) >= prefs.numservers || IndexOf(group) >= prefs.numgroups) return {};
  const std::size_t index = NumbersFor(IndexOf(server), prefs.numgroups) + IndexOf(group);
  if (index >= prefs.lastdownloaded.size() || index >= prefs.lastonserver.size()) return {};
  return GroupProgress{prefs.lastdownloaded[index], prefs.lastonserver[index]};
}

ServerIndex CountingServer(const Prefs& prefs) {
  return ServerAt(prefs.allserversareone != 0 ? 0 : prefs.selectedserver);
}

bool IsChecked(const Prefs& prefs, GroupIndex group) {
  return IndexOf(group) < prefs.checked.size() && prefs.checked[IndexOf(group)] != 0;
}

std::vector<GroupIndex> CheckedGroups(const Prefs& prefs) {
  std::vector<GroupIndex> groups;
  for (std::size_t i = 0; i < prefs.numgroups; ++i) {
    if (IsChecked(prefs, GroupAt(i))) groups.push_back(GroupAt(i));
  }
  return groups;
}

void SetChecked(Prefs& prefs, GroupIndex group, bool checked) {
  if (IndexOf(group) < prefs.checked.size()) prefs.checked[IndexOf(group)] = checked ? 1 : 0;
}

void SetAllChecked(Prefs& prefs, bool checked) {
  std::ranges::fill(prefs.checked, checked ? 1U : 0U);
}

// --- Recipients ----------------------------------------------------------------------------------

void RememberRecipient(Prefs& prefs, std::u16string_view recipients) {
  const auto known = std::ranges::find(prefs.prevemail, recipients);
  if (known != prefs.prevemail.end()) {
    const auto name = prefs.prevnames.begin() + (known - prefs.prevemail.begin());
    std::rotate(known, known + 1, prefs.prevemail.end());
    std::rotate(name, name + 1, prefs.prevnames.end());
    return;
  }
  std::u16string name(recipients);
  std::u16string address(recipients);
  Reserve(prefs.numrecips + std::size_t{1}, prefs.prevnames, prefs.prevemail);
  while (prefs.prevemail.size() >= kMostRecipients) EraseAt(0, prefs.prevnames, prefs.prevemail);
  prefs.prevnames.push_back(std::move(name));
  prefs.prevemail.push_back(std::move(address));
  prefs.numrecips = static_cast<std::uint32_t>(prefs.prevemail.size());
}

}  // namespace quillet
