// SPDX-License-Identifier: GPL-3.0-or-later
// The menu bar and the buttons of each view, drawn from the tables of res/commands.h.
#pragma once

#include <cstdint>
#include <functional>

class QMenuBar;
class QWidget;

namespace quillet::qt {

using CommandHandler = std::function<void(std::uint32_t command)>;

// Replaces what the bar shows by the trees of the view. Shortcuts are shown, not bound: keys go to
// the program, which has its own accelerator tables. Titles of menus have no key of their own in
// the tables; each gets the first letter that no other text beside it has, so that Alt and the
// letter open it. Escape in a menu of the bar leads back to what had the focus before.
void FillMenuBar(QMenuBar& bar, int view, const CommandHandler& handler);

// The image buttons of the view in a row; null for a view that has none.
QWidget* NewViewButtons(int view, const CommandHandler& handler, QWidget* parent);

}  // namespace quillet::qt
