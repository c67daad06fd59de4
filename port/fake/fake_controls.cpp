// SPDX-License-Identifier: GPL-3.0-or-later
// One overload of Set a value. Which kinds of control have a value is one table, by the value's
// place in the variant; a control that no form describes (kOther) has them all.
#include "port/fake/fake_controls.h"

#include <algorithm>
#include <array>

#include "port/common/text_lines.h"

namespace quillet::port {
namespace {

constexpr unsigned Bit(ControlKind kind) {
  return 1U << static_cast<unsigned>(kind);
}

constexpr unsigned kAll = ~0U;
constexpr unsigned kEdits = Bit(ControlKind::kEdit) | Bit(ControlKind::kMultiLineEdit) |
                            Bit(ControlKind::kPassword) | Bit(ControlKind::kEditableDropDown);
constexpr unsigned kBoxes = Bit(ControlKind::kCheckBox) | Bit(ControlKind::kRadioButton);
constexpr unsigned kLists = Bit(ControlKind::kList) | Bit(ControlKind::kCheckList);
constexpr unsigned kDropDowns = Bit(ControlKind::kDropDown) | Bit(ControlKind::kEditableDropDown);
constexpr unsigned kRanges = Bit(ControlKind::kSlider) | Bit(ControlKind::kProgressBar);
constexpr unsigned kLabelled = Bit(ControlKind::kText) | Bit(ControlKind::kButton) | kBoxes;
constexpr unsigned kUnfocused = Bit(ControlKind::kText) | Bit(ControlKind::kProgressBar);

constexpr int kLargestRange = 65535;

struct Names {
  const char* value;
  unsigned kinds;
};

// In the order of the variant's types.
constexpr std::array<Names, std::variant_size_v<ControlValue>> kValues = {{
    {"Text", kEdits | kLabelled | Bit(ControlKind::kProgressBar)},
    {"TextState", kEdits},
    {"Checked", kBoxes},
    {"Choices", kDropDowns},
    {"Choice", kDropDowns | kLists},
    {"Range", kRanges},
    {"Position", kRanges},
    {"Rows", kLists},
    {"TimeOfDay", Bit(ControlKind::kTimePicker)},
    {"FontChoice", Bit(ControlKind::kMultiLineEdit)},
    {"Visible", kAll},
    {"Enabled", kAll},
    {"Focus", kAll & ~kUnfocused},
}};

using Controls = std::vector<ShownControl>;
using Problem = std::string;

// A place between CR and LF is before them.
std::size_t Place(const ShownControl& one, std::size_t units) {
  const std::size_t place = std::min(units, one.text.size());
  const bool inside = one.kind == ControlKind::kMultiLineEdit && place > 0 &&
                      place < one.text.size() && one.text[place] == u'\n';
  return inside ? place - 1 : place;
}

void SetText(ShownControl& one, std::u16string_view text) {
  one.text = one.kind == ControlKind::kMultiLineEdit ? CrLfLines(text) : std::u16string(text);
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Text& value) {
  SetText(one, value.text);
  one.text_state = {};
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const TextState& value) {
  const std::size_t caret = Place(one, value.caret);
  const std::size_t rest = one.text.size() - std::min(value.caret, one.text.size());
  const std::size_t end =
      Place(one, std::min(value.caret, one.text.size()) + std::min(value.selected, rest));
  one.text_state = {caret, end - caret, value.changed};
  return {};
}

Problem Set(Controls& controls, ShownControl& one, const Checked& value) {
  CheckShown(controls, one, value.checked);
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Choices& value) {
  one.choices = value.items;
  const bool none = value.items.empty() || one.kind == ControlKind::kEditableDropDown;
  one.choice = none ? -1 : 0;
  return {};
}

int CountOf(const ShownControl& one) {
  const bool list = (kLists & Bit(one.kind)) != 0;
  return static_cast<int>(list ? one.rows.size() : one.choices.size());
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Choice& value) {
  const int count = CountOf(one);
  const bool list = (kLists & Bit(one.kind)) != 0;
  if (value.index >= count || value.index < (list || count == 0 ? -1 : 0)) {
    return "no choice " + std::to_string(value.index);
  }
  one.choice = value.index;
  if (one.kind == ControlKind::kEditableDropDown && value.index >= 0) {
    one.text = one.choices[static_cast<std::size_t>(value.index)];
    one.text_state = {};
  }
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Range& value) {
  const bool slider = one.kind == ControlKind::kSlider;
  const bool fine = slider ? value.lower <= value.upper
                           : value.lower == 0 && value.upper >= 1 && value.upper <= kLargestRange;
  if (slider && !fine) return "a range that ends before it begins";
  one.lower = slider ? value.lower : 0;
  one.upper = slider ? value.upper : std::clamp(value.upper, 1, kLargestRange);
  one.position = std::clamp(one.position, one.lower, one.upper);
  return fine ? "" : "a progress range of " + std::to_string(value.upper);
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Position& value) {
  one.position = std::clamp(value.position, one.lower, one.upper);
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Rows& value) {
  one.rows = value.rows;
  one.choice = one.tapped = -1;
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const TimeOfDay& value) {
  one.time = {std::clamp(value.hour, 0, 23), std::clamp(value.minute, 0, 59),
              std::clamp(value.second, 0, 59)};
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const FontChoice& value) {
  one.font = value;
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Visible& value) {
  one.visible = value.visible;
  return {};
}

Problem Set(Controls& /*controls*/, ShownControl& one, const Enabled& value) {
  one.enabled = value.enabled;
  return {};
}

Problem Set(Controls& controls, ShownControl& one, const Focus& /*value*/) {
  FocusShown(controls, one);
  return {};
}

int ChoiceOf(const ShownControl& control) {
  if (control.kind != ControlKind::kEditableDropDown) return control.choice;
  const auto item = std::ranges::find(control.choices, control.text);
  return item == control.choices.end() ? -1 : static_cast<int>(item - control.choices.begin());
}

std::u16string TextOf(const ShownControl& control) {
  const bool chosen = control.kind == ControlKind::kDropDown && control.choice >= 0;
  return chosen ? control.choices[static_cast<std::size_t>(control.choice)] : control.text;
}

}  // namespace

std::vector<ShownControl> ControlsOf(const DialogTemplate& form) {
  std::vector<ShownControl> controls;
  for (const ControlTemplate& from : form.controls) {
    ShownControl control;
    control.id = from.id;
    control.kind = from.kind;
    control.text = from.text;
    control.accessible_name = from.accessible_name;
    control.container = from.container;
    control.tap_opens = from.tap_opens;
    control.never_default = from.never_default;
    controls.push_back(std::move(control));
  }
  return controls;
}

std::string WriteShown(std::vector<ShownControl>& controls, ShownControl& one,
                       const ControlValue& value) {
  const Names& names = kValues[value.index()];
  if (one.kind != ControlKind::kOther && (names.kinds & Bit(one.kind)) == 0) {
    return std::string(names.value) + " of control " + std::to_string(one.id);
  }
  return std::visit([&](const auto& set) { return Set(controls, one, set); }, value);
}

ControlState StateOf(const ShownControl& control) {
  ControlState state;
  state.text = TextOf(control);
  state.text_state = control.text_state;
  state.checked = control.checked;
  state.choice = ChoiceOf(control);
  state.position = control.position;
  if (control.kind == ControlKind::kCheckList) {
    for (const Row& row : control.rows) state.row_checks.push_back(row.checked);
  }
  state.time = control.time;
  state.visible = control.visible;
  state.enabled = control.enabled;
  state.focused = control.focused;
  return state;
}

void TypeInto(std::vector<ShownControl>& controls, ShownControl& one, std::u16string_view text) {
  SetText(one, text);
  one.text_state = {one.text.size(), 0, true};
  FocusShown(controls, one);
}

void InsertInto(std::vector<ShownControl>& controls, ShownControl& one, std::u16string_view text) {
  const std::u16string typed =
      one.kind == ControlKind::kMultiLineEdit ? CrLfLines(text) : std::u16string(text);
  const TextState before = one.text_state;
  one.text.replace(before.caret, before.selected, typed);
  one.text_state = {before.caret + typed.size(), 0, true};
  FocusShown(controls, one);
}

void CheckShown(std::vector<ShownControl>& controls, ShownControl& one, bool checked) {
  one.checked = checked;
  if (one.kind != ControlKind::kRadioButton || !checked) return;
  for (ShownControl& other : controls) {
    const bool of_group =
        other.kind == ControlKind::kRadioButton && other.container == one.container;
    if (of_group && &other != &one) other.checked = false;
  }
}

void FocusShown(std::vector<ShownControl>& controls, ShownControl& one) {
  for (ShownControl& other : controls) other.focused = &other == &one;
}

}  // namespace quillet::port
