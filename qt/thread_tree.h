// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree as a widget. Display thread only.
//
// Keys, mouse and fingers: one click or tap selects; a double click, a tap on the selected row or
// Enter activates; a right click, a long press, the menu key or Shift+F10 asks for the menu.
// Arrows,
// +, - and * expand and collapse, letters find the next row that begins so, its counts aside.
#pragma once

#include <QElapsedTimer>
#include <QTimer>
#include <QTreeView>
#include <functional>
#include <vector>

#include "port/tree_view.h"
#include "qt/accessible_rows.h"
#include "qt/menu_place.h"
#include "qt/thread_model.h"

namespace quillet::qt {

class ThreadTree final : public RowView<QTreeView> {
 public:
  struct Asked {
    std::function<void(port::TreeItem item)> activated;
    std::function<void(port::TreeItem item, const MenuPlace& where)> menu;
  };

  ThreadTree(Asked asked, QWidget* parent);

  // As in port/tree_view.h. Rows that are on the screen stay where they are.
  void Fill(std::vector<port::TreeRow> rows);
  void Replace(port::TreeItem item, std::vector<port::TreeRow> rows);
  void SetLabels(std::vector<port::TreeLabel> labels);
  void Select(port::TreeItem item);
  void SetTraits(const port::TreeTraits& traits);
  port::TreeItem Selected() const;

  const ThreadModel& Rows() const { return *model_; }

  // Distance of a row's expand mark from the row's edge. It grows by whole steps to a third of the
  // tree's width, from there by one pixel a level, and never takes more than half of the width.
  int IndentOf(const QModelIndex& index) const;
  // Where a click expands or collapses the row, and where its text stands; viewport coordinates.
  QRect MarkRect(const QModelIndex& index) const;
  QRect TextRect(const QModelIndex& index) const;
  // The columns of a wide window; empty while there are none.
  QRect AuthorRect(const QModelIndex& index) const;
  QRect DateRect(const QModelIndex& index) const;
  QString AuthorText(const QModelIndex& index) const;
  QString DateText(const QModelIndex& index) const;

  void keyboardSearch(const QString& typed) override;
  // Whether a letter goes on with the search that is under way.
  bool Searching() const;

  void OpenRow(const QModelIndex& row) override { Activate(row); }
  bool HasRowMenus() const override { return true; }
  void ShowRowMenu(const QModelIndex& row) override;

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;

 private:
  struct Kept;  // what a change of the rows shall leave as it is

  Kept Keep(const QModelIndex& below) const;
  void Restore(const Kept& kept);
  QModelIndex SelectedIndex() const;
  void SelectIndex(const QModelIndex& index);
  void ExpandAbove(const QModelIndex& index);
  void AskMenu(const QModelIndex& index, const MenuPlace& where);
  void AskMenuByKey();
  void Activate(const QModelIndex& index);
  bool ShowsColumns() const;
  int DateWidth() const;
  int AuthorWidth() const;
  QRect ContentRect(const QModelIndex& index) const;
  QRect ColumnRect(const QModelIndex& index, int from_right, int width) const;
  void AwaitMidnight();
  bool ToggleByMark(const QMouseEvent& event, bool by_finger);
  bool ExpandByKey(int key);
  bool IsLetterOfProgram(const QKeyEvent& event) const;
  QModelIndex NextShown(const QModelIndex& index) const;
  void HoldEnded();

  ThreadModel* model_;
  Asked asked_;
  port::TreeTraits traits_;
  QTimer hold_;      // runs while a finger rests on a row
  QTimer midnight_;  // "today" is another day then
  QPoint pressed_at_;
  bool held_ = false;              // the long press has been answered
  bool pressed_selected_ = false;  // the finger came down on the selected row
  QString sought_;
  QElapsedTimer typed_;
};

}  // namespace quillet::qt
