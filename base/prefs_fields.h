// SPDX-License-Identifier: GPL-3.0-or-later
// The one table of the preferences: every value in the registry, its kind, where it lives in the
// record and what stands there when it is missing. Reading, writing and the factory settings all
// follow it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "base/prefs.h"

namespace quillet {

// How many entries a list has.
enum class ListLength { kGroups, kServers, kRecipients, kKillfile, kServersTimesGroups };
std::size_t LengthOf(const Prefs& prefs, ListLength length);

// Whether a list without entries is written (and then empties the stored one) or skipped.
enum class WhenEmpty { kWrite, kSkip };
// Whether the factory settings touch the field.
enum class OnReset { kDefault, kKeep };

// The numbers that can be, both ends included. Any other one that is stored counts as the fallback.
struct NumberRange {
  std::uint32_t least = 0;
  std::uint32_t most = 0xFFFFFFFF;
  constexpr bool Holds(std::uint32_t number) const { return number >= least && number <= most; }
};
// A DWORD.
struct NumberField {
  std::uint32_t Prefs::*member;
  std::uint32_t fallback;
  OnReset on_reset = OnReset::kDefault;
  NumberRange range = {};
};
// A BINARY value, four bytes an entry.
struct WordsField {
  std::vector<std::uint32_t> Prefs::*member;
  ListLength length;
  WhenEmpty when_empty = WhenEmpty::kSkip;
  std::uint32_t fallback = 0;
  bool exact_size_only = false;  // a value of another size counts as missing
  NumberRange range = {};        // of each entry
};
// A MULTI_SZ value.
struct TextsField {
  std::vector<std::u16string> Prefs::*member;
  ListLength length;
  WhenEmpty when_empty = WhenEmpty::kSkip;
};
// An SZ value.
struct TextField {
  std::u16string Prefs::*member;
  std::u16string_view fallback;
  OnReset on_reset = OnReset::kDefault;
  bool Prefs::*present = nullptr;  // false: the text is null; never written, and so on reset
};
// A BINARY value of 40 bytes, kept in gCommandBars.
struct CommandBarField {
  std::size_t bar;
};
struct VersionField {};        // DWORD, always written as kPrefsVersion
struct AutoDeleteField {};     // DWORD, three flags in one
struct ColumnWidthsField {};   // two words under the type DWORD
struct KillfileTextsField {};  // MULTI_SZ of 8-bit texts
struct KillfileSizeField {};   // DWORD, size of the data just written for the texts; never used
struct IgnoredField {};        // DWORD of an older layout, never written

struct PrefsField {
  std::u16string_view name;
  std::variant<NumberField, WordsField, TextsField, TextField, CommandBarField, VersionField,
               AutoDeleteField, ColumnWidthsField, KillfileTextsField, KillfileSizeField,
               IgnoredField>
      what;
};

// All fields in the order of reading: every count before the lists that it sizes.
std::span<const PrefsField> PrefsFields();
// The names in the order of writing.
std::span<const std::u16string_view> PrefsWriteOrder();
// The field of that name, spelled as in the table.
const PrefsField& PrefsFieldNamed(std::u16string_view name);

// The name the killfile texts are read under; the registry matches without regard to case.
inline constexpr std::u16string_view kKillfileTextsReadName = u"killfileTexts";

// The flags of `autodelete`.
inline constexpr std::uint32_t kAutoDeleteRead = 2;
inline constexpr std::uint32_t kAutoDeleteBefore = 4;
inline constexpr std::uint32_t kAutoDeleteOnQuit = 8;

// Three signatures: the one for a missing value; the one of the factory settings, which lacks the
// "-- " line (meant: resetting stores what it has always stored, and posts that are signed with it
// keep their look); and the first one ever shipped, which reading replaces.
extern const std::u16string_view kDefaultSignature;
extern const std::u16string_view kResetSignature;
extern const std::u16string_view kFirstSignature;

}  // namespace quillet
