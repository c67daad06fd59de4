// SPDX-License-Identifier: GPL-3.0-or-later
// Header text in ASCII. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// The text as a header line may carry it: unchanged where it is printable ASCII, else words of RFC
// 2047 in UTF-8 where they are needed, none above 75 bytes and no character cut by their ends.
// Between two of them stands one blank, so that the line can be folded there. No line ends come
// out, whatever goes in.
std::string EncodeHeaderText(std::u16string_view text);
// The same for a value with an address in angle brackets ("Name <user@host>"): the address itself
// is never encoded.
std::string EncodeHeaderAddress(std::u16string_view value);

// What a killfile keeps of a text: its bytes in code page 1252, or, where that lacks a character,
// encoded words. ShownHeader gives the text back.
std::string ToKillfileText(std::u16string_view shown);

}  // namespace quillet
