// SPDX-License-Identifier: GPL-3.0-or-later
// What the user does to the rows happens here; the program is told of activation and of the menu
// that is asked for, as a real tree tells it.
#include "port/fake/fake_tree.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace quillet::port {

FakeTree::FakeTree(FakeScreen& screen) : screen_(screen) {
  screen_.WhenPanesGo([this] { tree_ = {}; });
}

// --- the service ---

void FakeTree::CreateTree(std::u16string_view name, std::u16string_view font_face,
                          int font_size_index) {
  screen_.CheckThread("CreateTree");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0 || !screen_.window.has_tabs) return;
    std::u16string caption = std::move(tree_.caption);
    screen_.DropPaneFocus(kThreadTab);
    tree_ = {};
    tree_.created = true;
    tree_.name = name;
    tree_.font_face = font_face;
    tree_.font_size_index = font_size_index;
    tree_.caption = std::move(caption);
    screen_.Changed();
  }
  screen_.observer().OnTreeChanged();
}

void FakeTree::SetTreeFont(std::u16string_view font_face, int font_size_index) {
  screen_.CheckThread("SetTreeFont");
  {
    const auto lock = screen_.Locked();
    if (!tree_.created) return;
    tree_.font_face = font_face;
    tree_.font_size_index = font_size_index;
    screen_.Changed();
  }
  screen_.observer().OnTreeChanged();
}

void FakeTree::SetTreeTraits(const TreeTraits& traits) {
  screen_.CheckThread("SetTreeTraits");
  const auto lock = screen_.Locked();
  if (!tree_.created) return;
  tree_.traits = traits;
  screen_.Changed();
}

bool FakeTree::TreeCreated() {
  screen_.CheckThread("TreeCreated");
  const auto lock = screen_.Locked();
  return tree_.created;
}

void FakeTree::FillTree(std::vector<TreeRow> rows) {
  screen_.CheckThread("FillTree");
  const std::string wrong = WrongRows(rows);
  if (!wrong.empty()) return screen_.on_failure("display: " + wrong);
  {
    const auto lock = screen_.Locked();
    if (!tree_.created) return;
    tree_.rows = std::move(rows);
    ++tree_.fills;
    DropGoneItems(tree_);
    screen_.Changed();
  }
  screen_.observer().OnTreeChanged();
}

void FakeTree::ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) {
  screen_.CheckThread("ReplaceSubtree");
  std::string wrong;
  {
    const auto lock = screen_.Locked();
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
      screen_.Changed();
    }
  }
  if (!wrong.empty()) return screen_.on_failure("display: " + wrong);
  screen_.observer().OnTreeChanged();
}

void FakeTree::SetLabels(std::vector<TreeLabel> labels) {
  screen_.CheckThread("SetLabels");
  std::unordered_map<TreeItem, TreeLabel*> label_of;
  label_of.reserve(labels.size());
  for (TreeLabel& label : labels) label_of[label.item] = &label;
  {
    const auto lock = screen_.Locked();
    if (!tree_.created) return;
    for (TreeRow& row : tree_.rows) {
      const auto found = label_of.find(row.item);
      if (found == label_of.end()) continue;
      row.bold = found->second->bold;
      row.text = std::move(found->second->text);
    }
    screen_.Changed();
  }
  screen_.observer().OnTreeChanged();
}

void FakeTree::SelectItem(TreeItem item) {
  screen_.CheckThread("SelectItem");
  bool unknown = false;
  {
    const auto lock = screen_.Locked();
    if (!tree_.created) return;
    unknown = item != 0 && !HasItem(tree_.rows, item);
    if (!unknown) {
      tree_.selected = item;
      if (item != 0) ExpandAbove(tree_, IndexOf(tree_.rows, item));
      screen_.Changed();
    }
  }
  if (unknown) {
    return screen_.on_failure("display: no tree item to select: " + std::to_string(item));
  }
  screen_.observer().OnTreeChanged();
}

TreeItem FakeTree::SelectedItem() {
  screen_.CheckThread("SelectedItem");
  const auto lock = screen_.Locked();
  return tree_.selected;
}

void FakeTree::SetCaption(std::u16string_view text) {
  screen_.CheckThread("SetCaption");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0 || !screen_.window.has_tabs) return;
    tree_.caption = text;
    screen_.Changed();
  }
  screen_.observer().OnTreeChanged();
}

void FakeTree::FocusTree() {
  screen_.CheckThread("FocusTree");
  const auto lock = screen_.Locked();
  if (!tree_.created) return;
  screen_.FocusPane(kThreadTab);
  screen_.Changed();
}

// --- what is shown ---

ShownTree FakeTree::tree() const {
  const auto lock = screen_.Locked();
  ShownTree shown = tree_;
  shown.focused = screen_.PaneFocused(kThreadTab);
  return shown;
}

std::size_t FakeTree::tree_rows() const {
  const auto lock = screen_.Locked();
  return tree_.rows.size();
}

std::u16string FakeTree::caption() const {
  const auto lock = screen_.Locked();
  return tree_.caption;
}

TreeItem FakeTree::FindItem(std::u16string_view text) const {
  const auto lock = screen_.Locked();
  for (const TreeRow& row : tree_.rows) {
    if (row.text == text) return row.item;
  }
  return 0;
}

// --- what the user does ---

bool FakeTree::TreeTakesInput() const {
  return tree_.created && screen_.PaneTakesInput(kThreadTab);
}

bool FakeTree::ClickItemLocked(TreeItem item) {
  if (!TreeTakesInput() || !HasItem(tree_.rows, item)) return false;
  ExpandAbove(tree_, IndexOf(tree_.rows, item));
  tree_.selected = item;
  screen_.FocusPane(kThreadTab);
  screen_.Changed();
  return true;
}

bool FakeTree::ClickItem(TreeItem item) {
  const auto lock = screen_.Locked();
  return ClickItemLocked(item);
}

bool FakeTree::ActivateItem(TreeItem item) {
  const auto lock = screen_.Locked();
  if (!ClickItemLocked(item)) return false;
  screen_.queues.Post({screen_.window.handle, MessageKind::kItemActivated, item, 0, {}});
  return true;
}

bool FakeTree::AskItemMenu(TreeItem item) {
  const auto lock = screen_.Locked();
  if (item == 0 ? !TreeTakesInput() : !ClickItemLocked(item)) return false;
  if (item == 0) tree_.selected = 0;
  screen_.queues.Post({screen_.window.handle, MessageKind::kContextMenu, item, 0, {}});
  return true;
}

bool FakeTree::ExpandItem(TreeItem item, bool expanded) {
  const auto lock = screen_.Locked();
  if (!TreeTakesInput() || !HasItem(tree_.rows, item)) return false;
  const std::size_t index = IndexOf(tree_.rows, item);
  if (!HasChildren(tree_.rows, index)) return false;
  ExpandAbove(tree_, index);
  if (expanded) {
    tree_.expanded.insert(item);
  } else {
    CollapseRow(tree_, index);
  }
  screen_.Changed();
  return true;
}

bool FakeTree::ExpandAll(bool expanded) {
  const auto lock = screen_.Locked();
  if (!TreeTakesInput()) return false;
  std::size_t top = 0;  // the row at the top level above this one
  for (std::size_t i = 0; i < tree_.rows.size(); ++i) {
    const TreeItem item = tree_.rows[i].item;
    if (tree_.rows[i].depth == 0) top = i;
    if (expanded && HasChildren(tree_.rows, i)) tree_.expanded.insert(item);
    if (!expanded && item == tree_.selected) tree_.selected = tree_.rows[top].item;
  }
  if (!expanded) tree_.expanded.clear();
  screen_.Changed();
  return true;
}

// The row that is selected after the key; `visible` is not empty.
std::size_t FakeTree::RowAfterTreeKey(std::uint32_t virtual_key,
                                      const std::vector<std::size_t>& visible) {
  const std::size_t row = IndexOf(tree_.rows, tree_.selected);
  const auto place = std::find(visible.begin(), visible.end(), row);
  if (place == visible.end()) return virtual_key == kKeyEnd ? visible.back() : visible.front();
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
      CollapseRow(tree_, row);
      return row;
    case kKeyRight:
      if (expanded) return row + 1;
      if (parent) tree_.expanded.insert(tree_.rows[row].item);
      return row;
    default:
      return row;
  }
}

void FakeTree::PressTreeKey(std::uint32_t virtual_key) {
  if (!TreeTakesInput() || !screen_.PaneFocused(kThreadTab)) return;
  if (virtual_key == kKeyContextMenu) {
    screen_.queues.Post({screen_.window.handle, MessageKind::kContextMenu, tree_.selected, 0, {}});
  }
  if (virtual_key == kKeyReturn && tree_.selected != 0) {
    screen_.queues.Post(
        {screen_.window.handle, MessageKind::kItemActivated, tree_.selected, 0, {}});
  }
  constexpr std::uint32_t kMoves[] = {kKeyUp, kKeyDown, kKeyLeft, kKeyRight, kKeyHome, kKeyEnd};
  if (std::find(std::begin(kMoves), std::end(kMoves), virtual_key) == std::end(kMoves)) return;
  const std::vector<std::size_t> visible = VisibleRows(tree_);
  if (visible.empty()) return;
  // Without a selection they would go by the row that has the focus, which is not kept here.
  const bool sideways = virtual_key == kKeyLeft || virtual_key == kKeyRight;
  if (sideways && tree_.selected == 0) return;
  tree_.selected = tree_.rows[RowAfterTreeKey(virtual_key, visible)].item;
  screen_.Changed();
}

}  // namespace quillet::port
