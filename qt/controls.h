// SPDX-License-Identifier: GPL-3.0-or-later
// One control's values. Display thread only.
#pragma once

#include <QWidget>

#include "port/dialogs.h"

namespace quillet::qt {

// As in port/dialogs.h. Only the user's own changes are told, none that is written.
void WriteControl(QWidget& control, const port::ControlValue& value);
port::ControlState ReadControl(const QWidget& control);

}  // namespace quillet::qt
