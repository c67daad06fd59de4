// SPDX-License-Identifier: GPL-3.0-or-later
// How it is shown where the keyboard is, in every palette.
#pragma once

#include <QColor>
#include <QPalette>
#include <QRect>

class QPainter;

namespace quillet::qt {

// The palette's highlight where it stands out from the background, else the colour of text on it.
QColor FocusColour(const QPalette& palette, const QColor& background);

// A line of that width along the inside of the rectangle.
void DrawFocusMark(QPainter& painter, const QRect& rect, const QColor& colour, int width = 2);

}  // namespace quillet::qt
