// SPDX-License-Identifier: GPL-3.0-or-later
// What a user does with the open dialog. Main thread.
#pragma once

#include <span>
#include <string>

#include "script/commands.h"

namespace quillet {

// Their part of the table.
std::span<const ScriptCommand> DialogCommands();

// The modal dialog on top, else the window with a form that is in front of the others; 0 when none
// is open.
port::WindowHandle OpenDialog(const port::FakeDisplay& display);
// Ticks or unticks a box of the open dialog, by its control id.
void TickControl(ScriptContext& context, const std::u16string& control, bool checked);

}  // namespace quillet
