// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/menus.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QMenuBar>
#include <QToolButton>
#include <array>

#include "qt/icons.h"
#include "qt/text.h"
#include "res/commands.h"

namespace quillet::qt {
namespace {

// Text, tab, shortcut: what stands behind the tab is drawn at the right edge.
QString ItemText(const MenuEntry& entry) {
  QString text = ToQt(entry.text);
  if (!entry.shortcut.empty()) text += QLatin1Char('\t') + ToQt(entry.shortcut);
  return text;
}

QString PlainText(std::u16string_view text) {
  return ToQt(text).remove(QLatin1Char('&'));
}

QMenu* NewMenu(const MenuEntry& entry, QWidget* parent) {
  auto* menu = new QMenu(ToQt(entry.text), parent);
  menu->setAccessibleName(PlainText(entry.text));
  return menu;
}

void AddItem(QMenu& menu, const MenuEntry& entry, const CommandHandler& handler) {
  QAction* action = menu.addAction(ItemText(entry));
  action->setMenuRole(QAction::NoRole);
  action->setData(entry.command);
  QObject::connect(action, &QAction::triggered, &menu,
                   [handler, command = entry.command] { handler(command); });
}

}  // namespace

void FillMenuBar(QMenuBar& bar, int view, const CommandHandler& handler) {
  const QList<QMenu*> old = bar.findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly);
  bar.clear();
  for (QMenu* menu : old) menu->deleteLater();  // one of them may be closing right now
  std::array<QMenu*, 2> open{};                 // the drop-down and the submenu being filled
  for (const MenuEntry& entry : MenuOfView(view)) {
    if (entry.depth == 0) {
      open[0] = NewMenu(entry, &bar);
      bar.addMenu(open[0]);
      continue;
    }
    QMenu& parent = *open[static_cast<std::size_t>(entry.depth - 1)];
    if (entry.text.empty()) {
      parent.addSeparator();
    } else if (entry.command == 0) {
      open[1] = NewMenu(entry, &parent);
      parent.addMenu(open[1]);
    } else {
      AddItem(parent, entry, handler);
    }
  }
}

QWidget* NewViewButtons(int view, const CommandHandler& handler, QWidget* parent) {
  const auto buttons = ButtonsOfView(view);
  if (buttons.empty()) return nullptr;
  auto* row = new QWidget(parent);
  row->setAccessibleName(QStringLiteral("Buttons"));
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  for (const MenuButton& entry : buttons) {
    auto* button = new QToolButton(row);
    button->setAutoRaise(true);
    button->setIcon(PaletteIcon(entry.command));
    button->setToolTip(ToQt(entry.tooltip));
    button->setAccessibleName(ToQt(entry.tooltip));
    button->setFocusPolicy(Qt::TabFocus);
    button->setProperty("commandId", entry.command);
    QObject::connect(button, &QToolButton::clicked, row,
                     [handler, command = entry.command] { handler(command); });
    layout->addWidget(button);
  }
  return row;
}

}  // namespace quillet::qt
