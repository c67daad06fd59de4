// SPDX-License-Identifier: GPL-3.0-or-later
// The steps are widgets of their own beside the table and not rows or pictures in it: they are
// reached by Tab and known to a screen reader as what they are, and the table keeps its rows,
// columns and keys.
#include "qt/start_guide.h"

#include <QApplication>
#include <QEvent>
#include <QFontInfo>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <QStyleOptionFocusRect>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "qt/contrast.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

constexpr int kAround = 4;  // pixels around all steps
constexpr int kWrapped = Qt::TextWordWrap | Qt::AlignLeft | Qt::AlignTop;

}  // namespace

QColor LegibleLinkColour(const QPalette& palette) {
  constexpr double kLegible = 4.5;
  const QColor link = palette.color(QPalette::Link);
  const bool legible = Contrast(link, palette.color(QPalette::Base)) >= kLegible;
  return legible ? link : palette.color(QPalette::Text);
}

// --- One step ------------------------------------------------------------------------------------

StepLink::StepLink(QWidget* parent) : QPushButton(parent) {
  setFlat(true);
  setFocusPolicy(Qt::StrongFocus);
  setCursor(Qt::PointingHandCursor);
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void StepLink::Show(const port::GuideStep& step) {
  step_ = step;
  const QString text = ToQt(step.text);
  setText(text);
  setAccessibleName(step.done ? text + QStringLiteral(", done") : text);
  updateGeometry();
  update();
}

int StepLink::Margin() const {
  return std::max(fontMetrics().height() / 4, 2);
}
int StepLink::MarkWidth() const {
  return fontMetrics().height();
}

QRect StepLink::TextRect() const {
  const int left = Margin() + MarkWidth();
  const QRect room(left, Margin(), std::max(width() - left - Margin(), 1), QWIDGETSIZE_MAX);
  return fontMetrics().boundingRect(room, kWrapped, text());
}

QSize StepLink::sizeHint() const {
  const int wide = fontMetrics().horizontalAdvance(text());
  return {wide + MarkWidth() + 2 * Margin(), fontMetrics().height() + 2 * Margin()};
}

QSize StepLink::minimumSizeHint() const {
  return {MarkWidth() + 2 * Margin() + fontMetrics().averageCharWidth(), sizeHint().height()};
}

int StepLink::heightForWidth(int width) const {
  const QRect room(0, 0, std::max(width - MarkWidth() - 2 * Margin(), 1), QWIDGETSIZE_MAX);
  return fontMetrics().boundingRect(room, kWrapped, text()).height() + 2 * Margin();
}

// Beside the text is nothing to be clicked, however wide the window is.
bool StepLink::hitButton(const QPoint& place) const {
  const QRect text = TextRect();
  return QRect(QPoint(0, 0), QPoint(text.right() + Margin(), height())).contains(place);
}

// A key that is held down follows the link once: each time would open one more dialog.
void StepLink::keyPressEvent(QKeyEvent* event) {
  const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (enter && event->isAutoRepeat()) return;
  if (enter) return click();
  QPushButton::keyPressEvent(event);
}

// The first of two quick clicks has followed it.
void StepLink::mouseDoubleClickEvent(QMouseEvent* /*event*/) {}

void StepLink::DrawTick(QPainter& painter, const QRect& text) const {
  const double size = MarkWidth() * 0.6;
  const QPointF corner(Margin(), text.top() + (fontMetrics().height() - size) / 2);
  QPainterPath tick(corner + QPointF(0, size * 0.55));
  tick.lineTo(corner + QPointF(size * 0.35, size * 0.9));
  tick.lineTo(corner + QPointF(size, size * 0.1));
  painter.save();  // a smoothed underline is a blurred one
  painter.setRenderHint(QPainter::Antialiasing);
  painter.strokePath(tick, QPen(palette().color(QPalette::Text), std::max(size / 7, 1.5)));
  painter.restore();
}

void StepLink::DrawFocus(QPainter& painter, const QRect& text) const {
  QStyleOptionFocusRect focus;
  focus.initFrom(this);
  focus.rect = text.adjusted(-2, -1, 2, 1);
  focus.backgroundColor = palette().color(QPalette::Base);
  focus.state |= QStyle::State_KeyboardFocusChange;
  style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

void StepLink::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  const QRect text = TextRect();
  if (hasFocus()) DrawFocus(painter, text);  // below the text: some styles fill it
  if (step_.done) DrawTick(painter, text);
  QFont font = painter.font();
  font.setUnderline(true);
  painter.setFont(font);
  painter.setPen(LegibleLinkColour(palette()));
  painter.drawText(text, kWrapped, this->text());
}

// --- All of them ---------------------------------------------------------------------------------

StartGuide::StartGuide(GroupTable& table, std::function<void(std::uint32_t command)> follow)
    : QScrollArea(table.parentWidget()), table_(&table), follow_(std::move(follow)) {
  setAccessibleName(QStringLiteral("First steps"));
  setFrameShape(QFrame::NoFrame);
  setFocusPolicy(Qt::NoFocus);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setWidgetResizable(true);
  setStyle(table.style());
  viewport()->setBackgroundRole(QPalette::Base);
  auto* inner = new QWidget;
  inner->setAccessibleName(QStringLiteral("First steps"));
  inner->setBackgroundRole(QPalette::Base);
  auto* layout = new QVBoxLayout(inner);
  layout->setContentsMargins(kAround, kAround, kAround, kAround);
  layout->setSpacing(0);
  layout->addStretch(1);
  setWidget(inner);
  table.viewport()->installEventFilter(this);
  connect(table.model(), &QAbstractItemModel::modelReset, this, [this] { Place(); });
  hide();
}

void StartGuide::AddLink() {
  auto* link = new StepLink(widget());
  link->setStyle(style());
  auto* layout = static_cast<QVBoxLayout*>(widget()->layout());
  layout->insertWidget(layout->count() - 1, link);
  setTabOrder(links_.empty() ? static_cast<QWidget*>(table_) : links_.back(), link);
  connect(link, &QPushButton::clicked, this, [this, link] { follow_(link->Step().command); });
  link->show();
  links_.push_back(link);
}

// Links that stay are kept: one of them may have the focus, or get it when the window is the active
// one again.
void StartGuide::Show(const std::vector<port::GuideStep>& steps) {
  while (links_.size() > steps.size()) {
    if (links_.back() == window()->focusWidget() && table_) table_->setFocus();
    delete links_.back();
    links_.pop_back();
  }
  while (links_.size() < steps.size()) AddLink();
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (links_[i]->Step() != steps[i]) links_[i]->Show(steps[i]);
  }
  Place();
}

bool StartGuide::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) Place();
  return QScrollArea::eventFilter(watched, event);
}

int StartGuide::HeightFor(int width) const {
  int height = 2 * kAround;
  for (const StepLink* link : links_) height += link->heightForWidth(width - 2 * kAround);
  return height;
}

void StartGuide::FitFont(QSize room) {
  constexpr double kStep = 1;  // points
  QFont font = table_->font();
  const double least = std::min(font.pointSizeF(), QFontInfo(QApplication::font()).pointSizeF());
  for (;;) {
    for (StepLink* link : links_) link->setFont(font);
    if (HeightFor(room.width()) <= room.height() || font.pointSizeF() <= least) return;
    font.setPointSizeF(std::max(font.pointSizeF() - kStep, least));
  }
}

void StartGuide::Place() {
  if (!table_) return;
  QRect free = table_->viewport()->rect();
  if (const int rows = table_->model()->rowCount(); rows > 0) {
    free.setTop(table_->visualRect(table_->model()->index(rows - 1, 0)).bottom() + 1);
  }
  FitFont(free.size());
  const bool scrolls = table_->verticalScrollBar()->maximum() > 0;
  const bool shown = !links_.empty() && !scrolls && free.height() >= links_[0]->sizeHint().height();
  if (!shown && isAncestorOf(window()->focusWidget())) table_->setFocus();
  if (shown) {
    free.moveTopLeft(table_->viewport()->mapTo(parentWidget(), free.topLeft()));
    setGeometry(free);
    raise();
  }
  setVisible(shown);
}

}  // namespace quillet::qt
