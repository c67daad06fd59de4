// SPDX-License-Identifier: GPL-3.0-or-later
// How the in-memory device says that a test went wrong, without knowing the test framework.
#pragma once

#include <functional>
#include <string>

namespace quillet::port {

using FailureHandler = std::function<void(const std::string& message)>;

// The handler that new devices start with. Without one a failure ends the process with its message,
// so that none goes unnoticed.
void SetDefaultFailureHandler(FailureHandler handler);
const FailureHandler& DefaultFailureHandler();

}  // namespace quillet::port
