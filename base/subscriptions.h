// SPDX-License-Identifier: GPL-3.0-or-later
// The servers, groups and recipients of the preferences. Each is a set of lists that run in
// parallel, and the numbers of every server for every group run along with both: all that makes
// them longer or shorter is here. A change that ends in std::bad_alloc has changed nothing. Nothing
// is written to the registry. Program thread only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/prefs.h"

namespace quillet {

// A place in the list of groups or servers; it moves when an entry before it is removed.
enum class GroupIndex : std::uint32_t {};
enum class ServerIndex : std::uint32_t {};

constexpr std::size_t IndexOf(GroupIndex group) {
  return static_cast<std::size_t>(group);
}
// Of no group a place beyond every list.
constexpr std::size_t IndexOf(std::optional<GroupIndex> group) {
  return group ? IndexOf(*group) : std::numeric_limits<std::size_t>::max();
}
constexpr std::size_t IndexOf(ServerIndex server) {
  return static_cast<std::size_t>(server);
}
constexpr GroupIndex GroupAt(std::size_t position) {
  return static_cast<GroupIndex>(position);
}
constexpr ServerIndex ServerAt(std::size_t position) {
  return static_cast<ServerIndex>(position);
}

// --- Servers -------------------------------------------------------------------------------------

struct NewsServer {
  std::u16string name;
  std::uint32_t port = 119;
  bool extra_login = false;
  bool encrypted = false;  // the login
  std::u16string user = {};
  std::u16string password = {};
};

// Appends the server; nothing was fetched from it yet.
void AddServer(Prefs& prefs, NewsServer server);
// Removes the server with its numbers. The selected one stays selected; when it is the one that
// goes, the next is, and behind the last one the one before. A place beyond the list changes
// nothing.
void RemoveServer(Prefs& prefs, ServerIndex server);
// `selectedserver` is left as it is.
void RemoveAllServers(Prefs& prefs) noexcept;

// One entry a server.
struct ServerLogins {
  std::vector<std::u16string> authusers;
  std::vector<std::u16string> authpasses;
  std::vector<std::uint32_t> useauths;
  std::vector<std::uint32_t> usentlms;
};
// Replaces all logins; servers for which there are none get empty ones.
void SetLogins(Prefs& prefs, ServerLogins logins);

// --- Groups --------------------------------------------------------------------------------------

// Appends the group, checked.
void AddGroup(Prefs& prefs, std::u16string_view name);
// Removes the group with its numbers of every server. A place beyond the list changes nothing.
void RemoveGroup(Prefs& prefs, GroupIndex group);

// How far a group was fetched from a server, in that server's article numbers. Valid until a group
// or server is added or removed.
struct GroupProgress {
  std::uint32_t& downloaded;  // the last article reached
  std::uint32_t& on_server;   // the last one that the server had
};
// Nothing when there is no such server or group.
std::optional<GroupProgress> Progress(Prefs& prefs, ServerIndex server, GroupIndex group);
// The server whose numbers count: the selected one, or the first for all when they are treated as
// one. There may be none of that number.
ServerIndex CountingServer(const Prefs& prefs);

// The check marks: which groups are fetched and which the commands on checked groups concern. Any
// stored value but 0 is a mark.
bool IsChecked(const Prefs& prefs, GroupIndex group);
std::vector<GroupIndex> CheckedGroups(const Prefs& prefs);
// A place beyond the list changes nothing.
void SetChecked(Prefs& prefs, GroupIndex group, bool checked);
void SetAllChecked(Prefs& prefs, bool checked);

// --- Recipients ----------------------------------------------------------------------------------

// So many are remembered, the one used last at the end.
inline constexpr std::size_t kMostRecipients = 5;

// Moves the recipients to the end of the list; new ones (upper and lower case differ) are appended
// as name and address, and the oldest go.
void RememberRecipient(Prefs& prefs, std::u16string_view recipients);

}  // namespace quillet
