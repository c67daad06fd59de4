// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/wrapped_text.h"

#include <QPainter>
#include <QStyle>
#include <QTextOption>
#include <algorithm>

#include "qt/box_text.h"

namespace quillet::qt {
namespace {

constexpr int kColumnsWanted = 20;

QColor InkOf(const QWidget& widget) {
  return widget.palette().color(widget.foregroundRole());
}

}  // namespace

WrappedText::WrappedText(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::MinimumExpanding);
}

int WrappedText::Lines() const {
  return std::max(property("lines").toInt(), 1);
}

int WrappedText::LinesHeight() const {
  return Lines() * fontMetrics().lineSpacing();
}

QSize WrappedText::sizeHint() const {
  return {kColumnsWanted * fontMetrics().averageCharWidth(), LinesHeight()};
}

QSize WrappedText::minimumSizeHint() const {
  return {0, LinesHeight()};
}

void WrappedText::paintEvent(QPaintEvent* /*event*/) {
  DrawText(text());
}

void WrappedText::DrawText(const QString& text) {
  QPainter painter(this);
  painter.setPen(InkOf(*this));
  QTextOption option(Qt::AlignLeft | Qt::AlignTop);
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  painter.drawText(QRectF(contentsRect()), WithoutLastLineEnd(text), option);
}

ElidedText::ElidedText(QWidget* parent) : QLabel(parent) {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
}

QSize ElidedText::minimumSizeHint() const {
  return {0, QLabel::minimumSizeHint().height()};
}

void ElidedText::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setPen(InkOf(*this));
  const QRect place = contentsRect();
  painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                   fontMetrics().elidedText(text(), Qt::ElideRight, place.width()));
}

}  // namespace quillet::qt
