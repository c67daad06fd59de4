// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pages/server_names.h"

#include <algorithm>

#include "base/empty_entry.h"
#include "base/messages.h"
#include "util/blanks.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestName = 253;  // of a host
// A name that begins with the mark would be stored as an empty one.
bool IsNoCharacterOfName(char16_t unit) {
  return IsBlank(unit) || IsControl(unit) || unit == kEmptyEntryMark;
}

}  // namespace

std::u16string RefusalOfServerName(std::u16string_view name) {
  if (name.empty()) return u"Please enter the name of the news server.";
  if (std::ranges::any_of(name, IsNoCharacterOfName)) {
    return u"The name of a news server cannot have blanks or control characters in it.";
  }
  if (name.size() > kLongestName) {
    return u"The name of a news server cannot be longer than 253 characters.";
  }
  return RefusalOf(name);
}

std::optional<std::size_t> FindServer(const Prefs& prefs, std::u16string_view name) {
  const auto found = std::ranges::find_if(
      prefs.servers, [&](const std::u16string& server) { return EqualsNoCase(server, name); });
  if (found == prefs.servers.end()) return std::nullopt;
  return static_cast<std::size_t>(found - prefs.servers.begin());
}

}  // namespace quillet
