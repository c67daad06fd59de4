// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the record by the table of fields, in the order of writing, within one transaction of the
// registry: FieldWriter has one overload a kind of field. What concerns servers and groups alone
// can be written by itself.
#include "base/prefs_writer.h"

#include <string>

#include "base/multi_string.h"
#include "base/prefs_damage.h"
#include "base/prefs_fields.h"
#include "base/prefs_registry.h"
#include "base/registry_values.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

// Writes one field of the record.
class FieldWriter {
 public:
  FieldWriter(port::RegistryKey& key, const Prefs& prefs, const RegistryPasswords* passwords)
      : key_(key), prefs_(prefs), passwords_(passwords) {}

  WriteResult Write(const PrefsField& field) {
    name_ = field.name;
    return std::visit(*this, field.what);
  }

  WriteResult operator()(const NumberField& field) { return Number(prefs_.*field.member); }
  WriteResult operator()(const VersionField& /*field*/) { return Number(kPrefsVersion); }
  WriteResult operator()(const KillfileSizeField& /*field*/) { return Number(killfile_size_); }

  WriteResult operator()(const AutoDeleteField& /*field*/) {
    return Number((prefs_.autodeleteread != 0 ? kAutoDeleteRead : 0) |
                  (prefs_.autodeletebefore != 0 ? kAutoDeleteBefore : 0) |
                  (prefs_.autodeleteonquit != 0 ? kAutoDeleteOnQuit : 0));
  }

  WriteResult operator()(const WordsField& field) {
    if (Skipped(field.length, field.when_empty)) return WriteResult::kDone;
    return ResultOf(WriteWords(key_, name_, prefs_.*field.member));
  }

  WriteResult operator()(const TextsField& field) {
    if (Skipped(field.length, field.when_empty)) return WriteResult::kDone;
    const bool is_passwords = field.member == &Prefs::authpasses && passwords_ != nullptr;
    return List(CreateMultiString(is_passwords ? passwords_->authpasses : prefs_.*field.member));
  }

  WriteResult operator()(const KillfileTextsField& /*field*/) {
    const std::string data = CreateMultiString(prefs_.killfiletexts);
    killfile_size_ = static_cast<std::uint32_t>(data.size());
    return List(data);
  }

  WriteResult operator()(const TextField& field) {
    if (field.present != nullptr && !(prefs_.*field.present)) return WriteResult::kDone;
    return ResultOf(WriteText(key_, name_, prefs_.*field.member));
  }

  WriteResult operator()(const CommandBarField& field) {
    const CommandBarBlob& blob = gCommandBars[field.bar];
    const CommandBarBlob none;
    const auto& bytes = blob.found ? blob.bytes : none.bytes;
    return Bytes(port::RegistryType::kBinary, {bytes.data(), bytes.size()});
  }

  WriteResult operator()(const ColumnWidthsField& /*field*/) {
    std::string bytes;
    for (const std::int32_t width : prefs_.columnWidths) {
      AppendU32(bytes, static_cast<std::uint32_t>(width));
    }
    // Meant: eight bytes under a type whose values have four. Stored widths have always had this
    // form, and other versions read them by it; under the fitting type they would be another value.
    return Bytes(port::RegistryType::kDword, bytes);
  }

  WriteResult operator()(const IgnoredField& /*field*/) { return WriteResult::kDone; }

 private:
  static WriteResult ResultOf(bool written) {
    return written ? WriteResult::kDone : WriteResult::kFailed;
  }
  bool Skipped(ListLength length, WhenEmpty when_empty) const {
    return when_empty == WhenEmpty::kSkip && LengthOf(prefs_, length) == 0;
  }
  WriteResult Number(std::uint32_t value) { return ResultOf(WriteDword(key_, name_, value)); }
  WriteResult Bytes(port::RegistryType type, std::string_view data) {
    return ResultOf(key_.Set(name_, type, data));
  }
  // No data at all: the builder ran out of memory and said so.
  WriteResult List(const std::string& data) {
    if (data.empty()) return WriteResult::kReported;
    return Bytes(port::RegistryType::kMultiString, data);
  }

  port::RegistryKey& key_;
  const Prefs& prefs_;
  const RegistryPasswords* passwords_;
  std::u16string_view name_;
  std::uint32_t killfile_size_ = 0;
};

bool RunsAlong(ListLength length) {
  return length != ListLength::kRecipients;
}

// Whether a field is about the servers and groups, or about the killfile, whose entries number the
// groups.
struct IsSubscription {
  bool operator()(const NumberField& field) const {
    return field.member == &Prefs::numgroups || field.member == &Prefs::numservers ||
           field.member == &Prefs::selectedserver || field.member == &Prefs::killfilecount;
  }
  bool operator()(const WordsField& field) const { return RunsAlong(field.length); }
  bool operator()(const TextsField& field) const { return RunsAlong(field.length); }
  bool operator()(const VersionField& /*field*/) const { return true; }
  bool operator()(const KillfileTextsField& /*field*/) const { return true; }
  bool operator()(const KillfileSizeField& /*field*/) const { return true; }
  template <class OtherField>
  bool operator()(const OtherField& /*field*/) const {
    return false;
  }
};

template <class Wanted>
WriteResult WriteFields(port::RegistryKey& key, const Prefs& prefs,
                        const RegistryPasswords* passwords, const Wanted& wanted) {
  FieldWriter writer(key, prefs, passwords);
  for (const std::u16string_view name : PrefsWriteOrder()) {
    const PrefsField& field = PrefsFieldNamed(name);
    if (!wanted(field)) continue;
    const WriteResult result = writer.Write(field);
    if (result != WriteResult::kDone) return result;
  }
  return WriteResult::kDone;
}

}  // namespace

WriteResult WriteRecord(port::RegistryKey& key, const Prefs& prefs,
                        const RegistryPasswords* passwords) {
  if (!KeepSettingsAtRisk(key) || !key.Begin()) return WriteResult::kFailed;
  const WriteResult result =
      WriteFields(key, prefs, passwords, [](const PrefsField&) { return true; });
  if (result != WriteResult::kDone) return result;
  if (passwords != nullptr && passwords->set &&
      !WriteDword(key, kPasswordSetValue, *passwords->set)) {
    return WriteResult::kFailed;
  }
  return key.Commit() ? WriteResult::kDone : WriteResult::kFailed;
}

WriteResult WriteSubscriptions(port::RegistryKey& key, const Prefs& prefs) {
  return WriteFields(key, prefs, nullptr, [](const PrefsField& field) {
    return std::visit(IsSubscription(), field.what);
  });
}

}  // namespace quillet
