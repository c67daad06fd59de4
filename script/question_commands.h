// SPDX-License-Identifier: GPL-3.0-or-later
// What a script asks, and its settings.
#pragma once

#include <span>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> QuestionCommands();

}  // namespace quillet
