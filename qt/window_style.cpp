// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/window_style.h"

#include <QAbstractScrollArea>
#include <QPainter>
#include <QStyleOption>
#include <algorithm>

#include "qt/focus_mark.h"

namespace quillet::qt {

QSize WindowStyle::sizeFromContents(ContentsType type, const QStyleOption* option,
                                    const QSize& size, const QWidget* widget) const {
  QSize result = QProxyStyle::sizeFromContents(type, option, size, widget);
  if (option == nullptr) return result;
  const int line = option->fontMetrics.height();
  if (type == CT_MenuBarItem) result.setHeight(std::max(result.height(), line * 7 / 4));
  if (type == CT_ItemViewItem) result.setHeight(std::max(result.height(), line * 4 / 3));
  return result;
}

// An empty list has no row that could show the focus, a page of text has none at all, and a default
// button may look the same with the focus and without.
void WindowStyle::drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                              const QWidget* widget) const {
  QProxyStyle::drawControl(element, option, painter, widget);
  if (element == CE_PushButton && option->state.testFlag(State_HasFocus)) {
    const QColor colour = FocusColour(option->palette, option->palette.color(QPalette::Button));
    DrawFocusMark(*painter, option->rect.adjusted(3, 3, -3, -3), colour, 1);
  }
  const auto* area = qobject_cast<const QAbstractScrollArea*>(widget);
  if (element != CE_ShapedFrame || area == nullptr || !area->hasFocus()) return;
  const QColor background = area->viewport()->palette().color(area->viewport()->backgroundRole());
  DrawFocusMark(*painter, option->rect, FocusColour(option->palette, background),
                area->frameWidth());
}

void WindowStyle::drawPrimitive(PrimitiveElement element, const QStyleOption* option,
                                QPainter* painter, const QWidget* widget) const {
  QProxyStyle::drawPrimitive(element, option, painter, widget);
  // Only this style shades the outline by the window's colour, which a list does not have and which
  // a dark dialog hardly shows.
  const bool faint = baseStyle()->name().compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
  const bool box = element == PE_IndicatorItemViewItemCheck || element == PE_IndicatorCheckBox;
  const bool round = element == PE_IndicatorRadioButton;
  if (!(box || round) || !faint) return;
  QColor outline = option->palette.color(QPalette::Text);
  outline.setAlphaF(0.45F);
  painter->save();
  painter->setPen(outline);
  painter->setBrush(Qt::NoBrush);
  const QRect inside = option->rect.adjusted(0, 0, -1, -1);
  if (round) {
    painter->setRenderHint(QPainter::Antialiasing);
    painter->drawEllipse(inside);
  } else {
    painter->drawRect(inside);
  }
  painter->restore();
}

}  // namespace quillet::qt
