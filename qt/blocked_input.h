// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps input from a window while its frame goes on working.
#pragma once

#include <QDialog>
#include <QObject>
#include <QPointer>

namespace quillet::qt {

// While a dialog lies over it that way, a window takes neither keys nor clicks nor anything else,
// and hands the focus on to the dialog. Other than below a modal dialog of the toolkit, its frame's
// close button still asks it to close. Display thread only.
class BlockedInput final : public QObject {
 public:
  // The window's child.
  explicit BlockedInput(QWidget& window);

  // Blocked as long as the dialog is shown; open menus of the window are closed.
  void BlockBy(QDialog& dialog);
  // What blocks the window now; null when nothing does.
  QDialog* Blocker() const;

  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget& window_;
  QPointer<QDialog> dialog_;
};

}  // namespace quillet::qt
