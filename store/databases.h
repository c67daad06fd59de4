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
bool OpenGDBMDatabases();
// True from an opening that found the files left by a writer that did not get to its end, until the
// program ends.
[[nodiscard]] bool StoreEndedUncleanly();
void CloseDatabases();
bool DatabasesOpen();  // all three
bool DeleteDatabases(bool include_pending);
// Closes, deletes and opens the pending posts database anew; false when that failed.
bool ResetPendingPostsDatabase();
bool ReopenDatabases();
std::uint32_t DatabaseFileSize(DatabaseIndex index);
std::u16string DatabaseLibraryVersion();
void DatabaseFatalError(std::string_view message);

// --- Raw records, for the rest of store/ ---------------------------------------------------------

enum class StoreMode { kInsert, kReplace };

// False when the store failed, the key existed (kInsert) or gDatabaseErrorFlag is set.
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
