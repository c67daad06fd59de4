// SPDX-License-Identifier: GPL-3.0-or-later
// What must be stored of each generated article, one JSON object a line. Bytes are written as the
// characters U+0000 to U+00FF, so a reader gets them back by encoding the texts as ISO 8859-1.
#pragma once

#include <string>
#include <string_view>

#include "demo/article_generator.h"

namespace quillet::demo {

// One line with its line feed. Members: message_id, groups, subject, from, date, reply_to,
// parent_id, kept (the head lines that stay), last_line_kept, head_size and body_size (bytes on
// the wire with the terminator), lines_header, body (the text as sent, dots doubled, without the
// terminator and the line end before it).
std::string ManifestLine(const GeneratedArticle& article);

// A JSON string with its quotes.
std::string JsonText(std::string_view bytes);

}  // namespace quillet::demo
