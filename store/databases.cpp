// SPDX-License-Identifier: GPL-3.0-or-later
// The three open files behind one set of calls, and what surrounds them: the mark that tells a
// killed writer from a proper end, set before every change, and the look, after every call that
// failed, at whether the file needs recovery, which is told once and ends the program.
#include "store/databases.h"

#include <array>
#include <limits>

#include "base/app_messages.h"
#include "base/changes.h"
#include "base/messages.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/database_open.h"
#include "store/device_path.h"
#include "store/opening.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "store/refusals.h"
#include "store/store_room.h"
#include "store/use_mark.h"
#include "store/whole_points.h"
#include "util/text.h"

namespace quillet {

std::uint32_t gPendingPostCount = 0;
bool gDatabaseErrorFlag = false;

namespace {

bool gLackedRoom = false;

struct Database {
  std::u16string_view file_name;
  GdbmFile file;
  bool failure_told = false;  // that this open file has come to need recovery
};

std::array<Database, kDatabaseCount> gDatabases = {{
    {u"Quillet articles.gdb", {}, false},
    {u"Quillet newsgroups.gdb", {}, false},
    {u"Quillet pending posts.gdb", {}, false},
}};

const ResetAtEnd kReset([] {
  for (Database& database : gDatabases) {
    database.file.Close();
    database.failure_told = false;
  }
  gPendingPostCount = 0;
  gDatabaseErrorFlag = false;
  gLackedRoom = false;
});

Database& Of(DatabaseIndex index) {
  return gDatabases[static_cast<std::size_t>(index)];
}

bool DeleteFile(DatabaseIndex index) {
  return gPlatform->files.Delete(DatabasePath(index));
}

// A file that could not grow is corrected and used on. What it may have lost is put together at the
// next opening.
void AfterFullDisk(DatabaseIndex index) {
  StoreIsTorn();
  gLackedRoom = true;
  if (CorrectOpenFile(index)) return;
  gDatabaseErrorFlag = true;
  ReportCriticalError(u"there is no free space left for the databases", u"GDBMce");
}

// After every call that failed: a file that has just come to need recovery is a fatal error. One is
// enough: the program ends with it.
void CheckAfterFailure(DatabaseIndex index) {
  Database& database = Of(index);
  if (gDatabaseErrorFlag || database.failure_told || !database.file.NeedsRecovery()) return;
  if (LastRefusal() == SystemRefusal::kNoRoom) {
    AfterFullDisk(index);
    return;
  }
  database.failure_told = true;
  DatabaseFatalError(database.file.LastError());
}

template <class Result>
Result Checked(DatabaseIndex index, Result result) {
  if (!result) CheckAfterFailure(index);
  return result;
}

// Such a store takes no room: the library writes the value where the old one lies.
bool ReplacesAlike(GdbmFile& file, std::string_view key, std::string_view value) {
  const HeldValue old = file.FetchHeld(key);
  return old && old.view().size() == value.size();
}

std::uint64_t FileBytes(DatabaseIndex index) {
  return gPlatform->files.FileSize(DatabasePath(index)).value_or(0);
}

}  // namespace

GdbmFile& DatabaseFile(DatabaseIndex index) {
  return Of(index).file;
}

std::u16string_view DatabaseFileName(DatabaseIndex index) {
  return Of(index).file_name;
}

std::u16string DatabasePath(DatabaseIndex index) {
  return PathIn(gDatabaseFolder, DatabaseFileName(index));
}

bool LoadDatabaseLibrary() {
  return BindGdbm();
}

void CloseDatabases() {
  SyncBeforeClosing();
  bool sound = true;
  for (Database& database : gDatabases) {
    sound = sound && !database.file.NeedsRecovery();
    database.file.Close();
    database.failure_told = false;
  }
  // With the mark, damage found while they were open is repaired at the next opening.
  EndWholePoints(sound);
}

bool DatabasesOpen() {
  for (const Database& database : gDatabases) {
    if (!database.file) return false;
  }
  return true;
}

bool DeleteDatabases(bool include_pending) {
  CloseDatabases();
  // The articles go first: an opening that finds the rest without them goes on with the deletion.
  const bool articles = DeleteFile(DatabaseIndex::kArticles);
  const bool newsgroups = DeleteFile(DatabaseIndex::kNewsgroups);
  for (const std::u16string_view list : {kLostArticlesName, kDeletedCrossPostsName}) {
    gPlatform->files.Delete(PathIn(gDatabaseFolder, list));
  }
  const bool pending = !include_pending || DeleteFile(DatabaseIndex::kPendingPosts);
  return articles && newsgroups && pending;
}

bool SetDatabasesAside() {
  CloseDatabases();
  bool all = true;
  for (const DatabaseIndex index : kAllDatabases) {
    const std::u16string path = DatabasePath(index);
    if (!gPlatform->files.FileSize(path) && !gPlatform->files.FolderExists(path)) continue;
    all = gPlatform->files.Rename(path, DatedName(path)) && all;
  }
  if (!all) return false;
  ClearUseMark();
  return true;
}

bool StoreLacksRoom() {
  return gLackedRoom;
}

bool ResetPendingPostsDatabase() {
  Of(DatabaseIndex::kPendingPosts).file.Close();
  DeleteFile(DatabaseIndex::kPendingPosts);
  // What was in it must not come back from there.
  gPlatform->files.Delete(CopyPath(DatabaseIndex::kPendingPosts));
  Of(DatabaseIndex::kPendingPosts).file =
      SettleDatabaseFile(DatabasePath(DatabaseIndex::kPendingPosts), {}, false).file;
  Of(DatabaseIndex::kPendingPosts).failure_told = false;
  gPendingPostCount = CountPendingPosts();
  ForgetAllRefusals();
  return static_cast<bool>(Of(DatabaseIndex::kPendingPosts).file);
}

bool ReopenDatabases() {
  CloseDatabases();
  // Other articles may lie there.
  NoteChange(Change::kStore);
  if (!OpenGDBMDatabases()) {
    ReportError(u"unable to reopen GDBM databases", u"ReopenDatabases");
    return false;
  }
  PostToMainWindow(kUserRefreshCounts);
  PostToMainWindow(kUserRefillGroupList);
  return true;
}

std::uint32_t DatabaseFileSize(DatabaseIndex index) {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
  return static_cast<std::uint32_t>(std::min(FileBytes(index), kLargest));
}

std::u16string DatabaseLibraryVersion() {
  return gGdbm.version == nullptr ? u"" : Widen(*gGdbm.version);
}

void DatabaseFatalError(std::string_view message) {
  constexpr std::size_t kLongestMessage = 2047;
  const std::u16string text = Widen(message.substr(0, kLongestMessage));
  gDatabaseErrorFlag = true;
  if (!AskYesNo(u"A critical error occurred while accessing the Quillet CE databases. Delete them?",
                port::kIdNo)) {
    ReportCriticalError(text, u"GDBMce");
    return;
  }
  if (!SetDatabasesAside()) {
    ReportCriticalError(text, u"GDBMce");
    return;
  }
  ReportCriticalError(u"The databases have been deleted. You will need to restart Quillet CE now.",
                      u"GDBMce");
}

bool StoreValue(DatabaseIndex index, std::string_view key, std::string_view value, StoreMode mode) {
  GdbmFile& file = Of(index).file;
  if (!file) return false;
  gLackedRoom = !RoomForRecord(key.size() + value.size()) && !ReplacesAlike(file, key, value);
  if (gLackedRoom) return false;
  BeforeChange(index);
  const int flag = mode == StoreMode::kInsert ? GDBM_INSERT : GDBM_REPLACE;
  return Checked(index, file.Store(key, value, flag)) && !gDatabaseErrorFlag;
}

bool InsertOrReplaceValue(DatabaseIndex index, std::string_view key, std::string_view value) {
  return StoreValue(index, key, value, StoreMode::kInsert) ||
         StoreValue(index, key, value, StoreMode::kReplace);
}

std::optional<std::string> FetchValue(DatabaseIndex index, std::string_view key) {
  return Checked(index, Of(index).file.Fetch(key));
}

HeldValue FetchHeldValue(DatabaseIndex index, std::string_view key) {
  return Checked(index, Of(index).file.FetchHeld(key));
}

bool ValueExists(DatabaseIndex index, std::string_view key) {
  return Checked(index, Of(index).file.Exists(key));
}

bool DeleteValue(DatabaseIndex index, std::string_view key) {
  GdbmFile& file = Of(index).file;
  if (!file) return false;
  BeforeChange(index);
  return Checked(index, file.Delete(key));
}

std::optional<std::string> FirstKey(DatabaseIndex index) {
  return Checked(index, Of(index).file.FirstKey(FileBytes(index)));
}

std::optional<std::string> NextKey(DatabaseIndex index, std::string_view key) {
  return Checked(index, Of(index).file.NextKey(key));
}

}  // namespace quillet
