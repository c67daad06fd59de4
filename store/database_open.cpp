#include "store/database_open.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>

#include "app/base/messages.h"
#include "port/platform.h"
#include "store/device_path.h"
#include "util/format.h"

namespace quillet {
namespace {

// The beginning of a file of the library, in the machine's own byte order.
struct FileHeader {
  std::uint32_t magic;
  std::int32_t block_size;
  std::int64_t directory;
  std::int32_t directory_size;
  std::int32_t directory_bits;
  std::int32_t bucket_size;
  std::int32_t bucket_elements;
  std::int64_t next_block;  // the file's length, as far as the header knows
  std::int32_t free_size;
  std::int32_t free_count;       // entries of the table of free blocks
  std::int64_t next_free_block;  // where that table goes on
};
static_assert(sizeof(FileHeader) == 56);

constexpr std::uint32_t kMagicOld = 0x13579ACE;
constexpr std::uint32_t kMagic64 = 0x13579ACF;

using FileStream = std::unique_ptr<std::FILE, decltype(&std::fclose)>;

FileStream OpenStream(const std::string& native, const char* mode) {
  return {std::fopen(native.c_str(), mode), &std::fclose};
}

std::optional<FileHeader> ReadHeader(std::FILE* stream) {
  FileHeader header{};
  if (std::fread(&header, sizeof header, 1, stream) != 1) return std::nullopt;
  if (header.magic != kMagicOld && header.magic != kMagic64) return std::nullopt;
  return header;
}

// False when the header and the file disagree about its length: the last writer was killed before
// it had written the header, or the file was cut.
bool LengthAgrees(const std::string& native, std::uint64_t size) {
  const FileStream stream = OpenStream(native, "rb");
  if (!stream) return true;
  const auto header = ReadHeader(stream.get());
  return !header || header->next_block == static_cast<std::int64_t>(size);
}

// A writer that was killed may have written buckets and directory, but not the header. The library
// takes everything beyond the header's idea of the file's end for damage, and would drop hundreds
// of sound records; and free blocks of an old header may be in use. So the header gets the real
// length and an empty table of free blocks before the recovery, which builds a new one.
void PrepareHeader(const std::string& native, std::uint64_t size) {
  const FileStream stream = OpenStream(native, "r+b");
  if (!stream) return;
  auto header = ReadHeader(stream.get());
  if (!header) return;
  header->next_block = static_cast<std::int64_t>(size);
  header->free_count = 0;
  header->next_free_block = 0;
  if (std::fseek(stream.get(), 0, SEEK_SET) != 0) return;
  std::fwrite(&*header, sizeof *header, 1, stream.get());
}

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

// The library keeps the file as it was beside the recovered one, with a suffix of its own.
void SettleBackup(const std::u16string& path, const std::string& native,
                  const RecoveryResult& result) {
  if (result.backup.size() <= native.size()) return;
  const std::u16string backup = path + FromUtf8(result.backup.substr(native.size()));
  if (result.complete) {
    gPlatform->files.Delete(backup);
    return;
  }
  const std::u16string aside = DatedName(path);
  if (gPlatform->files.Rename(backup, aside)) {
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
  const std::string native = gPlatform->files.NativePath(path);
  PrepareHeader(native, size);
  GdbmFile file = OpenExisting(path);
  if (!file) return file;
  const RecoveryResult result = file.Recover();
  if (!result.recovered) return {};
  SettleBackup(path, native, result);
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
  GdbmFile file = OpenExisting(path);
  if (!file && GdbmError() == GDBM_CANT_BE_WRITER) return file;
  const std::uint64_t size = gPlatform->files.FileSize(path).value_or(0);
  if (size == 0) return file ? std::move(file) : CreateEmpty(path);
  const bool usable = file && !file.NeedsRecovery();
  if (usable && !unclean && LengthAgrees(gPlatform->files.NativePath(path), size)) return file;
  if (!RoomForCopy(path, size)) return usable ? std::move(file) : GdbmFile();
  file.Close();
  file = RecoverFile(path, size);
  if (file || GdbmError() == GDBM_CANT_BE_WRITER) return file;
  return SetAsideAndCreate(path);
}

}  // namespace quillet
