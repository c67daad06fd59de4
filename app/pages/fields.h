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

// A text as it can be stored and read back: up to its first NUL, without the mark of an empty entry
// at its beginning, without line ends when it is one line, cut to `longest` units and no surrogate
// pair in two.
std::u16string StorableText(std::u16string_view text, bool many_lines, std::size_t longest);

// The number that a text of digits, with blanks around it, stands for; nothing when it is none up
// to `highest`.
std::optional<std::uint32_t> NumberIn(std::u16string_view text, std::uint32_t highest);

}  // namespace quillet
