// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/prefs_registry.h"

#include <optional>
#include <utility>
#include <vector>

#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs_damage.h"
#include "base/prefs_fields.h"
#include "base/prefs_reader.h"
#include "base/prefs_writer.h"
#include "base/registry_values.h"
#include "base/reset.h"
#include "base/stored_passwords.h"
#include "port/files.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {

std::u16string gDatabaseFolder;

namespace {

const ResetAtEnd kReset([] { gDatabaseFolder.clear(); });

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
  std::vector<std::u16string> Subkeys() override { return {}; }
  std::vector<port::NamedRegistryValue> Values() override { return {}; }
  bool Begin() override { return false; }
  bool Commit() override { return false; }
};

// Makes the database folder; main memory takes the place of a card that has gone.
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

// False when the record cannot be read, which is told.
bool ReadLiveRecord(Prefs& prefs) {
  std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Open(kRegistryPath);
  // A key that only could not be opened now may hold settings.
  SetSettingsAtRisk(!key);
  if (!key) key = std::make_unique<NoKey>();
  ValueReader values(*key);
  if (!ReadRecord(values, prefs)) return false;
  std::uint32_t password_set = 0;
  values.Dword(kPasswordSetValue, password_set, 0);
  if (values.discarded()) SetSettingsAtRisk(true);
  key.reset();
  FetchPasswords(password_set, prefs);
  PrepareDatabaseFolder(prefs);
  return true;
}

bool WriteLiveRecord() {
  // Before the registry is held: the user may be asked to unlock the password store.
  const RegistryPasswords passwords = PutPasswords(*gPrefs);
  std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kRegistryPath);
  if (!key) {
    FinishPasswords(false);
    ReportCriticalError(u"unable to create registry key", u"WritePreferences");
    return false;
  }
  const WriteResult result = WriteRecord(*key, *gPrefs, &passwords);
  // Undone before a box is shown: the box may stand for hours.
  key.reset();
  FinishPasswords(result == WriteResult::kDone);
  if (result == WriteResult::kFailed) ShowMessage(kNotSavedMessage);
  if (!passwords.trouble.empty()) ShowMessage(passwords.trouble);
  return result == WriteResult::kDone;
}

bool WriteNumbers(port::RegistryKey& key, const Prefs& prefs, std::u16string_view name,
                  const std::vector<std::uint32_t>& numbers) {
  if (LengthOf(prefs, ListLength::kServersTimesGroups) == 0) return true;
  return KeepSettingsAtRisk(key) && WriteWords(key, name, numbers);
}

}  // namespace

void ReadPreferences() {
  gPrefs.reset();
  std::unique_ptr<Prefs> prefs = NewPrefs();
  if (!prefs) return;
  const bool read =
      GuardedCritically(u"ReadPreferences", [&prefs] { return ReadLiveRecord(*prefs); });
  if (read) gPrefs = std::move(prefs);
}

bool WritePreferences() {
  // A failure report closes the main window, and closing writes the preferences again.
  static bool writing = false;
  if (writing || !gPrefs) return false;
  writing = true;
  const bool written = Guarded(u"WritePreferences", WriteLiveRecord);
  writing = false;
  return written;
}

std::u16string DatabaseFolderFor(std::u16string_view databasestore) {
  if (databasestore.empty()) return u"\\Quillet CE News";
  return FormatWide(u"\\%ls\\Quillet CE News", databasestore);
}

bool WriteLastDownloaded(port::RegistryKey& key, const Prefs& prefs) {
  return WriteNumbers(key, prefs, u"lastdownloaded", prefs.lastdownloaded);
}

bool WriteLastOnServer(port::RegistryKey& key, const Prefs& prefs) {
  return WriteNumbers(key, prefs, u"lastonserver", prefs.lastonserver);
}

bool WriteProgressNumbers(port::RegistryKey& key, const Prefs& prefs) {
  if (!KeepSettingsAtRisk(key)) return false;
  const bool together = key.Begin();
  const bool written = WriteLastDownloaded(key, prefs) && WriteLastOnServer(key, prefs);
  return (!together || key.Commit()) && written;
}

}  // namespace quillet
