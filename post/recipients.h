// SPDX-License-Identifier: GPL-3.0-or-later
// Who gets a mail: the dialogs that ask for it. Both are modal over the owner of the boxes. Program
// thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// "Choose Recipients": the checked contacts joined by ", "; nothing when the user cancelled.
std::optional<std::u16string> PickAddresses();

// A text to be edited, with a way to the contacts; nothing when the user cancelled.
std::optional<std::u16string> ReaddressEmail(std::u16string_view recipients);

}  // namespace quillet
