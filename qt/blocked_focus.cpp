// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/blocked_focus.h"

#include <QCoreApplication>
#include <QDialog>
#include <QTimer>

#include "qt/activation.h"

#include <xcb/xcb.h>

namespace quillet::qt {
namespace {

constexpr std::uint8_t kSentByOthers = 0x80;  // a flag of the event's type

// Grabs of menus come and go without anybody's moving the focus.
bool IsOfGrab(const xcb_focus_in_event_t& event) {
  return event.mode == XCB_NOTIFY_MODE_GRAB || event.mode == XCB_NOTIFY_MODE_UNGRAB;
}

}  // namespace

BlockedFocus::BlockedFocus(Display& display) : display_(display) {
  QCoreApplication::instance()->installNativeEventFilter(this);
}

BlockedFocus::~BlockedFocus() {
  if (QCoreApplication* app = QCoreApplication::instance()) app->removeNativeEventFilter(this);
}

// A window's own box takes no input from it but over it: only what lies below is blocked.
bool BlockedFocus::IsBlocked(WId window) const {
  const QWidget* over = display_.LyingOver();
  if (over == nullptr) return false;
  for (const auto& [handle, widget] : display_.windows) {
    if (!widget || !widget->isWindow() || widget == over || widget->internalWinId() != window) {
      continue;
    }
    return over->windowModality() == Qt::ApplicationModal || widget->isAncestorOf(over) ||
           over->parentWidget() == widget;
  }
  return false;
}

bool BlockedFocus::nativeEventFilter(const QByteArray& type, void* message, qintptr* /*result*/) {
  if (type != "xcb_generic_event_t") return false;
  const auto& event = *static_cast<const xcb_generic_event_t*>(message);
  if ((event.response_type & ~kSentByOthers) != XCB_FOCUS_IN) return false;
  const auto& focus = *static_cast<const xcb_focus_in_event_t*>(message);
  if (IsOfGrab(focus) || !IsBlocked(focus.event)) return false;
  // Later: the desktop is still about to give the focus to the window.
  QTimer::singleShot(0, display_.LyingOver(),
                     [over = display_.LyingOver()] { ComeForwardForUser(*over); });
  return false;
}

}  // namespace quillet::qt
