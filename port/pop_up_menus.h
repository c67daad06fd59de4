// SPDX-License-Identifier: GPL-3.0-or-later
// Pop-up menus, built by the program each time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "port/message.h"

namespace quillet::port {

struct PopUpEntry {
  std::uint32_t command = 0;  // 0: a separator, without a text
  std::u16string text;        // with its mnemonic
  bool checked = false;       // it has a check mark
};

class PopUpMenus {
 public:
  virtual ~PopUpMenus() = default;

  // Shows the menu where the user asked for it last (kContextMenu), or in a dialog at the button
  // pressed since, and waits for the choice: the
  // entry's command, or 0 when the menu was dismissed, has no entries, the display has gone or the
  // session ends. Program thread only.
  virtual std::uint32_t ShowPopUp(WindowHandle owner, const std::vector<PopUpEntry>& entries) = 0;
};

}  // namespace quillet::port
