// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/stored_passwords.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <tuple>
#include <utility>

#include "base/empty_entry.h"
#include "base/extensions.h"
#include "base/prefs_registry.h"
#include "base/registry_values.h"
#include "base/reset.h"
#include "port/platform.h"
#include "port/secrets.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

using port::SecretsResult;

// Server, user, and which of several entries with these.
using EntryKey = std::tuple<std::u16string, std::u16string, std::u16string>;
using Entries = std::map<EntryKey, std::u16string>;

constexpr const char* kSetName = "set";
constexpr const char* kServerName = "server";
constexpr const char* kUserName = "user";
constexpr const char* kEntryName = "entry";

// A set that the store keeps.
struct PasswordSet {
  std::uint32_t number = 0;
  Entries entries;
};

struct State {
  PasswordSet kept;                      // the one that the registry names
  bool known = true;                     // what it holds; false: the store has not said
  bool given_up = false;                 // the store is not asked any more
  std::u16string trouble;                // not told yet
  std::set<std::u16string> left_over;    // sets before it that a killed process has left
  std::optional<PasswordSet> under_way;  // what `kept` is once the registry names it
  bool coming_back = false;              // everything is in the registry once that is written
};

State gState;

const ResetAtEnd kReset([] { gState = {}; });

bool WantsStore() {
  return ReadExtensions().passwordstore != 0;
}

std::u16string NumberText(std::uint32_t number) {
  return FormatWide(u"%lu", number);
}

bool Worked(SecretsResult result) {
  return result == SecretsResult::kDone || result == SecretsResult::kNothing;
}

std::u16string GiveUp(SecretsResult result) {
  gState.given_up = true;
  return FormatWide(
      u"The desktop's password store %ls. Until Quillet CE is started again, passwords that are "
      u"kept "
      u"there cannot be used, and others are kept in the preferences.",
      result == SecretsResult::kRefused ? u"stays locked" : u"does not answer");
}

// The store keeps text only.
bool CanBeStored(std::u16string_view text) {
  return FromUtf8(ToUtf8(text)) == text;
}

// As the registry will give it back, where a text that begins like that is an empty one.
std::u16string EntryOf(const std::vector<std::u16string>& list, std::size_t server) {
  if (server >= list.size() || list[server].starts_with(kEmptyEntryMark)) return {};
  return std::u16string(UntilNul(list[server]));
}

// The keys of the servers, in their order.
std::vector<EntryKey> KeysOf(const Prefs& prefs) {
  std::map<std::pair<std::u16string, std::u16string>, std::uint32_t> seen;
  std::vector<EntryKey> keys;
  for (std::size_t i = 0; i < prefs.authpasses.size(); ++i) {
    std::u16string server = EntryOf(prefs.servers, i);
    std::u16string user = EntryOf(prefs.authusers, i);
    const std::uint32_t entry = seen[{server, user}]++;
    keys.emplace_back(std::move(server), std::move(user), NumberText(entry));
  }
  return keys;
}

bool CanBeStored(const EntryKey& key, std::u16string_view password) {
  return CanBeStored(std::get<0>(key)) && CanBeStored(std::get<1>(key)) && CanBeStored(password);
}

// What the store is to keep. Whatever it takes is emptied in `authpasses`.
Entries TakeEntries(const Prefs& prefs, std::vector<std::u16string>& authpasses) {
  const std::vector<EntryKey> keys = KeysOf(prefs);
  Entries entries;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    std::u16string password(UntilNul(authpasses[i]));
    if (password.empty() || !CanBeStored(keys[i], password)) continue;
    entries[keys[i]] = std::move(password);
    authpasses[i].clear();
  }
  return entries;
}

bool HasPassword(const Prefs& prefs) {
  return std::ranges::any_of(prefs.authpasses, [](const auto& text) { return !text.empty(); });
}

// Whether a server wants a login that nobody knows the password of.
bool LacksPassword(const Prefs& prefs) {
  for (std::size_t i = 0; i < prefs.authpasses.size(); ++i) {
    if (prefs.authpasses[i].empty() && i < prefs.useauths.size() && prefs.useauths[i] != 0) {
      return true;
    }
  }
  return false;
}

SecretsResult StoreSet(const PasswordSet& set) {
  const std::u16string number = NumberText(set.number);
  port::Secrets& secrets = gPlatform->secrets;
  // What a killed process may have left there would be taken for a part of it.
  const SecretsResult cleared = secrets.Clear({{kSetName, number}});
  if (!Worked(cleared)) return cleared;
  for (const auto& [key, password] : set.entries) {
    const auto& [server, user, entry] = key;
    const SecretsResult stored = secrets.Store(
        FormatWide(u"Quillet CE: %ls at %ls", user, server),
        {{{kSetName, number}, {kServerName, server}, {kUserName, user}, {kEntryName, entry}},
         password});
    if (stored != SecretsResult::kDone) return stored;
  }
  return SecretsResult::kDone;
}

std::uint32_t NumberOf(const port::Secret& secret) {
  const auto text = secret.attributes.find(kSetName);
  std::uint32_t number = 0;
  if (text == secret.attributes.end()) return number;
  for (const char16_t digit : text->second) {
    if (digit < u'0' || digit > u'9') return 0;
    number = number * 10 + static_cast<std::uint32_t>(digit - u'0');
  }
  return number;
}

// The set that counts. A registry that was brought back from a copy names one that has gone.
std::uint32_t SetAmong(const std::vector<port::Secret>& secrets, std::uint32_t named) {
  std::uint32_t last = 0;
  for (const port::Secret& secret : secrets) {
    if (NumberOf(secret) == named) return named;
    last = std::max(last, NumberOf(secret));
  }
  return named == 0 || last == 0 ? named : last;
}

// Sorts what the store keeps of this profile.
void TakeSecrets(std::vector<port::Secret> secrets) {
  gState.kept.number = SetAmong(secrets, gState.kept.number);
  const std::u16string number = NumberText(gState.kept.number);
  for (port::Secret& secret : secrets) {
    port::SecretAttributes& attributes = secret.attributes;
    if (attributes[kSetName] != number) {
      gState.left_over.insert(attributes[kSetName]);
    } else {
      gState.kept
          .entries[{attributes[kServerName], attributes[kUserName], attributes[kEntryName]}] =
          std::move(secret.text);
    }
  }
}

RegistryPasswords BackIntoRegistry(const Prefs& prefs) {
  // What the store has not said stays there, and the set with it.
  gState.coming_back = gState.kept.number != 0 && gState.known && !gState.given_up;
  return {prefs.authpasses, std::nullopt, {}};
}

RegistryPasswords IntoStore(const Prefs& prefs) {
  RegistryPasswords kept{prefs.authpasses, std::nullopt, {}};
  if (gState.given_up) return kept;
  PasswordSet wanted;
  wanted.entries = TakeEntries(prefs, kept.authpasses);
  if (wanted.entries == gState.kept.entries) return kept;
  if (!wanted.entries.empty()) {
    wanted.number = gState.kept.number + 1;
    if (wanted.number == 0) ++wanted.number;
    if (const SecretsResult result = StoreSet(wanted); result != SecretsResult::kDone) {
      return {prefs.authpasses, std::nullopt, GiveUp(result)};
    }
  }
  kept.set = wanted.number;
  gState.under_way = std::move(wanted);
  return kept;
}

// Only when the store is empty does the registry stop naming the set: a process that is killed
// before is followed by one that goes on with it.
void EmptyStore() {
  if (!Worked(gPlatform->secrets.Clear({}))) {
    gState.given_up = true;
    return;
  }
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kRegistryPath);
  if (key && WriteDword(*key, kPasswordSetValue, 0)) gState.kept = {};
}

}  // namespace

void FetchPasswords(std::uint32_t set, Prefs& prefs) {
  const bool given_up = gState.given_up;
  gState = {};
  gState.given_up = given_up;
  if (set == 0 && !(HasPassword(prefs) && WantsStore())) return;
  gState.kept.number = set;
  gState.known = false;
  if (given_up) return;
  std::vector<port::Secret> secrets;
  const SecretsResult result = gPlatform->secrets.Lookup({}, secrets);
  gState.known = Worked(result);
  if (!gState.known) {
    std::u16string trouble = GiveUp(result);
    if (WantsStore() || LacksPassword(prefs)) gState.trouble = std::move(trouble);
    return;
  }
  TakeSecrets(std::move(secrets));
  const std::vector<EntryKey> keys = KeysOf(prefs);
  for (std::size_t i = 0; i < keys.size(); ++i) {
    const auto found = gState.kept.entries.find(keys[i]);
    // One that stands in the registry all the same was typed while the store did not answer.
    if (prefs.authpasses[i].empty() && found != gState.kept.entries.end()) {
      prefs.authpasses[i] = found->second;
    }
  }
}

std::u16string TakePasswordTrouble() {
  return std::exchange(gState.trouble, {});
}

RegistryPasswords PutPasswords(const Prefs& prefs) {
  gState.under_way.reset();
  gState.coming_back = false;
  if (gState.kept.number == 0 && !HasPassword(prefs)) return {prefs.authpasses, std::nullopt, {}};
  return WantsStore() ? IntoStore(prefs) : BackIntoRegistry(prefs);
}

void FinishPasswords(bool written) {
  port::Secrets& secrets = gPlatform->secrets;
  const std::optional<PasswordSet> stored = std::exchange(gState.under_way, std::nullopt);
  const bool coming_back = std::exchange(gState.coming_back, false);
  if (!written) {
    if (stored) secrets.Clear({{kSetName, NumberText(stored->number)}});
    return;
  }
  if (coming_back) return EmptyStore();
  if (stored) {
    if (gState.kept.number != 0) gState.left_over.insert(NumberText(gState.kept.number));
    gState.kept = *stored;
    gState.left_over.erase(NumberText(stored->number));
  }
  for (const std::u16string& set : std::exchange(gState.left_over, {})) {
    secrets.Clear({{kSetName, set}});
  }
}

}  // namespace quillet
