// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/database_open.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "base/messages.h"
#include "port/clock.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "store/gdbm_header.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// Behind the name of a database that is being created.
constexpr std::u16string_view kUnfinishedSuffix = u".new";

GdbmFile OpenExisting(const std::u16string& path) {
  return GdbmFile::Open(gPlatform->files.NativePath(path), kOpenExisting, kDatabaseMode, 0);
}

void TellSetAside(const std::u16string& path, const std::u16string& aside,
                  std::u16string_view what_now) {
  ShowMessage(
      FormatWide(u"The database file \"%ls\" is damaged. It has been set aside as \"%ls\". %ls",
                 LastComponent(path), LastComponent(aside), what_now));
}

// A recovery that was killed between its two renamings leaves the backup alone.
void TakeBackUpAgain(const std::u16string& path) {
  const std::u16string backup = BackupPath(path);
  if (!gPlatform->files.FileSize(path) && gPlatform->files.FileSize(backup)) {
    gPlatform->files.Rename(backup, path);
  }
}

void SettleBackup(const std::u16string& path, bool complete) {
  if (complete) {
    gPlatform->files.Delete(BackupPath(path));
    return;
  }
  const std::u16string aside = DatedName(path);
  if (gPlatform->files.Rename(BackupPath(path), aside)) {
    TellSetAside(path, aside, u"What could be read has been kept.");
  }
}

bool RoomForCopy(const std::u16string& path, std::uint64_t size) {
  constexpr std::uint64_t kSpare = 1 << 16;
  const auto space = gPlatform->files.FreeSpace(FolderOf(path));
  return !space || space->free_bytes >= size + kSpare;
}

OpenTrouble TroubleOfLastCall() {
  if (GdbmError() == GDBM_CANT_BE_WRITER) return OpenTrouble::kInUse;
  switch (LastRefusal()) {
    case SystemRefusal::kNoAccess:
      return OpenTrouble::kNoAccess;
    case SystemRefusal::kNoRoom:
      return OpenTrouble::kNoRoom;
    default:
      return OpenTrouble::kDamaged;
  }
}

OpenedFile Closed(OpenTrouble trouble) {
  OpenedFile closed;
  closed.trouble = trouble;
  return closed;
}

// The stem and six letters or digits.
bool IsTemporaryOf(std::u16string_view stem, std::u16string_view name) {
  constexpr std::size_t kLetters = 6;
  if (name.size() != stem.size() + kLetters || !name.starts_with(stem)) return false;
  return std::ranges::all_of(name.substr(stem.size()), [](char16_t c) {
    const char16_t lower = ToLowerAscii(c);
    return (lower >= u'a' && lower <= u'z') || (c >= u'0' && c <= u'9');
  });
}

OpenedFile RecoverFile(const std::u16string& path, std::uint64_t size) {
  CorrectHeader(path, size);
  gPlatform->files.Delete(BackupPath(path));
  OpenedFile opened{OpenExisting(path)};
  if (!opened.file) return Closed(TroubleOfLastCall());
  const RecoveryResult result = opened.file.Recover();
  if (!result.recovered) return Closed(TroubleOfLastCall());
  SettleBackup(path, result.complete);
  opened.recovered = true;
  return opened;
}

bool AllReadable(GdbmFile& file, std::uint64_t size) {
  if (!file || file.NeedsRecovery()) return false;
  for (auto key = file.FirstKey(size); key; key = file.NextKey(*key)) {
    if (!file.FetchHeld(*key)) return false;
  }
  return file.WalkComplete();
}

// A new file gets its name when it is whole, so that a kill leaves none that looks damaged.
OpenedFile CreateEmpty(const std::u16string& path) {
  const std::u16string unfinished = path + std::u16string(kUnfinishedSuffix);
  gPlatform->files.Delete(unfinished);
  GdbmFile file =
      GdbmFile::Open(gPlatform->files.NativePath(unfinished), kCreateEmpty, kDatabaseMode, 0);
  const bool made = file && file.Sync();
  const OpenTrouble trouble = TroubleOfLastCall();
  file.Close();
  if (!made || !gPlatform->files.Rename(unfinished, path)) {
    gPlatform->files.Delete(unfinished);
    return Closed(made ? OpenTrouble::kDamaged : trouble);
  }
  OpenedFile opened{OpenExisting(path)};
  if (!opened.file) opened.trouble = TroubleOfLastCall();
  opened.created = static_cast<bool>(opened.file);
  return opened;
}

OpenedFile SetAsideAndCreate(const std::u16string& path) {
  const std::u16string aside = DatedName(path);
  if (!gPlatform->files.Rename(path, aside)) return Closed(OpenTrouble::kDamaged);
  OpenedFile opened = CreateEmpty(path);
  if (!opened.file) {
    gPlatform->files.Rename(aside, path);
    return opened;
  }
  TellSetAside(path, aside, u"A new, empty one takes its place.");
  return opened;
}

}  // namespace

std::u16string BackupPath(const std::u16string& path) {
  return path + u".~1~";
}

std::u16string DatedName(const std::u16string& path) {
  const port::CalendarTime now = gPlatform->clock.LocalTime();
  const auto two = [](int number) { return FormatWide(number < 10 ? u"0%d" : u"%d", number); };
  const std::u16string stem =
      path + FormatWide(u" %d-%ls-%ls %ls%ls%ls", now.year, two(now.month), two(now.day),
                        two(now.hour), two(now.minute), two(now.second));
  std::u16string name = stem;
  for (int i = 2; gPlatform->files.FileSize(name); ++i) name = stem + FormatWide(u"-%d", i);
  return name;
}

OpenedFile CorrectInPlace(const std::u16string& path, std::uint64_t size) {
  const std::string header = KeepHeader(path);
  CorrectHeader(path, size);
  OpenedFile opened{OpenExisting(path)};
  if (AllReadable(opened.file, size)) {
    opened.corrected = true;
    return opened;
  }
  opened.file.Close();
  if (!header.empty()) gPlatform->files.Overwrite(path, 0, header);
  return Closed(OpenTrouble::kNoRoom);
}

void RemoveUnfinishedFiles(const std::u16string& path) {
  const std::u16string name_of_file(LastComponent(path));
  for (const std::u16string& name : gPlatform->files.FileNames(FolderOf(path))) {
    if (IsTemporaryOf(name_of_file + u".", name) || IsTemporaryOf(port::kReplacementStem, name) ||
        name == name_of_file + std::u16string(kUnfinishedSuffix) ||
        name == RewrittenName(name_of_file)) {
      gPlatform->files.Delete(PathIn(FolderOf(path), name));
    }
  }
}

OpenedFile LookAtDatabaseFile(const std::u16string& path) {
  OpenedFile opened{OpenExisting(path)};
  if (!opened.file) {
    const OpenTrouble trouble = TroubleOfLastCall();
    const bool for_the_user = trouble == OpenTrouble::kInUse || trouble == OpenTrouble::kNoAccess;
    if (for_the_user) opened.trouble = trouble;
  }
  const std::uint64_t size = gPlatform->files.FileSize(path).value_or(0);
  const bool usable = opened.file && !opened.file.NeedsRecovery();
  opened.sound = size == 0 || (usable && HeaderKnowsLength(path, size));
  return opened;
}

OpenedFile SettleDatabaseFile(const std::u16string& path, OpenedFile looked_at, bool unclean) {
  TakeBackUpAgain(path);
  const std::uint64_t size = gPlatform->files.FileSize(path).value_or(0);
  if (size == 0) return looked_at.file ? std::move(looked_at) : CreateEmpty(path);
  if (looked_at.sound && looked_at.file && !unclean) return looked_at;
  looked_at.file.Close();
  if (!RoomForCopy(path, size)) return CorrectInPlace(path, size);
  OpenedFile opened = RecoverFile(path, size);
  if (opened.trouble == OpenTrouble::kNoRoom) return CorrectInPlace(path, size);
  return opened.trouble == OpenTrouble::kDamaged ? SetAsideAndCreate(path) : std::move(opened);
}

}  // namespace quillet
