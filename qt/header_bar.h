// SPDX-License-Identifier: GPL-3.0-or-later
// The article's header bar: two lines on light grey, each with a text at either end.
#pragma once

#include <QAbstractButton>
#include <array>
#include <functional>
#include <string_view>

#include "port/article_panes.h"

namespace quillet::qt {

// The font of the bar. `pixels` counts on a screen where 10 pixels are a readable text: 10 becomes
// the size of `base`, and nothing becomes smaller than nine tenths of it.
QFont HeaderFont(std::u16string_view face, int pixels, const QFont& base);

class HeaderBar final : public QAbstractButton {
 public:
  // `tapped` is called for a click, a tap, Enter and the space bar.
  HeaderBar(std::u16string_view face, int pixels, const std::function<void()>& tapped,
            QWidget* parent = nullptr);

  void SetLines(const std::array<port::HeaderLine, 2>& lines);

  // Where the texts of a line are drawn, and the left one as far as it fits.
  QRect RightRect(std::size_t line) const;
  QRect LeftRect(std::size_t line) const;
  QString ShownLeft(std::size_t line) const;
  // Empty where there is no room for it.
  QRect AsideRect(std::size_t line) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  struct Line {
    QString left;
    QString right;
    QString aside;
  };
  void ApplyFont();

  std::u16string face_;
  int pixels_;
  std::array<Line, 2> lines_;
};

}  // namespace quillet::qt
