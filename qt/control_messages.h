// SPDX-License-Identifier: GPL-3.0-or-later
// What the user does with the controls of a form. Display thread only.
#pragma once

#include <functional>

#include "port/message.h"
#include "qt/form_controls.h"

namespace quillet::qt {

// Gets what happened, without the window.
using Tell = std::function<void(port::Message message)>;

// Tells from now on what the user does with the controls, as in port/dialogs.h. The controls must
// last as long as their widgets.
void ConnectControls(FormControls& controls, const Tell& tell);

}  // namespace quillet::qt
