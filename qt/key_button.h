// SPDX-License-Identifier: GPL-3.0-or-later
// A button with an image in a corner of the window, by mouse and by keys.
#pragma once

#include <QToolButton>

namespace quillet::qt {

// Stands in the order of Tab, is pressed by the space bar and by Enter, and shows that it has the
// focus. Of other keys, none acts on what the button lies in.
class KeyButton : public QToolButton {
 public:
  explicit KeyButton(QWidget* parent);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace quillet::qt
