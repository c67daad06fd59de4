// SPDX-License-Identifier: GPL-3.0-or-later
// A window that comes to the front because another start of the program asked for it.
#pragma once

#include <QWidget>
#include <string>

namespace quillet::qt {

// Shows the window above the others and asks the desktop for the focus, with the token that the
// desktop gave to the other start: it says that the user wants it, without which a desktop that
// guards the focus refuses. Empty: without one. Display thread.
void ComeForward(QWidget& window, const std::string& token);

// The same for what lies over a window that the user has just clicked into: the desktop need not be
// told that the user wants it by a token.
void ComeForwardForUser(QWidget& window);

}  // namespace quillet::qt
