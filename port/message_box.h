// SPDX-License-Identifier: GPL-3.0-or-later
// Message boxes, the wait cursor and the beep. Any thread of the program; Show blocks its caller.
#pragma once

#include <string_view>

#include "port/message.h"

namespace quillet::port {

enum class BoxButtons { kOk, kOkCancel, kYesNo, kYesNoCancel };
enum class BoxIcon { kNone, kExclamation };

struct BoxStyle {
  BoxButtons buttons = BoxButtons::kOk;
  BoxIcon icon = BoxIcon::kNone;
  bool topmost = false;
  int default_button = 0;  // its id: the one that has the focus and answers Enter; 0: the first
};

// What Show returns: the id of the button pressed.
constexpr int kIdOk = 1;
constexpr int kIdCancel = 2;
constexpr int kIdYes = 6;
constexpr int kIdNo = 7;

class MessageBoxes {
 public:
  virtual ~MessageBoxes() = default;

  // Shows the box over `owner` (0: no owner, over the whole program) and returns the button.
  // Escape or closing the box is Cancel where there is one, No in a yes/no box, OK in an OK box.
  // When the display has already gone it returns that same answer at once.
  virtual int Show(WindowHandle owner, std::u16string_view caption, std::u16string_view text,
                   const BoxStyle& style) = 0;

  // Wait cursor on and off; calls nest.
  virtual void SetWaitCursor(bool on) = 0;

  // The exclamation sound.
  virtual void Beep() = 0;
};

}  // namespace quillet::port
