// SPDX-License-Identifier: GPL-3.0-or-later
// Text helpers shared by every folder: code page 1252, UTF-8 at the edges, prefixes and suffixes,
// texts that end at a NUL.
//
// 8-bit text (std::string) is news text or text in the ANSI code page 1252; wide text
// (std::u16string) is UTF-16. All functions are pure and may be called on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {

// Code page 1252 to UTF-16, one unit a byte. The five bytes that the page leaves free (81, 8D, 8F,
// 90, 9D) become the control characters U+0081, U+008D, U+008F, U+0090 and U+009D.
std::u16string Widen(std::string_view text);

// UTF-16 to code page 1252, one byte a unit (so the two halves of a surrogate pair are two bytes).
// A unit that has no byte becomes "?". Narrow(Widen(x)) == x for every x.
std::string Narrow(std::u16string_view text);

// UTF-8 at the edges of the program (native paths, standard output, the toolkit). Malformed input
// yields U+FFFD; a lone surrogate is written as U+FFFD.
std::string ToUtf8(std::u16string_view text);
std::u16string FromUtf8(std::string_view text);

// An empty prefix or suffix always matches.
bool StartsWith(std::string_view text, std::string_view prefix);
bool StartsWith(std::u16string_view text, std::u16string_view prefix);
bool EndsWith(std::string_view text, std::string_view suffix);
bool EndsWith(std::u16string_view text, std::u16string_view suffix);
// Bytes below a blank, and 7F.
bool HasControlCharacter(std::string_view text);
// Letters A-Z equal a-z, every other byte or unit must be equal.
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix);
bool EqualsNoCase(std::u16string_view a, std::u16string_view b);
// Position of the first match of `needle` in `text` with the same comparison, npos when there is
// none. An empty needle is found at 0, in an empty text too.
std::size_t FindNoCase(std::string_view text, std::string_view needle);

// The part before the first NUL, all when there is none: what of a text is left where texts are
// NUL-terminated.
constexpr std::string_view UntilNul(std::string_view text) {
  return text.substr(0, text.find('\0'));
}
constexpr std::u16string_view UntilNul(std::u16string_view text) {
  return text.substr(0, text.find(u'\0'));
}

// A-Z become a-z, everything else stays.
constexpr char ToLowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr char16_t ToLowerAscii(char16_t c) {
  return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

}  // namespace quillet
