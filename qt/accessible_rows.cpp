// SPDX-License-Identifier: GPL-3.0-or-later
// Flat, as it is drawn: how deep a row stands is in its name, since the bus has no other place for
// it. Nothing is kept of rows before somebody asks, so that long lists cost no more than before.
#include "qt/accessible_rows.h"

#include <QAbstractItemModel>
#include <QHeaderView>

#include "qt/one_line.h"

namespace quillet::qt {
namespace {

class AccessibleRow final : public AccessiblePart {
 public:
  AccessibleRow(const AccessibleRows& list, const QModelIndex& row)
      : AccessiblePart(list.View()), list_(list), row_(row) {}

  const QPersistentModelIndex& Row() const { return row_; }

  bool isValid() const override { return AccessiblePart::isValid() && row_.isValid(); }
  QAccessible::Role role() const override {
    return list_.role() == QAccessible::Tree ? QAccessible::TreeItem : QAccessible::ListItem;
  }
  QString text(QAccessible::Text kind) const override;
  QAccessible::State state() const override;
  QRect rect() const override;
  QStringList actionNames() const override;
  void doAction(const QString& name) override;

 private:
  bool HasBox() const { return row_.flags().testFlag(Qt::ItemIsUserCheckable); }
  bool IsTicked() const { return row_.data(Qt::CheckStateRole).toInt() == Qt::Checked; }
  bool HasRowsBelow() const { return row_.model()->hasChildren(row_); }
  bool IsCurrent() const { return list_.View().currentIndex().siblingAtColumn(0) == row_; }
  QString Name() const;
  void Toggle();

  const AccessibleRows& list_;
  const QPersistentModelIndex row_;
};

QString AccessibleRow::Name() const {
  QStringList texts;
  for (int column = 0; column < row_.model()->columnCount(row_.parent()); ++column) {
    if (list_.IsHidden(column)) continue;
    const QModelIndex cell = row_.sibling(row_.row(), column);
    const QVariant own = cell.data(Qt::AccessibleTextRole);
    const QString text = OneLine(own.isValid() ? own.toString() : cell.data().toString());
    if (!text.isEmpty()) texts << text;
  }
  return texts.join(QStringLiteral(", "));
}

QString AccessibleRow::text(QAccessible::Text kind) const {
  if (!isValid()) return {};
  if (kind == QAccessible::Name) return Name();
  if (kind == QAccessible::Description) {
    return OneLine(row_.data(Qt::AccessibleDescriptionRole).toString());
  }
  return {};
}

QAccessible::State AccessibleRow::state() const {
  QAccessible::State state;
  state.invalid = !isValid();
  if (state.invalid) return state;
  const QAbstractItemView& view = list_.View();
  state.disabled = !view.isEnabled();
  state.invisible = !view.isVisible();
  state.offscreen = !view.viewport()->rect().intersects(view.visualRect(row_));
  state.selectable = true;
  state.selected = view.selectionModel()->isSelected(row_);
  state.focusable = true;
  state.focused = view.hasFocus() && IsCurrent();
  state.checkable = HasBox();
  state.checked = state.checkable && IsTicked();
  state.expandable = HasRowsBelow();
  state.expanded = state.expandable && list_.IsExpanded(row_);
  state.collapsed = state.expandable && !list_.IsExpanded(row_);
  return state;
}

QRect AccessibleRow::rect() const {
  if (!isValid()) return {};
  const QWidget& viewport = *list_.View().viewport();
  QRect row = list_.View().visualRect(row_);
  row.setLeft(0);
  row.setWidth(viewport.width());
  return {viewport.mapToGlobal(row.topLeft()), row.size()};
}

// The first is what a reader does when the user just wants "it".
QStringList AccessibleRow::actionNames() const {
  if (!isValid()) return {};
  QStringList names{pressAction()};
  if (HasBox() || HasRowsBelow()) names << toggleAction();
  if (list_.Hands().HasRowMenus()) names << showMenuAction();
  names << setFocusAction();
  return names;
}

void AccessibleRow::Toggle() {
  if (HasBox()) {
    list_.View().model()->setData(row_, IsTicked() ? Qt::Unchecked : Qt::Checked,
                                  Qt::CheckStateRole);
  } else if (HasRowsBelow()) {
    list_.SetExpanded(row_, !list_.IsExpanded(row_));
  }
}

void AccessibleRow::doAction(const QString& name) {
  if (!isValid() || !TakesActions(list_.View())) return;
  const QModelIndex row = row_;
  list_.View().setFocus();
  list_.View().setCurrentIndex(row);
  if (name == pressAction()) return list_.Hands().OpenRow(row);
  if (name == toggleAction()) return Toggle();
  if (name == showMenuAction()) return list_.Hands().ShowRowMenu(row);
}

}  // namespace

AccessibleRows::AccessibleRows(QAbstractItemView& view, RowHands& hands, QAccessible::Role role)
    : AccessibleOwner(&view, role),
      view_(view),
      tree_(qobject_cast<QTreeView*>(&view)),
      hands_(hands) {
  Watch();
}

void AccessibleRows::Watch() {
  const QAbstractItemModel* model = view_.model();
  const auto changed = [this] { RowsChanged(); };
  QObject::connect(model, &QAbstractItemModel::modelReset, &alive_, changed);
  QObject::connect(model, &QAbstractItemModel::rowsInserted, &alive_, changed);
  QObject::connect(model, &QAbstractItemModel::rowsRemoved, &alive_, changed);
  QObject::connect(model, &QAbstractItemModel::rowsMoved, &alive_, changed);
  QObject::connect(model, &QAbstractItemModel::layoutChanged, &alive_, changed);
  QObject::connect(model, &QAbstractItemModel::dataChanged, &alive_,
                   [this](const QModelIndex& first, const QModelIndex& last) {
                     const QModelIndex row = view_.currentIndex();
                     if (row.parent() != first.parent() || !view_.hasFocus()) return;
                     if (row.row() < first.row() || row.row() > last.row()) return;
                     TellState(row, [](QAccessible::State& state) { state.checked = true; });
                     Tell(QAccessible::NameChanged);
                   });
  const auto opened = [this](const QModelIndex& row) {
    known_ = false;
    TellState(row, [](QAccessible::State& state) { state.expanded = true; });
  };
  if (tree_ != nullptr) {
    QObject::connect(tree_, &QTreeView::expanded, &alive_, opened);
    QObject::connect(tree_, &QTreeView::collapsed, &alive_, opened);
  }
  QObject::connect(view_.selectionModel(), &QItemSelectionModel::currentRowChanged, &alive_,
                   [this] {
                     if (view_.hasFocus()) Tell(QAccessible::Focus);
                   });
  QObject::connect(view_.selectionModel(), &QItemSelectionModel::selectionChanged, &alive_,
                   [this](const QItemSelection& selected) {
                     if (!selected.isEmpty()) Tell(QAccessible::SelectionAdd);
                   });
}

void AccessibleRows::RowsChanged() {
  known_ = false;
  shown_.clear();
  places_.clear();
  items_.Clear();
}

void AccessibleRows::Tell(QAccessible::Event kind) const {
  if (!QAccessible::isActive()) return;
  QAccessibleInterface* item = CurrentItem();
  if (item == nullptr) return;
  QAccessibleEvent event(item, kind);
  QAccessible::updateAccessibility(&event);
}

// Of the state that may have changed; what it is now is asked for.
void AccessibleRows::TellState(const QModelIndex& row,
                               void (*mark)(QAccessible::State& state)) const {
  if (!QAccessible::isActive()) return;
  QAccessible::State changed;
  mark(changed);
  QAccessibleStateChangeEvent event(ItemOf(row.siblingAtColumn(0)), changed);
  QAccessible::updateAccessibility(&event);
}

const std::vector<QModelIndex>& AccessibleRows::Shown() const {
  if (known_) return shown_;
  known_ = true;
  shown_.clear();
  places_.clear();
  const QAbstractItemModel& model = *view_.model();
  for (QModelIndex row = model.index(0, 0); row.isValid();) {
    places_.insert(KeyOf(row), static_cast<int>(shown_.size()));
    shown_.push_back(row);
    QModelIndex next = IsExpanded(row) ? model.index(0, 0, row) : QModelIndex();
    for (QModelIndex above = row; !next.isValid() && above.isValid(); above = above.parent()) {
      next = above.siblingAtRow(above.row() + 1);
    }
    row = next;
  }
  return shown_;
}

QAccessibleInterface* AccessibleRows::ItemOf(const QModelIndex& row) const {
  if (!row.isValid()) return nullptr;
  return items_.Of(KeyOf(row), [&] { return std::make_unique<AccessibleRow>(*this, row); });
}

QAccessibleInterface* AccessibleRows::CurrentItem() const {
  return ItemOf(view_.currentIndex().siblingAtColumn(0));
}

int AccessibleRows::PlaceOf(const QModelIndex& row) const {
  Shown();
  return places_.value(KeyOf(row), -1);
}

int AccessibleRows::childCount() const {
  return static_cast<int>(Shown().size());
}

QAccessibleInterface* AccessibleRows::child(int index) const {
  if (index < 0 || index >= childCount()) return nullptr;
  return ItemOf(Shown()[static_cast<std::size_t>(index)]);
}

QAccessibleInterface* AccessibleRows::childAt(int x, int y) const {
  return ItemOf(view_.indexAt(view_.viewport()->mapFromGlobal(QPoint(x, y))).siblingAtColumn(0));
}

int AccessibleRows::indexOfChild(const QAccessibleInterface* child) const {
  const auto* item = dynamic_cast<const AccessibleRow*>(child);
  return item != nullptr && item->isValid() ? PlaceOf(item->Row()) : -1;
}

QAccessibleInterface* AccessibleRows::focusChild() const {
  return view_.hasFocus() ? CurrentItem() : nullptr;
}

}  // namespace quillet::qt
