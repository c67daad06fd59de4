// SPDX-License-Identifier: GPL-3.0-or-later
// The first settings, asked for in two dialogs. Program thread only.
#pragma once

namespace quillet {

// Greets the user, then asks for server, name, address and connection. Done makes them the live
// settings and stores them; Cancel, anywhere, leaves everything as it was.
void RunQuickSetup();

}  // namespace quillet
