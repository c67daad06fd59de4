// SPDX-License-Identifier: GPL-3.0-or-later
// The main window for readers of the screen. Display thread only.
#pragma once

#include <QList>

#include "qt/accessible_part.h"

class QMenu;

namespace quillet::qt {

// After its widgets come the open menus that hang on no menu bar: the toolkit leaves them out.
class AccessibleWindow final : public AccessibleOwner {
 public:
  explicit AccessibleWindow(QWidget& window) : AccessibleOwner(&window, QAccessible::Window) {}

  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;

 private:
  QList<QMenu*> Menus() const;
};

// Whether it is opened by an item of another menu or of a menu bar.
bool IsSubmenu(const QMenu& menu);

}  // namespace quillet::qt
