#include "store/database_open.h"

#include <cstdint>
#include <utility>

#include "base/messages.h"
#include "port/clock.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/device_path.h"
#include "store/gdbm_header.h"
#include "util/format.h"

namespace quillet {
namespace {

GdbmFile OpenExisting(const std::u16string& path) {
  return GdbmFile::Open(gPlatform->files.NativePath(path), kOpenExisting, kDatabaseMode, 0);
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

void TellSetAside(const std::u16string& path, const std::u16string& aside,
                  std::u16string_view what_now) {
  ShowMessage(
      FormatWide(u"The database file \"%ls\" is damaged. It has been set aside as \"%ls\". %ls",
                 LastComponent(path), LastComponent(aside), what_now));
}

// Where the library keeps the file as it was while it puts the recovered one in its place.
std::u16string BackupPath(const std::u16string& path) {
  return path + u".~1~";
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

// Closed when it could not be recovered.
GdbmFile RecoverFile(const std::u16string& path, std::uint64_t size) {
  CorrectHeader(path, size);
  gPlatform->files.Delete(BackupPath(path));
  GdbmFile file = OpenExisting(path);
  if (!file) return file;
  const RecoveryResult result = file.Recover();
  if (!result.recovered) return {};
  SettleBackup(path, result.complete);
  return file;
}

GdbmFile CreateEmpty(const std::u16string& path) {
  return GdbmFile::Open(gPlatform->files.NativePath(path), kCreateEmpty, kDatabaseMode, 0);
}

GdbmFile SetAsideAndCreate(const std::u16string& path) {
  const std::u16string aside = DatedName(path);
  if (!gPlatform->files.Rename(path, aside)) return {};
  GdbmFile file = CreateEmpty(path);
  if (!file) {
    gPlatform->files.Rename(aside, path);
    return file;
  }
  TellSetAside(path, aside, u"A new, empty one takes its place.");
  return file;
}

}  // namespace

GdbmFile OpenDatabaseFile(const std::u16string& path, bool unclean) {
  TakeBackUpAgain(path);
  GdbmFile file = OpenExisting(path);
  if (!file && GdbmError() == GDBM_CANT_BE_WRITER) return file;
  const std::uint64_t size = gPlatform->files.FileSize(path).value_or(0);
  if (size == 0) return file ? std::move(file) : CreateEmpty(path);
  const bool usable = file && !file.NeedsRecovery();
  if (usable && !unclean && HeaderKnowsLength(path, size)) return file;
  if (!RoomForCopy(path, size)) return usable ? std::move(file) : GdbmFile();
  file.Close();
  file = RecoverFile(path, size);
  if (file || GdbmError() == GDBM_CANT_BE_WRITER) return file;
  return SetAsideAndCreate(path);
}

}  // namespace quillet
