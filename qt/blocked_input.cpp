// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/blocked_input.h"

#include <QApplication>
#include <QEvent>
#include <QWindow>

namespace quillet::qt {
namespace {

bool IsInput(QEvent::Type type) {
  switch (type) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Enter:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::NativeGesture:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
      return true;
    default:
      return false;
  }
}

}  // namespace

BlockedInput::BlockedInput(QWidget& window) : QObject(&window), window_(window) {}

void BlockedInput::BlockBy(QDialog& dialog) {
  dialog_ = &dialog;
  QWindow* window = window_.windowHandle();
  if (window == nullptr) return;  // never shown: takes no input anyway
  window->removeEventFilter(this);
  window->installEventFilter(this);
  while (QWidget* popup = QApplication::activePopupWidget()) {
    if (!window_.isAncestorOf(popup) || !popup->close()) break;
  }
}

QDialog* BlockedInput::Blocker() const {
  return dialog_ && dialog_->isVisible() ? dialog_.data() : nullptr;
}

bool BlockedInput::eventFilter(QObject* /*watched*/, QEvent* event) {
  QDialog* dialog = Blocker();
  if (dialog == nullptr) return false;
  const bool comes_forward =
      event->type() == QEvent::FocusIn || event->type() == QEvent::MouseButtonPress;
  if (comes_forward) {
    // Later: the desktop is still about to give the focus to the window.
    QMetaObject::invokeMethod(
        dialog,
        [dialog] {
          dialog->raise();
          dialog->activateWindow();
        },
        Qt::QueuedConnection);
  }
  return IsInput(event->type());
}

}  // namespace quillet::qt
