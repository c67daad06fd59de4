// SPDX-License-Identifier: GPL-3.0-or-later
// Starting other programs: without a shell, with a clean signal mask, never left as zombies.
// Any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quillet::port {

// Starts arguments[0] (found through PATH) in a session of its own, with nothing on its standard
// input and output, and does not wait for it. False when it could not be started.
bool StartDetached(const std::vector<std::string>& arguments);

// Runs arguments[0] (found through PATH) to its end with nothing on its standard input and output.
// Its exit status; nothing when it could not be started, was ended by a signal or took longer than
// the limit (it is then killed).
std::optional<int> RunToEnd(const std::vector<std::string>& arguments, int limit_ms);

}  // namespace quillet::port
