// SPDX-License-Identifier: GPL-3.0-or-later
// What a user does with the main window and the group list.
#include "script/input_commands.h"

#include <algorithm>
#include <array>
#include <vector>

#include "res/commands.h"
#include "res/resource.h"
#include "script/commands.h"
#include "script/describe.h"
#include "script/dialog_commands.h"
#include "script/words.h"
#include "util/text.h"

namespace quillet {

void Require(ScriptContext& context, bool taken) {
  if (taken) return;
  const port::FakeDisplay& display = context.run.display;
  const auto dialog = display.FindDialog(OpenDialog(display));
  if (dialog && !display.TakesInput(display.main_window().handle)) {
    throw RefusedFailure(u"a dialog takes the input: " + FromUtf8(std::to_string(dialog->form)) +
                         u" " + dialog->caption);
  }
  throw RefusedFailure(u"the window does not take this input now");
}

void RequireMainWindow(ScriptContext& context) {
  context.run.WaitReadyForInput();
  const port::FakeDisplay& display = context.run.display;
  Require(context, display.TakesInput(display.main_window().handle));
}

int RowOf(ScriptContext& context, const std::u16string& group) {
  const int row = context.run.display.FindRow(group);
  if (row < 0) throw MissingFailure(u"no such group: " + group);
  return row;
}

namespace {

// --- commands ------------------------------------------------------------------------------------

// Without "&" and without a final "...".
std::u16string PlainText(std::u16string_view text) {
  std::u16string plain;
  std::ranges::copy_if(text, std::back_inserter(plain), [](char16_t unit) { return unit != u'&'; });
  if (plain.ends_with(u"...")) plain.resize(plain.size() - 3);
  return plain;
}

// The command of the item whose texts from the bar down are the path; 0 when there is none.
std::uint32_t CommandAtPath(int view, std::u16string_view path) {
  std::vector<std::u16string> texts;
  for (const MenuEntry& entry : MenuOfView(view)) {
    texts.resize(static_cast<std::size_t>(entry.depth));
    texts.push_back(PlainText(entry.text));
    if (entry.command == 0) continue;
    std::u16string joined;
    for (const std::u16string& text : texts) joined += (joined.empty() ? u"" : u"/") + text;
    if (EqualsNoCase(joined, path)) return entry.command;
  }
  return 0;
}

void SendCommand(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  if (const auto number = ParseNumber(words[0]))
    return Require(context, display.SendCommand(*number));
  const std::uint32_t command = CommandAtPath(display.main_window().tab, words[0]);
  if (command == 0) throw MissingFailure(u"no such item in the menu: " + words[0]);
  Require(context, display.ChooseCommand(command));
}

void PressBarButton(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  for (const MenuButton& button : ButtonsOfView(display.main_window().tab)) {
    if (button.tooltip == words[0]) return Require(context, display.ChooseCommand(button.command));
  }
  throw MissingFailure(u"no such button in the menu bar: " + words[0]);
}

// --- the group list ------------------------------------------------------------------------------

void SetBox(ScriptContext& context, const std::u16string& group, bool checked) {
  port::FakeDisplay& display = context.run.display;
  const int row = RowOf(context, group);
  const port::CheckState wanted =
      checked ? port::CheckState::kChecked : port::CheckState::kUnchecked;
  if (display.list().rows[static_cast<std::size_t>(row)].check == wanted) return;
  Require(context, display.ToggleRow(row));
}

// With a dialog open the words are control ids: a group cannot be reached then. Beside a window
// with a form it can, and only numbers are ids.
void SetBoxes(ScriptContext& context, Words words, bool checked) {
  context.run.WaitReadyForInput();
  const port::FakeDisplay& display = context.run.display;
  const port::WindowHandle dialog = OpenDialog(display);
  for (const std::u16string& word : words) {
    const bool beside = !ParseNumber(word) && display.TakesInput(display.main_window().handle);
    if (dialog == 0 || beside) {
      SetBox(context, word, checked);
    } else {
      TickControl(context, word, checked);
    }
  }
}

void TickBoxes(ScriptContext& context, Words words) {
  SetBoxes(context, words, true);
}
void UntickBoxes(ScriptContext& context, Words words) {
  SetBoxes(context, words, false);
}

void SelectGroup(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  Require(context, context.run.display.SelectRow(RowOf(context, words[0])));
}

void ActivateGroup(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  Require(context, context.run.display.ActivateRow(RowOf(context, words[0])));
}

void FollowStep(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  const std::uint32_t step = NumberOf(words[0]);
  if (step == 0 || step > context.run.display.list().guide.size()) {
    throw MissingFailure(u"no such step: " + words[0]);
  }
  Require(context, context.run.display.FollowStep(step - 1));
}

void DragColumn(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  const std::uint32_t column = NumberOf(words[0]);
  const std::uint32_t width = NumberOf(words[1]);
  if (column > 1 || width == 0 || width > 32767) throw UsageFailure(u"no such column or width");
  Require(context,
          context.run.display.DragColumn(static_cast<int>(column), static_cast<int>(width)));
}

// --- the window ----------------------------------------------------------------------------------

int TabOf(std::u16string_view word) {
  for (int tab = 0; tab < port::kTabCount; ++tab) {
    if (ToUtf8(word) == ViewName(tab)) return tab;
  }
  throw UsageFailure(u"no such tab: " + std::u16string(word));
}

void SelectTab(ScriptContext& context, Words words) {
  const int tab = TabOf(words[0]);
  RequireMainWindow(context);
  Require(context, context.run.display.UserSelectTab(tab));
}

void PressKey(ScriptContext& context, Words words) {
  const auto key = ParseKey(words[0]);
  if (!key) throw UsageFailure(u"no such key: " + words[0]);
  context.run.WaitReadyForInput();
  Require(context, context.run.display.PressKey(key->virtual_key, key->modifiers));
}

void Resize(ScriptContext& context, Words words) {
  const auto size = ParseSize(words[0]);
  if (!size) throw UsageFailure(u"not a size: " + words[0]);
  context.run.WaitReadyForInput();
  Require(context, context.run.display.ResizeMainWindow(*size));
}

// Whatever is shown: what the program does with targets that no text has can be seen this way.
void ActivateLink(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  display.Inject({display.main_window().handle, port::MessageKind::kLink, 0, 0, words[0]});
}

constexpr std::array<ScriptCommand, 12> kInput = {{
    {u"command", 1, 1, false, SendCommand},
    {u"button", 1, 1, false, PressBarButton},
    {u"tick", 1, kAnyNumber, false, TickBoxes},
    {u"untick", 1, kAnyNumber, false, UntickBoxes},
    {u"select", 1, 1, false, SelectGroup},
    {u"activate", 1, 1, false, ActivateGroup},
    {u"follow-step", 1, 1, false, FollowStep},
    {u"column", 2, 2, false, DragColumn},
    {u"tab", 1, 1, false, SelectTab},
    {u"key", 1, 1, false, PressKey},
    {u"resize", 1, 1, false, Resize},
    {u"link", 1, 1, false, ActivateLink},
}};

}  // namespace

std::span<const ScriptCommand> InputCommands() {
  return kInput;
}

}  // namespace quillet
