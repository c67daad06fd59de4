// SPDX-License-Identifier: GPL-3.0-or-later
// Where a window that was somewhere once lies on the screens that are there now.
#pragma once

#include <QRect>
#include <vector>

namespace quillet::qt {

// On the screen that has the most of it, or the first one; no larger than that screen's room, and
// all of it inside. `rooms`: the usable areas, not empty. Pure.
QRect OntoScreens(const QRect& wanted, const std::vector<QRect>& rooms);

// The same on the screens of now; as it is when there are none.
QRect OntoScreens(const QRect& wanted);

}  // namespace quillet::qt
