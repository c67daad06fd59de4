// SPDX-License-Identifier: GPL-3.0-or-later
// One command and its reply, with the login that the server may ask for in between. Program thread
// only, inside the connection transaction.
#pragma once

#include <string_view>

#include "base/run_end.h"
#include "nntp/connection.h"

namespace quillet {

// Sends the command and reads its reply into gConnection.reply. A server that answers 480 gets a
// login (see LogInIfAsked) and the command once more; what it answers then stands. kLost, or what a
// login came to that did not work; otherwise kGoOn.
RunEnd Converse(std::string_view command, CommandLogging logging = CommandLogging::kLogged);
// The same for a command that was sent already.
RunEnd FinishConversing(std::string_view command, CommandLogging logging = CommandLogging::kLogged);

}  // namespace quillet
