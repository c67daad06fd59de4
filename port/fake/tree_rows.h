// SPDX-License-Identifier: GPL-3.0-or-later
// The rows of a tree without pixels: which lies below which, which are visible, and which make no
// tree. Rows are in the order of the tree from the top, each with its depth.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "port/tree_view.h"

namespace quillet::port {

struct ShownTree;

// The number of rows when there is none of that item.
std::size_t IndexOf(const std::vector<TreeRow>& rows, TreeItem item);
bool HasItem(const std::vector<TreeRow>& rows, TreeItem item);
bool HasChildren(const std::vector<TreeRow>& rows, std::size_t index);
// Behind the last row below this one.
std::size_t EndOfSubtree(const std::vector<TreeRow>& rows, std::size_t index);
// The row's own index at the top level.
std::size_t ParentOf(const std::vector<TreeRow>& rows, std::size_t index);
// The indexes of the rows that no collapsed row hides, from the top.
std::vector<std::size_t> VisibleRows(const ShownTree& tree);

// What is wrong with rows that a tree is made of; empty when nothing is.
std::string WrongRows(const std::vector<TreeRow>& rows);
// What is wrong with putting rows in the place of those of `old` from `first` to `end`.
std::string WrongReplacement(const std::vector<TreeRow>& old, std::size_t first, std::size_t end,
                             const std::vector<TreeRow>& rows);

void ExpandAbove(ShownTree& tree, std::size_t index);
// Collapses the row. The selection never hides in a collapsed branch: it moves to the row.
void CollapseRow(ShownTree& tree, std::size_t index);
// What is not there any more is neither selected nor expanded.
void DropGoneItems(ShownTree& tree);

}  // namespace quillet::port
