// SPDX-License-Identifier: GPL-3.0-or-later
// Article texts: from a file or a posting client into the store. Pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "demo/news_store.h"

namespace quillet::demo {

// The text as lines; they may end in CR LF or LF, and the last one need not end.
std::vector<std::string> SplitLines(std::string_view text);

// The value of a header, its continuation lines joined by a blank; nothing without the header.
std::optional<std::string> HeaderValue(const std::vector<std::string>& head, std::string_view name);

// The names in a Newsgroups header.
std::vector<std::string> SplitGroups(std::string_view newsgroups);

struct ParsedArticle {
  StoredArticle article;
  std::vector<std::string> groups;
};

// Takes an article as lines (head, empty line, body; dots not doubled). On failure nothing, and a
// reason of a few words in `problem`.
std::optional<ParsedArticle> ParseArticleLines(const std::vector<std::string>& lines,
                                               std::string& problem);

// "<...@...>" without blanks or control characters, at most 250 bytes.
bool IsMessageId(std::string_view text);

}  // namespace quillet::demo
