// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree with the caption line above it, in the thread view's pane. The whole tree is
// handed over in one call, as rows in pre-order. Program thread only. Before CreateTree and after
// the main window has gone every read is empty and every write does nothing.
//
// The user's part comes as messages to the main window: kItemActivated (double click, tap or Enter;
// id: the item) and kContextMenu (right click, long press or the menu key; id: the item, which the
// display has selected before; 0, and nothing selected: below the rows). Expanding, collapsing and
// moving about are the display's own.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "port/message.h"

namespace quillet::port {

// Names one item of the tree; chosen by the program, unique within the tree. 0 is none.
using TreeItem = std::uint32_t;

// Seconds since 1970, UTC; kNoDate: none is known.
using Seconds = std::int64_t;
constexpr Seconds kNoDate = INT64_MIN;

struct TreeRow {
  TreeItem item = 0;
  std::uint32_t depth = 0;  // 0: top level; at most one more than the row before
  bool bold = false;
  std::u16string text;
  Seconds date = kNoDate;  // for the column of dates
};

struct TreeLabel {
  TreeItem item = 0;
  bool bold = false;
  std::u16string text;
};

struct TreeTraits {
  // While the window is at least kTreeColumnsFrom pixels wide the tree has two more columns: the
  // author of a thread, which is the text of the first row below a top-level row, and the date, as
  // it is seen from now ("today 14:05").
  bool columns = false;
  // Upper-case letters that the program takes when they are pressed alone: they begin no search for
  // a row. Within a search that is under way they are the search's, and the program hears nothing.
  std::u16string letters;
  bool operator==(const TreeTraits&) const = default;
};
constexpr int kTreeColumnsFrom = 800;

class TreeView {
 public:
  virtual ~TreeView() = default;

  // Creates the tree, empty, in place of an earlier one. `name` is for readers of the screen.
  virtual void CreateTree(std::u16string_view name, std::u16string_view font_face,
                          int font_size_index) = 0;
  virtual bool TreeCreated() = 0;
  // Rows, what is expanded and the selection stay.
  virtual void SetTreeFont(std::u16string_view font_face, int font_size_index) = 0;

  // In force until the next call; of a new tree none.
  virtual void SetTreeTraits(const TreeTraits& traits) = 0;

  // Replaces all rows. Items that were shown before stay expanded or collapsed as they were, new
  // ones are collapsed; the selection stays when its item is still there.
  virtual void FillTree(std::vector<TreeRow> rows) = 0;
  // Replaces an item and everything below it by rows of the same place; the first row has depth 0,
  // counted from the replaced item's level. No rows: it is taken away. Expansion and selection as
  // above. An unknown item: nothing happens.
  virtual void ReplaceSubtree(TreeItem item, std::vector<TreeRow> rows) = 0;
  // New texts and bold states of existing items; unknown ones are passed over.
  virtual void SetLabels(std::vector<TreeLabel> labels) = 0;

  // Selects the item, expands what is above it and scrolls it into view. 0 selects nothing.
  virtual void SelectItem(TreeItem item) = 0;
  virtual TreeItem SelectedItem() = 0;

  // One line above the tree. Works before CreateTree too.
  virtual void SetCaption(std::u16string_view text) = 0;
  virtual void FocusTree() = 0;
};

}  // namespace quillet::port
