// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/multi_string.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "base/empty_entry.h"
#include "base/guarded.h"
#include "base/registry_values.h"
#include "util/text.h"

namespace quillet {
namespace {

// Stands for an empty string.

void AppendEntry(std::u16string& units, std::u16string_view text) {
  const std::u16string_view entry = UntilNul(text);
  if (entry.empty()) {
    units.push_back(kEmptyEntryMark);
  } else {
    units.append(entry);
  }
  units.push_back(u'\0');
}

std::u16string_view Wide(const std::u16string& text) {
  return text;
}
std::u16string Wide(const std::string& text) {
  return Widen(text);
}

template <class String>
std::string BuildMultiString(std::span<const String> strings) {
  return GuardedCritically(u"CreateMultiString", [&] {
    std::u16string units;
    for (const String& text : strings) AppendEntry(units, Wide(text));
    if (strings.empty()) units.push_back(u'\0');
    units.push_back(u'\0');
    return Utf16Bytes(units);
  });
}

// The strings with a NUL after each but the last.
std::u16string EntriesOf(std::string_view data) {
  std::u16string units = Utf16Text(data);
  units.resize(units.find_last_not_of(u'\0') + 1);
  return units;
}

std::size_t CountEntries(std::u16string_view units) {
  if (units.empty()) return 0;
  return static_cast<std::size_t>(std::count(units.begin(), units.end(), u'\0')) + 1;
}

std::u16string_view TakeEntry(std::u16string_view& rest) {
  const std::u16string_view entry = UntilNul(rest);
  rest.remove_prefix(std::min(rest.size(), entry.size() + 1));
  return entry.starts_with(kEmptyEntryMark) ? std::u16string_view() : entry;
}

std::string ListData(port::RegistryKey& key, std::u16string_view name) {
  std::optional<port::RegistryValue> value = key.Get(name);
  if (!value || value->type != port::RegistryType::kMultiString) return {};
  return std::move(value->data);
}

}  // namespace

std::string CreateMultiString(std::span<const std::u16string> strings) {
  return BuildMultiString(strings);
}

std::string CreateMultiString(std::span<const std::string> strings) {
  return BuildMultiString(strings);
}

std::vector<std::u16string> ParseMultiString(std::string_view data, std::uint32_t count) {
  const std::u16string units = EntriesOf(data);
  if (count > kMostMadeUpStrings && count > CountEntries(units)) throw std::bad_alloc();
  std::vector<std::u16string> strings(count);
  std::u16string_view rest = units;
  for (std::u16string& text : strings) {
    if (rest.empty()) break;
    text = TakeEntry(rest);
  }
  return strings;
}

std::size_t CountMultiStrings(std::string_view data) {
  return CountEntries(EntriesOf(data));
}

std::size_t CountStoredStrings(port::RegistryKey& key, std::u16string_view name) {
  return CountMultiStrings(ListData(key, name));
}

std::vector<std::u16string> ReadMultiString(port::RegistryKey& key, std::u16string_view name,
                                            std::uint32_t count) {
  return GuardedCritically(u"ReadMultiString",
                           [&] { return ParseMultiString(ListData(key, name), count); });
}

std::vector<std::string> ReadNarrowMultiString(port::RegistryKey& key, std::u16string_view name,
                                               std::uint32_t count) {
  return GuardedCritically(u"ReadMultiString", [&] {
    const std::string data = ListData(key, name);
    const std::size_t there = std::min<std::size_t>(count, CountMultiStrings(data));
    std::vector<std::string> strings;
    strings.reserve(there);
    for (const std::u16string& text : ParseMultiString(data, static_cast<std::uint32_t>(there))) {
      strings.push_back(Narrow(text));
    }
    return strings;
  });
}

}  // namespace quillet
