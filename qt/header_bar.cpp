// SPDX-License-Identifier: GPL-3.0-or-later
// A button that paints itself: the right texts whole, the left ones cut to the room that is left.
// Its colours and its least font size are fixed, because it stands above a page that is white in
// every palette.
#include "qt/header_bar.h"

#include <QApplication>
#include <QFontInfo>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "qt/focus_mark.h"
#include "qt/fonts.h"
#include "qt/one_line.h"
#include "qt/row_words.h"
#include "qt/text.h"
#include "res/resource.h"

namespace quillet::qt {
namespace {

constexpr int kGap = 5;  // between the two texts of a line
constexpr int kAsideGap = 16;
constexpr int kSideMargin = 4;
constexpr int kLineMargin = 2;
constexpr double kNormalPixels = 10;
constexpr double kSmallest = 0.9;

// The page below is white in every palette, so the bar is grey in every palette.
const QColor kBackground(0xD9, 0xD9, 0xD9);
const QColor kHover(0xE4, 0xE4, 0xE4);
const QColor kPressed(0xC4, 0xC4, 0xC4);
const QColor kBorder(0xA8, 0xA8, 0xA8);

// "From: " and the name, which may be written in the other direction.
QString WithIsolatedValue(const QString& text) {
  constexpr QLatin1String kAfterLabel(": ");
  const qsizetype label = text.indexOf(kAfterLabel);
  if (label < 0) return Isolated(text);
  const qsizetype value = label + kAfterLabel.size();
  return text.first(value) + Isolated(QStringView(text).sliced(value));
}

}  // namespace

QFont HeaderFont(std::u16string_view face, int pixels, const QFont& base) {
  QFont font = WithFace(face, base);
  const double factor = std::max(pixels / kNormalPixels, kSmallest);
  font.setPixelSize(static_cast<int>(std::lround(QFontInfo(base).pixelSize() * factor)));
  return font;
}

HeaderBar::HeaderBar(std::u16string_view face, int pixels, const std::function<void()>& tapped,
                     QWidget* parent)
    : QAbstractButton(parent), face_(face), pixels_(pixels) {
  setProperty("controlId", kPaneHeaderBar);
  setFocusPolicy(Qt::TabFocus);
  setCursor(Qt::PointingHandCursor);
  setAttribute(Qt::WA_Hover);
  setAttribute(Qt::WA_OpaquePaintEvent);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  ApplyFont();
  SetLines({});
  connect(this, &QAbstractButton::clicked, this, tapped);
}

void HeaderBar::ApplyFont() {
  setFont(HeaderFont(face_, pixels_, QApplication::font()));
  updateGeometry();
}

void HeaderBar::changeEvent(QEvent* event) {
  QAbstractButton::changeEvent(event);
  if (event->type() == QEvent::ApplicationFontChange) ApplyFont();
}

void HeaderBar::SetLines(const std::array<port::HeaderLine, 2>& lines) {
  QStringList names;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    lines_[i] = {OneLine(ToQt(lines[i].left)), OneLine(ToQt(lines[i].right)),
                 OneLine(ToQt(lines[i].aside))};
    for (const QString& text : {lines_[i].left, lines_[i].aside, lines_[i].right}) {
      if (!text.isEmpty()) names << PositionInWords(text);
    }
  }
  const bool empty = names.isEmpty();
  setAccessibleName(empty ? QStringLiteral("Article header") : names.join(QStringLiteral(", ")));
  setAccessibleDescription(QStringLiteral("Shows all message headers"));
  setToolTip(empty ? QString() : PlainToolTip(lines_[0].left + QLatin1Char('\n') + lines_[1].left));
  update();
}

QSize HeaderBar::sizeHint() const {
  return {0, 2 * fontMetrics().height() + 3 * kLineMargin + 1};
}

QSize HeaderBar::minimumSizeHint() const {
  return sizeHint();
}

QRect HeaderBar::RightRect(std::size_t line) const {
  const QRect inside = rect().adjusted(kSideMargin, 0, -kSideMargin, 0);
  const int height = fontMetrics().height();
  const int top = kLineMargin + static_cast<int>(line) * (height + kLineMargin);
  const int width = std::min(fontMetrics().horizontalAdvance(lines_[line].right), inside.width());
  return {inside.right() + 1 - width, top, width, height};
}

QRect HeaderBar::AsideRect(std::size_t line) const {
  const QRect right = RightRect(line);
  if (lines_[line].aside.isEmpty() || window()->width() < port::kWideWindow) return {};
  const int width =
      std::min(fontMetrics().horizontalAdvance(lines_[line].aside), this->width() / 3);
  const int gap = right.isEmpty() ? 0 : kAsideGap;
  return {right.left() - gap - width, right.top(), width, right.height()};
}

QRect HeaderBar::LeftRect(std::size_t line) const {
  const QRect aside = AsideRect(line);
  const QRect right = aside.isEmpty() ? RightRect(line) : aside;
  const int gap = right.isEmpty() ? 0 : aside.isEmpty() ? kGap : kAsideGap;
  const int width = std::max(right.left() - gap - kSideMargin, 0);
  return {kSideMargin, right.top(), width, right.height()};
}

QString HeaderBar::ShownLeft(std::size_t line) const {
  const int width = LeftRect(line).width();
  return fontMetrics().elidedText(WithIsolatedValue(lines_[line].left), Qt::ElideRight, width);
}

void HeaderBar::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.fillRect(rect(), isDown() ? kPressed : underMouse() ? kHover : kBackground);
  painter.fillRect(QRect(0, height() - 1, width(), 1), kBorder);
  painter.setPen(Qt::black);
  for (std::size_t i = 0; i < lines_.size(); ++i) {
    const int flags = Qt::AlignVCenter | Qt::TextSingleLine;
    painter.drawText(RightRect(i), flags | Qt::AlignRight, lines_[i].right);
    painter.drawText(LeftRect(i), flags | Qt::AlignLeft, ShownLeft(i));
    const QRect aside = AsideRect(i);
    painter.drawText(aside, flags | Qt::AlignRight,
                     fontMetrics().elidedText(lines_[i].aside, Qt::ElideRight, aside.width()));
  }
  if (!hasFocus()) return;
  DrawFocusMark(painter, rect().adjusted(1, 1, -1, -2), FocusColour(palette(), kBackground));
}

void HeaderBar::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
    if (!event->isAutoRepeat()) click();
    return;
  }
  if (event->key() == Qt::Key_Space) return QAbstractButton::keyPressEvent(event);
  event->ignore();  // arrows and the like are the program's
}

}  // namespace quillet::qt
