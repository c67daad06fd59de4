// SPDX-License-Identifier: GPL-3.0-or-later
// Starting, waiting, announcing, ending.
#pragma once

#include <span>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> FlowCommands();

}  // namespace quillet
