// SPDX-License-Identifier: GPL-3.0-or-later
// The main window: its three views, the commands common to them, routing of the others.
#pragma once

#include "port/message.h"

namespace quillet {

// False when the window could not be created.
bool CreateQuilletWindow();
// Tabs by `sidetabs`, group list filled.
void CreateViews();
// Accelerator of the shown view: true when the message was one and has been handled.
bool TranslateAccelerator(const port::Message& message);
// Takes the views down and builds them again in the placement of `sidetabs`.
void RebuildViews();
// What a crash has left of an article is offered to the user: soon, or once he does something.
void OfferDraftSoon();
void OfferDraftWhenSomebodyIsThere();

}  // namespace quillet
