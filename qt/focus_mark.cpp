// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/focus_mark.h"

#include <QPainter>

#include "qt/contrast.h"

namespace quillet::qt {
namespace {

// What a line must stand out by to be seen by everybody; as in the guidelines for accessible pages.
constexpr double kLeastContrast = 3.0;

}  // namespace

QColor FocusColour(const QPalette& palette, const QColor& background) {
  const QColor highlight = palette.color(QPalette::Highlight);
  if (Contrast(highlight, background) >= kLeastContrast) return highlight;
  const QColor text = palette.color(QPalette::WindowText);
  if (Contrast(text, background) >= kLeastContrast) return text;
  return Contrast(Qt::black, background) > Contrast(Qt::white, background) ? Qt::black : Qt::white;
}

void DrawFocusMark(QPainter& painter, const QRect& rect, const QColor& colour, int width) {
  painter.setPen(colour);
  painter.setBrush(Qt::NoBrush);
  for (int line = 0; line < width; ++line) {
    painter.drawRect(rect.adjusted(line, line, -line - 1, -line - 1));
  }
}

}  // namespace quillet::qt
