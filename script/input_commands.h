// SPDX-License-Identifier: GPL-3.0-or-later
// What a user does with the main window and the group list; what all commands that
// play the user share. Main thread.
#pragma once

#include <span>
#include <string>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> InputCommands();

// Throws when input was not taken, saying what stands in its way.
void Require(ScriptContext& context, bool taken);
// Waits until the program waits for messages; throws unless the main window takes input then.
void RequireMainWindow(ScriptContext& context);
// The row of the group in the list; throws when there is none.
int RowOf(ScriptContext& context, const std::u16string& group);

}  // namespace quillet
