// SPDX-License-Identifier: GPL-3.0-or-later
// The transaction log as a file of the user's. Program thread only.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// The text of the saved file, in code page 1252 with the log's own line ends: asterisks stand for
// the rest of a line behind AUTHINFO PASS.
std::string SavedTransactionLog(std::u16string_view log);

// Asks for a name and saves the log there, readable for the user alone. Without a log a message
// says so; an empty log is an empty file.
void SaveTransactionLog();

}  // namespace quillet
