// SPDX-License-Identifier: GPL-3.0-or-later
// The view of the toolkit with its own indents, marks, keys and touch. Rows that change keep what
// the user sees: which rows are expanded, the selection and the row at the upper edge are noted by
// item before and restored after, with one new layout for all of it. A finger scrolls, taps or
// holds; the mouse selects.
#include "qt/thread_tree.h"

#include <QApplication>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QScroller>
#include <QStyleHints>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <algorithm>
#include <utility>

#include "qt/finger_hold.h"
#include "qt/keys.h"
#include "qt/one_line.h"
#include "qt/relative_date.h"
#include "qt/row_steps.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

// "12/34 subject" without its counts.
QStringView WithoutCounts(QStringView text) {
  const auto digits = [](QStringView part) {
    return !part.isEmpty() && std::all_of(part.begin(), part.end(), [](QChar c) {
      return c.unicode() >= '0' && c.unicode() <= '9';
    });
  };
  const qsizetype blank = text.indexOf(QLatin1Char(' '));
  const qsizetype slash = text.indexOf(QLatin1Char('/'));
  if (slash < 0 || blank < slash) return text;
  if (!digits(text.first(slash)) || !digits(text.sliced(slash + 1, blank - slash - 1))) return text;
  return text.sliced(blank + 1);
}

// Draws the indentation and the expand mark as well: the view's own indents grow without end.
class ThreadRow final : public QStyledItemDelegate {
 public:
  explicit ThreadRow(ThreadTree* tree) : QStyledItemDelegate(tree), tree_(tree) {}

  // The subject or the author by its own direction, with the counts before it.
  QString displayText(const QVariant& value, const QLocale& /*locale*/) const override {
    const QString text = value.toString();
    const QStringView rest = WithoutCounts(text);
    return text.first(text.size() - rest.size()) + Isolated(rest);
  }

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    if (tree_->model()->hasChildren(index)) {
      QStyleOption mark = option;
      mark.rect = tree_->MarkRect(index);
      mark.state |= QStyle::State_Children;
      mark.state.setFlag(QStyle::State_Open, tree_->isExpanded(index));
      tree_->style()->drawPrimitive(QStyle::PE_IndicatorBranch, &mark, painter, tree_);
    }
    QStyleOptionViewItem text = option;
    text.rect = tree_->TextRect(index);
    QStyledItemDelegate::paint(painter, text, index);
    PaintColumn(painter, option, index, tree_->AuthorRect(index), tree_->AuthorText(index));
    PaintColumn(painter, option, index, tree_->DateRect(index), tree_->DateText(index));
  }

  // The whole text where the row cuts it.
  bool helpEvent(QHelpEvent* event, QAbstractItemView* /*view*/, const QStyleOptionViewItem& option,
                 const QModelIndex& index) override {
    if (event->type() != QEvent::ToolTip) return false;
    QStyleOptionViewItem shown = option;
    initStyleOption(&shown, index);
    const int room = tree_->TextRect(index).width() -
                     2 * (tree_->style()->pixelMetric(QStyle::PM_FocusFrameHMargin) + 1);
    const bool cut = QFontMetrics(shown.font).horizontalAdvance(shown.text) > room;
    QToolTip::showText(event->globalPos(), cut ? PlainToolTip(shown.text) : QString(), tree_);
    return true;
  }

 private:
  // As the row is: selected, bold, in the colours of the palette.
  void PaintColumn(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index,
                   const QRect& place, const QString& text) const {
    if (place.isEmpty()) return;
    QStyleOptionViewItem column = option;
    initStyleOption(&column, index);
    column.rect = place;
    column.text = Isolated(text);
    column.textElideMode = Qt::ElideRight;
    tree_->style()->drawControl(QStyle::CE_ItemViewItem, &column, painter, tree_);
  }

  ThreadTree* tree_;
};

bool BeginsWith(const std::u16string& text, const QString& sought) {
  const QStringView whole(text.data(), static_cast<qsizetype>(text.size()));
  return whole.startsWith(sought, Qt::CaseInsensitive) ||
         WithoutCounts(whole).startsWith(sought, Qt::CaseInsensitive);
}

bool IsBelow(QModelIndex index, const QModelIndex& above) {
  while (index.isValid() && index != above) index = index.parent();
  return index == above;
}

}  // namespace

struct ThreadTree::Kept {
  QSet<port::TreeItem> expanded;
  port::TreeItem selected = 0;
  port::TreeItem top = 0;  // the row at the upper edge
  int top_y = 0;
  int scrolled = 0;
};

ThreadTree::ThreadTree(Asked asked, QWidget* parent)
    : RowView(parent), model_(new ThreadModel(this)), asked_(std::move(asked)) {
  setModel(model_);
  setItemDelegate(new ThreadRow(this));
  header()->setAccessibleName(QStringLiteral("Column headings"));
  header()->setStretchLastSection(true);
  setHeaderHidden(true);
  setIndentation(0);
  setUniformRowHeights(true);
  setExpandsOnDoubleClick(false);
  setAllColumnsShowFocus(true);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);  // texts are cut, indents limited
  QScroller::grabGesture(viewport(), QScroller::TouchGesture);
  midnight_.setSingleShot(true);
  connect(&midnight_, &QTimer::timeout, this, [this] {
    viewport()->update();
    AwaitMidnight();
  });
  hold_.setSingleShot(true);
  hold_.setInterval(QGuiApplication::styleHints()->mousePressAndHoldInterval());
  connect(&hold_, &QTimer::timeout, this, [this] { HoldEnded(); });
  // A selection that nobody sees would surprise.
  connect(this, &QTreeView::collapsed, this, [this](const QModelIndex& index) {
    if (currentIndex() != index && IsBelow(currentIndex(), index)) setCurrentIndex(index);
  });
}

// --- rows ----------------------------------------------------------------------------------------

ThreadTree::Kept ThreadTree::Keep(const QModelIndex& below) const {
  Kept kept;
  const QModelIndex end = [&] {  // the first row behind the changed ones
    for (QModelIndex above = below; above.isValid(); above = above.parent()) {
      const QModelIndex next = above.siblingAtRow(above.row() + 1);
      if (next.isValid()) return next;
    }
    return QModelIndex();
  }();
  for (QModelIndex row = below.isValid() ? below : model_->index(0, 0); row.isValid() && row != end;
       row = model_->Next(row)) {
    if (isExpanded(row)) kept.expanded.insert(model_->ItemOf(row));
  }
  kept.selected = Selected();
  const QModelIndex top = indexAt({viewport()->width() / 2, 0});
  kept.top = model_->ItemOf(top);
  kept.top_y = visualRect(top).y();
  kept.scrolled = verticalScrollBar()->value();
  return kept;
}

// Expanding one by one while a new layout is due anyway costs no layout of its own.
void ThreadTree::Restore(const Kept& kept) {
  scheduleDelayedItemsLayout();
  for (const port::TreeItem item : kept.expanded) {
    const QModelIndex row = model_->Find(item);
    if (row.isValid()) expand(row);
  }
  SelectIndex(model_->Find(kept.selected));
  executeDelayedItemsLayout();
  verticalScrollBar()->setValue(kept.scrolled);
  const QRect top = visualRect(model_->Find(kept.top));
  if (top.isValid()) verticalScrollBar()->setValue(kept.scrolled + top.y() - kept.top_y);
}

void ThreadTree::Fill(std::vector<port::TreeRow> rows) {
  const Kept kept = Keep({});
  model_->Fill(std::move(rows));
  Restore(kept);
}

void ThreadTree::Replace(port::TreeItem item, std::vector<port::TreeRow> rows) {
  const QModelIndex index = model_->Find(item);
  if (!index.isValid()) return;
  const Kept kept = Keep(index);
  setAutoScroll(false);  // while the rows go, the selection passes through others
  model_->Replace(item, std::move(rows));
  Restore(kept);
  setAutoScroll(true);
}

void ThreadTree::SetLabels(std::vector<port::TreeLabel> labels) {
  model_->SetLabels(std::move(labels));
  viewport()->update();
}

// --- selection -----------------------------------------------------------------------------------

void ThreadTree::SelectIndex(const QModelIndex& index) {
  const bool scrolls = hasAutoScroll();
  setAutoScroll(false);
  if (index.isValid()) {
    setCurrentIndex(index);
  } else {
    clearSelection();
    // Keys start from the row that has the focus.
    if (!currentIndex().isValid()) {
      selectionModel()->setCurrentIndex(model_->index(0, 0), QItemSelectionModel::NoUpdate);
    }
  }
  setAutoScroll(scrolls);
}

void ThreadTree::ExpandAbove(const QModelIndex& index) {
  std::vector<QModelIndex> closed;
  for (QModelIndex row = index.parent(); row.isValid(); row = row.parent()) {
    if (!isExpanded(row)) closed.push_back(row);
  }
  if (closed.empty()) return;
  scheduleDelayedItemsLayout();
  for (const QModelIndex& row : closed) expand(row);
}

void ThreadTree::Select(port::TreeItem item) {
  const QModelIndex index = model_->Find(item);
  if (item != 0 && !index.isValid()) return;
  if (index.isValid()) ExpandAbove(index);
  SelectIndex(index);
  if (index.isValid()) scrollTo(index);
}

QModelIndex ThreadTree::SelectedIndex() const {
  const QModelIndexList rows = selectionModel()->selectedRows();
  return rows.isEmpty() ? QModelIndex() : rows.front();
}

void ThreadTree::SetTraits(const port::TreeTraits& traits) {
  if (traits == traits_) return;
  traits_ = traits;
  if (traits_.columns) {
    AwaitMidnight();
  } else {
    midnight_.stop();
  }
  viewport()->update();
}

port::TreeItem ThreadTree::Selected() const {
  return model_->ItemOf(SelectedIndex());
}

// --- places --------------------------------------------------------------------------------------

int ThreadTree::IndentOf(const QModelIndex& index) const {
  const int width = viewport()->width();
  const int step = std::max(fontMetrics().height() * 3 / 4, 1);
  const int depth = static_cast<int>(std::min(model_->DepthOf(index), std::uint32_t{1} << 20));
  const int whole = std::min(depth, width / 3 / step);
  return std::min(whole * step + (depth - whole), width / 2);
}

QRect ThreadTree::MarkRect(const QModelIndex& index) const {
  const QRect row = visualRect(index);
  const QRect mark(row.left() + IndentOf(index), row.top(), fontMetrics().height(), row.height());
  return QStyle::visualRect(layoutDirection(), row, mark);
}

// Everything behind the mark.
QRect ThreadTree::ContentRect(const QModelIndex& index) const {
  const QRect row = visualRect(index);
  const int start = IndentOf(index) + fontMetrics().height();
  return QStyle::visualRect(layoutDirection(), row, row.adjusted(start, 0, 0, 0));
}

QRect ThreadTree::TextRect(const QModelIndex& index) const {
  const QRect row = visualRect(index);
  const int start = IndentOf(index) + fontMetrics().height();
  const int columns = ShowsColumns() ? AuthorWidth() + DateWidth() : 0;
  return QStyle::visualRect(layoutDirection(), row, row.adjusted(start, 0, -columns, 0));
}

// --- columns -------------------------------------------------------------------------------------

bool ThreadTree::ShowsColumns() const {
  return traits_.columns && window()->width() >= port::kTreeColumnsFrom;
}

int ThreadTree::DateWidth() const {
  QFont bold = font();
  bold.setBold(true);
  const QFontMetrics metrics(bold);
  return metrics.horizontalAdvance(QStringLiteral("yesterday 00:00")) + metrics.height();
}

int ThreadTree::AuthorWidth() const {
  return viewport()->width() / 4;
}

QRect ThreadTree::ColumnRect(const QModelIndex& index, int from_right, int width) const {
  if (!ShowsColumns()) return {};
  const QRect row = visualRect(index);
  const QRect column(row.right() + 1 - from_right - width, row.top(), width, row.height());
  return QStyle::visualRect(layoutDirection(), row, column);
}

QRect ThreadTree::AuthorRect(const QModelIndex& index) const {
  return ColumnRect(index, DateWidth(), AuthorWidth());
}

QRect ThreadTree::DateRect(const QModelIndex& index) const {
  return ColumnRect(index, 0, DateWidth());
}

QString ThreadTree::AuthorText(const QModelIndex& index) const {
  return ShowsColumns() ? OneLine(ToQt(model_->AuthorOf(index))) : QString();
}

QString ThreadTree::DateText(const QModelIndex& index) const {
  if (!ShowsColumns()) return {};
  return RelativeDate(model_->DateOf(index), QDateTime::currentDateTime());
}

// The zone or the clock may be changed meanwhile: the dates are right again within the hour.
void ThreadTree::AwaitMidnight() {
  constexpr qint64 kHour = 3600 * 1000;
  const qint64 wait = std::min(MillisecondsToMidnight(QDateTime::currentDateTime()), kHour);
  midnight_.start(static_cast<int>(wait));
}

// --- keys ----------------------------------------------------------------------------------------

bool ThreadTree::ExpandByKey(int key) {
  const QModelIndex current = currentIndex();
  if (key == Qt::Key_Plus) expand(current);
  if (key == Qt::Key_Minus) collapse(current);
  if (key == Qt::Key_Asterisk) expandRecursively(current);
  return key == Qt::Key_Plus || key == Qt::Key_Minus || key == Qt::Key_Asterisk;
}

bool ThreadTree::Searching() const {
  return typed_.isValid() && typed_.elapsed() <= QApplication::keyboardInputInterval();
}

bool ThreadTree::IsLetterOfProgram(const QKeyEvent& event) const {
  const auto key = VirtualKey(event);
  return key && event.modifiers() == Qt::NoModifier && !Searching() &&
         traits_.letters.find(static_cast<char16_t>(*key)) != std::u16string::npos;
}

void ThreadTree::keyPressEvent(QKeyEvent* event) {
  const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
  const bool plain = modifiers == Qt::NoModifier;
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if ((plain && event->key() == Qt::Key_Menu) ||
      (event->key() == Qt::Key_F10 && modifiers == Qt::ShiftModifier)) {
    if (!event->isAutoRepeat()) AskMenuByKey();
    return;
  }
  if (plain && enter && Selected() != 0) return Activate(SelectedIndex());
  if (IsLetterOfProgram(*event)) return event->ignore();
  if (FirstStepSelects(*this, *event)) return;
  // Layouts have + and * on the shifted plane.
  if ((plain || modifiers == Qt::ShiftModifier) && ExpandByKey(event->key())) return;
  QTreeView::keyPressEvent(event);
}

QModelIndex ThreadTree::NextShown(const QModelIndex& index) const {
  const QModelIndex next = index.isValid() ? indexBelow(index) : QModelIndex();
  return next.isValid() ? next : model_->index(0, 0);
}

void ThreadTree::keyboardSearch(const QString& typed) {
  if (model_->rowCount() == 0) return;
  executeDelayedItemsLayout();
  const bool goes_on = Searching();
  typed_.restart();
  sought_ = goes_on ? sought_ + typed : typed;
  // The same letter again and again goes from one row that begins with it to the next.
  const bool same = sought_.count(sought_.front()) == sought_.size();
  const QString sought = same ? QString(sought_.front()) : sought_;
  const QModelIndex current = currentIndex();
  const bool here = goes_on && !same && current.isValid();
  const QModelIndex first = here ? current : NextShown(current);
  QModelIndex row = first;
  do {
    if (BeginsWith(model_->TextOf(row), sought)) return setCurrentIndex(row);
    row = NextShown(row);
  } while (row != first);
}

// --- mouse and fingers ---------------------------------------------------------------------------

void ThreadTree::Activate(const QModelIndex& index) {
  if (model_->ItemOf(index) != 0) asked_.activated(model_->ItemOf(index));
}

void ThreadTree::AskMenu(const QModelIndex& index, const MenuPlace& where) {
  SelectIndex(index);
  asked_.menu(model_->ItemOf(index), where);
}

void ThreadTree::AskMenuByKey() {
  ShowRowMenu(SelectedIndex());
}

void ThreadTree::ShowRowMenu(const QModelIndex& row) {
  if (row.isValid()) scrollTo(row);
  const QRect text = row.isValid() ? TextRect(row) : QRect();
  AskMenu(row, {viewport()->mapToGlobal(text.bottomLeft()), true});
}

void ThreadTree::contextMenuEvent(QContextMenuEvent* event) {
  // Only some window systems send it, and all send the key as well.
  if (event->reason() == QContextMenuEvent::Keyboard) return;
  AskMenu(indexAt(viewport()->mapFromGlobal(event->globalPos())), {event->globalPos(), false});
}

// A finger may come down anywhere before the text.
bool ThreadTree::ToggleByMark(const QMouseEvent& event, bool by_finger) {
  const QPoint place = event.position().toPoint();
  const QModelIndex index = indexAt(place);
  if (event.button() != Qt::LeftButton || !model_->hasChildren(index) || !index.isValid()) {
    return false;
  }
  const QRect row = visualRect(index);
  const bool on_mark = MarkRect(index).contains(place);
  const bool before_text = row.contains(place) && !ContentRect(index).contains(place);
  if (!on_mark && !(by_finger && before_text)) return false;
  setExpanded(index, !isExpanded(index));
  return true;
}

void ThreadTree::mousePressEvent(QMouseEvent* event) {
  const bool by_finger = ByFinger(*event);
  held_ = false;
  pressed_selected_ = false;
  if (ToggleByMark(*event, by_finger)) return;
  if (by_finger && event->button() == Qt::LeftButton) {
    pressed_at_ = event->position().toPoint();
    const QModelIndex index = indexAt(pressed_at_);
    pressed_selected_ = index.isValid() && selectionModel()->isSelected(index);
    hold_.start();
  }
  QTreeView::mousePressEvent(event);
}

void ThreadTree::mouseMoveEvent(QMouseEvent* event) {
  const QPoint moved = event->position().toPoint() - pressed_at_;
  if (moved.manhattanLength() >= QApplication::startDragDistance()) {
    hold_.stop();
    pressed_selected_ = false;
  }
  // A finger that moves scrolls; it does not take the selection along.
  if (!ByFinger(*event)) QTreeView::mouseMoveEvent(event);
}

void ThreadTree::mouseReleaseEvent(QMouseEvent* event) {
  hold_.stop();
  QTreeView::mouseReleaseEvent(event);
  if (std::exchange(held_, false) || !std::exchange(pressed_selected_, false)) return;
  const QModelIndex index = indexAt(event->position().toPoint());
  if (index.isValid() && selectionModel()->isSelected(index)) Activate(index);
}

void ThreadTree::mouseDoubleClickEvent(QMouseEvent* event) {
  // The second tap of a finger is a tap on the selected row.
  if (ByFinger(*event)) return mousePressEvent(event);
  if (ToggleByMark(*event, false)) return;
  const QModelIndex index = indexAt(event->position().toPoint());
  QTreeView::mouseDoubleClickEvent(event);
  if (event->button() == Qt::LeftButton && index.isValid()) Activate(index);
}

void ThreadTree::HoldEnded() {
  held_ = true;
  pressed_selected_ = false;
  setState(QAbstractItemView::NoState);
  const QModelIndex index = indexAt(pressed_at_);
  if (index.isValid()) AskMenu(index, {viewport()->mapToGlobal(pressed_at_), false});
}

}  // namespace quillet::qt
