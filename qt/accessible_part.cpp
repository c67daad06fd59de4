// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_part.h"

#include <QApplication>
#include <QWidget>

#include "qt/main_window.h"
#include "qt/one_line.h"

namespace quillet::qt {

bool TakesActions(const QWidget& widget) {
  if (!widget.isEnabled()) return false;
  const QWidget* window = widget.window();
  const QWidget* modal = QApplication::activeModalWidget();
  if (modal != nullptr && modal != window && !modal->isAncestorOf(window)) return false;
  const auto* main = dynamic_cast<const MainWindow*>(window);
  return main == nullptr || main->TakesInput();
}

void ForgetInterface(QWidget& widget) {
  if (!QAccessible::isActive()) return;
  QAccessibleInterface* made = QAccessible::queryAccessibleInterface(&widget);
  QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(made));
}

QWindow* AccessiblePart::window() const {
  return owner_ ? owner_->window()->windowHandle() : nullptr;
}

QAccessibleInterface* AccessiblePart::parent() const {
  return owner_ ? QAccessible::queryAccessibleInterface(owner_) : nullptr;
}

void* AccessiblePart::interface_cast(QAccessible::InterfaceType type) {
  const bool acts = type == QAccessible::ActionInterface;
  return acts ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
}

QString AccessibleOwner::text(QAccessible::Text kind) const {
  if (kind == QAccessible::Description) return OneLine(widget()->accessibleDescription());
  return OneLine(QAccessibleWidget::text(kind));
}

QAccessible::State AccessibleOwner::state() const {
  QAccessible::State state = QAccessibleWidget::state();
  if (widget()->focusProxy() != nullptr) state.focusable = state.focused = false;
  return state;
}

}  // namespace quillet::qt
