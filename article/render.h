// Article text as the HTML fragment that the viewer shows, and the transforms of the text before
// it. Pure but for the preferences `font`, `fontsize` and `colorquoted`. Program thread only.
//
// All of it takes time in proportion to the length of the text and the number of hits. A NUL is a
// character like any other.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mime/find_text.h"

namespace quillet {

// The fragment: addresses are links, "&", "<" and ">" are escaped, hits highlighted, quoted lines
// coloured, line ends breaks, the font around it. Nothing when memory ran out, so that no
// half-converted text reaches the viewer.
//
// `matches` as FindMatches gives them: offsets into the text, ascending, none over another. What
// lies outside the text does no harm.
std::optional<std::u16string> ConvertTextToHTML(std::u16string_view text,
                                                const std::vector<MatchRange>& matches);

// Letters of ASCII move 13 places; everything else stays. In place.
void Rot13String(std::u16string& text);
// Joins lines that were wrapped: in place, the length never changes.
void RemoveCRs(std::u16string& text);

// ">" and ":", nothing else.
constexpr bool IsQuoteChar(char16_t c) {
  return c == u'>' || c == u':';
}

}  // namespace quillet
