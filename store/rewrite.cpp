// Rewriting whole databases: compaction and conversion. Every record is copied into a new file
// beside the old one, converted on the way where that is wanted, and the new file takes the old
// one's place in one step: whatever goes wrong before leaves the old file as it was.
#include "store/rewrite.h"

#include <array>
#include <span>

#include "base/long_operation.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/compression.h"
#include "store/counts.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "store/records.h"
#include "store/stored_article.h"
#include "util/format.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

// 600 in decimal, not in octal, on purpose. The file gets the mode of the one it replaces in the
// end, so that one which was left behind cannot be taken for a database.
constexpr int kTemporaryMode = 600;

constexpr std::array kAllDatabases = {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups,
                                      DatabaseIndex::kPendingPosts};

std::span<const DatabaseIndex> DatabasesFor(RewriteMode mode) {
  const std::span<const DatabaseIndex> all = kAllDatabases;
  return mode == RewriteMode::kCompact ? all : all.first(1);
}

std::uint64_t UnitsOfWork(RewriteMode mode) {
  std::uint64_t articles = 0;
  for (const auto& info : gReadInfo) articles += info->totalCount;
  return mode == RewriteMode::kCompact ? gPendingPostCount + 2 * articles : articles;
}

// "#" before and after the file's name.
std::u16string TemporaryPath(const std::u16string& path) {
  return FormatWide(u"%ls\\#%ls#", FolderOf(path), LastComponent(path));
}

bool NeedsConversion(RewriteMode mode, std::string_view value) {
  if (mode == RewriteMode::kCompact || !gCompressionAvailable || !IsArticleValue(value)) {
    return false;
  }
  const std::uint32_t convert_from = mode == RewriteMode::kCompress ? 1 : 2;
  return GetU32(value, 0) == convert_from;
}

// What cannot be converted is copied as it is.
std::string Converted(RewriteMode mode, std::string value) {
  if (!NeedsConversion(mode, value)) return value;
  AsciiArticle article;
  if (!ParseArticle(value, article, false)) return value;
  const auto wanted =
      mode == RewriteMode::kCompress ? SerializeMode::kCompress : SerializeMode::kPlain;
  return SerializeArticle(article, wanted).value_or(std::move(value));
}

enum class CopyResult { kComplete, kStopped, kUnreadable };

CopyResult CopyRecords(DatabaseIndex index, GdbmFile& copy, RewriteMode mode, std::uint64_t& done) {
  for (auto key = FirstKey(index); key; key = NextKey(index, *key)) {
    SetProgressPosition(++done);
    auto value = FetchValue(index, *key);
    if (!value) return CopyResult::kUnreadable;
    if (!copy.Store(*key, Converted(mode, std::move(*value)), GDBM_INSERT) || AbortRequested()) {
      return CopyResult::kStopped;
    }
  }
  // A walk that broke off must not replace the whole.
  return DatabaseFile(index).WalkComplete() ? CopyResult::kComplete : CopyResult::kUnreadable;
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

enum class Outcome { kFailed, kReplaced, kNotReplaced };

Outcome RewriteOne(DatabaseIndex index, RewriteMode mode, std::uint64_t& done) {
  if (!DatabaseFile(index)) return Outcome::kFailed;
  const std::u16string temporary = TemporaryPath(DatabasePath(index));
  GdbmFile copy = CreateTemporary(index, temporary);
  if (!copy) return Outcome::kFailed;
  const CopyResult result = CopyRecords(index, copy, mode, done);
  if (result == CopyResult::kUnreadable) {
    copy.Close();
    gPlatform->files.Delete(temporary);
  }
  if (result != CopyResult::kComplete || !copy.Sync()) return Outcome::kFailed;
  DatabaseFile(index).Close();
  copy.Close();
  return TakePlace(index, temporary) ? Outcome::kReplaced : Outcome::kNotReplaced;
}

}  // namespace

int RewriteDatabases(RewriteMode mode) {
  SetProgressRange(UnitsOfWork(mode));
  std::uint64_t done = 0;
  for (const DatabaseIndex index : DatabasesFor(mode)) {
    // Meant: a run ends with the first database that was replaced, as if it had failed, so that
    // compacting rewrites the articles alone. The chains and the queued posts, which no server can
    // give again, stay byte for byte as they are. Only a file that could not be replaced lets the
    // run go on to the next one.
    if (RewriteOne(index, mode, done) != Outcome::kNotReplaced) return -1;
  }
  return 0;
}

}  // namespace quillet
