// Login to the server right after its greeting. Program thread only, inside the connection
// transaction.
#pragma once

#include "base/run_end.h"

namespace quillet {

// kGoOn when logged in, or when the server needs no login; otherwise kLost or kRefused, and the
// connection is to be closed (the reason is in the error log).
RunEnd SendAuthInfo();

}  // namespace quillet
