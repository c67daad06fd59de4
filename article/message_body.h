// An article as one text. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

struct AsciiArticle;

// The article as one text with CR LF line ends; nothing after a reported lack of memory. Null: an
// empty text.
std::optional<std::u16string> CreateMessageBody(const AsciiArticle* article, bool with_headers);

// 8-bit lines with a CR LF at the end of each, also where only one of the two stood.
std::string WithFullLineEnds(std::string_view lines);

}  // namespace quillet
