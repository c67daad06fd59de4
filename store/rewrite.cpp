// SPDX-License-Identifier: GPL-3.0-or-later
// Rewriting whole databases: compaction and conversion. Every record is copied into a new file
// beside the old one, converted on the way where that is wanted, and the new file takes the old
// one's place in one step: whatever goes wrong before leaves the old file as it was, and is told.
#include "store/rewrite.h"

#include <array>
#include <span>

#include "base/long_operation.h"
#include "base/messages.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/compression.h"
#include "store/counts.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "store/records.h"
#include "store/store_room.h"
#include "store/stored_article.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

// 600 in decimal, not in octal, on purpose. The file gets the mode of the one it replaces in the
// end, so that one which was left behind cannot be taken for a database.
constexpr int kTemporaryMode = 600;

std::span<const DatabaseIndex> DatabasesFor(RewriteMode mode) {
  const std::span<const DatabaseIndex> all = kAllDatabases;
  return mode == RewriteMode::kCompact ? all : all.first(1);
}

std::uint64_t UnitsOfWork(RewriteMode mode) {
  std::uint64_t articles = 0;
  for (const auto& info : gReadInfo) articles += info->totalCount;
  return mode == RewriteMode::kCompact ? gPendingPostCount + 2 * articles : articles;
}

std::u16string TemporaryPath(const std::u16string& path) {
  return FormatWide(u"%ls\\%ls", FolderOf(path), RewrittenName(LastComponent(path)));
}

bool NeedsConversion(RewriteMode mode, std::string_view value) {
  if (mode == RewriteMode::kCompact || !gCompressionAvailable || !IsArticleValue(value)) {
    return false;
  }
  const std::uint32_t convert_from = mode == RewriteMode::kCompress ? 1 : 2;
  return GetU32(value, 0) == convert_from;
}

// One pass over a database.
struct Pass {
  RewriteMode mode = RewriteMode::kCompact;
  std::uint64_t done = 0;       // records, of all databases
  bool told_of_damage = false;  // of a text that cannot be expanded; once is enough
};

// What cannot be converted is copied as it is.
std::string Converted(Pass& pass, std::string value) {
  if (!NeedsConversion(pass.mode, value)) return value;
  AsciiArticle article;
  const bool read = pass.told_of_damage ? ParseArticleSilently(value, article)
                                        : ParseArticle(value, article, false);
  if (!read) {
    pass.told_of_damage = pass.mode == RewriteMode::kUncompress;
    return value;
  }
  const auto wanted =
      pass.mode == RewriteMode::kCompress ? SerializeMode::kCompress : SerializeMode::kPlain;
  return SerializeArticle(article, wanted).value_or(std::move(value));
}

enum class CopyResult { kComplete, kCancelled, kNoRoom, kFailed };

CopyResult StoreCopy(GdbmFile& copy, const std::string& key, const std::string& value) {
  if (!RoomForRecord(key.size() + value.size())) return CopyResult::kNoRoom;
  if (copy.Store(key, value, GDBM_INSERT)) return CopyResult::kComplete;
  return LastRefusal() == SystemRefusal::kNoRoom ? CopyResult::kNoRoom : CopyResult::kFailed;
}

CopyResult CopyRecords(DatabaseIndex index, GdbmFile& copy, Pass& pass) {
  for (auto key = FirstKey(index); key; key = NextKey(index, *key)) {
    SetProgressPosition(++pass.done);
    auto value = FetchValue(index, *key);
    if (!value) return CopyResult::kFailed;
    const CopyResult stored = StoreCopy(copy, *key, Converted(pass, std::move(*value)));
    if (stored != CopyResult::kComplete) return stored;
    if (AbortRequested()) return CopyResult::kCancelled;
  }
  // A walk that broke off must not replace the whole.
  if (!DatabaseFile(index).WalkComplete()) return CopyResult::kFailed;
  if (copy.Sync()) return CopyResult::kComplete;
  return LastRefusal() == SystemRefusal::kNoRoom ? CopyResult::kNoRoom : CopyResult::kFailed;
}

GdbmFile CreateTemporary(DatabaseIndex index, const std::u16string& path) {
  gPlatform->files.Delete(path);
  return GdbmFile::Open(gPlatform->files.NativePath(path), kCreateIfMissing, kTemporaryMode,
                        DatabaseFile(index).BlockSize());
}

// The copy takes the place of the file in one step; deleting the file before would lose both to a
// kill in between.
bool TakePlace(DatabaseIndex index, const std::u16string& temporary) {
  const std::u16string path = DatabasePath(index);
  gPlatform->files.CopyMode(path, temporary);
  return gPlatform->files.Rename(temporary, path);
}

void Tell(CopyResult result) {
  if (result == CopyResult::kNoRoom) {
    ShowMessage(u"There is not enough free space to rewrite the databases. They stay as they are.");
  } else if (result == CopyResult::kFailed) {
    ShowMessage(u"The databases could not be rewritten. They stay as they are.");
  }
}

enum class Outcome { kFailed, kReplaced, kNotReplaced };

Outcome RewriteOne(DatabaseIndex index, Pass& pass) {
  if (!DatabaseFile(index)) return Outcome::kFailed;
  const std::u16string temporary = TemporaryPath(DatabasePath(index));
  GdbmFile copy = CreateTemporary(index, temporary);
  const bool no_room = LastRefusal() == SystemRefusal::kNoRoom;
  CopyResult result = no_room ? CopyResult::kNoRoom : CopyResult::kFailed;
  if (copy) result = CopyRecords(index, copy, pass);
  if (result != CopyResult::kComplete) {
    // Half a copy would only keep its room from the databases.
    copy.Close();
    gPlatform->files.Delete(temporary);
    Tell(result);
    return Outcome::kFailed;
  }
  DatabaseFile(index).Close();
  copy.Close();
  if (TakePlace(index, temporary)) return Outcome::kReplaced;
  Tell(CopyResult::kFailed);
  return Outcome::kNotReplaced;
}

}  // namespace

int RewriteDatabases(RewriteMode mode) {
  // Compacting ends with the first database.
  const bool ends_early = mode == RewriteMode::kCompact;
  SetProgressRange(UnitsOfWork(mode), ends_early ? RangeCovers::kRoughly : RangeCovers::kOnePart);
  // Nearly all of the room is needed at once.
  ForgetRoom();
  Pass pass{mode};
  for (const DatabaseIndex index : DatabasesFor(mode)) {
    // Meant: a run ends with the first database that was replaced, as if it had failed, so that
    // compacting rewrites the articles alone. The chains and the queued posts, which no server can
    // give again, stay byte for byte as they are. Only a file that could not be replaced lets the
    // run go on to the next one.
    if (RewriteOne(index, pass) != Outcome::kNotReplaced) return -1;
  }
  return 0;
}

}  // namespace quillet
