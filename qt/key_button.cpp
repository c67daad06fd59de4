// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/key_button.h"

#include <QKeyEvent>
#include <QPainter>

#include "qt/focus_mark.h"

namespace quillet::qt {

KeyButton::KeyButton(QWidget* parent) : QToolButton(parent) {
  setFocusPolicy(Qt::TabFocus);
}

void KeyButton::keyPressEvent(QKeyEvent* event) {
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (enter && (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier) {
    if (!event->isAutoRepeat()) click();
    return;
  }
  QToolButton::keyPressEvent(event);
  // A letter would open a menu of the bar that the button lies in.
  const bool types = event->modifiers() == Qt::NoModifier && !event->text().isEmpty() &&
                     event->text().front().isPrint();
  if (types) event->accept();
}

void KeyButton::paintEvent(QPaintEvent* event) {
  QToolButton::paintEvent(event);
  if (!hasFocus()) return;
  QPainter painter(this);
  DrawFocusMark(painter, rect(), FocusColour(palette(), palette().color(QPalette::Window)));
}

}  // namespace quillet::qt
