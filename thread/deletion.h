// SPDX-License-Identifier: GPL-3.0-or-later
// Deleting articles through the shown tree: the article record, its chain record, the counts of the
// group with their cache, the tree's own counts and the tree control. Program thread only.
#pragma once

#include <optional>

#include "base/run_end.h"
#include "store/node.h"

namespace quillet {

// Deletes an article node; its children take its place, a subject node left empty goes with it. A
// subject node: its whole thread. Returns the article that follows in pre-order, null at the end.
// When the current article was among those deleted, it is cleared. Asks nothing.
Node* DeleteArticleNode(Node& node);
// Deletes every article of the node's thread; the first article of the next thread, or null.
Node* DeleteThreadNode(Node& node);
// Every read article of the shown tree, with progress (one unit an article) and abort. Tells what
// ended it before its time: an abort, or a store that refused. Nothing, and nothing is done,
// without a tree or with one that does not show all that the store holds.
std::optional<RunEnd> DeleteReadOfShownTree();

}  // namespace quillet
