// SPDX-License-Identifier: GPL-3.0-or-later
// The users' guide that came with the program.
#pragma once

#include "port/message.h"

namespace quillet {

// F1, released in a dialog or an editor: they get their keys when they are released.
bool IsGuideKey(const port::Message& message);

// Shows it in the desktop's browser; a message says where else it can be read when that fails.
void OpenUserGuide();

}  // namespace quillet
