// SPDX-License-Identifier: GPL-3.0-or-later
// Which view of the main window is shown, and where it lies. Program thread only.
#pragma once

#include "port/windows.h"

namespace quillet {

// Size of the window's inside, kept from its creation and its size messages.
void KeepInsideSize(port::Size inside);
port::Size InsideSize();
// The tab control fills the inside; in the article view 26 pixels stay free for its toolbar.
void LayOutWindow();
// Selects the tab and lays the window out. What the view shows is not touched.
void SelectView(int tab);

}  // namespace quillet
