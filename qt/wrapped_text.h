// SPDX-License-Identifier: GPL-3.0-or-later
// A text that breaks anywhere if it must and never makes its window grow: its place is `lines`
// (dynamic property, default 1) lines high and as wide as the window gives it.
#pragma once

#include <QLabel>

namespace quillet::qt {

class WrappedText : public QLabel {
 public:
  explicit WrappedText(QWidget* parent = nullptr);

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;
  bool hasHeightForWidth() const override { return false; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  int Lines() const;
  // In place of the label's own text.
  void DrawText(const QString& text);

 private:
  int LinesHeight() const;
};

// One line, elided at its end when the window is too narrow.
class ElidedText final : public QLabel {
 public:
  explicit ElidedText(QWidget* parent = nullptr);

  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace quillet::qt
