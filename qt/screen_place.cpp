// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/screen_place.h"

#include <QGuiApplication>
#include <QScreen>
#include <algorithm>

namespace quillet::qt {
namespace {

qint64 SharedArea(const QRect& a, const QRect& b) {
  const QRect shared = a.intersected(b);
  return shared.isEmpty() ? 0 : qint64{shared.width()} * shared.height();
}

// Coordinates from a file may be anything; sums of them must stay numbers.
QRect WithinReason(const QRect& wanted) {
  constexpr int kFar = 1 << 20;
  const QPoint corner(std::clamp(wanted.left(), -kFar, kFar),
                      std::clamp(wanted.top(), -kFar, kFar));
  return {corner, wanted.size().expandedTo({1, 1}).boundedTo({kFar, kFar})};
}

}  // namespace

QRect OntoScreens(const QRect& wanted, const std::vector<QRect>& rooms) {
  const QRect asked = WithinReason(wanted);
  const auto less = [&](const QRect& a, const QRect& b) {
    return SharedArea(asked, a) < SharedArea(asked, b);
  };
  const QRect room = *std::max_element(rooms.begin(), rooms.end(), less);
  const QSize size = asked.size().boundedTo(room.size());
  const QPoint last = room.bottomRight() - QPoint(size.width() - 1, size.height() - 1);
  return {QPoint(std::clamp(asked.left(), room.left(), last.x()),
                 std::clamp(asked.top(), room.top(), last.y())),
          size};
}

QRect OntoScreens(const QRect& wanted) {
  std::vector<QRect> rooms;
  if (const QScreen* first = QGuiApplication::primaryScreen()) {
    rooms.push_back(first->availableGeometry());
  }
  for (const QScreen* screen : QGuiApplication::screens()) {
    if (screen != QGuiApplication::primaryScreen()) rooms.push_back(screen->availableGeometry());
  }
  return rooms.empty() ? wanted : OntoScreens(wanted, rooms);
}

}  // namespace quillet::qt
