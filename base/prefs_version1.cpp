// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/prefs_version1.h"

#include <array>
#include <memory>
#include <string_view>

#include "base/multi_string.h"
#include "base/prefs_damage.h"
#include "base/prefs_registry.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr std::array<std::u16string_view, 9> kRemovedNames = {
    u"authuser",  u"authpass", u"useauth",  u"emailsize", u"namessize",
    u"groupsize", u"usersize", u"passsize", u"serversize"};

bool HasNewLogins(port::RegistryKey& key) {
  for (const std::u16string_view name : {u"authusers", u"authpasses", u"useauths", u"usentlms"}) {
    if (key.Get(name)) return true;
  }
  return false;
}

ConvertedLogins OldLogins(ValueReader& reader) {
  std::uint32_t servers = 0;
  std::uint32_t useauth = 0;
  std::uint32_t usentlm = 0;
  reader.Dword(u"numservers", servers, 0);
  reader.Dword(u"useauth", useauth, 0);
  reader.Dword(u"usentlm", usentlm, 0);
  const std::u16string user = reader.Text(u"authuser", u"");
  const std::u16string pass = reader.Text(u"authpass", u"");
  const std::uint32_t count = CountThatCanBe(reader.key(), u"servers", servers);
  ConvertedLogins converted;
  converted.logins.authusers.assign(count, user);
  converted.logins.authpasses.assign(count, pass);
  converted.logins.useauths.assign(count, useauth);
  converted.logins.usentlms.assign(count, usentlm);
  converted.worth_telling = !user.empty() || !pass.empty() || useauth != 0;
  return converted;
}

// Through a key of its own, so that a failed write is undone before anything more is read.
bool StoreLogins(const ServerLogins& logins) {
  const std::string users = CreateMultiString(logins.authusers);
  const std::string passes = CreateMultiString(logins.authpasses);
  if (users.empty() || passes.empty()) return false;
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kRegistryPath);
  return key && key->Begin() && key->Set(u"authusers", port::RegistryType::kMultiString, users) &&
         key->Set(u"authpasses", port::RegistryType::kMultiString, passes) &&
         WriteWords(*key, u"useauths", logins.useauths) &&
         WriteWords(*key, u"usentlms", logins.usentlms) &&
         WriteDword(*key, u"version", kPrefsVersion) && key->Commit();
}

}  // namespace

ConvertedLogins ConvertVersion1(ValueReader& reader) {
  ConvertedLogins converted = OldLogins(reader);
  // Logins of the new kind under the old version number would be written over.
  if (HasNewLogins(reader.key())) SetSettingsAtRisk(true);
  if (!KeepSettingsAtRisk(reader.key())) return converted;
  // Meant: the call removes keys, of which there is none of these names, so the old values stay.
  // This version never reads them again, but an older one on the same registry still finds its
  // login.
  for (const std::u16string_view name : kRemovedNames) reader.key().DeleteSubkey(name);
  converted.stored = StoreLogins(converted.logins);
  return converted;
}

}  // namespace quillet
