// SPDX-License-Identifier: GPL-3.0-or-later
// Article text as the HTML fragment that the viewer shows, and the transforms of the text before
// it. Pure but for the preferences `font`, `fontsize` and `colorquoted`. Program thread only.
//
// All of it takes time in proportion to the length of the text and the number of hits. A NUL is a
// character like any other.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mime/find_text.h"

namespace quillet {

// A range of a text that is one link to an attachment.
struct AttachmentLink {
  std::size_t start = 0;
  std::size_t end = 0;
  std::size_t part = 0;  // see Attachment::part
  bool operator==(const AttachmentLink&) const = default;
};

inline constexpr std::u16string_view kAttachmentScheme = u"attachment:";
// What a link to that attachment leads to: "attachment:3". No text of an article ever becomes such
// a link.
std::u16string AttachmentTarget(std::size_t part);

// The fragment: addresses are links, "&", "<" and ">" are escaped, hits highlighted, quoted lines
// coloured, line ends breaks, the font around it. Nothing when memory ran out, so that no
// half-converted text reaches the viewer.
//
// `matches` as FindMatches gives them: offsets into the text, ascending, none over another. What
// lies outside the text does no harm. `links` are ascending, none over another, too; addresses in
// them are no links of their own.
std::optional<std::u16string> ConvertTextToHTML(std::u16string_view text,
                                                const std::vector<MatchRange>& matches,
                                                std::span<const AttachmentLink> links = {});

// Letters of ASCII move 13 places; everything else stays. In place.
void Rot13String(std::u16string& text);
// Joins lines that were wrapped: in place, the length never changes.
void RemoveCRs(std::u16string& text);

// ">" and ":", nothing else.
constexpr bool IsQuoteChar(char16_t c) {
  return c == u'>' || c == u':';
}

}  // namespace quillet
