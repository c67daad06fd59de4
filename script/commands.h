// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the script: one table from the command word to what carries it out.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "script/observer.h"
#include "script/script_run.h"

namespace quillet {

struct ScriptContext {
  ScriptRun& run;
  ScriptObserver& observer;
  std::function<int()> program;  // what `start` starts
  bool input_ended = false;      // set by `end`
  // Hands a link over as a later start does.
  std::function<void(std::u16string_view link)> give_link = {};
};

using Words = std::span<const std::u16string>;

struct ScriptCommand {
  std::u16string_view name;
  std::size_t least_words;  // after the name
  std::size_t most_words;
  bool before_start;  // works while the program has not started
  void (*carry_out)(ScriptContext& context, Words words);
};

constexpr std::size_t kAnyNumber = 1000000;

// Finds the command of a line and carries it out. Main thread. Throws ScriptFailure, ScriptStopped.
void CarryOut(ScriptContext& context, Words line);

// What commands throw.
ScriptFailure UsageFailure(std::u16string text);
ScriptFailure RefusedFailure(std::u16string text);
ScriptFailure MissingFailure(std::u16string text);

// A number, or the usage failure.
std::uint32_t NumberOf(std::u16string_view word);
// "on" or "off", or the usage failure.
bool SwitchOf(std::u16string_view word);

}  // namespace quillet
