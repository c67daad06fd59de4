// SPDX-License-Identifier: GPL-3.0-or-later
// The article view: which article is shown, and its text in the viewer. Program thread only.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "article/message_body.h"
#include "mime/find_text.h"
#include "thread/reading.h"

namespace quillet {

// Opens the article of a node, marks it read when it has a body, and highlights the hits of a
// search text. A null node clears the view and returns to the thread list.
void DisplayArticle(Node* node, std::u16string_view search_text);
// Shows the article tab with the current article, or "Quillet error: there is no current article".
void DisplayCurrentArticle(const std::vector<MatchRange>& matches);
// Empties the viewer and the header bar and forgets the current article. No tab is changed.
void ClearArticleView();

// The current article as it is stored instead of decoded, and back; a newly opened one is decoded.
void ToggleRawText();
// How the current article is shown.
MessageForm FormOfCurrentArticle();

// Whether the viewer takes every article as plain text; kept while the program runs.
void TogglePlainTextFlag();

// Index of the group whose counts hold the current article; beyond every group when there is none.
std::size_t GroupOfCurrentArticle();
// After the read flag of the current article was changed: group list and tree follow.
void ShowChangedReadFlag();

// Keeps the search text in the current article and looks for it in the text that is shown; nothing
// after a reported lack of memory.
std::optional<std::vector<MatchRange>> MatchesInCurrentArticle(std::u16string_view search_text);

}  // namespace quillet
