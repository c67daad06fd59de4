// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog forms as widgets. Display thread only.
#pragma once

#include <QDialog>
#include <QWidget>
#include <cstdint>

#include "port/dialogs.h"
#include "qt/control_messages.h"

namespace quillet::qt {

// A dialog made from the form of that resource id, hidden; null when there is no such form of a
// dialog. `tell` gets what the user does; Escape and the frame's close button are control 2 and
// leave the dialog open. A kWindow has no owner.
QDialog* NewFormDialog(std::uint32_t form, QWidget* owner, port::DialogKind kind, const Tell& tell);

// The same of the form of a page; without a window, which it gets as a child of another.
QWidget* NewFormPage(std::uint32_t form, const Tell& tell);

// What a dialog or box over that owner (null: none) takes the input of. One over a window with a
// form takes everybody's: the program waits for its answer, and what is clicked elsewhere meanwhile
// would be carried out later.
Qt::WindowModality ModalityOver(const QWidget* owner);

// The controls of such a dialog or page; null for any other widget.
FormControls* ControlsOf(QWidget* form);
// The widget with that control id; null when there is none.
QWidget* ControlOf(QWidget& form, std::uint32_t control);

}  // namespace quillet::qt
