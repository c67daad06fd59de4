// SPDX-License-Identifier: GPL-3.0-or-later
// What is too large for the screen scrolls inside a window that is not. Display thread only.
#pragma once

#include <QDialog>
#include <QMenu>
#include <QMessageBox>
#include <QRect>
#include <QSize>
#include <QWidget>
#include <span>

namespace quillet::qt {

// The largest inside of a dialog over the main window, which may be null: the work area without
// the frame that the desktop gives to its windows.
QSize RoomForDialog(const QWidget* main);

// A box uses the room for its text, up to as many columns as are read well. One whose text leaves
// no room for its buttons, or has a word wider than the screen, shows the text in a view that
// scrolls and breaks anywhere. Before the box is shown, when its text and buttons are set.
void FitText(QMessageBox& box, QSize room);

// A form that must not be wider: the texts of its boxes break into lines, then its push buttons are
// as narrow as their texts allow. For a wider form they are as they were.
void FitWidth(QWidget& form, int width);

// A menu that is wider than the screen is shown without its shortcuts, and what is too long even
// then is cut. Before the menu is shown; on a wider screen it is as it was.
void FitMenu(QMenu& menu);

// A dialog whose controls do not fit, squeezed as far as they can be, scrolls as a whole. When its
// controls are set up.
void FitControls(QDialog& dialog, QSize room);

// The place of a window with its frame, moved and made smaller so that it lies whole on the one of
// the screens that it shares most with; on the first where it shares nothing, as a place that was
// stored for a screen that has gone. The screens' usable areas; as it is without any.
QRect OnScreens(const QRect& frame, std::span<const QRect> screens);
// On the screens that there are.
QRect OnScreens(const QRect& frame);

// A dialog that is about to appear: in the middle of the window that it belongs to, else of the
// screen, and whole on it. A maximized one stays. Where the desktop
// places windows by itself nothing comes of it.
void PlaceOver(QWidget& dialog, const QWidget* window);

}  // namespace quillet::qt
