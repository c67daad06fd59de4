// SPDX-License-Identifier: GPL-3.0-or-later
// Reads the record by the table of fields: FieldReader has one overload a kind of field. Counts
// stand before the lists in the table, and impossible ones are cut before the first list is sized
// by them. Whatever cannot be taken as it stands is noted, so that the next write keeps a copy of
// it.
#include "base/prefs_reader.h"

#include <optional>
#include <utility>

#include "base/messages.h"
#include "base/multi_string.h"
#include "base/prefs_damage.h"
#include "base/prefs_fields.h"
#include "base/prefs_registry.h"
#include "base/prefs_version1.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

constexpr std::u16string_view kNewerMessage =
    u"The preferences on this machine are newer than the version of Quillet CE that you are using. "
    u"Continuing may have unexpected results unless you reset your preferences to their default "
    u"values.";
constexpr std::u16string_view kConvertedMessage =
    u"The news server login preferences have changed, and your old entries have been converted. If "
    u"you have multiple news servers, you should make sure that the login credentials are correct "
    u"for each server.";
constexpr std::u16string_view kDamagedMessage =
    u"Some of the preferences on this machine are damaged (%ls). Quillet CE continues with the "
    u"entries that are really there and keeps a copy of the damaged preferences in the registry.";
// Reads one field of the table into the record; false when memory ran out (already reported).
class FieldReader {
 public:
  FieldReader(ValueReader& values, Prefs& prefs, std::u16string_view name)
      : values_(values), prefs_(prefs), name_(name) {}

  bool operator()(const NumberField& field) {
    values_.Dword(name_, prefs_.*field.member, field.fallback);
    KeepInRange(prefs_.*field.member, field.range, field.fallback);
    return true;
  }

  bool operator()(const WordsField& field) {
    const std::size_t count = LengthOf(prefs_, field.length);
    // Values that the next write skips keep what they hold.
    if (count == 0 && field.when_empty == WhenEmpty::kSkip) return true;
    prefs_.*field.member = field.exact_size_only ? values_.WordsOr(name_, count, field.fallback)
                                                 : values_.Words(name_, count);
    for (std::uint32_t& number : prefs_.*field.member) {
      KeepInRange(number, field.range, field.fallback);
    }
    return true;
  }

  bool operator()(const TextsField& field) {
    const std::size_t count = LengthOf(prefs_, field.length);
    if (count == 0 && field.when_empty == WhenEmpty::kSkip) return true;
    NoteSurplus(name_, count);
    if (count == 0) return true;
    prefs_.*field.member = ReadMultiString(values_.key(), name_, static_cast<std::uint32_t>(count));
    return (prefs_.*field.member).size() == count;
  }

  bool operator()(const KillfileTextsField& /*field*/) {
    NoteSurplus(kKillfileTextsReadName, prefs_.killfilecount);
    if (prefs_.killfilecount == 0) return true;
    prefs_.killfiletexts =
        ReadNarrowMultiString(values_.key(), kKillfileTextsReadName, prefs_.killfilecount);
    return prefs_.killfiletexts.size() == prefs_.killfilecount;
  }

  bool operator()(const TextField& field) {
    prefs_.*field.member = values_.Text(name_, field.fallback);
    if (field.present != nullptr) prefs_.*field.present = true;
    return true;
  }

  bool operator()(const CommandBarField& field) {
    CommandBarBlob& blob = gCommandBars[field.bar];
    blob.found = values_.Blob(name_, blob.bytes);
    return true;
  }

  bool operator()(const AutoDeleteField& /*field*/) {
    std::uint32_t flags = 0;
    values_.Dword(name_, flags, 0);
    prefs_.autodeleteread = (flags & kAutoDeleteRead) != 0 ? 1 : 0;
    prefs_.autodeletebefore = (flags & kAutoDeleteBefore) != 0 ? 1 : 0;
    prefs_.autodeleteonquit = (flags & kAutoDeleteOnQuit) != 0 ? 1 : 0;
    return true;
  }

  bool operator()(const ColumnWidthsField& /*field*/) {
    std::string bytes(4 * prefs_.columnWidths.size(), '\0');
    values_.Blob(name_, bytes);
    for (std::size_t i = 0; i < prefs_.columnWidths.size(); ++i) {
      prefs_.columnWidths[i] = static_cast<std::int32_t>(GetU32(bytes, 4 * i));
    }
    return true;
  }

  // Read before everything else, or for its own sake only.
  bool operator()(const VersionField& /*field*/) { return true; }
  bool operator()(const KillfileSizeField& /*field*/) { return true; }
  bool operator()(const IgnoredField& /*field*/) { return true; }

 private:
  void KeepInRange(std::uint32_t& number, const NumberRange& range, std::uint32_t fallback) {
    if (range.Holds(number)) return;
    number = fallback;
    values_.NoteDiscarded();
  }

  // Strings behind the count, or data that is no list at all, would be lost by the next write.
  void NoteSurplus(std::u16string_view name, std::size_t count) {
    const std::optional<port::RegistryValue> value = values_.key().Get(name);
    if (!value || value->data.empty()) return;
    if (value->type != port::RegistryType::kMultiString || CountMultiStrings(value->data) > count) {
      values_.NoteDiscarded();
    }
  }

  ValueReader& values_;
  Prefs& prefs_;
  std::u16string_view name_;
};

// A stored index that no server has selects the first one.
void RepairSelectedServer(Prefs& prefs) {
  const bool none = prefs.selectedserver == 0xFFFFFFFF;
  if (none || (prefs.numservers != 0 && prefs.selectedserver >= prefs.numservers)) {
    prefs.selectedserver = 0;
  }
}

void RepairCounts(ValueReader& values, Prefs& prefs) {
  const std::u16string impossible = LimitCounts(values.key(), prefs);
  RepairSelectedServer(prefs);
  if (impossible.empty()) return;
  values.NoteDiscarded();
  ShowMessage(FormatWide(kDamagedMessage, impossible));
}

bool ReadFields(ValueReader& values, Prefs& prefs) {
  bool counts_read = false;
  for (const PrefsField& field : PrefsFields()) {
    if (!counts_read && std::holds_alternative<WordsField>(field.what)) {
      RepairCounts(values, prefs);
      counts_read = true;
    }
    if (!std::visit(FieldReader(values, prefs, field.name), field.what)) return false;
  }
  return true;
}

std::optional<ConvertedLogins> ReadVersion(ValueReader& values, Prefs& prefs) {
  values.Dword(u"version", prefs.version, kPrefsVersion);
  if (prefs.version > kPrefsVersion) ShowMessage(kNewerMessage);
  if (prefs.version != 1) return {};
  ConvertedLogins converted = ConvertVersion1(values);
  prefs.version = kPrefsVersion;
  if (converted.worth_telling) ShowMessage(kConvertedMessage);
  return converted;
}

}  // namespace

bool ReadRecord(ValueReader& values, Prefs& prefs) {
  std::optional<ConvertedLogins> converted = ReadVersion(values, prefs);
  // Meant: the call removes keys and leaves a value of this name where it is. Only older versions
  // know the value, and what they stored is theirs to remove.
  values.key().DeleteSubkey(u"multipleservers");
  if (!ReadFields(values, prefs)) return false;
  // What could not be stored holds for this run all the same.
  if (converted && !converted->stored) SetLogins(prefs, std::move(converted->logins));
  if (prefs.signature == kFirstSignature) prefs.signature = kDefaultSignature;
  return true;
}

}  // namespace quillet
