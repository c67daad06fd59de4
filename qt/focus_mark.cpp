// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/focus_mark.h"

#include <QPainter>
#include <algorithm>
#include <cmath>

namespace quillet::qt {
namespace {

// What a line must stand out by to be seen by everybody; as in the guidelines for accessible pages.
constexpr double kLeastContrast = 3.0;

double Linear(double part) {
  return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
  return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
         0.0722 * Linear(colour.blueF());
}

double Contrast(const QColor& one, const QColor& other) {
  const double a = Luminance(one);
  const double b = Luminance(other);
  return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

}  // namespace

QColor FocusColour(const QPalette& palette, const QColor& background) {
  const QColor highlight = palette.color(QPalette::Highlight);
  if (Contrast(highlight, background) >= kLeastContrast) return highlight;
  const QColor text = palette.color(QPalette::WindowText);
  if (Contrast(text, background) >= kLeastContrast) return text;
  return Luminance(background) > 0.18 ? Qt::black : Qt::white;
}

void DrawFocusMark(QPainter& painter, const QRect& rect, const QColor& colour, int width) {
  painter.setPen(colour);
  painter.setBrush(Qt::NoBrush);
  for (int line = 0; line < width; ++line) {
    painter.drawRect(rect.adjusted(line, line, -line - 1, -line - 1));
  }
}

}  // namespace quillet::qt
