// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the thread view, from its menu, its keys and its context menu. Program thread
// only.
#pragma once

#include <cstdint>

#include "port/tree_view.h"

namespace quillet {

// The selected node's article is shown in the article view; of a subject node the thread's first
// one. False when nothing is selected.
bool OpenSelectedNode();
void HandleThreadItemActivated(port::TreeItem item);
// The pop-up menu of an item, and the command chosen from it.
void HandleThreadContextMenu(port::TreeItem item);
// Commands of the thread view; other ids are ignored.
void HandleThreadCommand(std::uint32_t command);

}  // namespace quillet
