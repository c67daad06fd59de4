// Login to the server right after its greeting. Program thread only, inside the connection
// transaction.
#pragma once

namespace quillet {

// True to go on, false to close the connection (the reason is in the error log).
bool SendAuthInfo();

}  // namespace quillet
