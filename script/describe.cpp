// SPDX-License-Identifier: GPL-3.0-or-later
// One function for each thing that is shown, each from a snapshot record of the display, so no lock
// is held while the JSON is made. Names of enum values are tables in the order of the enums. Events
// and answers to queries share these functions, so that both say a thing in the same words.
#include "script/describe.h"

#include <array>

#include "port/fake/fake_controls.h"
#include "res/commands.h"
#include "res/resource.h"
#include "script/words.h"

namespace quillet {
namespace {

constexpr std::array<std::string_view, 3> kViews = {"group", "thread", "article"};
constexpr std::array<std::string_view, 3> kPlacements = {"bottom", "left", "right"};
constexpr std::array<std::string_view, 4> kButtons = {"ok", "okcancel", "yesno", "yesnocancel"};
constexpr std::array<std::string_view, 3> kBoxStates = {"none", "unchecked", "checked"};
// A text of several lines is an edit as well, for who knows no more.
constexpr std::array<std::string_view, 15> kKinds = {
    "button",          "text",   "edit", "check",      "progress",
    "choice",          "other",  "edit", "password",   "radio",
    "editable-choice", "slider", "list", "check-list", "time"};

template <class Enum, std::size_t Count>
std::string_view NameOf(const std::array<std::string_view, Count>& names, Enum value) {
  const auto index = static_cast<std::size_t>(value);
  return index < Count ? names[index] : "unknown";
}

std::string_view AnswerName(int answer) {
  switch (answer) {
    case port::kIdOk:
      return "ok";
    case port::kIdCancel:
      return "cancel";
    case port::kIdYes:
      return "yes";
    case port::kIdNo:
      return "no";
    default:
      return "unknown";
  }
}

void AddChoices(JsonObject& object, const port::ShownControl& control) {
  JsonList choices;
  for (const std::u16string& text : control.choices) choices.Add(text);
  object.AddRaw("choices", choices.Finish()).Add("choice", port::StateOf(control).choice);
}

void AddRows(JsonObject& object, const port::ShownControl& control) {
  JsonList rows;
  for (const port::Row& row : control.rows) {
    JsonList texts;
    for (const std::u16string& text : row.texts) texts.Add(text);
    JsonObject one;
    one.AddRaw("texts", texts.Finish());
    if (control.kind == ControlKind::kCheckList) one.Add("checked", row.checked);
    if (row.marked) one.Add("marked", true);
    if (!row.tool_tip.empty()) one.Add("tool_tip", row.tool_tip);
    rows.Add(one);
  }
  object.AddRaw("rows", rows.Finish()).Add("selected", control.choice);
}

void AddTextState(JsonObject& object, const port::TextState& state) {
  object.Add("multiline", true).Add("caret", state.caret);
  object.Add("selected", state.selected).Add("changed", state.changed);
}

void AddTime(JsonObject& object, const port::TimeOfDay& time) {
  object.Add("hour", time.hour).Add("minute", time.minute).Add("second", time.second);
}

// What only this kind has.
void AddValues(JsonObject& object, const port::ShownControl& control) {
  switch (control.kind) {
    case ControlKind::kProgressBar:
      object.Add("upper", control.upper).Add("position", control.position);
      return;
    case ControlKind::kSlider:
      object.Add("lower", control.lower).Add("upper", control.upper);
      object.Add("position", control.position);
      return;
    case ControlKind::kDropDown:
    case ControlKind::kEditableDropDown:
      return AddChoices(object, control);
    case ControlKind::kList:
    case ControlKind::kCheckList:
      return AddRows(object, control);
    case ControlKind::kMultiLineEdit:
      return AddTextState(object, control.text_state);
    case ControlKind::kTimePicker:
      return AddTime(object, control.time);
    default:
      return;
  }
}

JsonObject DescribeControl(const port::ShownControl& control) {
  JsonObject object;
  object.Add("id", control.id).Add("kind", NameOf(kKinds, control.kind));
  object.Add("text", control.text).Add("checked", control.checked);
  object.Add("visible", control.visible).Add("name", control.accessible_name);
  AddValues(object, control);
  if (!control.enabled) object.Add("enabled", false);
  if (control.text_selected()) object.Add("text_selected", true);
  return object;
}

std::string DescribeControls(const port::ShownDialog& dialog) {
  JsonList controls;
  for (const port::ShownControl& control : dialog.controls) controls.Add(DescribeControl(control));
  return controls.Finish();
}

void AddPages(JsonObject& object, const port::FakeDisplay& display,
              const port::ShownDialog& sheet) {
  JsonList captions;
  port::ShownDialog front;
  for (const port::WindowHandle handle : sheet.pages) {
    const port::ShownDialog page = display.FindDialog(handle).value_or(port::ShownDialog());
    captions.Add(page.caption);
    if (page.handle == sheet.pages[static_cast<std::size_t>(sheet.page)]) front = page;
  }
  object.AddRaw("pages", captions.Finish()).Add("page", sheet.page);
  object.Add("page_form", front.form).AddRaw("page_controls", DescribeControls(front));
}

JsonObject DescribeSize(port::Size size) {
  return JsonObject().Add("width", size.width).Add("height", size.height);
}

JsonObject DescribeEntry(const MenuEntry& entry) {
  JsonObject object;
  object.Add("depth", entry.depth);
  if (entry.text.empty()) return object.Add("separator", true);
  object.Add("text", entry.text);
  if (entry.command != 0) object.Add("command", entry.command);
  if (!entry.shortcut.empty()) object.Add("shortcut", entry.shortcut);
  return object;
}

}  // namespace

std::string_view ViewName(int tab) {
  return NameOf(kViews, tab);
}

std::string_view PlacementName(port::TabPlacement placement) {
  return NameOf(kPlacements, placement);
}

std::string_view OwnerKind(const port::FakeDisplay& display, port::WindowHandle owner) {
  if (owner == 0) return "none";
  return owner == display.main_window().handle ? "main" : "dialog";
}

JsonObject DescribeBox(const port::ShownBox& box, std::string_view owner, int answer) {
  return JsonObject()
      .Add("owner", owner)
      .Add("caption", box.caption)
      .Add("text", box.text)
      .Add("buttons", NameOf(kButtons, box.style.buttons))
      .Add("icon", box.style.icon == port::BoxIcon::kExclamation ? "exclamation" : "none")
      .Add("topmost", box.style.topmost)
      .Add("answer", AnswerName(answer));
}

JsonObject DescribeDialog(const port::FakeDisplay& display, const port::ShownDialog& dialog) {
  const bool modal = dialog.kind == port::DialogKind::kModal;
  JsonObject object;
  object.Add("handle", dialog.handle).Add("form", dialog.form).Add("caption", dialog.caption);
  object.Add("owner", OwnerKind(display, dialog.owner)).Add("modal", modal);
  object.AddRaw("controls", DescribeControls(dialog));
  if (!dialog.pages.empty()) AddPages(object, display, dialog);
  return object;
}

JsonObject DescribeGroups(const port::ShownList& list) {
  JsonList columns;
  for (const port::ListColumn& column : list.columns) {
    columns.Add(JsonObject()
                    .Add("title", column.title)
                    .Add("width", column.width)
                    .Add("centred", column.centred));
  }
  JsonList rows;
  for (const port::ListRow& row : list.rows) {
    rows.Add(JsonObject()
                 .Add("name", row.name)
                 .Add("box", NameOf(kBoxStates, row.check))
                 .Add("counts", row.counts));
  }
  return JsonObject()
      .AddRaw("columns", columns.Finish())
      .Add("font", list.font_face)
      .Add("font_size", list.font_size_index)
      .Add("selected", list.selected)
      .AddRaw("rows", rows.Finish());
}

JsonObject DescribeGuide(const port::ShownList& list) {
  JsonList steps;
  for (const port::GuideStep& step : list.guide) {
    steps.Add(
        JsonObject().Add("text", step.text).Add("command", step.command).Add("done", step.done));
  }
  return JsonObject().AddRaw("steps", steps.Finish());
}

JsonObject DescribeTabs(const port::ShownMainWindow& window) {
  JsonObject object;
  object.Add("exists", window.has_tabs).Add("placement", PlacementName(window.placement));
  return object.Add("selected", ViewName(window.tab));
}

JsonObject DescribeWindow(const port::ShownMainWindow& window) {
  return JsonObject()
      .Add("exists", window.handle != 0)
      .Add("visible", window.shown)
      .Add("class", window.traits.window_class)
      .Add("title", window.traits.title)
      .Add("width", window.traits.size.width)
      .Add("height", window.traits.size.height)
      .AddRaw("inside", DescribeSize(window.inside).Finish())
      .AddRaw("tab_area", DescribeSize(window.tabs).Finish())
      .Add("raised", window.raised);
}

JsonObject DescribeMenu(int view) {
  JsonList entries;
  for (const MenuEntry& entry : MenuOfView(view)) entries.Add(DescribeEntry(entry));
  JsonList buttons;
  for (const MenuButton& button : ButtonsOfView(view)) {
    buttons.Add(JsonObject().Add("command", button.command).Add("tooltip", button.tooltip));
  }
  JsonList accelerators;
  for (const Accelerator& accelerator : AcceleratorsOfView(view)) {
    accelerators.Add(JsonObject()
                         .Add("key", KeyText(accelerator.virtual_key, accelerator.modifiers))
                         .Add("command", accelerator.command));
  }
  return JsonObject()
      .Add("view", ViewName(view))
      .AddRaw("entries", entries.Finish())
      .AddRaw("buttons", buttons.Finish())
      .AddRaw("accelerators", accelerators.Finish());
}

}  // namespace quillet
