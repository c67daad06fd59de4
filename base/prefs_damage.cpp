// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/prefs_damage.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "base/multi_string.h"
#include "base/prefs_fields.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {
namespace {

// A list may lack as many strings as this behind its count.
constexpr std::uint32_t kMostMissingStrings = 65536;

// The per-server numbers of that many groups and servers together take 64 MiB a list.
constexpr std::uint64_t kMostPerServerNumbers = 16777216;

bool gSettingsAtRisk = false;

const ResetAtEnd kReset([] { gSettingsAtRisk = false; });

std::u16string FreeKeyPath() {
  for (std::uint32_t number = 1;; ++number) {
    std::u16string path = FormatWide(u"%ls damaged %lu", kRegistryPath, number);
    if (!gPlatform->registry.Open(path)) return path;
  }
}

bool CopyValues(port::RegistryKey& from, std::u16string_view path) {
  const std::vector<port::NamedRegistryValue> values = from.Values();
  if (values.empty()) return true;
  const std::unique_ptr<port::RegistryKey> to = gPlatform->registry.Create(path);
  if (!to || !to->Begin()) return false;
  for (const port::NamedRegistryValue& value : values) {
    if (!to->Set(value.name, value.value.type, value.value.data)) return false;
  }
  return to->Commit();
}

// Cuts one count and adds it to the list of impossible ones.
void CutCount(std::u16string_view name, std::uint32_t& count, std::size_t most,
              std::u16string& impossible) {
  if (!impossible.empty()) impossible += u", ";
  impossible += FormatWide(u"%ls is %lu", name, count);
  count = static_cast<std::uint32_t>(most);
}

std::uint64_t PerServerNumbers(const Prefs& prefs) {
  return LengthOf(prefs, ListLength::kServersTimesGroups);
}

}  // namespace

void SetSettingsAtRisk(bool at_risk) {
  gSettingsAtRisk = at_risk;
}

bool KeepSettingsAtRisk(port::RegistryKey& key) {
  if (!gSettingsAtRisk) return true;
  if (!CopyValues(key, FreeKeyPath())) return false;
  gSettingsAtRisk = false;
  return true;
}

std::uint32_t CountThatCanBe(port::RegistryKey& key, std::u16string_view list,
                             std::uint32_t stored) {
  if (stored <= kMostMissingStrings) return stored;
  return static_cast<std::uint32_t>(std::min<std::size_t>(stored, CountStoredStrings(key, list)));
}

std::u16string LimitCounts(port::RegistryKey& key, Prefs& prefs) {
  std::u16string impossible;
  const auto cut = [&](std::u16string_view name, std::uint32_t& count, std::size_t most) {
    if (count > most) CutCount(name, count, most, impossible);
  };
  cut(u"numgroups", prefs.numgroups, CountThatCanBe(key, u"groups", prefs.numgroups));
  cut(u"numservers", prefs.numservers, CountThatCanBe(key, u"servers", prefs.numservers));
  cut(u"numrecips", prefs.numrecips,
      std::max(CountThatCanBe(key, u"prevnames", prefs.numrecips),
               CountThatCanBe(key, u"prevemail", prefs.numrecips)));
  if (PerServerNumbers(prefs) > kMostPerServerNumbers) {
    cut(u"numgroups", prefs.numgroups, CountStoredStrings(key, u"groups"));
    cut(u"numservers", prefs.numservers, CountStoredStrings(key, u"servers"));
  }
  if (PerServerNumbers(prefs) > kMostPerServerNumbers) {
    cut(u"numservers", prefs.numservers, kMostPerServerNumbers / prefs.numgroups);
  }
  const std::size_t texts = CountStoredStrings(key, kKillfileTextsReadName);
  if (prefs.killfilecount > texts) prefs.killfilecount = static_cast<std::uint32_t>(texts);
  return impossible;
}

}  // namespace quillet
