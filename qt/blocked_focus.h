// SPDX-License-Identifier: GPL-3.0-or-later
// The focus that the desktop gives to a window which cannot be used now.
#pragma once

#include <QAbstractNativeEventFilter>

#include "qt/display.h"

namespace quillet::qt {

// A click into a window that a dialog or a box lies over makes desktops give the focus there. The
// toolkit keeps such a window from hearing of it, so it is heard before the toolkit, and what lies
// over the window comes forward with the focus. On X; elsewhere the desktop itself knows what is
// modal. Display thread.
class BlockedFocus final : public QAbstractNativeEventFilter {
 public:
  // Heard while it lives.
  explicit BlockedFocus(Display& display);
  BlockedFocus(const BlockedFocus&) = delete;
  BlockedFocus& operator=(const BlockedFocus&) = delete;
  ~BlockedFocus() override;

  bool nativeEventFilter(const QByteArray& type, void* message, qintptr* result) override;

 private:
  bool IsBlocked(WId window) const;

  Display& display_;
};

}  // namespace quillet::qt
