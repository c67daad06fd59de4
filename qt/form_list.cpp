#include "qt/form_list.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <algorithm>

#include "qt/one_line.h"
#include "qt/row_steps.h"
#include "qt/text.h"

namespace quillet::qt {

FormList::FormList(QWidget* parent) : QTreeWidget(parent) {
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  header()->setSectionsMovable(false);
  header()->setStretchLastSection(false);
  header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
    if (told_.selected && SelectedRow() >= 0) told_.selected(SelectedRow());
  });
  connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
    const bool checked = item->checkState(0) == Qt::Checked;
    if (told_.checked) told_.checked(indexOfTopLevelItem(item), checked);
  });
}

QTreeWidgetItem* FormList::NewItem(const port::Row& row) const {
  auto* item = new QTreeWidgetItem;
  const int columns = std::min(columnCount(), static_cast<int>(row.texts.size()));
  for (int column = 0; column < columns; ++column) {
    const QString text = OneLine(ToQt(row.texts[static_cast<std::size_t>(column)]));
    item->setText(column, text);
    item->setToolTip(column, PlainToolTip(text));
  }
  item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren);
  if (HasBoxes()) {
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(0, row.checked ? Qt::Checked : Qt::Unchecked);
  }
  return item;
}

void FormList::Fill(const std::vector<port::Row>& rows) {
  const QSignalBlocker quiet(this);
  clear();
  QList<QTreeWidgetItem*> items;
  for (const port::Row& row : rows) items.append(NewItem(row));
  addTopLevelItems(items);
  // The long texts are in the first column; the others show theirs whole.
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
}

void FormList::SelectRow(int row) {
  const QSignalBlocker quiet(this);
  if (row == -1) clearSelection();
  QTreeWidgetItem* item = topLevelItem(row);
  if (item == nullptr) return;
  setCurrentItem(item);
  scrollToItem(item);
}

int FormList::SelectedRow() const {
  const QList<QTreeWidgetItem*> selected = selectedItems();
  return selected.isEmpty() ? -1 : indexOfTopLevelItem(selected.front());
}

std::vector<bool> FormList::Checks() const {
  std::vector<bool> checks;
  if (!HasBoxes()) return checks;
  for (int row = 0; row < topLevelItemCount(); ++row) {
    checks.push_back(topLevelItem(row)->checkState(0) == Qt::Checked);
  }
  return checks;
}

void FormList::Toggle(int row) {
  QTreeWidgetItem& item = *topLevelItem(row);
  item.setCheckState(0, item.checkState(0) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
}

void FormList::contextMenuEvent(QContextMenuEvent* event) {
  const bool by_key = event->reason() == QContextMenuEvent::Keyboard;
  QTreeWidgetItem* item = by_key ? topLevelItem(SelectedRow()) : itemAt(event->pos());
  if (item == nullptr || !told_.menu) return;
  setCurrentItem(item);
  const QPoint place = by_key ? visualItemRect(item).bottomLeft() : event->pos();
  told_.menu(indexOfTopLevelItem(item), {viewport()->mapToGlobal(place), by_key});
}

// Enter is the row's here, not the dialog's default button.
void FormList::keyPressEvent(QKeyEvent* event) {
  const int row = SelectedRow();
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (plain && enter && row >= 0) {
    if (told_.activated) told_.activated(row);
  } else if (plain && event->key() == Qt::Key_Space && row >= 0 && HasBoxes()) {
    Toggle(row);
  } else if (!FirstStepSelects(*this, *event)) {
    QTreeWidget::keyPressEvent(event);
  }
}

void FormList::mouseDoubleClickEvent(QMouseEvent* event) {
  QTreeWidget::mouseDoubleClickEvent(event);
  const int row = indexOfTopLevelItem(itemAt(event->position().toPoint()));
  if (row >= 0 && event->button() == Qt::LeftButton && told_.activated) told_.activated(row);
}

}  // namespace quillet::qt
