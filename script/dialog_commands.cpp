// SPDX-License-Identifier: GPL-3.0-or-later
// Every command names a control by its id. In a property sheet it is looked for among the sheet's
// own buttons, then in the page in front. Rows of lists go by the text of their first column.
#include "script/dialog_commands.h"

#include <algorithm>
#include <array>
#include <optional>

#include "script/input_commands.h"
#include "script/words.h"

namespace quillet {
namespace {

struct OpenControl {
  port::WindowHandle dialog = 0;
  port::ShownControl control;
};

port::WindowHandle RequireDialog(ScriptContext& context) {
  context.run.WaitReadyForInput();
  const port::WindowHandle dialog = OpenDialog(context.run.display);
  if (dialog == 0) throw RefusedFailure(u"no dialog is open");
  return dialog;
}

// With the id alone when there is no such control: the display refuses it.
OpenControl Find(ScriptContext& context, const std::u16string& word) {
  const std::uint32_t id = NumberOf(word);
  const port::FakeDisplay& display = context.run.display;
  OpenControl found{RequireDialog(context), {}};
  found.control.id = id;
  const auto shown = display.FindDialog(found.dialog);
  auto control = display.Control(found.dialog, id);
  if (!control && shown && !shown->pages.empty()) {
    found.dialog = shown->pages[static_cast<std::size_t>(shown->page)];
    control = display.Control(found.dialog, id);
  }
  if (control) found.control = std::move(*control);
  return found;
}

void Take(bool taken, std::u16string_view complaint, const std::u16string& control) {
  if (!taken) throw MissingFailure(u"the open dialog " + std::u16string(complaint) + control);
}

void SetText(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  Take(context.run.display.Type(open.dialog, open.control.id, words[1]),
       u"takes no text in control ", words[0]);
}

// At the caret, or at a place to which the caret goes first.
void TypeText(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  port::FakeDisplay& display = context.run.display;
  if (words.size() > 2) {
    const std::size_t place = words[2] == u"end" ? port::kWholeText : NumberOf(words[2]);
    Take(display.PlaceCaret(open.dialog, open.control.id, place), u"takes no text in control ",
         words[0]);
  }
  Take(display.TypeAtCaret(open.dialog, open.control.id, words[1]), u"takes no text in control ",
       words[0]);
}

void PlaceCaret(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  const std::size_t place = words[1] == u"end" ? port::kWholeText : NumberOf(words[1]);
  const std::size_t selected = words.size() > 2 ? NumberOf(words[2]) : 0;
  Take(context.run.display.PlaceCaret(open.dialog, open.control.id, place, selected),
       u"has no caret in control ", words[0]);
}

int RowIn(const OpenControl& list, const std::u16string& text) {
  const auto row = std::ranges::find_if(list.control.rows, [&](const port::Row& one) {
    return !one.texts.empty() && one.texts.front() == text;
  });
  if (row == list.control.rows.end()) throw MissingFailure(u"no such row: " + text);
  return static_cast<int>(row - list.control.rows.begin());
}

int ChoiceIn(const OpenControl& list, const std::u16string& text) {
  if (!list.control.rows.empty()) return RowIn(list, text);
  const auto item = std::ranges::find(list.control.choices, text);
  if (item == list.control.choices.end()) throw MissingFailure(u"no such choice: " + text);
  return static_cast<int>(item - list.control.choices.begin());
}

bool OffersChoices(const port::ShownControl& control) {
  constexpr std::array kOffering = {ControlKind::kDropDown, ControlKind::kEditableDropDown,
                                    ControlKind::kList, ControlKind::kCheckList};
  return control.visible && std::ranges::find(kOffering, control.kind) != kOffering.end();
}

// What has no form is of kind "other"; the program hears of a choice as of a press.
void ChooseEntry(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  port::FakeDisplay& display = context.run.display;
  Require(context, display.TakesInput(OpenDialog(display)));
  const std::uint32_t id = open.control.id;
  if (OffersChoices(open.control)) {
    return Require(context, display.Choose(open.dialog, id, ChoiceIn(open, words[1])));
  }
  const bool other = display.Control(open.dialog, id) && open.control.visible &&
                     open.control.kind == ControlKind::kOther;
  Take(other, u"offers no choice in control ", words[0]);
  display.Write(open.dialog, id, port::Text{words[1]});
  display.Inject({open.dialog, port::MessageKind::kCommand, id, 0, {}});
}

void PressControl(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  Take(context.run.display.Press(open.dialog, open.control.id), u"has no button ", words[0]);
}

void Slide(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  const auto position = static_cast<int>(NumberOf(words[1]));
  Take(context.run.display.Slide(open.dialog, open.control.id, position),
       u"does not go there with control ", words[0]);
}

void SetTime(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  const port::TimeOfDay time{static_cast<int>(NumberOf(words[1])),
                             static_cast<int>(NumberOf(words[2])),
                             static_cast<int>(NumberOf(words[3]))};
  Take(context.run.display.PickTime(open.dialog, open.control.id, time),
       u"takes no such time in control ", words[0]);
}

void SetRowBox(ScriptContext& context, Words words, bool checked) {
  const OpenControl open = Find(context, words[0]);
  const int row = RowIn(open, words[1]);
  Take(context.run.display.TickListRow(open.dialog, open.control.id, row, checked),
       u"has no boxes in control ", words[0]);
}

void TickRow(ScriptContext& context, Words words) {
  SetRowBox(context, words, true);
}
void UntickRow(ScriptContext& context, Words words) {
  SetRowBox(context, words, false);
}

void OpenRow(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  Require(context,
          context.run.display.ActivateListRow(open.dialog, open.control.id, RowIn(open, words[1])));
}

void AskRowMenu(ScriptContext& context, Words words) {
  const OpenControl open = Find(context, words[0]);
  Require(context,
          context.run.display.AskListMenu(open.dialog, open.control.id, RowIn(open, words[1])));
}

void ChoosePage(ScriptContext& context, Words words) {
  const port::WindowHandle sheet = RequireDialog(context);
  port::FakeDisplay& display = context.run.display;
  const port::ShownDialog shown = display.FindDialog(sheet).value_or(port::ShownDialog());
  const auto page = std::ranges::find_if(shown.pages, [&](port::WindowHandle one) {
    return display.FindDialog(one).value_or(port::ShownDialog()).caption == words[0];
  });
  Take(page != shown.pages.end(), u"has no page ", words[0]);
  Require(context, display.ChoosePage(sheet, static_cast<int>(page - shown.pages.begin())));
}

void CloseDialog(ScriptContext& context, Words /*words*/) {
  Require(context, context.run.display.CloseDialog(RequireDialog(context)));
}

// "main", or the form of a window.
void BringToFront(ScriptContext& context, Words words) {
  context.run.WaitReadyForInput();
  port::FakeDisplay& display = context.run.display;
  const port::WindowHandle window =
      words[0] == u"main" ? display.main_window().handle : display.DialogOfForm(NumberOf(words[0]));
  if (window == 0) throw MissingFailure(u"no such window is open: " + words[0]);
  Require(context, display.BringToFront(window));
}

constexpr auto kDialog = std::to_array<ScriptCommand>({
    {u"set", 2, 2, false, SetText},
    {u"type", 2, 3, false, TypeText},
    {u"caret", 2, 3, false, PlaceCaret},
    {u"choose", 2, 2, false, ChooseEntry},
    {u"press", 1, 1, false, PressControl},
    {u"slide", 2, 2, false, Slide},
    {u"set-time", 4, 4, false, SetTime},
    {u"tick-row", 2, 2, false, TickRow},
    {u"untick-row", 2, 2, false, UntickRow},
    {u"open-row", 2, 2, false, OpenRow},
    {u"row-menu", 2, 2, false, AskRowMenu},
    {u"page", 1, 1, false, ChoosePage},
    {u"close-dialog", 0, 0, false, CloseDialog},
    {u"front", 1, 1, false, BringToFront},
});

}  // namespace

std::span<const ScriptCommand> DialogCommands() {
  return kDialog;
}

// Something else than a number can only mean a row of the main window.
void TickControl(ScriptContext& context, const std::u16string& control, bool checked) {
  if (!ParseNumber(control)) Require(context, false);
  const OpenControl open = Find(context, control);
  Take(context.run.display.Tick(open.dialog, open.control.id, checked), u"has no such check box: ",
       control);
}

port::WindowHandle OpenDialog(const port::FakeDisplay& display) {
  return display.DialogInFront();
}

}  // namespace quillet
