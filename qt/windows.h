// SPDX-License-Identifier: GPL-3.0-or-later
// The main window and group list services on the toolkit.
#pragma once

#include <memory>

#include "port/list_view.h"
#include "port/windows.h"
#include "qt/display.h"

namespace quillet::qt {

// The display must outlive them.
std::unique_ptr<port::Windows> NewWindows(Display& display);
std::unique_ptr<port::ListView> NewListView(Display& display);

}  // namespace quillet::qt
