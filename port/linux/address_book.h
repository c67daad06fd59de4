// SPDX-License-Identifier: GPL-3.0-or-later
// The address books of a mail program that keeps them in SQLite files: a table of properties
// (card, name, value). Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "port/contacts.h"

namespace quillet::port {

// Opened read-only and as if nobody wrote to it: no lock is taken or heeded and nothing is made
// beside the file. Nothing when it cannot be read at all; of a damaged one what could be read.
std::optional<std::vector<Contact>> ReadAddressBook(const std::string& file);

}  // namespace quillet::port
