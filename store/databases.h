// SPDX-License-Identifier: GPL-3.0-or-later
// The three databases: binding of the library, opening with repair, closing, deleting.
//
// Program thread only. Handles are null when closed; every function that works on a null handle
// treats it as an absent record or a failed store.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "store/held_value.h"

namespace quillet {

enum class DatabaseIndex : int { kArticles = 0, kNewsgroups = 1, kPendingPosts = 2 };
constexpr int kDatabaseCount = 3;

// "Quillet articles.gdb", "Quillet newsgroups.gdb", "Quillet pending posts.gdb".
std::u16string_view DatabaseFileName(DatabaseIndex index);
// Its device path in the current folder (gDatabaseFolder).
std::u16string DatabasePath(DatabaseIndex index);

// Number of queued posts, kept up to date by every change of the pending posts database.
extern std::uint32_t gPendingPostCount;
// Set by the fatal handler, and for the rest of the run: from then on every store counts as failed.
extern bool gDatabaseErrorFlag;

// Binds "gdbmce.dll" with all its 13 names; false when the library or one name is missing. Once
// bound it stays bound.
bool LoadDatabaseLibrary();
// Repairs what a killed writer left (store/make_whole.h). False when one of them stays closed,
// which the user has been told.
bool OpenGDBMDatabases();
// Why the last opening failed. Only damaged files may be offered for deletion.
enum class OpenTrouble { kNone, kInUse, kNoAccess, kNoRoom, kDamaged };
[[nodiscard]] OpenTrouble OpeningTrouble();
void CloseDatabases();
bool DatabasesOpen();  // all three
bool DeleteDatabases(bool include_pending);
// Closes all three and gives those that are there dated names; false when one keeps its name.
[[nodiscard]] bool SetDatabasesAside();
// Closes, deletes and opens the pending posts database anew; false when that failed.
bool ResetPendingPostsDatabase();
bool ReopenDatabases();
std::uint32_t DatabaseFileSize(DatabaseIndex index);
std::u16string DatabaseLibraryVersion();
void DatabaseFatalError(std::string_view message);
// True when the last store failed because the volume is full: what is stored stays, and the program
// goes on.
[[nodiscard]] bool StoreLacksRoom();

// --- Raw records, for the rest of store/ ---------------------------------------------------------

enum class StoreMode { kInsert, kReplace };

// False when the store failed, the key existed (kInsert) or gDatabaseErrorFlag is set; and for lack
// of room, for which StoreLacksRoom is true then.
bool StoreValue(DatabaseIndex index, std::string_view key, std::string_view value, StoreMode mode);
// Insert first, replace when that failed; false when both failed or gDatabaseErrorFlag is set.
bool InsertOrReplaceValue(DatabaseIndex index, std::string_view key, std::string_view value);
std::optional<std::string> FetchValue(DatabaseIndex index, std::string_view key);
HeldValue FetchHeldValue(DatabaseIndex index, std::string_view key);  // the same without a copy
bool ValueExists(DatabaseIndex index, std::string_view key);
bool DeleteValue(DatabaseIndex index, std::string_view key);
// Iteration in the library's order; a store or delete in between may reorder it, so take the next
// key before deleting the current one. Nothing at the end.
std::optional<std::string> FirstKey(DatabaseIndex index);
std::optional<std::string> NextKey(DatabaseIndex index, std::string_view key);

}  // namespace quillet
