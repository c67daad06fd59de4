// SPDX-License-Identifier: GPL-3.0-or-later
// Lists and trees for readers of the screen: every row on display is one item, whatever its
// columns. Display thread only.
#pragma once

#include <QAbstractItemView>
#include <QModelIndex>
#include <QTreeView>
#include <vector>

#include "qt/accessible_part.h"

namespace quillet::qt {

// What a list or tree does when it is asked for without mouse and keys. The rows are given by
// their first column.
class RowHands {
 public:
  virtual ~RowHands() = default;
  virtual void OpenRow(const QModelIndex& row) = 0;  // as Enter does
  virtual bool HasRowMenus() const { return false; }
  virtual void ShowRowMenu(const QModelIndex& /*row*/) {}  // as the menu key does
};

// A list or tree that leaves the news of its rows to its AccessibleRows: the toolkit's own news
// name rows by numbers that count columns and headings.
template <class View>
class RowView : public View, public RowHands {
 public:
  explicit RowView(QWidget* parent = nullptr) : View(parent) { ForgetInterface(*this); }

 protected:
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override {
    QAbstractItemView::currentChanged(current, previous);  // NOLINT(bugprone-parent-virtual-call)
    this->viewport()->update();  // the focus is drawn over all columns of both rows
  }
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override {
    QAbstractItemView::selectionChanged(selected,
                                        deselected);  // NOLINT(bugprone-parent-virtual-call)
  }
};

// The rows in the order in which they are drawn, collapsed ones left out. A row is named by the
// texts for readers of its columns, else by what is shown in them. Rows that change make new items.
class AccessibleRows final : public AccessibleOwner {
 public:
  // `hands` belongs to the view.
  AccessibleRows(QAbstractItemView& view, RowHands& hands, QAccessible::Role role);

  QAccessibleInterface* ItemOf(const QModelIndex& row) const;
  // The item of the row that keys act on; null without one.
  QAccessibleInterface* CurrentItem() const;
  int PlaceOf(const QModelIndex& row) const;  // -1: not on display
  QAbstractItemView& View() const { return view_; }
  bool IsExpanded(const QModelIndex& row) const {
    return tree_ != nullptr && tree_->isExpanded(row);
  }
  bool IsHidden(int column) const { return tree_ != nullptr && tree_->isColumnHidden(column); }
  void SetExpanded(const QModelIndex& row, bool expanded) const {
    if (tree_ != nullptr) tree_->setExpanded(row, expanded);
  }
  RowHands& Hands() const { return hands_; }

  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* focusChild() const override;

 private:
  using Key = std::pair<quintptr, int>;
  static Key KeyOf(const QModelIndex& row) { return {row.internalId(), row.row()}; }

  void Watch();
  void RowsChanged();
  void Tell(QAccessible::Event kind) const;
  void TellState(const QModelIndex& row, void (*mark)(QAccessible::State& state)) const;
  const std::vector<QModelIndex>& Shown() const;

  QAbstractItemView& view_;
  QTreeView* const tree_;  // the view, when its rows can be expanded
  RowHands& hands_;
  QObject alive_;  // what the view tells ends with it
  mutable AccessibleParts<Key> items_;
  // Rows on display from top to bottom, and the place of each; made anew when somebody asks after
  // a change.
  mutable bool known_ = false;
  mutable std::vector<QModelIndex> shown_;
  mutable QHash<Key, int> places_;
};

}  // namespace quillet::qt
