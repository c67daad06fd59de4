// SPDX-License-Identifier: GPL-3.0-or-later
// The toolkit asks for the interface of a widget when a reader of the screen comes by it, and tells
// what happens through one function, which is replaced here: a list that gets the focus tells of
// the row that keys act on, and an operation does not tell of every step, which nobody could listen
// to.
#include "qt/accessibility.h"

#include <QAbstractScrollArea>
#include <QAccessible>
#include <QMenu>
#include <QMenuBar>
#include <QToolButton>

#include "qt/accessible_button.h"
#include "qt/accessible_document.h"
#include "qt/accessible_menu.h"
#include "qt/accessible_rows.h"
#include "qt/accessible_tabs.h"
#include "qt/accessible_window.h"
#include "qt/article_pane.h"
#include "qt/form_list.h"
#include "qt/group_table.h"
#include "qt/image_tabs.h"
#include "qt/main_window.h"
#include "qt/progress_news.h"
#include "qt/sheet_dialog.h"
#include "qt/thread_pane.h"
#include "qt/thread_tree.h"
#include "qt/viewer.h"
#include "qt/wrapped_text.h"

namespace quillet::qt {
namespace {

template <class... Kinds>
bool IsOneOf(const QWidget* widget) {
  return (... || (dynamic_cast<const Kinds*>(widget) != nullptr));
}

bool IsViewport(const QWidget* widget) {
  const auto* area =
      widget != nullptr ? qobject_cast<QAbstractScrollArea*>(widget->parentWidget()) : nullptr;
  return area != nullptr && area->viewport() == widget;
}

QAccessibleInterface* PlainInterfaceFor(QWidget* widget) {
  if (IsViewport(widget)) {
    return new AccessibleOwner(widget, QAccessible::Client, QStringLiteral("Part on display"));
  }
  if (IsOneOf<MainWindow>(widget)) return new AccessibleWindow(*widget);
  if (IsOneOf<QMenu, QMenuBar>(widget)) return new AccessibleMenu(*widget);
  if (IsOneOf<WrappedText, ElidedText>(widget)) {
    return new AccessibleOwner(widget, QAccessible::StaticText);
  }
  if (IsOneOf<ThreadPane, ArticlePane>(widget)) {
    return new AccessibleOwner(widget, QAccessible::Pane);
  }
  if (auto* button = qobject_cast<QToolButton*>(widget)) return new AccessibleButton(*button);
  const auto* line = qobject_cast<const QFrame*>(widget);
  const bool separates = line != nullptr && line->frameShape() == QFrame::VLine;
  if (separates) return new AccessibleOwner(widget, QAccessible::Separator);
  const bool only_holds_others =
      widget != nullptr && qstrcmp(widget->metaObject()->className(), "QWidget") == 0;
  return only_holds_others ? new AccessibleOwner(widget, QAccessible::Client) : nullptr;
}

// Asked for each class that the object is of; the first answer counts.
QAccessibleInterface* InterfaceFor(const QString& /*class_name*/, QObject* object) {
  if (auto* groups = dynamic_cast<GroupTable*>(object)) {
    return new AccessibleRows(*groups, *groups, QAccessible::List);
  }
  if (auto* threads = dynamic_cast<ThreadTree*>(object)) {
    return new AccessibleRows(*threads, *threads, QAccessible::Tree);
  }
  if (auto* list = dynamic_cast<FormList*>(object)) {
    return new AccessibleRows(*list, *list, QAccessible::List);
  }
  if (auto* pages = dynamic_cast<PageNames*>(object)) {
    return new AccessibleRows(*pages, *pages, QAccessible::List);
  }
  if (auto* viewer = dynamic_cast<Viewer*>(object)) return new AccessibleDocument(*viewer);
  if (auto* tabs = dynamic_cast<ImageTabBar*>(object)) return new AccessibleTabs(*tabs);
  return PlainInterfaceFor(qobject_cast<QWidget*>(object));
}

void PassOn(QAccessibleEvent* event);

void TellToolkit(QAccessibleEvent& event) {
  QAccessible::installUpdateHandler(nullptr);
  QAccessible::updateAccessibility(&event);
  QAccessible::installUpdateHandler(PassOn);
}

void PassOn(QAccessibleEvent* event) {
  auto* view = qobject_cast<QAbstractItemView*>(event->object());
  const auto* rows =
      view == nullptr ? nullptr
                      : dynamic_cast<AccessibleRows*>(QAccessible::queryAccessibleInterface(view));
  if (auto* widget = qobject_cast<QWidget*>(event->object())) {
    if (ProgressNews::Takes(*widget, *event)) return;
  }
  TellToolkit(*event);
  if (rows == nullptr || event->type() != QAccessible::Focus) return;
  QAccessibleInterface* item = rows->CurrentItem();
  if (item == nullptr) return;
  QAccessibleEvent focus(item, QAccessible::Focus);
  TellToolkit(focus);
}

}  // namespace

void StartAccessibility() {
  QAccessible::installFactory(InterfaceFor);
  QAccessible::installUpdateHandler(PassOn);
}

void StopAccessibility() {
  QAccessible::installUpdateHandler(nullptr);
  QAccessible::removeFactory(InterfaceFor);
}

}  // namespace quillet::qt
