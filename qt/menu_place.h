// SPDX-License-Identifier: GPL-3.0-or-later
// Where a menu was asked for.
#pragma once

#include <QPoint>

namespace quillet::qt {

struct MenuPlace {
  QPoint place;         // in coordinates of the screen
  bool by_key = false;  // its first entry is then active
};

}  // namespace quillet::qt
