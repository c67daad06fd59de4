// Looking for a text in the stored texts of many articles. Pure; any thread.
#pragma once

#include <optional>
#include <string_view>

#include "mime/find_text.h"
#include "mime/matcher.h"

namespace quillet {

// The texts of one article where they are stored; borrowed.
struct ArticleTexts {
  std::string_view all;   // every one of them with a NUL after each
  std::string_view head;  // of these the kept header lines
  std::string_view body;  // of these the body
};

// A text to look for, made ready once. It finds in stored text what FindMatches finds in what is
// shown of it. An empty text is in none.
class SearchText {
 public:
  SearchText(std::u16string_view wanted, const MatchOptions& options);

  bool IsInBody(const ArticleTexts& texts) const { return IsIn(texts.body); }
  // In one of the texts. No text that is looked for has a NUL in it, or it would reach from one
  // text into the next.
  bool IsInAny(const ArticleTexts& texts) const { return IsIn(texts.all); }

 private:
  bool IsIn(std::string_view stored) const;

  std::optional<Matcher<char>> stored_form_;  // nothing: no stored text is ever shown like this
};

}  // namespace quillet
