// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/tree_rows.h"

#include <algorithm>
#include <set>
#include <unordered_set>
#include <utility>

#include "port/fake/fake_tree.h"
#include "util/text.h"

namespace quillet::port {

std::size_t IndexOf(const std::vector<TreeRow>& rows, TreeItem item) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const TreeRow& row) { return row.item == item; });
  return static_cast<std::size_t>(found - rows.begin());
}

bool HasItem(const std::vector<TreeRow>& rows, TreeItem item) {
  return item != 0 && IndexOf(rows, item) != rows.size();
}

bool HasChildren(const std::vector<TreeRow>& rows, std::size_t index) {
  return index + 1 < rows.size() && rows[index + 1].depth > rows[index].depth;
}

std::size_t EndOfSubtree(const std::vector<TreeRow>& rows, std::size_t index) {
  std::size_t end = index + 1;
  while (end < rows.size() && rows[end].depth > rows[index].depth) ++end;
  return end;
}

std::size_t ParentOf(const std::vector<TreeRow>& rows, std::size_t index) {
  if (rows[index].depth == 0) return index;
  std::size_t above = index;
  while (rows[above].depth >= rows[index].depth) --above;
  return above;
}

void ExpandAbove(ShownTree& tree, std::size_t index) {
  for (std::size_t above = ParentOf(tree.rows, index); above != index;
       above = ParentOf(tree.rows, index)) {
    tree.expanded.insert(tree.rows[above].item);
    index = above;
  }
}

std::string WrongRows(const std::vector<TreeRow>& rows) {
  std::unordered_set<TreeItem> items;
  items.reserve(rows.size());
  std::uint32_t deepest = 0;
  for (const TreeRow& row : rows) {
    if (row.item == 0) return "a tree row without an item";
    if (row.depth > deepest) return "a tree row without its parent: " + ToUtf8(row.text);
    if (!items.insert(row.item).second) return "a tree item twice: " + ToUtf8(row.text);
    deepest = row.depth + 1;
  }
  return {};
}

std::string WrongReplacement(const std::vector<TreeRow>& old, std::size_t first, std::size_t end,
                             const std::vector<TreeRow>& rows) {
  std::string wrong = WrongRows(rows);
  if (!wrong.empty()) return wrong;
  std::unordered_set<TreeItem> items;
  items.reserve(rows.size());
  for (const TreeRow& row : rows) items.insert(row.item);
  for (std::size_t i = 0; i < old.size(); ++i) {
    if (i >= first && i < end) continue;
    if (items.contains(old[i].item)) return "a tree item twice: " + ToUtf8(old[i].text);
  }
  return {};
}

void DropGoneItems(ShownTree& tree) {
  std::set<TreeItem> expanded;
  bool selected = false;
  for (const TreeRow& row : tree.rows) {
    selected = selected || row.item == tree.selected;
    if (tree.expanded.contains(row.item)) expanded.insert(row.item);
  }
  tree.expanded = std::move(expanded);
  if (!selected) tree.selected = 0;
}

std::vector<std::size_t> VisibleRows(const ShownTree& tree) {
  std::vector<std::size_t> visible;
  for (std::size_t i = 0; i < tree.rows.size();) {
    visible.push_back(i);
    i = tree.expanded.contains(tree.rows[i].item) ? i + 1 : EndOfSubtree(tree.rows, i);
  }
  return visible;
}

void CollapseRow(ShownTree& tree, std::size_t index) {
  tree.expanded.erase(tree.rows[index].item);
  const std::size_t selected = IndexOf(tree.rows, tree.selected);
  if (tree.selected == 0 || selected == tree.rows.size()) return;
  if (selected > index && selected < EndOfSubtree(tree.rows, index)) {
    tree.selected = tree.rows[index].item;
  }
}

}  // namespace quillet::port
