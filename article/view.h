// The article view: one article with its header bar, moving through articles and threads, finding,
// saving. Program thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "thread/current.h"
#include "util/find_text.h"

namespace quillet {

// Sets the hooks of the thread view. Once, before the main window is created; idempotent.
void PrepareArticleView();

// Opens the article of a node, marks it read when it has a body, and highlights the hits of a
// search text. A null node clears the view and returns to the thread list.
void DisplayArticle(Node* node, std::string_view search_text);
// Shows the article tab with the current article, or "Quillet error: there is no current article".
void DisplayCurrentArticle(const std::vector<MatchRange>& matches);
// Empties the viewer and the header bar and drops the current article. No tab is changed.
void ClearCurrentArticle();
// The panes have gone with the main window's tabs: they are created again when they are shown next.
void ForgetArticlePanes();

// The article as one text with CR LF line ends; nothing after a reported lack of memory. Null: an
// empty text.
std::optional<std::u16string> CreateMessageBody(const AsciiArticle* article, bool with_headers);
// The text of the "Message headers" dialog.
std::u16string MessageHeadersText(const AsciiArticle& article);
void ShowMessageHeaders();

// Asks for a name and writes the 8-bit text into a new file; failures are told to the user.
void SaveAsFile(std::u16string_view title, std::u16string_view default_name, std::string_view text);
// The first 16 characters of the subject with "_" for what is not an ASCII letter or digit, and
// ".txt".
std::u16string DefaultFileName(std::string_view subject);

// Commands of the article view; other ids are ignored.
void ArticleCommand(std::uint32_t command);
// Keys released in the article view, but for those that go back one view.
void HandleArticleKey(std::uint32_t virtual_key);

}  // namespace quillet
