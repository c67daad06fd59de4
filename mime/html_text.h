// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a page in HTML. Pure; any thread. Nothing is fetched, run or laid out.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// What a reader would see of it, in lines that end with CR LF: blocks on lines of their own, lists
// with hyphens, quotations with ">", cells of a table with blanks between, and the address of a
// link behind its text in angle brackets, unless the text is the address. No tag, script or style
// is in it. The time is linear in the page, and so is the text.
std::u16string HtmlToText(std::u16string_view html);

// The character set that the page names in its first 1,024 bytes; empty when it names none.
std::string HtmlCharset(std::string_view bytes);

}  // namespace quillet
