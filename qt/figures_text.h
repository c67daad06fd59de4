// SPDX-License-Identifier: GPL-3.0-or-later
// Figures that change while they are looked at, "group 2 of 5, article 120 of 350, 0:40 left": a
// line ends between two figures and never inside one, and stays where it once ended, so that
// nothing jumps to and fro when a number gets a digit more or less. The place is `lines` (dynamic
// property) lines high, whatever stands there.
#pragma once

#include <QStringList>
#include <vector>

#include "qt/wrapped_text.h"

namespace quillet::qt {

class FiguresText final : public WrappedText {
 public:
  explicit FiguresText(QWidget* parent = nullptr) : WrappedText(parent) {}

  // The text as it is drawn: with line ends, or as it is when there are not lines enough, and it
  // breaks at any blank.
  QString BrokenText();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;

 private:
  void NoteWidths(const QStringList& figures);

  // The greatest width of each figure so far, of those that the text has.
  std::vector<int> widths_;
};

}  // namespace quillet::qt
