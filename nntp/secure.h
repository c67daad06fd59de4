// SPDX-License-Identifier: GPL-3.0-or-later
// TLS between the program and the news server. Program thread only, inside the connection
// transaction.
#pragma once

#include "base/run_end.h"

namespace quillet {

// The steps of the transaction, for a server that is secured that way; otherwise they do nothing.
// Before its greeting:
RunEnd SecureFromTheStart();
// After its greeting. Nothing but STARTTLS goes out before the connection is encrypted.
RunEnd SecureAfterGreeting();

}  // namespace quillet
