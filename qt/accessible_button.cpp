// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_button.h"

namespace quillet::qt {

void AccessibleButton::doAction(const QString& name) {
  if (!TakesActions(*widget())) return;
  if (name == pressAction()) return static_cast<QAbstractButton*>(widget())->click();
  AccessibleOwner::doAction(name);
}

}  // namespace quillet::qt
