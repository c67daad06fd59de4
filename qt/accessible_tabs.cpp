// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_tabs.h"

#include "qt/one_line.h"

namespace quillet::qt {
namespace {

class AccessibleTab final : public AccessiblePart {
 public:
  AccessibleTab(QTabBar& bar, int tab) : AccessiblePart(bar), tab_(tab) {}

  int Tab() const { return tab_; }

  bool isValid() const override { return AccessiblePart::isValid() && tab_ < Bar().count(); }
  QAccessible::Role role() const override { return QAccessible::PageTab; }
  QString text(QAccessible::Text kind) const override {
    return isValid() && kind == QAccessible::Name ? OneLine(Bar().accessibleTabName(tab_))
                                                  : QString();
  }
  QAccessible::State state() const override;
  QRect rect() const override;
  QStringList actionNames() const override { return {pressAction(), setFocusAction()}; }
  void doAction(const QString& name) override;

 private:
  QTabBar& Bar() const { return static_cast<QTabBar&>(*Owner()); }

  const int tab_;
};

QAccessible::State AccessibleTab::state() const {
  QAccessible::State state;
  state.invalid = !isValid();
  if (state.invalid) return state;
  state.invisible = !Bar().isVisible();
  state.disabled = !Bar().isEnabled();
  state.selectable = true;
  state.selected = Bar().currentIndex() == tab_;
  state.focusable = true;
  state.focused = state.selected && Bar().hasFocus();
  return state;
}

QRect AccessibleTab::rect() const {
  if (!isValid()) return {};
  const QRect place = Bar().tabRect(tab_);
  return {Bar().mapToGlobal(place.topLeft()), place.size()};
}

void AccessibleTab::doAction(const QString& name) {
  if (!isValid() || !TakesActions(Bar())) return;
  if (name == setFocusAction()) Bar().setFocus();
  Bar().setCurrentIndex(tab_);
}

}  // namespace

int AccessibleTabs::childCount() const {
  return Bar().count();
}

QAccessibleInterface* AccessibleTabs::child(int index) const {
  if (index < 0 || index >= Bar().count()) return nullptr;
  return tabs_.Of(index, [&] { return std::make_unique<AccessibleTab>(Bar(), index); });
}

QAccessibleInterface* AccessibleTabs::childAt(int x, int y) const {
  return child(Bar().tabAt(Bar().mapFromGlobal(QPoint(x, y))));
}

int AccessibleTabs::indexOfChild(const QAccessibleInterface* child) const {
  const auto* tab = dynamic_cast<const AccessibleTab*>(child);
  return tab != nullptr ? tab->Tab() : -1;
}

QAccessibleInterface* AccessibleTabs::focusChild() const {
  return Bar().hasFocus() ? child(Bar().currentIndex()) : nullptr;
}

}  // namespace quillet::qt
