// SPDX-License-Identifier: GPL-3.0-or-later
// E-mail that waits, while the line is up. Program thread only.
#pragma once

namespace quillet {

// Hands over what waits in the outbox. What stays there has its reason in the error log. Does
// nothing when the run is to end.
void HandOverMailOnLine();

}  // namespace quillet
