// SPDX-License-Identifier: GPL-3.0-or-later
// Importing a saved newsgroup archive, a Unix mbox file. Program thread only; nothing goes over the
// network.
#pragma once

#include <string_view>

namespace quillet {

// The Import command: asks for a file, imports it and shows the groups and their counts anew.
void ImportCommand();

// Stores every message of the file that the store does not have yet, with the line ends that
// DetermineReturnCharacters has found. A file above 1 MB is imported under the progress dialog
// while the extension `importprogress` is on; Cancel ends it between two messages. What was stored
// stays, whatever ends the import. False after the message that the file cannot be opened or is no
// mbox file.
bool ImportMbox(std::u16string_view path);

}  // namespace quillet
