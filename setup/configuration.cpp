// SPDX-License-Identifier: GPL-3.0-or-later
#include "setup/configuration.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>
#include <variant>

#include "app/pages/server_names.h"
#include "base/extensions.h"
#include "base/subscriptions.h"
#include "groups/newsgroups.h"
#include "killfile/killfile.h"
#include "util/blanks.h"
#include "util/text.h"

namespace quillet::setup {
namespace {

// They size lists or point into them: what goes with them is not set by itself.
constexpr std::array<std::u16string_view, 5> kCounts = {u"numgroups", u"numservers", u"numrecips",
                                                        u"killfilecount", u"selectedserver"};

std::u16string TrimmedText(const std::string& text) {
  const std::u16string wide = FromUtf8(text);
  return std::u16string(Trimmed(wide));
}

NewsServer ServerOf(const Options& options, const std::u16string& password) {
  NewsServer server;
  server.name = TrimmedText(*options.server);
  server.port = options.Port();
  server.extra_login = options.user.has_value();
  server.user = options.user ? TrimmedText(*options.user) : std::u16string();
  server.password = password;
  return server;
}

// --- Taking the place of what is there -----------------------------------------------------------

void RemoveOtherGroups(Prefs& prefs, const Options& options) {
  for (std::size_t i = prefs.numgroups; i-- > 0;) {
    const bool stays = std::ranges::any_of(options.groups, [&](const std::string& name) {
      return TrimmedText(name) == prefs.groups[i];
    });
    if (stays) continue;
    RemoveGroup(prefs, GroupAt(i));
    RemoveGroupFromKillfile(prefs, GroupAt(i));
  }
}

void RemoveOtherServers(Prefs& prefs, std::u16string_view name) {
  for (std::size_t i = prefs.numservers; i-- > 0;) {
    if (!EqualsNoCase(prefs.servers[i], name)) RemoveServer(prefs, ServerAt(i));
  }
  // Two of one name are left when another program wrote them; the first counts.
  while (prefs.numservers > 1) RemoveServer(prefs, ServerAt(1));
}

// A server that stays keeps how far its groups were fetched.
void KeepOrAddServer(Prefs& prefs, NewsServer server) {
  if (prefs.numservers == 0) return AddServer(prefs, std::move(server));
  prefs.port[0] = server.port;
  prefs.useauths[0] = server.extra_login ? 1 : 0;
  prefs.usentlms[0] = 0;
  prefs.authusers[0] = std::move(server.user);
  prefs.authpasses[0] = std::move(server.password);
}

void Replace(Prefs& prefs, const Options& options, const std::u16string& password) {
  RemoveOtherServers(prefs, TrimmedText(*options.server));
  RemoveOtherGroups(prefs, options);
  KeepOrAddServer(prefs, ServerOf(options, password));
  prefs.selectedserver = 0;
  SetAllChecked(prefs, true);
}

// --- Adding --------------------------------------------------------------------------------------

std::string AddTheServer(Prefs& prefs, const Options& options, const std::u16string& password) {
  NewsServer server = ServerOf(options, password);
  if (FindServer(prefs, server.name)) {
    return "--server: the news server \"" + ToUtf8(server.name) + "\" is configured already";
  }
  AddServer(prefs, std::move(server));
  return {};
}

// The names are good: with --replace those that are refused are there already, and stay.
std::string AddTheGroups(Prefs& prefs, const Options& options) {
  for (const std::string& given : options.groups) {
    std::u16string name = FromUtf8(given);
    const std::u16string refusal = JudgeNewGroupName(name);
    if (refusal.empty()) {
      AddGroup(prefs, name);
    } else if (options.existing != Existing::kReplace) {
      return "--group: " + ToUtf8(refusal);
    }
  }
  return {};
}

}  // namespace

std::string Configure(const Options& options, const std::u16string& password) {
  Prefs& prefs = *gPrefs;
  if (options.existing == Existing::kRefuse && (prefs.numservers != 0 || prefs.numgroups != 0)) {
    return "there are servers or groups already; --add adds to them, --replace takes their place";
  }
  if (options.existing == Existing::kReplace) {
    Replace(prefs, options, password);
  } else if (options.server) {
    if (std::string problem = AddTheServer(prefs, options, password); !problem.empty()) {
      return problem;
    }
  }
  if (options.full_name) prefs.fullname = TrimmedText(*options.full_name);
  if (options.address) prefs.returnmailaddress = TrimmedText(*options.address);
  return AddTheGroups(prefs, options);
}

std::optional<NumberRange> RangeOfNumber(std::u16string_view name) {
  for (const PrefsField& field : PrefsFields()) {
    if (field.name != name || std::ranges::find(kCounts, name) != kCounts.end()) continue;
    if (const auto* number = std::get_if<NumberField>(&field.what)) return number->range;
    if (std::holds_alternative<AutoDeleteField>(field.what)) {
      return NumberRange{0, kAutoDeleteRead | kAutoDeleteBefore | kAutoDeleteOnQuit};
    }
  }
  for (const Extension& extension : AllExtensions()) {
    if (extension.name == name) return NumberRange{0, extension.highest};
  }
  return std::nullopt;
}

bool IsExtension(std::u16string_view name) {
  return std::ranges::any_of(AllExtensions(),
                             [&](const Extension& extension) { return extension.name == name; });
}

}  // namespace quillet::setup
