// SPDX-License-Identifier: GPL-3.0-or-later
// Opening the three databases together, whatever state they were left in: OpenGDBMDatabases of
// store/databases.h. Only for store/.
#pragma once

#include "store/database_open.h"
#include "store/databases.h"

namespace quillet {

// Corrects an open file that could not grow, where it lies, and opens it again. False when that was
// not enough; the file is closed then. What it lost is left to the next opening.
bool CorrectOpenFile(DatabaseIndex index);

}  // namespace quillet
