// The rows and labels of the tree control. Program thread only. (BuildTreeView, RefreshThreadLabels
// and ThreadLabel are declared in thread/view.h.)
#pragma once

#include <functional>

#include "store/node.h"

namespace quillet {

// BuildTreeView of the whole tree; `row_made` is called after each article's row.
void FillTreeControl(Node& root, const std::function<void()>& row_made);
// Takes a thread that is not in the tree any more out of the control.
void TakeOutOfTreeControl(const Node& thread);
// The control has gone, and what it showed.
void ForgetShownLabels();

}  // namespace quillet
