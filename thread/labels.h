// SPDX-License-Identifier: GPL-3.0-or-later
// The rows and labels of the tree control. Program thread only.
#pragma once

#include <functional>
#include <string>

#include "store/node.h"

namespace quillet {

std::u16string ThreadLabel(const Node& node);

// Fills the control from the tree in pre-order; with `single` only that node and what is below it
// is put in anew, at its place.
void BuildTreeView(Node& root, bool single);
// BuildTreeView of the whole tree; `row_made` is called after each article's row.
void FillTreeControl(Node& root, const std::function<void()>& row_made);
// Takes a thread that is not in the tree any more out of the control.
void TakeOutOfTreeControl(const Node& thread);
// Bold states and texts of the node, of everything below it and of the nodes above it.
void RefreshThreadLabels(Node& node);
// The control has gone, and what it showed.
void ForgetShownLabels();

}  // namespace quillet
