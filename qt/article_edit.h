// SPDX-License-Identifier: GPL-3.0-or-later
// The box in which an article is written: plain text, whatever is pasted; undone, redone, cut,
// copied and pasted by keys and by a menu that a long press of a finger opens too. Lines wrap on
// the screen only, those of a text with very long ones anywhere. Tab is a character of the text,
// Ctrl+Tab and Shift+Tab leave the box, and Ctrl+Enter is left to the window. Display thread only.
#pragma once

#include <QPlainTextEdit>

#include "qt/finger_hold.h"

namespace quillet::qt {

class ArticleEdit final : public QPlainTextEdit {
 public:
  explicit ArticleEdit(QWidget* parent);

 protected:
  bool canInsertFromMimeData(const QMimeData* source) const override;
  void insertFromMimeData(const QMimeData* source) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  bool LeavesByKey(const QKeyEvent& event);
  void ShowMenu(QPoint place);
  void WrapChanged(int place, int added);

  FingerHold hold_;
};

// Room for as many columns and lines as the form wants of its box (dynamic properties
// `firstColumns` and `firstLines`), no more than `room`; invalid when the form wants none.
QSize FirstSizeOf(const QWidget& window, QSize room);

}  // namespace quillet::qt
