// SPDX-License-Identifier: GPL-3.0-or-later
// Looking through the articles of the shown tree. Program thread only.
#pragma once

#include "mime/search_text.h"
#include "store/records.h"
#include "thread/reading.h"

namespace quillet {

// Shows the "Find" dialog with the last choices, its text selected, and keeps what was chosen in
// gReading.find. False when the user pressed Cancel.
bool AskFindChoices();

// True, and said why, when the last search text has characters that no article is shown with; there
// are none while articles are decoded.
bool TellUnfindable();

// Whether the article holds the text (without a NUL) in what is shown of it: with `in_headers` the
// kept headers, subject, from, Message-ID, parent id, source, date and reply-to, and the body;
// otherwise the body alone. The lines of attachments belong to the body.
bool ArticleMatches(const StoredTexts& texts, const SearchText& wanted, bool in_headers);

// The first article after the node in pre-order that matches (`from` null: from the first article
// on); null when none does, the text is empty or the search was aborted. Runs under the runner.
Node* SearchForward(Node* from, const FindChoices& find);

// SearchForward with gReading.find; the hit is opened in the article view with the hits
// highlighted, otherwise "Search string not found." is shown. Nothing happens with an empty text,
// and what cannot be found is told without a search.
void SearchAndShow(Node* from);

}  // namespace quillet
