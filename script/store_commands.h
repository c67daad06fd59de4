// SPDX-License-Identifier: GPL-3.0-or-later
// What is stored: a group's chain and single articles.
#pragma once

#include <span>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> StoreCommands();

}  // namespace quillet
