// SPDX-License-Identifier: GPL-3.0-or-later
#include "script/commands.h"

#include <array>

#include "script/dialog_commands.h"
#include "script/flow_commands.h"
#include "script/input_commands.h"
#include "script/question_commands.h"
#include "script/reading_commands.h"
#include "script/store_commands.h"
#include "script/words.h"

namespace quillet {
namespace {

const ScriptCommand* FindCommand(std::u16string_view name) {
  for (const auto& part : {FlowCommands(), InputCommands(), DialogCommands(), QuestionCommands(),
                           ReadingCommands(), StoreCommands()}) {
    for (const ScriptCommand& command : part) {
      if (command.name == name) return &command;
    }
  }
  return nullptr;
}

}  // namespace

ScriptFailure UsageFailure(std::u16string text) {
  return {kStatusUsage, "usage", std::move(text)};
}
ScriptFailure RefusedFailure(std::u16string text) {
  return {kStatusFailed, "refused", std::move(text)};
}
ScriptFailure MissingFailure(std::u16string text) {
  return {kStatusFailed, "missing", std::move(text)};
}

std::uint32_t NumberOf(std::u16string_view word) {
  const auto number = ParseNumber(word);
  if (!number) throw UsageFailure(u"not a number: " + std::u16string(word));
  return *number;
}

bool SwitchOf(std::u16string_view word) {
  if (word == u"on") return true;
  if (word == u"off") return false;
  throw UsageFailure(u"neither on nor off: " + std::u16string(word));
}

void CarryOut(ScriptContext& context, Words line) {
  const ScriptCommand* command = FindCommand(line[0]);
  if (command == nullptr) {
    throw ScriptFailure{kStatusUsage, "unknown-command", line[0]};
  }
  const Words words = line.subspan(1);
  if (words.size() < command->least_words || words.size() > command->most_words) {
    throw UsageFailure(u"wrong number of words for " + line[0]);
  }
  if (!command->before_start && !context.run.started()) {
    throw RefusedFailure(u"the program has not started");
  }
  command->carry_out(context, words);
}

}  // namespace quillet
