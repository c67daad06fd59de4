// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/key_filter.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QKeyEvent>
#include <QMenuBar>
#include <QTreeView>
#include <QWindow>

#include "qt/keys.h"
#include "qt/thread_tree.h"
#include "res/commands.h"

namespace quillet::qt {
namespace {

// The window an event of the window system was sent to; 0 for widgets, which get it second hand.
port::WindowHandle WindowOf(const Display& display, const QObject* watched) {
  if (!watched->isWindowType()) return 0;
  for (const auto& [handle, widget] : display.windows) {
    if (widget && widget->windowHandle() == watched) return handle;
  }
  return 0;
}

// What has the focus uses the key itself: a button or a list the space bar, a tree each letter of a
// search that is under way.
bool BelongsToControl(std::uint32_t virtual_key) {
  const QWidget* focus = QApplication::focusWidget();
  if (virtual_key == port::kKeySpace) {
    return qobject_cast<const QAbstractButton*>(focus) != nullptr ||
           qobject_cast<const QAbstractItemView*>(focus) != nullptr;
  }
  const auto* tree = qobject_cast<const QTreeView*>(focus);
  const auto* threads = dynamic_cast<const ThreadTree*>(tree);
  return threads != nullptr && virtual_key >= 'A' && virtual_key <= 'Z' && threads->Searching();
}

// Some styles show the focus only once Tab was pressed in the window, and somebody who has clicked
// before does not see where the keyboard is.
void ShowFocusIn(QObject* focused) {
  if (!focused->isWidgetType()) return;
  static_cast<QWidget*>(focused)->window()->setAttribute(Qt::WA_KeyboardFocusChange);
}

// The blank and Enter press the button that has the focus, and are nothing else besides.
bool PressesButton(const QWidget& window, const QKeyEvent& event) {
  if (qobject_cast<const QAbstractButton*>(window.focusWidget()) == nullptr) return false;
  const bool plain = (event.modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  return plain && (event.key() == Qt::Key_Space || event.key() == Qt::Key_Return ||
                   event.key() == Qt::Key_Enter);
}

}  // namespace

bool KeyFilter::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::FocusIn) ShowFocusIn(watched);
  // A letter with Alt comes to the menu bar past the window.
  if (event->type() == QEvent::Shortcut) return IsOfBlockedBar(watched);
  const bool press = event->type() == QEvent::KeyPress;
  if (!press && event->type() != QEvent::KeyRelease) return false;
  const auto& key = static_cast<const QKeyEvent&>(*event);
  // Escape held down acts once: what its press has closed may not have been all.
  if (key.key() == Qt::Key_Escape && key.isAutoRepeat()) return true;
  const port::WindowHandle window = WindowOf(display_, watched);
  if (MenusHaveKeys()) {
    if (!press) Forget(window, key);
    return false;
  }
  if (window == 0) return false;
  if (press) return Pressed(window, key);
  Released(window, key);
  return false;
}

bool KeyFilter::IsOfBlockedBar(const QObject* watched) const {
  return display_.main && watched == display_.main->menuBar() && !display_.main->TakesInput();
}

// An open menu has all keys, and so has the bar while one is chosen there.
bool KeyFilter::MenusHaveKeys() const {
  if (QApplication::activePopupWidget() != nullptr) return true;
  return display_.main && display_.main->menuBar()->hasFocus();
}

// What has opened a menu is released there.
void KeyFilter::Forget(port::WindowHandle window, const QKeyEvent& event) {
  const auto key = VirtualKey(event);
  if (key && !event.isAutoRepeat()) down_.erase({window, *key});
}

bool KeyFilter::Pressed(port::WindowHandle window, const QKeyEvent& event) {
  const bool is_main = display_.main && display_.main->Handle() == window;
  if (is_main && !display_.main->TakesInput()) return true;
  const auto key = VirtualKey(event);
  if (!key || (is_main && PressesButton(*display_.main, event))) return false;
  // Repeated here may be a press that another window got.
  if (!event.isAutoRepeat()) down_.emplace(window, *key);
  if (!is_main) return false;
  const std::uint32_t modifiers = Modifiers(event);
  if ((modifiers & ~port::kModifierShift) == 0 && BelongsToControl(*key)) {
    down_.erase({window, *key});
    return false;
  }
  display_.queues.Post({window, port::MessageKind::kKeyDown, *key, modifiers, {}});
  return FindAccelerator(display_.main->SelectedTab(), *key, modifiers) != 0;
}

void KeyFilter::Released(port::WindowHandle window, const QKeyEvent& event) {
  const auto key = VirtualKey(event);
  if (!key || event.isAutoRepeat() || down_.erase({window, *key}) == 0) return;
  display_.queues.Post({window, port::MessageKind::kKeyUp, *key, Modifiers(event), {}});
}

}  // namespace quillet::qt
