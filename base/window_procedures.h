// SPDX-License-Identifier: GPL-3.0-or-later
// Who handles the messages of which window. Every message loop (the main loop, a modal dialog's,
// the progress thread's) hands out by this table what it takes from its queue, so that a window
// lives on whichever loop is running. Any thread; a window's messages come to the thread that
// created it, and its procedure runs there.
#pragma once

#include <functional>

#include "port/message.h"

namespace quillet {

// Handles one message of its window. May remove itself and set others.
using WindowProcedure = std::function<void(const port::Message& message)>;

// From now on the window's messages are handled by this procedure.
void SetProcedure(port::WindowHandle window, WindowProcedure procedure);
// With the window; what still comes for it is then nobody's. Without a procedure nothing happens.
void RemoveProcedure(port::WindowHandle window);

// Runs the procedure of the message's window; false when it has none.
bool Dispatch(const port::Message& message);

}  // namespace quillet
