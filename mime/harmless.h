// SPDX-License-Identifier: GPL-3.0-or-later
// What foreign text may not do to the text around it. Pure; any thread.
#pragma once

#include <cstddef>
#include <string>

namespace quillet {

// Text that stands on one line, from `from` on: line ends become blanks, tabs stay, other control
// characters U+FFFD. Marks that change the direction of the writing behind them (U+202A to U+202E,
// U+2066 to U+2069) are left out: without them the letters keep the order in which they are stored.
void MakeOneLine(std::u16string& text, std::size_t from);
// Text of many lines: control characters become U+FFFD, but for tabs, form feeds and line ends. A
// byte order mark at its start goes.
void MakeLines(std::u16string& text);
// The place of the first CR or LF, the text's size when there is none.
std::size_t LineEnd(std::u16string_view text);
// Every line end, of whatever kind, as CR LF.
std::u16string WithFullLineEnds(std::u16string_view text);

}  // namespace quillet
