// SPDX-License-Identifier: GPL-3.0-or-later
// The style of the desktop with the few changes that small screens and dark palettes need.
#pragma once

#include <QProxyStyle>

namespace quillet::qt {

class WindowStyle final : public QProxyStyle {
 public:
  // Entries of the menu bar and rows of the list are high enough for a finger.
  QSize sizeFromContents(ContentsType type, const QStyleOption* option, const QSize& size,
                         const QWidget* widget) const override;
  // What scrolls, and buttons: a line says that they have the focus.
  void drawControl(ControlElement element, const QStyleOption* option, QPainter* painter,
                   const QWidget* widget) const override;
  // Boxes and radio buttons keep their outline where the style draws it too faint to be seen.
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override;
};

}  // namespace quillet::qt
