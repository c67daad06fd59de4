// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/converse.h"

#include <optional>

#include "nntp/auth.h"
#include "nntp/replies.h"

namespace quillet {

RunEnd Converse(std::string_view command, CommandLogging logging) {
  return SendCommand(command, logging) ? FinishConversing(command, logging) : RunEnd::kLost;
}

RunEnd FinishConversing(std::string_view command, CommandLogging logging) {
  if (!ReadResponse()) return RunEnd::kLost;
  const std::optional<RunEnd> login = LogInIfAsked(gConnection.reply);
  if (!login) return RunEnd::kGoOn;
  if (*login != RunEnd::kGoOn) return *login;
  return SendCommand(command, logging) && ReadResponse() ? RunEnd::kGoOn : RunEnd::kLost;
}

}  // namespace quillet
