// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_window.h"

#include <QAction>
#include <QMenu>

namespace quillet::qt {

bool IsSubmenu(const QMenu& menu) {
  return !menu.menuAction()->associatedObjects().isEmpty();
}

QList<QMenu*> AccessibleWindow::Menus() const {
  QList<QMenu*> menus = widget()->findChildren<QMenu*>();
  menus.removeIf([](const QMenu* menu) { return IsSubmenu(*menu) || !menu->isVisible(); });
  return menus;
}

int AccessibleWindow::childCount() const {
  return AccessibleOwner::childCount() + static_cast<int>(Menus().size());
}

QAccessibleInterface* AccessibleWindow::child(int index) const {
  const int widgets = AccessibleOwner::childCount();
  if (index < widgets) return AccessibleOwner::child(index);
  QMenu* menu = Menus().value(index - widgets);
  return menu != nullptr ? QAccessible::queryAccessibleInterface(menu) : nullptr;
}

int AccessibleWindow::indexOfChild(const QAccessibleInterface* child) const {
  auto* menu = child != nullptr ? qobject_cast<QMenu*>(child->object()) : nullptr;
  const auto place = menu != nullptr ? Menus().indexOf(menu) : -1;
  if (place < 0) return AccessibleOwner::indexOfChild(child);
  return AccessibleOwner::childCount() + static_cast<int>(place);
}

}  // namespace quillet::qt
