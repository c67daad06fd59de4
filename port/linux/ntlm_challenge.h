// SPDX-License-Identifier: GPL-3.0-or-later
// The challenge of a server in an NTLM login, as it comes off the line. The mechanism that answers
// it trusts much of what stands there, and a crafted one ends the process. Pure; any thread.
#pragma once

#include <string_view>

namespace quillet::port {

// Whether it is a challenge in Unicode whose texts and data lie inside it and are well formed.
bool IsSoundNtlmChallenge(std::string_view token);

}  // namespace quillet::port
