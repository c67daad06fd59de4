// SPDX-License-Identifier: GPL-3.0-or-later
// How the user gets to see the error log of a connection. Program thread only.
#pragma once

#include <string_view>

namespace quillet {

// What nobody waits for: a window of its own beside all others. While it is open, later texts are
// added to it, so that a night's scheduled runs do not wait for somebody to press OK.
void AddToErrorLogWindow(std::u16string_view text);
// Takes the window down, if it is open. Idempotent.
void CloseErrorLog();

}  // namespace quillet
