// SPDX-License-Identifier: GPL-3.0-or-later
// What is too large for the screen scrolls inside a window that is not. Display thread only.
#pragma once

#include <QDialog>
#include <QMessageBox>
#include <QSize>
#include <QWidget>

namespace quillet::qt {

// The largest inside of a dialog over the main window, which may be null: the work area without
// the frame that the desktop gives to its windows.
QSize RoomForDialog(const QWidget* main);

// A box whose text leaves no room for its buttons, or has a word wider than the screen, shows the
// text in a view that scrolls and breaks anywhere. Before the box is shown, when its text and
// buttons are set.
void FitText(QMessageBox& box, QSize room);

// A form that must not be wider: the texts of its boxes break into lines, then its push buttons are
// as narrow as their texts allow. For a wider form they are as they were.
void FitWidth(QWidget& form, int width);

// A dialog whose controls do not fit, squeezed as far as they can be, scrolls as a whole. When its
// controls are set up.
void FitControls(QDialog& dialog, QSize room);

}  // namespace quillet::qt
