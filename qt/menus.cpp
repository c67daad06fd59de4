// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/menus.h"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QToolButton>
#include <array>
#include <span>
#include <vector>

#include "qt/fit_screen.h"
#include "qt/icons.h"
#include "qt/key_button.h"
#include "qt/text.h"
#include "res/commands.h"

namespace quillet::qt {
namespace {

constexpr QChar kMark('&');

// The marked letter in lower case; none of a text without a mark.
QChar MnemonicOf(const QString& text) {
  const qsizetype mark = text.indexOf(kMark);
  return mark >= 0 && mark + 1 < text.size() ? text[mark + 1].toLower() : QChar();
}

// With a mark before the first letter that is not taken; as it is when all are, or when it has one.
QString WithMnemonic(const QString& text, const QString& taken) {
  if (text.contains(kMark)) return text;
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (text[i].isLetterOrNumber() && !taken.contains(text[i].toLower())) {
      return QString(text).insert(i, kMark);
    }
  }
  return text;
}

// The places of the entries beside that one: of the same depth, below the same title.
std::vector<std::size_t> Siblings(std::span<const MenuEntry> entries, std::size_t place) {
  const int depth = entries[place].depth;
  std::vector<std::size_t> places;
  for (std::size_t i = place; i-- > 0 && entries[i].depth >= depth;) {
    if (entries[i].depth == depth) places.push_back(i);
  }
  for (std::size_t i = place + 1; i < entries.size() && entries[i].depth >= depth; ++i) {
    if (entries[i].depth == depth) places.push_back(i);
  }
  return places;
}

// The texts of a view's tree as they are shown. Those beside each other are told apart by their
// keys: what the tables mark comes first, the titles of menus get what is left.
std::vector<QString> ShownTexts(std::span<const MenuEntry> entries) {
  std::vector<QString> texts;
  for (const MenuEntry& entry : entries) texts.push_back(ToQt(entry.text));
  for (std::size_t i = 0; i < entries.size(); ++i) {
    if (entries[i].command != 0 || entries[i].text.empty()) continue;
    QString taken;
    for (const std::size_t other : Siblings(entries, i)) taken += MnemonicOf(texts[other]);
    texts[i] = WithMnemonic(texts[i], taken);
  }
  return texts;
}

// Text, tab, shortcut: what stands behind the tab is drawn at the right edge.
QString ItemText(const MenuEntry& entry) {
  QString text = ToQt(entry.text);
  if (!entry.shortcut.empty()) text += QLatin1Char('\t') + ToQt(entry.shortcut);
  return text;
}

// A drop-down of the bar. The toolkit leaves the focus in the bar when Escape closes it, and only a
// second Escape would bring it back.
class BarMenu final : public QMenu {
 public:
  BarMenu(const QString& title, QMenuBar* bar) : QMenu(title, bar), bar_(bar) {}

 protected:
  void keyPressEvent(QKeyEvent* event) override {
    const QPointer<QMenuBar> bar = bar_;
    const bool leaves = event->matches(QKeySequence::Cancel);
    QMenu::keyPressEvent(event);
    if (!leaves || isVisible() || !bar || !bar->hasFocus()) return;
    QKeyEvent again(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(bar, &again);
  }

 private:
  QPointer<QMenuBar> bar_;
};

template <class Menu, class Parent>
QMenu* NewMenu(const QString& title, Parent* parent) {
  auto* menu = new Menu(title, parent);
  menu->setAccessibleName(QString(title).remove(kMark));
  QObject::connect(menu, &QMenu::aboutToShow, menu, [menu] { FitMenu(*menu); });
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
  const auto entries = MenuOfView(view);
  const std::vector<QString> texts = ShownTexts(entries);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const MenuEntry& entry = entries[i];
    if (entry.depth == 0) {
      open[0] = NewMenu<BarMenu>(texts[i], &bar);
      bar.addMenu(open[0]);
      continue;
    }
    QMenu& parent = *open[static_cast<std::size_t>(entry.depth - 1)];
    if (entry.text.empty()) {
      parent.addSeparator();
    } else if (entry.command == 0) {
      open[1] = NewMenu<QMenu>(texts[i], &parent);
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
    auto* button = new KeyButton(row);
    button->setAutoRaise(true);
    button->setIcon(PaletteIcon(entry.command));
    button->setToolTip(ToQt(entry.tooltip));
    button->setAccessibleName(ToQt(entry.tooltip));
    button->setProperty("commandId", entry.command);
    QObject::connect(button, &QToolButton::clicked, row,
                     [handler, command = entry.command] { handler(command); });
    layout->addWidget(button);
  }
  return row;
}

}  // namespace quillet::qt
