// SPDX-License-Identifier: GPL-3.0-or-later
// The conversion of article text to HTML as a chain of rewritten texts: slow, obvious, every step
// on its own and the offsets of the hits moved at every replacement. What the program's single pass
// is held against.
#pragma once

#include <list>
#include <string>
#include <vector>

#include "mime/find_text.h"

namespace quillet::reference {

using Matches = std::list<MatchRange>;

std::u16string ReplaceAllString(const std::u16string& text, const std::u16string& from,
                                const std::u16string& to, Matches& matches);
std::u16string HighlightMatches(const std::u16string& piece, Matches& matches);
std::u16string EscapeHTML(std::u16string piece, Matches& matches);
std::u16string AddLinksToHTML(const std::u16string& text, Matches& matches);
std::u16string ColorQuotedLines(const std::u16string& text);
// `prologue` stands for the font.
std::u16string ConvertTextToHTML(const std::u16string& text, const std::vector<MatchRange>& matches,
                                 bool color_quoted, const std::u16string& prologue);

}  // namespace quillet::reference
