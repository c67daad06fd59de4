// SPDX-License-Identifier: GPL-3.0-or-later
// What readers of the screen are told of this program's own widgets, and how often. Display thread
// only.
#pragma once

namespace quillet::qt {

// For this process, until StopAccessibility. Without a reader of the screen it costs nothing, and
// without a message bus nothing is said about that.
void StartAccessibility();
void StopAccessibility();

}  // namespace quillet::qt
