// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/form_list.h"

#include <QContextMenuEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScroller>
#include <QSignalBlocker>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <algorithm>
#include <numeric>
#include <utility>

#include "qt/icons.h"
#include "qt/one_line.h"
#include "qt/row_steps.h"
#include "qt/text.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

// Subjects and names go by their own direction.
class FormRow final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  QString displayText(const QVariant& value, const QLocale& /*locale*/) const override {
    return Isolated(value.toString());
  }
};

}  // namespace

FormList::FormList(QWidget* parent)
    : RowView(parent), hold_([this](QPoint place) {
        setState(QAbstractItemView::NoState);
        if (QTreeWidgetItem* item = itemAt(place)) {
          AskMenu(*item, {viewport()->mapToGlobal(place), false});
        }
      }) {
  setItemDelegate(new FormRow(this));
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  QScroller::grabGesture(viewport(), QScroller::TouchGesture);
  header()->setSectionsMovable(false);
  header()->setStretchLastSection(false);
  header()->setResizeContentsPrecision(100);  // rows whose texts are looked at
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  connect(this, &QTreeWidget::itemSelectionChanged, this, [this] {
    if (told_.selected && SelectedRow() >= 0) told_.selected(SelectedRow());
  });
  connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
    const bool checked = item->checkState(0) == Qt::Checked;
    if (told_.checked) told_.checked(indexOfTopLevelItem(item), checked);
  });
}

namespace {

constexpr int kToolTipRole = Qt::UserRole;

// A reader of the screen says what the sign means.
void Mark(QTreeWidgetItem& item) {
  item.setIcon(0, PaletteIcon(kIconRefused));
  item.setData(0, Qt::AccessibleTextRole, QStringLiteral("refused: %1").arg(item.text(0)));
}

}  // namespace

QTreeWidgetItem* FormList::NewItem(const port::Row& row) const {
  auto* item = new QTreeWidgetItem;
  const int columns = std::min(columnCount(), static_cast<int>(row.texts.size()));
  for (int column = 0; column < columns; ++column) {
    const QString text = OneLine(ToQt(row.texts[static_cast<std::size_t>(column)]));
    item->setText(column, text);
  }
  if (!row.tool_tip.empty()) item->setData(0, kToolTipRole, ToQt(row.tool_tip));
  if (row.marked) Mark(*item);
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
  pressed_ = tapped_ = -1;
  QList<QTreeWidgetItem*> items;
  for (const port::Row& row : rows) items.append(NewItem(row));
  addTopLevelItems(items);
  wanted_.clear();
  for (int column = 1; column < columnCount(); ++column) {
    wanted_.push_back(std::max(sizeHintForColumn(column), header()->sectionSizeHint(column)));
  }
  FitColumns();
}

// The long texts are in the first column. The others show theirs whole as far as half of the list
// has room for them.
void FormList::FitColumns() {
  if (wanted_.empty()) return;
  const int all = std::accumulate(wanted_.begin(), wanted_.end(), 0);
  const int room = viewport()->width() / 2;
  for (std::size_t i = 0; i < wanted_.size(); ++i) {
    const int width = all <= room ? wanted_[i] : wanted_[i] * room / std::max(all, 1);
    header()->resizeSection(static_cast<int>(i) + 1, width);
  }
}

void FormList::resizeEvent(QResizeEvent* event) {
  QTreeWidget::resizeEvent(event);
  FitColumns();
}

void FormList::showEvent(QShowEvent* event) {
  QTreeWidget::showEvent(event);
  header()->setSectionResizeMode(QHeaderView::Fixed);
  header()->setSectionResizeMode(0, QHeaderView::Stretch);
  FitColumns();
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

QString FormList::ToolTipAt(QPoint place) const {
  const QTreeWidgetItem* item = itemAt(place);
  if (item == nullptr) return {};
  const QVariant own = item->data(0, kToolTipRole);
  return PlainToolTip(own.isValid() ? own.toString() : item->text(columnAt(place.x())));
}

// Made when it is asked for: 10,000 rows are filled while the user types.
bool FormList::viewportEvent(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QTreeWidget::viewportEvent(event);
  const auto& help = static_cast<const QHelpEvent&>(*event);
  QToolTip::showText(help.globalPos(), ToolTipAt(help.pos()), viewport());
  return true;
}

void FormList::contextMenuEvent(QContextMenuEvent* event) {
  const bool by_key = event->reason() == QContextMenuEvent::Keyboard;
  QTreeWidgetItem* item = by_key ? topLevelItem(SelectedRow()) : itemAt(event->pos());
  if (item == nullptr) return;
  const QPoint place = by_key ? visualItemRect(item).bottomLeft() : event->pos();
  AskMenu(*item, {viewport()->mapToGlobal(place), by_key});
}

void FormList::AskMenu(QTreeWidgetItem& item, const MenuPlace& where) {
  setCurrentItem(&item);
  if (told_.menu) told_.menu(indexOfTopLevelItem(&item), where);
}

void FormList::OpenRow(const QModelIndex& row) {
  if (told_.activated) told_.activated(row.row());
}

void FormList::ShowRowMenu(const QModelIndex& row) {
  const QPoint below = visualRect(row).bottomLeft();
  AskMenu(*topLevelItem(row.row()), {viewport()->mapToGlobal(below), true});
}

// Enter is the row's here, not the dialog's default button; unless it was let through.
void FormList::keyPressEvent(QKeyEvent* event) {
  const int row = SelectedRow();
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (plain && enter && enter_through_) {
    event->ignore();
  } else if (plain && enter && row >= 0) {
    if (told_.activated) told_.activated(row);
  } else if (plain && event->key() == Qt::Key_Space && row >= 0 && HasBoxes()) {
    Toggle(row);
  } else if (!FirstStepSelects(*this, *event)) {
    QTreeWidget::keyPressEvent(event);
  }
}

int FormList::RowAt(const QMouseEvent& event) const {
  return indexOfTopLevelItem(itemAt(event.position().toPoint()));
}

// A press that moves away, or rests until the menu comes, is no tap.
void FormList::mousePressEvent(QMouseEvent* event) {
  pressed_ = event->button() == Qt::LeftButton ? RowAt(*event) : -1;
  opens_ = pressed_ >= 0 && pressed_ == tapped_ && pressed_ == SelectedRow();
  opened_ = false;
  down_ = true;
  hold_.Pressed(*event);
  QTreeWidget::mousePressEvent(event);
}

void FormList::mouseMoveEvent(QMouseEvent* event) {
  hold_.Moved(*event);
  // A finger that moves scrolls; it does not take the selection along.
  if (!ByFinger(*event)) QTreeWidget::mouseMoveEvent(event);
}

void FormList::mouseReleaseEvent(QMouseEvent* event) {
  const bool held = hold_.Released();
  const bool was_down = std::exchange(down_, false);
  QTreeWidget::mouseReleaseEvent(event);
  const int row = std::exchange(pressed_, -1);
  // The toolkit keeps the press of a finger's second tap to itself, if it is quick.
  if (!was_down && ByFinger(*event)) return DoubleTapped(RowAt(*event));
  if (!held && row >= 0 && row == RowAt(*event)) Tapped(row);
}

void FormList::Tapped(int row) {
  tapped_ = row;
  opened_ = opens_ && property("tapOpens").toBool();
  if (opened_ && told_.activated) told_.activated(row);
}

// The first of the two taps may have opened the row already.
void FormList::DoubleTapped(int row) {
  const bool opened = std::exchange(opened_, false);
  if (!opened && row >= 0 && told_.activated) told_.activated(row);
}

// The release that follows is no tap.
void FormList::mouseDoubleClickEvent(QMouseEvent* event) {
  down_ = true;
  QTreeWidget::mouseDoubleClickEvent(event);
  if (event->button() == Qt::LeftButton) DoubleTapped(RowAt(*event));
}

}  // namespace quillet::qt
