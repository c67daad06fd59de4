// SPDX-License-Identifier: GPL-3.0-or-later
// A list in a form: rows of texts in the columns that the form gives it, with a box in front of
// each row when the form says so (dynamic property `checkBoxes`). With the dynamic property
// `tapOpens` a tap on the row that was tapped before activates it. Display thread only.
#pragma once

#include <QTreeWidget>
#include <functional>
#include <vector>

#include "port/dialogs.h"
#include "qt/accessible_rows.h"
#include "qt/finger_hold.h"
#include "qt/menu_place.h"

namespace quillet::qt {

class FormList final : public RowView<QTreeWidget> {
 public:
  // What the user did; what is written is not told.
  struct Told {
    std::function<void(int row)> selected;
    std::function<void(int row)> activated;  // a double click, Enter, a tap that opens
    std::function<void(int row, bool checked)> checked;
    std::function<void(int row, const MenuPlace& where)> menu;  // the row is selected
  };

  explicit FormList(QWidget* parent);

  void Tell(Told told) { told_ = std::move(told); }
  // Enter is not the row's but the dialog's.
  void LetEnterThrough() { enter_through_ = true; }

  // As in port/dialogs.h.
  void Fill(const std::vector<port::Row>& rows);
  void SelectRow(int row);
  int SelectedRow() const;  // -1: none
  std::vector<bool> Checks() const;
  // What is shown when the mouse rests there: the row's own tip, else the text of the cell.
  QString ToolTipAt(QPoint place) const;

  void OpenRow(const QModelIndex& row) override;
  bool HasRowMenus() const override { return told_.menu != nullptr; }
  void ShowRowMenu(const QModelIndex& row) override;

 protected:
  bool viewportEvent(QEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  bool HasBoxes() const { return property("checkBoxes").toBool(); }
  QTreeWidgetItem* NewItem(const port::Row& row) const;
  int RowAt(const QMouseEvent& event) const;
  void FitColumns();
  void Toggle(int row);
  void Tapped(int row);
  void DoubleTapped(int row);
  void AskMenu(QTreeWidgetItem& item, const MenuPlace& where);

  Told told_;
  bool enter_through_ = false;
  std::vector<int> wanted_;  // the widths of all columns but the first
  bool down_ = false;        // a press was seen, its release not yet
  int pressed_ = -1;         // the row under the button or finger that is down
  bool opens_ = false;       // that row is the one that was tapped before
  int tapped_ = -1;          // the row that was tapped last
  bool opened_ = false;      // by the tap before a double click
  FingerHold hold_;
};

}  // namespace quillet::qt
