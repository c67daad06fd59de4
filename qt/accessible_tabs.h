// SPDX-License-Identifier: GPL-3.0-or-later
// Tabs for readers of the screen: which one is selected is not the same as which has the focus.
// Display thread only.
#pragma once

#include <QTabBar>

#include "qt/accessible_part.h"

namespace quillet::qt {

class AccessibleTabs final : public AccessibleOwner {
 public:
  explicit AccessibleTabs(QTabBar& bar) : AccessibleOwner(&bar, QAccessible::PageTabList) {}

  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  QAccessibleInterface* focusChild() const override;

 private:
  QTabBar& Bar() const { return static_cast<QTabBar&>(*widget()); }

  mutable AccessibleParts<int> tabs_;
};

}  // namespace quillet::qt
