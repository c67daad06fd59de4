// The thread tree: what the program calls and what the user does with it.
#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "port/fake/fake_display.h"
#include "util/text.h"

namespace quillet::port {
namespace {

using Rows = std::vector<TreeRow>;

std::size_t IndexOf(const Rows& rows, TreeItem item) {
  const auto found =
      std::find_if(rows.begin(), rows.end(), [&](const TreeRow& row) { return row.item == item; });
  return static_cast<std::size_t>(found - rows.begin());
}

bool HasItem(const Rows& rows, TreeItem item) {
  return item != 0 && IndexOf(rows, item) != rows.size();
}

bool HasChildren(const Rows& rows, std::size_t index) {
  return index + 1 < rows.size() && rows[index + 1].depth > rows[index].depth;
}

// Behind the last row below this one.
std::size_t EndOfSubtree(const Rows& rows, std::size_t index) {
  std::size_t end = index + 1;
  while (end < rows.size() && rows[end].depth > rows[index].depth) ++end;
  return end;
}

// The row's own index at the top level.
std::size_t ParentOf(const Rows& rows, std::size_t index) {
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

// What is wrong with rows that a tree is made of; empty when nothing is.
std::string WrongRows(const Rows& rows) {
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

// What is wrong with putting rows in the place of those from `first` to `end`.
std::string WrongReplacement(const Rows& old, std::size_t first, std::size_t end,
                             const Rows& rows) {
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

// What is not there any more is neither selected nor expanded.
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

}  // namespace

std::vector<std::size_t> VisibleRows(const ShownTree& tree) {
  std::vector<std::size_t> visible;
  for (std::size_t i = 0; i < tree.rows.size();) {
    visible.push_back(i);
    i = tree.expanded.contains(tree.rows[i].item) ? i + 1 : EndOfSubtree(tree.rows, i);
  }
  return visible;
}

// --- what the program calls ---

void FakeDisplay::CreateTree(std::u16string_view name, std::u16string_view font_face,
                             int font_size_index) {
  CheckThread("CreateTree");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    std::u16string caption = std::move(tree_.caption);
    tree_ = {};
    tree_.created = true;
    tree_.name = name;
    tree_.font_face = font_face;
    tree_.font_size_index = font_size_index;
    tree_.caption = std::move(caption);
    Changed();
  }
  observer().OnTreeChanged();
}

bool FakeDisplay::TreeCreated() {
  CheckThread("TreeCreated");
  const Lock lock(mutex_);
  return tree_.created;
}

void FakeDisplay::FillTree(std::vector<TreeRow> rows) {
  CheckThread("FillTree");
  const std::string wrong = WrongRows(rows);
  if (!wrong.empty()) return on_failure("display: " + wrong);
  {
    const Lock lock(mutex_);
    if (!tree_.created) return;
    tree_.rows = std::move(rows);
    ++tree_.fills;
    DropGoneItems(tree_);
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) {
  CheckThread("ReplaceSubtree");
  std::string wrong;
  {
    const Lock lock(mutex_);
    if (!HasItem(tree_.rows, item)) return;
    const std::size_t first = IndexOf(tree_.rows, item);
    const std::size_t end = EndOfSubtree(tree_.rows, first);
    wrong = WrongReplacement(tree_.rows, first, end, rows);
    if (wrong.empty()) {
      const std::uint32_t depth = tree_.rows[first].depth;
      for (TreeRow& row : rows) row.depth += depth;
      const auto begin = tree_.rows.begin();
      const auto place = tree_.rows.erase(begin + static_cast<std::ptrdiff_t>(first),
                                          begin + static_cast<std::ptrdiff_t>(end));
      tree_.rows.insert(place, std::make_move_iterator(rows.begin()),
                        std::make_move_iterator(rows.end()));
      DropGoneItems(tree_);
      Changed();
    }
  }
  if (!wrong.empty()) return on_failure("display: " + wrong);
  observer().OnTreeChanged();
}

void FakeDisplay::SetLabels(std::vector<TreeLabel> labels) {
  CheckThread("SetLabels");
  std::unordered_map<TreeItem, TreeLabel*> label_of;
  label_of.reserve(labels.size());
  for (TreeLabel& label : labels) label_of[label.item] = &label;
  {
    const Lock lock(mutex_);
    if (!tree_.created) return;
    for (TreeRow& row : tree_.rows) {
      const auto found = label_of.find(row.item);
      if (found == label_of.end()) continue;
      row.bold = found->second->bold;
      row.text = std::move(found->second->text);
    }
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::SelectItem(TreeItem item) {
  CheckThread("SelectItem");
  bool unknown = false;
  {
    const Lock lock(mutex_);
    if (!tree_.created) return;
    unknown = item != 0 && !HasItem(tree_.rows, item);
    if (!unknown) {
      tree_.selected = item;
      if (item != 0) ExpandAbove(tree_, IndexOf(tree_.rows, item));
      Changed();
    }
  }
  if (unknown) return on_failure("display: no tree item to select: " + std::to_string(item));
  observer().OnTreeChanged();
}

TreeItem FakeDisplay::SelectedItem() {
  CheckThread("SelectedItem");
  const Lock lock(mutex_);
  return tree_.selected;
}

void FakeDisplay::SetCaption(std::u16string_view text) {
  CheckThread("SetCaption");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    tree_.caption = text;
    Changed();
  }
  observer().OnTreeChanged();
}

void FakeDisplay::FocusTree() {
  CheckThread("FocusTree");
  const Lock lock(mutex_);
  if (!tree_.created) return;
  tree_.focused = true;
  article_.focused = false;
  Changed();
}

// --- what is shown ---

ShownTree FakeDisplay::tree() const {
  const Lock lock(mutex_);
  return tree_;
}

std::size_t FakeDisplay::tree_rows() const {
  const Lock lock(mutex_);
  return tree_.rows.size();
}

std::u16string FakeDisplay::caption() const {
  const Lock lock(mutex_);
  return tree_.caption;
}

TreeItem FakeDisplay::FindItem(std::u16string_view text) const {
  const Lock lock(mutex_);
  for (const TreeRow& row : tree_.rows) {
    if (row.text == text) return row.item;
  }
  return 0;
}

// --- what the user does ---

bool FakeDisplay::TreeTakesInput() const {
  return TakesInputLocked(window_.handle) && tree_.created && window_.tab == kThreadTab;
}

bool FakeDisplay::ClickItemLocked(TreeItem item) {
  if (!TreeTakesInput() || !HasItem(tree_.rows, item)) return false;
  ExpandAbove(tree_, IndexOf(tree_.rows, item));
  tree_.selected = item;
  tree_.focused = true;
  Changed();
  return true;
}

bool FakeDisplay::ClickItem(TreeItem item) {
  const Lock lock(mutex_);
  return ClickItemLocked(item);
}

bool FakeDisplay::ActivateItem(TreeItem item) {
  const Lock lock(mutex_);
  if (!ClickItemLocked(item)) return false;
  queues_.Post({window_.handle, MessageKind::kItemActivated, item, 0, {}});
  return true;
}

bool FakeDisplay::AskItemMenu(TreeItem item) {
  const Lock lock(mutex_);
  if (item == 0 ? !TreeTakesInput() : !ClickItemLocked(item)) return false;
  if (item == 0) tree_.selected = 0;
  queues_.Post({window_.handle, MessageKind::kContextMenu, item, 0, {}});
  return true;
}

bool FakeDisplay::ExpandItem(TreeItem item, bool expanded) {
  const Lock lock(mutex_);
  if (!TreeTakesInput() || !HasItem(tree_.rows, item)) return false;
  const std::size_t index = IndexOf(tree_.rows, item);
  if (!HasChildren(tree_.rows, index)) return false;
  ExpandAbove(tree_, index);
  if (expanded) {
    tree_.expanded.insert(item);
  } else {
    CollapseRow(index);
  }
  Changed();
  return true;
}

bool FakeDisplay::ExpandAll(bool expanded) {
  const Lock lock(mutex_);
  if (!TreeTakesInput()) return false;
  std::size_t top = 0;  // the row at the top level above this one
  for (std::size_t i = 0; i < tree_.rows.size(); ++i) {
    const TreeItem item = tree_.rows[i].item;
    if (tree_.rows[i].depth == 0) top = i;
    if (expanded && HasChildren(tree_.rows, i)) tree_.expanded.insert(item);
    if (!expanded && item == tree_.selected) tree_.selected = tree_.rows[top].item;
  }
  if (!expanded) tree_.expanded.clear();
  Changed();
  return true;
}

// The selection never hides in a collapsed branch.
void FakeDisplay::CollapseRow(std::size_t index) {
  tree_.expanded.erase(tree_.rows[index].item);
  const std::size_t selected = IndexOf(tree_.rows, tree_.selected);
  if (tree_.selected == 0 || selected == tree_.rows.size()) return;
  if (selected > index && selected < EndOfSubtree(tree_.rows, index)) {
    tree_.selected = tree_.rows[index].item;
  }
}

// The row that is selected after the key; `visible` is not empty.
std::size_t FakeDisplay::RowAfterTreeKey(std::uint32_t virtual_key,
                                         const std::vector<std::size_t>& visible) {
  const std::size_t row = IndexOf(tree_.rows, tree_.selected);
  const auto place = std::find(visible.begin(), visible.end(), row);
  if (place == visible.end()) return visible.front();
  const bool parent = HasChildren(tree_.rows, row);
  const bool expanded = parent && tree_.expanded.contains(tree_.rows[row].item);
  switch (virtual_key) {
    case kKeyUp:
      return place == visible.begin() ? row : *(place - 1);
    case kKeyDown:
      return place + 1 == visible.end() ? row : *(place + 1);
    case kKeyHome:
      return visible.front();
    case kKeyEnd:
      return visible.back();
    case kKeyLeft:
      if (!expanded) return ParentOf(tree_.rows, row);
      CollapseRow(row);
      return row;
    case kKeyRight:
      if (expanded) return row + 1;
      if (parent) tree_.expanded.insert(tree_.rows[row].item);
      return row;
    default:
      return row;
  }
}

// What the tree itself does with a key, besides the key's messages.
void FakeDisplay::PressTreeKey(std::uint32_t virtual_key) {
  if (!TreeTakesInput() || !tree_.focused) return;
  if (virtual_key == kKeyContextMenu) {
    queues_.Post({window_.handle, MessageKind::kContextMenu, tree_.selected, 0, {}});
  }
  if (virtual_key == kKeyReturn && tree_.selected != 0) {
    queues_.Post({window_.handle, MessageKind::kItemActivated, tree_.selected, 0, {}});
  }
  constexpr std::uint32_t kMoves[] = {kKeyUp, kKeyDown, kKeyLeft, kKeyRight, kKeyHome, kKeyEnd};
  if (std::find(std::begin(kMoves), std::end(kMoves), virtual_key) == std::end(kMoves)) return;
  const std::vector<std::size_t> visible = VisibleRows(tree_);
  if (visible.empty()) return;
  tree_.selected = tree_.rows[RowAfterTreeKey(virtual_key, visible)].item;
  Changed();
}

}  // namespace quillet::port
