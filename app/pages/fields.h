// SPDX-License-Identifier: GPL-3.0-or-later
// The fields of a page: writing them into its controls, and back. Program thread only.
#pragma once

#include "app/pages/page.h"

namespace quillet {

void ShowFields(const PrefsSheet& sheet, port::WindowHandle page,
                std::span<const PageField> fields);
// The first one that was refused; the others are stored all the same.
std::optional<Refusal> StoreFields(PrefsSheet& sheet, port::WindowHandle page,
                                   std::span<const PageField> fields);

Refusal RefusedNumber(std::uint32_t control, std::u16string_view name, std::uint32_t highest);

// A text as it can be stored and read back, but for its length: up to its first NUL, without the
// mark of an empty entry at its beginning, and without line ends when it is one line.
std::u16string StorableText(std::u16string_view text, bool many_lines);

// Of a text that is longer than what is read back; nothing of others.
std::optional<Refusal> RefusalOfLength(std::uint32_t control, std::u16string_view text);

// The number that a text of digits, with blanks around it, stands for; nothing when it is none up
// to `highest`.
std::optional<std::uint32_t> NumberIn(std::u16string_view text, std::uint32_t highest);

inline constexpr std::uint32_t kHighestPort = 65535;
// After a choice in the list of securities: a usual port in the other control follows it.
void LetPortFollow(port::WindowHandle dialog, std::uint32_t security_control,
                   std::uint32_t port_control);

}  // namespace quillet
