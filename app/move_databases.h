// SPDX-License-Identifier: GPL-3.0-or-later
// Moving the databases to another store. Program thread only.
#pragma once

#include <string>

namespace quillet {

// Closes the databases, moves them to the store of that name (empty: main memory) and opens them
// there. The record and the registry name the new store only when all of that was done. Otherwise
// everything stays where it was, the user is told, and the databases are open as before; so also,
// without a word, when other databases lie there and the user does not want them replaced. A store
// on which no folder can be made counts as a card that has gone: those in main memory are used.
void MoveDatabases(const std::u16string& databasestore);

}  // namespace quillet
