// SPDX-License-Identifier: GPL-3.0-or-later
// Menus and menu bars for readers of the screen: items without marks and shortcuts in their names,
// and the buttons in the corner of a bar, which the toolkit leaves out. Display thread only.
#pragma once

#include <QAction>

#include "qt/accessible_part.h"

namespace quillet::qt {

// Of a QMenu or a QMenuBar: an item for each of its actions, in their order; after those of a bar
// the widget in its corner.
class AccessibleMenu final : public AccessibleOwner {
 public:
  explicit AccessibleMenu(QWidget& menu);

  QAccessibleInterface* ItemOf(QAction* action) const;

  QAccessibleInterface* parent() const override;
  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* focusChild() const override;

 private:
  QWidget* Corner() const;

  mutable AccessibleParts<QAction*> items_;
};

}  // namespace quillet::qt
