// A list in a form: rows of texts in the columns that the form gives it, with a box in front of
// each row when the form says so (dynamic property `checkBoxes`). Display thread only.
#pragma once

#include <QTreeWidget>
#include <functional>
#include <vector>

#include "port/dialogs.h"
#include "qt/menu_place.h"

namespace quillet::qt {

class FormList final : public QTreeWidget {
 public:
  // What the user did; what is written is not told.
  struct Told {
    std::function<void(int row)> selected;
    std::function<void(int row)> activated;  // a double click or Enter
    std::function<void(int row, bool checked)> checked;
    std::function<void(int row, const MenuPlace& where)> menu;  // the row is selected
  };

  explicit FormList(QWidget* parent);

  void Tell(Told told) { told_ = std::move(told); }

  // As in port/dialogs.h.
  void Fill(const std::vector<port::Row>& rows);
  void SelectRow(int row);
  int SelectedRow() const;  // -1: none
  std::vector<bool> Checks() const;

 protected:
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  bool HasBoxes() const { return property("checkBoxes").toBool(); }
  QTreeWidgetItem* NewItem(const port::Row& row) const;
  void Toggle(int row);

  Told told_;
};

}  // namespace quillet::qt
