// SPDX-License-Identifier: GPL-3.0-or-later
// The image buttons of the views for readers of the screen. Display thread only.
#pragma once

#include <QAbstractButton>

#include "qt/accessible_part.h"

namespace quillet::qt {

// Its tool tip is its name and not said twice; it is pressed as a click presses it, and not at all
// while a click would not get there.
class AccessibleButton final : public AccessibleOwner {
 public:
  explicit AccessibleButton(QAbstractButton& button)
      : AccessibleOwner(&button, QAccessible::Button) {}

  QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
  void doAction(const QString& name) override;
};

}  // namespace quillet::qt
