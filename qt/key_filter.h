// SPDX-License-Identifier: GPL-3.0-or-later
// Turns the keys pressed in the program's windows into messages. Installed on the application.
#pragma once

#include <QObject>
#include <cstdint>
#include <set>
#include <utility>

#include "qt/display.h"

class QKeyEvent;

namespace quillet::qt {

// Every press in the main window is its kKeyDown; a press that the shown view's accelerator table
// knows goes no further, all others also do what the widgets do with them. A release is kKeyUp of
// the window that got the press, so that the key that closed a menu, dialog or box does not act
// once more in the window below. While it is held down a key repeats its press: that of Escape goes
// nowhere, and no other makes the window below one that got the press. Keys of an open menu, of the
// menu bar that has the focus and of a button that they press are nobody else's. Whatever gets the
// focus shows it.
class KeyFilter final : public QObject {
 public:
  explicit KeyFilter(Display& display) : display_(display) {}

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  bool IsOfBlockedBar(const QObject* watched) const;
  bool MenusHaveKeys() const;
  void Forget(port::WindowHandle window, const QKeyEvent& event);
  bool Pressed(port::WindowHandle window, const QKeyEvent& event);
  void Released(port::WindowHandle window, const QKeyEvent& event);

  Display& display_;
  std::set<std::pair<port::WindowHandle, std::uint32_t>> down_;
};

}  // namespace quillet::qt
