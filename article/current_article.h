// What the files of the article view share. Program thread only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "thread/current.h"
#include "util/find_text.h"

namespace quillet {

// Shows the article tab, with its panes and its toolbar on first use, and the focus in the viewer.
void ShowArticleTab();
// The header bar of the current article; empty without one.
void RefreshHeaderBar();

// Whether the viewer takes every article as plain text; kept while the program runs.
void TogglePlainTextFlag();

// Index of the group whose counts hold the current article; beyond every group when there is none.
std::size_t GroupOfCurrentArticle();
// After the read flag of the current article was changed: group list and tree follow.
void ShowChangedReadFlag();

// Keeps the search text in the current article and looks for it in the text that is shown; nothing
// after a reported lack of memory.
std::optional<std::vector<MatchRange>> MatchesInCurrentArticle(std::string_view search_text);

// 8-bit lines with a CR LF at the end of each, also where only one of the two stood.
std::string WithFullLineEnds(std::string_view lines);

}  // namespace quillet
