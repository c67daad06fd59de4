// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/accessible_menu.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>

#include "qt/one_line.h"

namespace quillet::qt {
namespace {

QAction* ActiveOf(const QWidget& menu) {
  if (const auto* bar = qobject_cast<const QMenuBar*>(&menu)) return bar->activeAction();
  return static_cast<const QMenu&>(menu).activeAction();
}

void SetActive(QWidget& menu, QAction* action) {
  if (auto* bar = qobject_cast<QMenuBar*>(&menu)) return bar->setActiveAction(action);
  static_cast<QMenu&>(menu).setActiveAction(action);
}

QRect PlaceOf(const QWidget& menu, QAction* action) {
  if (const auto* bar = qobject_cast<const QMenuBar*>(&menu)) return bar->actionGeometry(action);
  return static_cast<const QMenu&>(menu).actionGeometry(action);
}

// "&Save as...\tCtrl+S": the mark of the letter is drawn as a line below it.
QString WithoutMarks(const QString& text) {
  QString plain;
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (text[i] == QLatin1Char('&') && i + 1 < text.size()) ++i;
    plain += text[i];
  }
  return plain;
}

class AccessibleMenuItem final : public AccessiblePart {
 public:
  AccessibleMenuItem(QWidget& menu, QAction& action) : AccessiblePart(menu), action_(&action) {}

  const QAction* Action() const { return action_; }

  bool isValid() const override { return AccessiblePart::isValid() && action_ != nullptr; }
  QAccessible::Role role() const override {
    return isValid() && action_->isSeparator() ? QAccessible::Separator : QAccessible::MenuItem;
  }
  QString text(QAccessible::Text kind) const override;
  QAccessible::State state() const override;
  QRect rect() const override;
  int childCount() const override { return Submenu() != nullptr ? 1 : 0; }
  QAccessibleInterface* child(int index) const override {
    return index == 0 && Submenu() != nullptr ? QAccessible::queryAccessibleInterface(Submenu())
                                              : nullptr;
  }
  int indexOfChild(const QAccessibleInterface* child) const override {
    return child != nullptr && Submenu() != nullptr && child->object() == Submenu() ? 0 : -1;
  }
  QStringList actionNames() const override;
  void doAction(const QString& name) override;
  QStringList keyBindingsForAction(const QString& name) const override;

 private:
  QMenu* Submenu() const { return isValid() ? action_->menu<QMenu*>() : nullptr; }
  QString Shortcut() const { return action_->text().section(QLatin1Char('\t'), 1); }
  void Choose();
  void ToggleSubmenu();

  const QPointer<QAction> action_;
};

QString AccessibleMenuItem::text(QAccessible::Text kind) const {
  if (!isValid()) return {};
  if (action_->isSeparator() && kind == QAccessible::Name) return QStringLiteral("Separator");
  const QString text = action_->text().section(QLatin1Char('\t'), 0, 0);
  if (kind == QAccessible::Name) return OneLine(WithoutMarks(text));
  return kind == QAccessible::Accelerator ? Shortcut() : QString();
}

QAccessible::State AccessibleMenuItem::state() const {
  QAccessible::State state;
  state.invalid = !isValid();
  if (state.invalid) return state;
  state.invisible = !Owner()->isVisible() || !action_->isVisible();
  state.disabled = !Owner()->isEnabled() || !action_->isEnabled();
  if (action_->isSeparator()) return state;
  state.focusable = true;
  state.hotTracked = state.focused = !state.invisible && ActiveOf(*Owner()) == action_;
  state.hasPopup = Submenu() != nullptr;
  state.checkable = action_->isCheckable();
  state.checked = action_->isChecked();
  return state;
}

QRect AccessibleMenuItem::rect() const {
  if (!isValid()) return {};
  const QRect place = PlaceOf(*Owner(), action_);
  return {Owner()->mapToGlobal(place.topLeft()), place.size()};
}

QStringList AccessibleMenuItem::actionNames() const {
  if (!isValid() || action_->isSeparator()) return {};
  return {Submenu() != nullptr ? showMenuAction() : pressAction()};
}

QStringList AccessibleMenuItem::keyBindingsForAction(const QString& name) const {
  const bool pressed = isValid() && name == pressAction() && !Shortcut().isEmpty();
  return pressed ? QStringList{Shortcut()} : QStringList();
}

// An open menu closes before it tells what was chosen; of one that is closed the item still works.
void AccessibleMenuItem::Choose() {
  if (!Owner()->isVisible()) return action_->trigger();
  SetActive(*Owner(), action_);
  QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
  QApplication::sendEvent(Owner(), &enter);
}

void AccessibleMenuItem::ToggleSubmenu() {
  if (Submenu()->isVisible()) return Submenu()->hide();
  SetActive(*Owner(), action_);
}

void AccessibleMenuItem::doAction(const QString& name) {
  const auto* menu = qobject_cast<const QMenu*>(Owner());
  const QWidget* asked = Owner();
  // A menu is a window of its own: what counts is the one that it belongs to.
  while (menu != nullptr && asked->parentWidget() != nullptr) {
    asked = asked->parentWidget();
    menu = qobject_cast<const QMenu*>(asked);
  }
  if (!isValid() || !action_->isEnabled() || asked == nullptr || !TakesActions(*asked)) return;
  if (name == showMenuAction() && Submenu() != nullptr) return ToggleSubmenu();
  if (name == pressAction() && Submenu() == nullptr) Choose();
}

}  // namespace

AccessibleMenu::AccessibleMenu(QWidget& menu)
    : AccessibleOwner(&menu, qobject_cast<QMenuBar*>(&menu) != nullptr ? QAccessible::MenuBar
                                                                       : QAccessible::PopupMenu) {}

QWidget* AccessibleMenu::Corner() const {
  const auto* bar = qobject_cast<const QMenuBar*>(widget());
  return bar != nullptr ? bar->cornerWidget() : nullptr;
}

// The item of an action that has gone is left until the menu goes too: its address may be another
// action's by then.
QAccessibleInterface* AccessibleMenu::ItemOf(QAction* action) const {
  const auto make = [&] { return std::make_unique<AccessibleMenuItem>(*widget(), *action); };
  QAccessibleInterface* item = items_.Of(action, make);
  if (item->isValid()) return item;
  items_.Clear();
  return items_.Of(action, make);
}

QAccessibleInterface* AccessibleMenu::parent() const {
  const auto* menu = qobject_cast<const QMenu*>(widget());
  if (menu == nullptr) return AccessibleOwner::parent();
  for (QObject* owner : menu->menuAction()->associatedObjects()) {
    auto* above = dynamic_cast<AccessibleMenu*>(QAccessible::queryAccessibleInterface(owner));
    if (above != nullptr) return above->ItemOf(menu->menuAction());
  }
  QWidget* over = menu->parentWidget();
  return over != nullptr ? QAccessible::queryAccessibleInterface(over->window())
                         : AccessibleOwner::parent();
}

int AccessibleMenu::childCount() const {
  return static_cast<int>(widget()->actions().size()) + (Corner() != nullptr ? 1 : 0);
}

QAccessibleInterface* AccessibleMenu::child(int index) const {
  const QList<QAction*> actions = widget()->actions();
  if (index >= 0 && index < actions.size()) return ItemOf(actions[index]);
  const bool is_corner = index == actions.size() && Corner() != nullptr;
  return is_corner ? QAccessible::queryAccessibleInterface(Corner()) : nullptr;
}

QAccessibleInterface* AccessibleMenu::childAt(int x, int y) const {
  for (int i = 0; i < childCount(); ++i) {
    if (child(i)->rect().contains(x, y)) return child(i);
  }
  return nullptr;
}

int AccessibleMenu::indexOfChild(const QAccessibleInterface* child) const {
  const auto* item = dynamic_cast<const AccessibleMenuItem*>(child);
  const QList<QAction*> actions = widget()->actions();
  if (item != nullptr) return static_cast<int>(actions.indexOf(item->Action()));
  const bool is_corner = child != nullptr && Corner() != nullptr && child->object() == Corner();
  return is_corner ? static_cast<int>(actions.size()) : -1;
}

QAccessibleInterface* AccessibleMenu::focusChild() const {
  QAction* active = ActiveOf(*widget());
  return active != nullptr ? ItemOf(active) : nullptr;
}

}  // namespace quillet::qt
