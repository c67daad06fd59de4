// SPDX-License-Identifier: GPL-3.0-or-later
// From a raw head to the fields of an article. Pure but for the name of the connected server.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "store/records.h"

namespace quillet {

// The Message-ID of articles that came without one.
inline constexpr std::string_view kNoMessageId = "<error-extracting-messageid>";

// `article.headers` holds the raw head; fills the fields and replaces the header text by what is
// kept of it (nothing unless `keep_headers`).
void ExtractHeaders(AsciiArticle& article, bool keep_headers);
// The same in two steps: the fields, which decide about the article, and what is kept of the head.
void ExtractFields(AsciiArticle& article, std::string_view head);
std::string KeptHeaders(std::string_view head, bool keep_headers);

// The first physical line of a header's value. Meant: the name is found anywhere in the text, not
// only at the start of a line. Subjects, authors and parents of stored articles were taken so;
// another rule would thread new articles apart from the old ones and move what killfile entries
// match.
std::optional<std::string> GetHeaderValue(std::string_view name, std::string_view text);
// The same, widened.
std::optional<std::u16string> GetHeaderValueWide(std::string_view name, std::string_view text);
// Searches wide text, with regard to case.
std::optional<std::u16string> GetHeaderValueIn(std::u16string_view name, std::u16string_view text);

}  // namespace quillet
