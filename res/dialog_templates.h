// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog forms as tables, generated from the .ui files of this folder at build time, for
// displays that draw no widgets.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillet {

enum class ControlKind {
  kButton,
  kText,
  kEdit,
  kCheckBox,
  kProgressBar,
  kDropDown,
  kOther,
  kMultiLineEdit,
  kPassword,
  kRadioButton,
  kEditableDropDown,
  kSlider,
  kList,
  kCheckList,
  kTimePicker,
};

struct ControlTemplate {
  std::uint32_t id = 0;  // 0: a label without a control id
  ControlKind kind = ControlKind::kOther;
  std::u16string_view text;
  std::u16string_view accessible_name;
  int container = 0;  // controls in the same one have the same number: a group of radio buttons
  bool never_default = false;  // a button that Enter does not press
  bool tap_opens = false;      // a tap on the list's row that was tapped before opens it
};

struct DialogTemplate {
  std::uint32_t id = 0;  // resource id
  std::u16string_view caption;
  bool is_page = false;                       // of a property sheet, not a dialog of its own
  std::span<const ControlTemplate> controls;  // in template order
};

// The forms of this folder.
std::span<const DialogTemplate> ProductTemplates();

// Lets FindDialogTemplate find these forms too: a test brings forms of its own. The table must
// last. Before any display exists.
void AddDialogTemplates(std::span<const DialogTemplate> more);

// Null when there is no such form.
const DialogTemplate* FindDialogTemplate(std::uint32_t id);

}  // namespace quillet
