// SPDX-License-Identifier: GPL-3.0-or-later
// Looking for a text in the stored texts of many articles. Any thread; pure but for the switch of
// mime/decoding.h, which is read when the text is made ready.
#pragma once

#include <optional>
#include <string_view>

#include "mime/body.h"
#include "mime/find_text.h"
#include "mime/matcher.h"
#include "mime/search_filter.h"
#include "mime/shown_matcher.h"

namespace quillet {

// The texts of one article where they are stored; borrowed.
struct ArticleTexts {
  std::string_view all;      // every one of them with a NUL after each
  std::string_view head;     // of these the kept header lines
  std::string_view body;     // of these the body
  std::string_view subject;  // of these the subject
  bool stuffed = false;      // see BodySource
};

// A text to look for, made ready once. It finds in stored text what FindMatches finds in what is
// shown of it. An empty text is in none.
class SearchText {
 public:
  SearchText(std::u16string_view wanted, const MatchOptions& options);

  // In the text of the body, or in the line of an attachment.
  bool IsInBody(const ArticleTexts& texts) const;
  // In one of the texts. No text that is looked for has a NUL in it, or it would reach from one
  // text into the next.
  bool IsInAny(const ArticleTexts& texts) const;

 private:
  bool IsInHeads(const ArticleTexts& texts) const;
  bool IsIn(std::string_view stored) const;
  bool IsInShown(std::u16string_view text) const;
  bool IsInDecoded(const BodySource& source) const;

  bool decoding_;
  // For text that is shown byte by byte; nothing: no such text is ever shown like this.
  std::optional<Matcher<char>> stored_form_;
  SearchFilter filter_;
  ShownMatcher shown_form_;
};

}  // namespace quillet
