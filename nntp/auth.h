// SPDX-License-Identifier: GPL-3.0-or-later
// Login to the server, right after its greeting and whenever it asks for one. Program thread only,
// inside the connection transaction.
#pragma once

#include <optional>
#include <string_view>

#include "base/run_end.h"

namespace quillet {

// kGoOn when logged in, or when the server needs no login; otherwise kLost or kRefused, and the
// connection is to be closed (the reason is in the error log).
RunEnd SendAuthInfo();

// After any reply: when it asks for a login (480), the user has a name on that server and the
// extension `loginlater` is on, logs in, also when no login was wanted after the greeting. Nothing
// when the reply stands as it is; kGoOn when the command is to be sent once more; otherwise as
// above.
std::optional<RunEnd> LogInIfAsked(std::string_view reply);

}  // namespace quillet
