// SPDX-License-Identifier: GPL-3.0-or-later
// The values of one control without pixels: what the program writes into it and reads, and what the
// user changes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "port/dialogs.h"
#include "port/fake/display_observer.h"
#include "res/dialog_templates.h"

namespace quillet::port {

std::vector<ShownControl> ControlsOf(const DialogTemplate& form);

// Writes the value into one of these controls. What is wrong with it, empty when nothing is: a kind
// of control that has no such value, a choice or row that is not there, a range that is none. Then
// what can be taken is taken.
std::string WriteShown(std::vector<ShownControl>& controls, ShownControl& one,
                       const ControlValue& value);
ControlState StateOf(const ShownControl& control);

// The user replaces the text; the focus is in the control then.
void TypeInto(std::vector<ShownControl>& controls, ShownControl& one, std::u16string_view text);
// The user types at the caret, in place of what is selected.
void InsertInto(std::vector<ShownControl>& controls, ShownControl& one, std::u16string_view text);
// The others of its group of radio buttons are unchecked.
void CheckShown(std::vector<ShownControl>& controls, ShownControl& one, bool checked);
void FocusShown(std::vector<ShownControl>& controls, ShownControl& one);

}  // namespace quillet::port
