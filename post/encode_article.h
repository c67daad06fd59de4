// SPDX-License-Identifier: GPL-3.0-or-later
// What an article becomes that is not plain ASCII: UTF-8, a head in ASCII with encoded words, and
// the header fields that say so. Pure; any thread.
#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "post/check.h"

namespace quillet {

// References without the words that are not plain ASCII: they come from servers, nobody can mend
// them in an editor, and no server would take them.
std::u16string AsciiReferences(std::u16string_view references);

// The lines of the head end with CR LF; empty ones go. The references, plain ASCII, get a line of
// their own behind it, unless they are empty, and MIME-Version, Content-Type and
// Content-Transfer-Encoding stand last, each unless the head has that field. A Content-Type of the
// user's own wins: the body is in the charset that it names. The place of a fault is one in `head`.
std::variant<CheckedArticle, ArticleFault> EncodeArticle(std::u16string_view head,
                                                         std::u16string_view references,
                                                         std::u16string_view body);

// Whether the line, without its line end, is one of those that EncodeArticle adds.
bool IsAddedMimeLine(std::string_view line);

// The body of a queued post as it was written, whatever wrote it: in the charset that its head
// names, else in UTF-8, else in code page 1252.
std::u16string WrittenBody(std::string_view headers, std::string_view body);

}  // namespace quillet
