// SPDX-License-Identifier: GPL-3.0-or-later
// The model holds the rows as the program gave them and tells it of boxes that the user changes.
// The two columns always fill the table: widths count by their proportion, as given or as the user
// dragged it, and each width is told to the program once, only when it differs from what was told
// before.
#include "qt/group_table.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>
#include <cmath>
#include <utility>

#include "qt/one_line.h"
#include "qt/row_steps.h"
#include "qt/row_words.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

using port::CheckState;

// Text that is a little too wide for its column is drawn smaller rather than cut.
QFont FittedFont(const QFont& font, const QString& text, int room) {
  constexpr double kSmallest = 0.65;
  const int wanted = QFontMetrics(font).horizontalAdvance(text);
  if (wanted <= room || room <= 0) return font;
  QFont smaller = font;
  smaller.setPointSizeF(font.pointSizeF() * std::max(kSmallest, double(room) / double(wanted)));
  return smaller;
}

class FittingHeader final : public QHeaderView {
 public:
  explicit FittingHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {}

 protected:
  void paintSection(QPainter* painter, const QRect& rect, int section) const override {
    const QString text = model()->headerData(section, Qt::Horizontal).toString();
    const int margins = 2 * (style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, this) + 1);
    painter->setFont(FittedFont(painter->font(), text, rect.width() - margins));
    QHeaderView::paintSection(painter, rect, section);
  }
};

// The counts are short and matter whole; group names are cut with an ellipsis.
class FittingCounts final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
    QStyledItemDelegate::initStyleOption(option, index);
    const QStyle* style = option->widget != nullptr ? option->widget->style() : nullptr;
    const int margin = style == nullptr ? 3 : style->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1;
    option->font = FittedFont(option->font, option->text, option->rect.width() - 2 * margin);
    option->fontMetrics = QFontMetrics(option->font);
  }
};

}  // namespace

GroupModel::GroupModel(Checked checked, QObject* parent)
    : QAbstractTableModel(parent), checked_(std::move(checked)) {}

void GroupModel::SetColumns(std::span<const port::ListColumn, 2> columns) {
  for (std::size_t i = 0; i < columns.size(); ++i) {
    titles_[i] = ToQt(columns[i].title);
    centred_[i] = columns[i].centred;
  }
  emit headerDataChanged(Qt::Horizontal, 0, 1);
}

void GroupModel::SetRows(std::vector<port::ListRow> rows) {
  beginResetModel();
  rows_ = std::move(rows);
  endResetModel();
}

void GroupModel::SetCounts(std::vector<std::u16string> counts) {
  const std::size_t rows = std::min(counts.size(), rows_.size());
  if (rows == 0) return;
  for (std::size_t i = 0; i < rows; ++i) rows_[i].counts = std::move(counts[i]);
  emit dataChanged(index(0, 1), index(static_cast<int>(rows) - 1, 1));
}

void GroupModel::SetChecks(int first, const std::vector<CheckState>& checks) {
  const int last = std::min(first + static_cast<int>(checks.size()), rowCount()) - 1;
  if (first < 0 || last < first) return;
  bool changed = false;
  for (int row = first; row <= last; ++row) {
    const CheckState check = checks[static_cast<std::size_t>(row - first)];
    changed |= std::exchange(rows_[static_cast<std::size_t>(row)].check, check) != check;
  }
  if (changed) emit dataChanged(index(first, 0), index(last, 0));
}

std::vector<CheckState> GroupModel::Checks() const {
  std::vector<CheckState> checks;
  checks.reserve(rows_.size());
  for (const port::ListRow& row : rows_) checks.push_back(row.check);
  return checks;
}

void GroupModel::Toggle(int row) {
  if (row < 0 || row >= rowCount()) return;
  CheckByUser(row, rows_[static_cast<std::size_t>(row)].check != CheckState::kChecked);
}

// False when the row has no box.
bool GroupModel::CheckByUser(int row, bool checked) {
  port::ListRow& changed = rows_[static_cast<std::size_t>(row)];
  if (changed.check == CheckState::kNone) return false;
  changed.check = checked ? CheckState::kChecked : CheckState::kUnchecked;
  emit dataChanged(index(row, 0), index(row, 0), {Qt::CheckStateRole});
  checked_(row, changed.name, checked);
  return true;
}

int GroupModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int GroupModel::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : 2;
}

QString GroupModel::Text(const port::ListRow& row, int column) const {
  return ToQt(column == 0 ? row.name : row.counts);
}

QVariant GroupModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const port::ListRow& row = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case Qt::DisplayRole:
      return Text(row, index.column());
    case Qt::ToolTipRole:  // the whole text where the column cuts it
      return PlainToolTip(Text(row, index.column()));
    case Qt::CheckStateRole:
      if (index.column() != 0 || row.check == CheckState::kNone) return {};
      return static_cast<int>(row.check == CheckState::kChecked ? Qt::Checked : Qt::Unchecked);
    case Qt::TextAlignmentRole: {
      const bool centred = centred_[static_cast<std::size_t>(index.column())];
      return QVariant(Qt::AlignVCenter | (centred ? Qt::AlignHCenter : Qt::AlignLeft));
    }
    case Qt::AccessibleTextRole:
      return index.column() == 0 ? Text(row, 0) : CountsInWords(Text(row, 1));
    default:
      return {};
  }
}

bool GroupModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (!index.isValid() || role != Qt::CheckStateRole) return false;
  return CheckByUser(index.row(), value.toInt() == Qt::Checked);
}

QVariant GroupModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section < 0 || section > 1) return {};
  const auto column = static_cast<std::size_t>(section);
  if (role == Qt::DisplayRole || role == Qt::ToolTipRole) return titles_[column];
  if (role == Qt::TextAlignmentRole) {
    return QVariant(Qt::AlignVCenter | (centred_[column] ? Qt::AlignHCenter : Qt::AlignLeft));
  }
  return {};
}

Qt::ItemFlags GroupModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemNeverHasChildren;
  const bool has_box = rows_[static_cast<std::size_t>(index.row())].check != CheckState::kNone;
  if (index.column() == 0 && has_box) flags |= Qt::ItemIsUserCheckable;
  return flags;
}

GroupTable::GroupTable(Told told, QWidget* parent)
    : RowView(parent), told_(std::move(told)), model_(new GroupModel(told_.checked, this)) {
  setModel(model_);
  auto* header = new FittingHeader(this);
  header->setAccessibleName(QStringLiteral("Column headings"));
  header->setSectionsMovable(false);
  header->setMinimumSectionSize(fontMetrics().averageCharWidth() * 3);
  setHeader(header);
  header->setStretchLastSection(false);
  header->setSectionResizeMode(0, QHeaderView::Interactive);
  header->setSectionResizeMode(1, QHeaderView::Stretch);
  setAccessibleName(QStringLiteral("Newsgroups"));
  setItemDelegateForColumn(1, new FittingCounts(this));
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  connect(header, &QHeaderView::sectionResized, this, [this](int section, int, int width) {
    if (section == 0 && !applying_) chosen_share_ = double(width) / viewport()->width();
    // The section itself gets the size of a stretched column only after this.
    TellWidth(section, width);
  });
}

void GroupTable::SetColumns(std::span<const port::ListColumn, 2> columns) {
  model_->SetColumns(columns);
  given_widths_ = {std::max(columns[0].width, 0), std::max(columns[1].width, 0)};
  chosen_share_ = 0;
  told_widths_ = {};
  ApplyWidths();
  for (const int column : {0, 1}) TellWidth(column, columnWidth(column));
}

void GroupTable::TellWidth(int column, int width) {
  int& told = told_widths_.at(static_cast<std::size_t>(column));
  if (width == told) return;
  told = width;
  told_.sized(column, width);
}

double GroupTable::FirstColumnShare(int client) const {
  if (chosen_share_ > 0) return chosen_share_;
  const double first = given_widths_[0] > 0 ? given_widths_[0] : client * 5 / 6;
  const double second = given_widths_[1] > 0 ? given_widths_[1] : client - first;
  return first / std::max(first + second, 1.0);
}

void GroupTable::ApplyWidths() {
  const int client = viewport()->width();
  const int least = header()->minimumSectionSize();
  const int first = static_cast<int>(std::lround(client * FirstColumnShare(client)));
  applying_ = true;
  setColumnWidth(0, std::clamp(first, least, std::max(client - least, least)));
  applying_ = false;
}

void GroupTable::Fill(std::vector<port::ListRow> rows, int selected) {
  const int scrolled = verticalScrollBar()->value();
  model_->SetRows(std::move(rows));
  // At once: until then the scroll bar has no range that would hold its value.
  doItemsLayout();
  const QModelIndex row = model_->index(selected, 0);
  if (row.isValid()) {
    setCurrentIndex(row);
  } else {
    clearSelection();
  }
  verticalScrollBar()->setValue(scrolled);
  if (row.isValid()) scrollTo(row);
}

int GroupTable::SelectedRow() const {
  const QModelIndexList rows = selectionModel()->selectedRows();
  return rows.isEmpty() ? -1 : rows.front().row();
}

QRect GroupTable::BoxRect(int row) const {
  const QModelIndex index = model_->index(row, 0);
  if (!model_->flags(index).testFlag(Qt::ItemIsUserCheckable)) return {};
  QStyleOptionViewItem option;
  initViewItemOption(&option);
  option.rect = visualRect(index);
  option.features |= QStyleOptionViewItem::HasCheckIndicator;
  return style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, this);
}

void GroupTable::keyPressEvent(QKeyEvent* event) {
  const int row = SelectedRow();
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (plain && row >= 0 && event->key() == Qt::Key_Space) {
    model_->Toggle(row);
    return;
  }
  if (plain && row >= 0 && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
    told_.activated(row);
    return;
  }
  if (FirstStepSelects(*this, *event)) return;
  QTreeView::keyPressEvent(event);
}

void GroupTable::mouseDoubleClickEvent(QMouseEvent* event) {
  QTreeView::mouseDoubleClickEvent(event);
  const QModelIndex index = indexAt(event->position().toPoint());
  if (!index.isValid() || event->button() != Qt::LeftButton) return;
  // Two quick clicks on a box only change it twice.
  if (!BoxRect(index.row()).contains(event->position().toPoint())) told_.activated(index.row());
}

void GroupTable::resizeEvent(QResizeEvent* event) {
  QTreeView::resizeEvent(event);
  ApplyWidths();
}

}  // namespace quillet::qt
