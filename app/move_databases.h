// Moving the databases to another store. Program thread only.
#pragma once

#include <string>

namespace quillet {

// Closes the databases, moves them to the store of that name (empty: main memory) and opens them
// there; or opens those that lie there already, when the user wants to keep them. The record and
// the registry name the new store only when all of that was done. Otherwise everything stays where
// it was, the user is told, and the databases are open as before.
void MoveDatabases(const std::u16string& databasestore);

}  // namespace quillet
