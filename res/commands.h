// SPDX-License-Identifier: GPL-3.0-or-later
// Menu bars, their buttons and the accelerator tables, one of each a view: plain tables that every
// display draws and the main loop translates keys with.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace quillet {

// One line of a menu tree, in drawing order. `depth` 0 is a drop-down of the bar, 1 its items, 2
// the items of a submenu. A submenu or drop-down has command 0 and a text; a separator has command
// 0 and an empty text. "&" marks the mnemonic; `shortcut` is shown, not bound.
struct MenuEntry {
  int depth = 0;
  std::u16string_view text;
  std::uint32_t command = 0;
  std::u16string_view shortcut;
};

struct MenuButton {
  std::uint32_t command = 0;
  std::u16string_view tooltip;
};

struct Accelerator {
  std::uint32_t virtual_key = 0;
  std::uint32_t modifiers = 0;  // kModifierControl | ... of port/message.h, matched exactly
  std::uint32_t command = 0;
};

// `view`: 0 group, 1 thread, 2 article; any other yields an empty table.
std::span<const MenuEntry> MenuOfView(int view);
std::span<const MenuButton> ButtonsOfView(int view);
std::span<const Accelerator> AcceleratorsOfView(int view);

// The command bound to the key in that view's table; 0 when none is.
std::uint32_t FindAccelerator(int view, std::uint32_t virtual_key, std::uint32_t modifiers);

}  // namespace quillet
