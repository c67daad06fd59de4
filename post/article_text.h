// SPDX-License-Identifier: GPL-3.0-or-later
// The two directions between an article's 8-bit text and what stands in an editor. Pure; any
// thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Byte for byte, those above 127 sign-extended: U+FF80 to U+FFFF. So quoted text is kept whatever
// its charset is.
std::u16string QuotedUnits(std::string_view text);

// Whether units of the text can be bytes of a quoted one.
bool HasQuotedUnits(std::u16string_view text);

// What the editor shows of a text with such units: the characters that the code page has for them.
std::u16string ShownInEditor(std::u16string_view text);

// How the units of a text become the bytes of an article.
enum class TextForm {
  kQuotedBytes,  // code page 1252; there may be QuotedUnits among them
  kCodePage,     // code page 1252; every unit is a character
  kUtf8,         // plain ASCII as it is, else UTF-8
};

// The 8-bit text that is stored in code page 1252: a quoted unit becomes its byte again, every
// other one what the code page has for it, "?" when it has nothing.
std::string ToArticleText(std::u16string_view text, TextForm form = TextForm::kQuotedBytes);

// Line ends and NULs become blanks: what comes from servers, settings and pasted texts brings no
// header lines of its own.
std::u16string OneLine(std::u16string_view text);

// The value of the first line that begins with the name (upper and lower case alike): from one unit
// after the name to the end of the line. Nothing when no line does.
template <class Char>
struct HeaderLine {
  std::basic_string_view<Char> value;
  std::size_t at = 0;  // of the line in the text; npos: there is none
};
HeaderLine<char> FindHeaderLine(std::string_view name, std::string_view headers);
HeaderLine<char16_t> FindHeaderLine(std::u16string_view name, std::u16string_view headers);

}  // namespace quillet
