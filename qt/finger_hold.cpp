// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/finger_hold.h"

#include <QApplication>
#include <QPointingDevice>
#include <QStyleHints>
#include <utility>

namespace quillet::qt {

bool ByFinger(const QMouseEvent& event) {
  return event.deviceType() == QInputDevice::DeviceType::TouchScreen ||
         event.source() != Qt::MouseEventNotSynthesized;
}

FingerHold::FingerHold(std::function<void(QPoint place)> held) : held_(std::move(held)) {
  timer_.setSingleShot(true);
  timer_.setInterval(QGuiApplication::styleHints()->mousePressAndHoldInterval());
  connect(&timer_, &QTimer::timeout, this, [this] {
    asked_ = true;
    held_(place_);
  });
}

void FingerHold::Pressed(const QMouseEvent& event) {
  asked_ = false;
  if (!ByFinger(event) || event.button() != Qt::LeftButton) return;
  place_ = event.position().toPoint();
  timer_.start();
}

void FingerHold::Moved(const QMouseEvent& event) {
  const QPoint moved = event.position().toPoint() - place_;
  if (moved.manhattanLength() >= QApplication::startDragDistance()) timer_.stop();
}

bool FingerHold::Released() {
  timer_.stop();
  return std::exchange(asked_, false);
}

}  // namespace quillet::qt
