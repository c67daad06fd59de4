// SPDX-License-Identifier: GPL-3.0-or-later
// Messages: what the device tells the program. Every window and dialog belongs to the thread that
// created it, and its messages come to that thread's queue only.
#pragma once

#include <cstdint>
#include <string>

namespace quillet::port {

// A window, dialog or pane; 0 is none. Handles are never reused within a run.
using WindowHandle = std::uint32_t;

enum class MessageKind {
  kNone,
  kCommand,      // id: the command or control id (menu item, button, push button)
  kKeyDown,      // id: virtual key, detail: modifiers (kModifier...)
  kKeyUp,        // the same, for a released key
  kTabChanged,   // the user chose another tab; id: the tab now selected, detail: the one before
  kRowChecked,   // the user changed a list row's box; id: the row, detail: 1 checked, 0 not; text:
                 // in the group list the row's name
  kColumnSized,  // a list column has another width; id: the column, detail: pixels
  kItemActivated,  // double click or Enter on a list row or tree item; id: the row or item
  kContextMenu,    // the user asks for the menu of a tree item; id: the item, 0 for none. In a
                   // dialog's list: of a row, which is selected then; id: the row
  kHeaderTapped,   // the article's header bar was tapped or clicked
  kLink,           // a link was activated; text: its target
  kTextEdited,     // the user changed a text of a dialog; id: the control
  kPageLeft,       // id: the page of the sheet that is no longer shown
  kPageShown,      // id: the page of the sheet that is shown now
  kSize,           // id: width, detail: height of the window's inside, in pixels
  kTimer,          // id: the timer
  kClose,          // the user or the program asks the window to close
  kEndSession,     // the session ends (log-out, SIGTERM): save and end without questions
  kUser,           // the program's own messages; id: which one
};

constexpr std::uint32_t kModifierControl = 1;
constexpr std::uint32_t kModifierAlt = 2;
constexpr std::uint32_t kModifierShift = 4;

// Virtual keys. Letters and digits are their own upper-case ASCII code.
constexpr std::uint32_t kKeyEscape = 0x1B;
constexpr std::uint32_t kKeyReturn = 0x0D;
constexpr std::uint32_t kKeySpace = 0x20;
constexpr std::uint32_t kKeyPageUp = 0x21;
constexpr std::uint32_t kKeyPageDown = 0x22;
constexpr std::uint32_t kKeyEnd = 0x23;
constexpr std::uint32_t kKeyHome = 0x24;
constexpr std::uint32_t kKeyLeft = 0x25;
constexpr std::uint32_t kKeyUp = 0x26;
constexpr std::uint32_t kKeyRight = 0x27;
constexpr std::uint32_t kKeyDown = 0x28;
constexpr std::uint32_t kKeyDelete = 0x2E;
constexpr std::uint32_t kKeyF1 = 0x70;
constexpr std::uint32_t kKeyAction = 0x86;  // the action key of a handheld
constexpr std::uint32_t kKeyF24 = 0x87;

struct Message {
  WindowHandle window = 0;
  MessageKind kind = MessageKind::kNone;
  std::uint32_t id = 0;
  std::uint32_t detail = 0;
  std::u16string text;
  std::uint32_t control = 0;  // the list of a dialog that the message is about; 0: not of a dialog
};

}  // namespace quillet::port
