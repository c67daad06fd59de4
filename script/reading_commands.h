// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree and the article view: what a user does with them and what a script asks of them.
#pragma once

#include <span>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> ReadingCommands();

}  // namespace quillet
