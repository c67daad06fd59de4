// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree without pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "port/fake/fake_screen.h"
#include "port/fake/tree_rows.h"
#include "port/tree_view.h"

namespace quillet::port {

// The key that asks for a menu: the display's own, the program never hears of it by that name.
constexpr std::uint32_t kKeyContextMenu = 0x5D;

struct ShownTree {
  bool created = false;
  std::u16string name;
  std::u16string font_face;
  int font_size_index = 0;
  TreeTraits traits;
  std::u16string caption;
  std::vector<TreeRow> rows;
  std::set<TreeItem> expanded;
  TreeItem selected = 0;
  int fills = 0;  // times the whole tree was handed over
  bool focused = false;
};

class FakeTree : public TreeView {
 public:
  explicit FakeTree(FakeScreen& screen);
  FakeTree(const FakeTree&) = delete;
  FakeTree& operator=(const FakeTree&) = delete;

  // --- what is shown ---

  ShownTree tree() const;
  std::size_t tree_rows() const;  // how many; costs less than tree()
  std::u16string caption() const;
  // The item of the first row with that text; 0 when there is none.
  TreeItem FindItem(std::u16string_view text) const;

  // --- what the user does: false when a real display would not allow it now ---

  // What hides the item is expanded on the way.
  bool ClickItem(TreeItem item);  // selects it
  bool ActivateItem(TreeItem item);
  // Right click: selects it, then kContextMenu; 0: below the last row.
  bool AskItemMenu(TreeItem item);
  // Refused for an item with nothing below it. A selection that would hide moves to the item.
  bool ExpandItem(TreeItem item, bool expanded);
  bool ExpandAll(bool expanded);

  // --- the service ---

  void CreateTree(std::u16string_view name, std::u16string_view font_face,
                  int font_size_index) override;
  bool TreeCreated() override;
  void SetTreeFont(std::u16string_view font_face, int font_size_index) override;
  void SetTreeTraits(const TreeTraits& traits) override;
  void FillTree(std::vector<TreeRow> rows) override;
  void ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) override;
  void SetLabels(std::vector<TreeLabel> labels) override;
  void SelectItem(TreeItem item) override;
  TreeItem SelectedItem() override;
  void SetCaption(std::u16string_view text) override;
  void FocusTree() override;

 protected:
  // Locked. What the tree itself does with a key, besides the key's messages.
  void PressTreeKey(std::uint32_t virtual_key);

 private:
  bool TreeTakesInput() const;
  bool ClickItemLocked(TreeItem item);
  std::size_t RowAfterTreeKey(std::uint32_t virtual_key, const std::vector<std::size_t>& visible);

  FakeScreen& screen_;
  ShownTree tree_;
};

}  // namespace quillet::port
