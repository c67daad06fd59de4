// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/figures_text.h"

#include <QPaintEvent>
#include <algorithm>

namespace quillet::qt {
namespace {

// All digits as wide as the widest: one may stand for another at any moment.
QString WithWideDigits(QString text, const QFontMetrics& metrics) {
  QChar widest = QLatin1Char('0');
  for (QChar digit = QLatin1Char('1'); digit <= QLatin1Char('9');
       digit = QChar(digit.unicode() + 1)) {
    if (metrics.horizontalAdvance(digit) > metrics.horizontalAdvance(widest)) widest = digit;
  }
  for (QChar& one : text) {
    if (one >= QLatin1Char('0') && one <= QLatin1Char('9')) one = widest;
  }
  return text;
}

}  // namespace

void FiguresText::NoteWidths(const QStringList& figures) {
  const QFontMetrics metrics = fontMetrics();
  widths_.resize(static_cast<std::size_t>(figures.size()));
  for (qsizetype i = 0; i < figures.size(); ++i) {
    int& width = widths_[static_cast<std::size_t>(i)];
    const QString figure = WithWideDigits(figures[i], metrics) + QLatin1Char(',');
    width = std::max(width, metrics.horizontalAdvance(figure));
  }
}

QString FiguresText::BrokenText() {
  const QStringList figures = text().split(QStringLiteral(", "));
  NoteWidths(figures);
  const int blank = fontMetrics().horizontalAdvance(QLatin1Char(' '));
  const int room = contentsRect().width();
  QString broken = figures[0];
  int used = widths_[0];
  int lines = 1;
  for (qsizetype i = 1; i < figures.size(); ++i) {
    const int width = widths_[static_cast<std::size_t>(i)];
    const bool fits = used + blank + width <= room;
    used = fits ? used + blank + width : width;
    lines += fits ? 0 : 1;
    broken += (fits ? QStringLiteral(", ") : QStringLiteral(",\n")) + figures[i];
  }
  return lines <= Lines() ? broken : text();
}

void FiguresText::paintEvent(QPaintEvent* /*event*/) {
  DrawText(BrokenText());
}

void FiguresText::resizeEvent(QResizeEvent* event) {
  widths_.clear();
  WrappedText::resizeEvent(event);
}

}  // namespace quillet::qt
