// SPDX-License-Identifier: GPL-3.0-or-later
// What an editor begins with: the texts of a new article, a reply, a forward, and of a queued post
// that is edited again. An article is one text: header lines, the separator, the body. The
// preferences give names and wordings. Program thread only.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "post/post_info.h"
#include "store/records.h"

namespace quillet {

inline constexpr std::u16string_view kBodySeparator = u"--- Begin body here ---\r\n";

// Empty after the report "out of memory" in "CreateBlankHeader".
std::u16string CreateBlankHeader(std::u16string_view newsgroups);
std::u16string CreateReplyHeader(const AsciiArticle& article, std::u16string_view group);
std::u16string CreateReplyText(const AsciiArticle& article, std::u16string_view group,
                               bool with_header);

// Ends with CR LF. Text of the article comes as it is shown; with `postcharsets` off as QuotedUnits
// (post/article_text.h).
std::u16string ExpandAttribution(const AsciiArticle& article);
// With `postcharsets` off; text of the article comes as QuotedUnits.
std::u16string QuoteBody(std::string_view body);

// Empty after the report "out of memory" in "MakeReLine". `kept_headers` may have continuation
// lines of the subject.
std::u16string MakeReLine(std::string_view subject, std::string_view kept_headers = {});
// The address in the value of a From or Reply-To line.
std::u16string ExtractAddress(std::string_view value);
// The stored References and the article itself; without them the article alone.
std::u16string ReferencesOfReply(const AsciiArticle& article);

// "From: "name" <address>" with its CR LF.
std::u16string FromLine();
// The editable text of a stored post, without its References.
std::u16string PostToEditText(const AsciiArticle& post);

// The composition records; null when memory ran out in one of the above (reported), std::bad_alloc
// when it ran out elsewhere.
std::unique_ptr<PostInfo> ComposeNewArticle(std::u16string_view newsgroups);
std::unique_ptr<PostInfo> ComposeReply(const AsciiArticle& article, std::u16string_view group);
std::unique_ptr<PostInfo> ComposeForward(const AsciiArticle& article, std::u16string_view group);
std::unique_ptr<PostInfo> ComposeQueuedPost(const AsciiArticle& post);

}  // namespace quillet
