#include "app/base/prefs_registry.h"

#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "app/base/messages.h"
#include "app/base/multi_string.h"
#include "app/base/prefs_damage.h"
#include "app/base/prefs_fields.h"
#include "app/base/prefs_version1.h"
#include "app/base/registry_values.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {

std::u16string gDatabaseFolder;

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
constexpr std::u16string_view kNotSavedMessage =
    u"The preferences could not be saved, because the registry cannot be written. The disk may be "
    u"full or read-only. The preferences saved before are unchanged.";

// Stands for a key that is missing.
class NoKey final : public port::RegistryKey {
 public:
  std::optional<port::RegistryValue> Get(std::u16string_view /*name*/) override { return {}; }
  bool Set(std::u16string_view /*name*/, port::RegistryType /*type*/,
           std::string_view /*data*/) override {
    return false;
  }
  bool DeleteSubkey(std::u16string_view /*name*/) override { return false; }
  std::vector<port::NamedRegistryValue> Values() override { return {}; }
  bool Begin() override { return false; }
  bool Commit() override { return false; }
};

// --- Reading -------------------------------------------------------------------------------------

// Reads one field of the table into the record; false when memory ran out (already reported).
class FieldReader {
 public:
  FieldReader(ValueReader& values, Prefs& prefs, std::u16string_view name)
      : values_(values), prefs_(prefs), name_(name) {}

  bool operator()(const NumberField& field) {
    values_.Dword(name_, prefs_.*field.member, field.fallback);
    return true;
  }

  bool operator()(const WordsField& field) {
    const std::size_t count = LengthOf(prefs_, field.length);
    // Values that the next write skips keep what they hold.
    if (count == 0 && field.when_empty == WhenEmpty::kSkip) return true;
    prefs_.*field.member = field.exact_size_only ? values_.WordsOr(name_, count, field.fallback)
                                                 : values_.Words(name_, count);
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
  ConvertedLogins logins = ConvertVersion1(values);
  prefs.version = kPrefsVersion;
  if (logins.worth_telling) ShowMessage(kConvertedMessage);
  return logins;
}

bool ReadRecord(ValueReader& values, Prefs& prefs) {
  std::optional<ConvertedLogins> converted = ReadVersion(values, prefs);
  // Meant to have no effect on a value of this name.
  values.key().DeleteSubkey(u"multipleservers");
  if (!ReadFields(values, prefs)) return false;
  if (converted && !converted->stored) UseConvertedLogins(std::move(*converted), prefs);
  if (prefs.signature == kFirstSignature) prefs.signature = kDefaultSignature;
  return true;
}

// --- Writing -------------------------------------------------------------------------------------

enum class WriteResult { kDone, kFailed, kReported };

// Writes one field of the record.
class FieldWriter {
 public:
  FieldWriter(port::RegistryKey& key, const Prefs& prefs) : key_(key), prefs_(prefs) {}

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
    return List(CreateMultiString(prefs_.*field.member));
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
    // Meant to be eight bytes under a type whose values have four.
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
  std::u16string_view name_;
  std::uint32_t killfile_size_ = 0;
};

// All or nothing: destroying the key before Commit drops what was written.
WriteResult WriteRecord(port::RegistryKey& key, const Prefs& prefs) {
  if (!KeepSettingsAtRisk(key) || !key.Begin()) return WriteResult::kFailed;
  FieldWriter writer(key, prefs);
  for (const std::u16string_view name : PrefsWriteOrder()) {
    const WriteResult result = writer.Write(PrefsFieldNamed(name));
    if (result != WriteResult::kDone) return result;
  }
  return key.Commit() ? WriteResult::kDone : WriteResult::kFailed;
}

void TakeColumnWidths(Prefs& prefs) {
  const std::array<std::int32_t, 2> widths = gPlatform->group_list.ColumnWidths();
  const bool list_exists = widths != std::array<std::int32_t, 2>{0, 0};
  if (list_exists) prefs.columnWidths = widths;
}

bool WriteLiveRecord() {
  std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kRegistryPath);
  if (!key) {
    ReportCriticalError(u"unable to create registry key", u"WritePreferences");
    return false;
  }
  TakeColumnWidths(*gPrefs);
  const WriteResult result = WriteRecord(*key, *gPrefs);
  // Undone before a box is shown: the box may stand for hours.
  key.reset();
  if (result == WriteResult::kFailed) ShowMessage(kNotSavedMessage);
  return result == WriteResult::kDone;
}

}  // namespace

void ReadPreferences() {
  gPrefs.reset();
  std::unique_ptr<Prefs> prefs = NewPrefs();
  if (!prefs) return;
  try {
    std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kRegistryPath);
    // A key that only could not be opened now may hold settings.
    SetSettingsAtRisk(!key);
    if (!key) key = std::make_unique<NoKey>();
    ValueReader values(*key);
    if (!ReadRecord(values, *prefs)) return;
    if (values.discarded()) SetSettingsAtRisk(true);
    key.reset();
    PrepareDatabaseFolder(*prefs);
  } catch (const std::bad_alloc&) {
    ReportCriticalError(u"out of memory", u"ReadPreferences");
    return;
  }
  gPrefs = std::move(prefs);
}

bool WritePreferences() {
  // A failure report closes the main window, and closing writes the preferences again.
  static bool writing = false;
  if (writing || !gPrefs) return false;
  writing = true;
  bool written = false;
  try {
    written = WriteLiveRecord();
  } catch (const std::bad_alloc&) {
    ReportError(u"out of memory", u"WritePreferences");
  }
  writing = false;
  return written;
}

void PrepareDatabaseFolder(Prefs& prefs) {
  prefs.databasefolder = DatabaseFolderFor(prefs.databasestore);
  port::Files& files = gPlatform->files;
  if (!files.FolderExists(prefs.databasefolder) && !files.CreateFolder(prefs.databasefolder)) {
    prefs.databasestore.clear();
    prefs.databasefolder = DatabaseFolderFor(u"");
    files.CreateFolder(prefs.databasefolder);
  }
  gDatabaseFolder = prefs.databasefolder;
}

std::u16string DatabaseFolderFor(std::u16string_view databasestore) {
  if (databasestore.empty()) return u"\\Quillet CE News";
  return FormatWide(u"\\%ls\\Quillet CE News", databasestore);
}

bool WriteLastDownloaded(port::RegistryKey& key, const Prefs& prefs) {
  if (LengthOf(prefs, ListLength::kServersTimesGroups) == 0) return true;
  return KeepSettingsAtRisk(key) && WriteWords(key, u"lastdownloaded", prefs.lastdownloaded);
}

}  // namespace quillet
