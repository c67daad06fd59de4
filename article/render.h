// Article text as the HTML fragment that the viewer shows, and the transforms of the text before
// it. Pure but for the preferences `font`, `fontsize` and `colorquoted`. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/find_text.h"

namespace quillet {

// The fragment; nothing when memory ran out. `matches` in ascending order of `start`, as offsets
// into the text.
std::optional<std::u16string> ConvertTextToHTML(std::u16string text,
                                                std::vector<MatchRange> matches);

// Letters of ASCII move 13 places; everything else stays. In place.
void Rot13String(std::u16string& text);
// Joins lines that were wrapped: in place, the length never changes.
void RemoveCRs(std::u16string& text);

// ">" and ":", nothing else.
constexpr bool IsQuoteChar(char16_t c) {
  return c == u'>' || c == u':';
}

// --- The stages, in the order of the conversion --------------------------------------------------

std::u16string AddLinksToHTML(std::u16string_view text, std::vector<MatchRange>& matches);
std::u16string EscapeHTML(std::u16string_view piece, std::vector<MatchRange>& matches);
// Every `start` and `end` beyond the place of a replacement in the output moves with it.
std::u16string ReplaceAllString(std::u16string_view text, std::u16string_view from,
                                std::u16string_view to, std::vector<MatchRange>& matches);
std::u16string HighlightMatches(std::u16string_view piece, std::vector<MatchRange>& matches);
std::u16string ColorQuotedLines(std::u16string_view text);

}  // namespace quillet
