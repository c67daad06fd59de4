// SPDX-License-Identifier: GPL-3.0-or-later
// Reading on: the space bar pages, and at the end of an article the next unread one is opened, in
// the group and then in the next ticked group; N opens it at once. The extension `readon`: while it
// is off nothing here does anything. Program thread only.
#pragma once

#include <cstdint>

namespace quillet {

// A key that was pressed and released in the article view or in the thread view, with the modifiers
// of its press (port/message.h): the space bar, Shift and the space bar, N. Others do nothing.
void HandleReadingKey(std::uint32_t virtual_key, std::uint32_t modifiers);

// Opens the next unread article: after the current one in the order of the tree (in the thread
// view: after the selected row), then from the top of the group, then in the ticked groups that
// come after it in the list, and then from the top of the list. An article that was left unread,
// because its body is not there or because the user wants it so, is not opened again until the
// store changes. When there is none the view says so.
void NextUnread();

}  // namespace quillet
