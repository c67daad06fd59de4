// SPDX-License-Identifier: GPL-3.0-or-later
// The buttons of a message box and what Escape means in it: the same on every display.
#pragma once

#include <algorithm>
#include <array>
#include <span>

#include "port/message_box.h"

namespace quillet::port {

inline constexpr std::array kOkButtons = {kIdOk};
inline constexpr std::array kOkCancelButtons = {kIdOk, kIdCancel};
inline constexpr std::array kYesNoButtons = {kIdYes, kIdNo};
inline constexpr std::array kYesNoCancelButtons = {kIdYes, kIdNo, kIdCancel};

// The ids of the buttons, in the order in which they are shown. The first has the focus and answers
// Enter unless the style names another, the last answers Escape and the frame's close button.
constexpr std::span<const int> ButtonsOf(BoxButtons buttons) {
  switch (buttons) {
    case BoxButtons::kOkCancel:
      return kOkCancelButtons;
    case BoxButtons::kYesNo:
      return kYesNoButtons;
    case BoxButtons::kYesNoCancel:
      return kYesNoCancelButtons;
    default:
      return kOkButtons;
  }
}

constexpr bool HasButton(BoxButtons buttons, int answer) {
  return std::ranges::find(ButtonsOf(buttons), answer) != ButtonsOf(buttons).end();
}

// The one that has the focus and answers Enter.
constexpr int DefaultButton(const BoxStyle& style) {
  const bool named = HasButton(style.buttons, style.default_button);
  return named ? style.default_button : ButtonsOf(style.buttons).front();
}

constexpr int EscapeAnswer(BoxButtons buttons) {
  return ButtonsOf(buttons).back();
}

}  // namespace quillet::port
