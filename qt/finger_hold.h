// SPDX-License-Identifier: GPL-3.0-or-later
// A finger that rests on one place of a list asks for the menu there. Display thread only.
#pragma once

#include <QMouseEvent>
#include <QObject>
#include <QPoint>
#include <QTimer>
#include <functional>

namespace quillet::qt {

// True for a touch screen's events and for those that stand for them.
bool ByFinger(const QMouseEvent& event);

class FingerHold final : public QObject {
 public:
  // `held` gets the place, in the coordinates of the events.
  explicit FingerHold(std::function<void(QPoint place)> held);

  // For every event of the list's viewport.
  void Pressed(const QMouseEvent& event);
  void Moved(const QMouseEvent& event);
  // True when the finger that goes had asked for the menu: it is no tap any more.
  bool Released();

 private:
  std::function<void(QPoint place)> held_;
  QTimer timer_;
  QPoint place_;
  bool asked_ = false;
};

}  // namespace quillet::qt
