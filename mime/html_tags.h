// SPDX-License-Identifier: GPL-3.0-or-later
// Text written in HTML, cut into text and tags. Pure; any thread. The time is linear in the text,
// whatever stands there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

struct HtmlToken {
  bool is_tag = false;
  bool closes = false;       // of a tag: "</p>"
  std::u16string name;       // of a tag, in small letters; empty: a comment or the like
  std::u16string_view text;  // the text with its entities, or the tag's inside behind the name
};

class HtmlReader {
 public:
  // Borrows the text.
  explicit HtmlReader(std::u16string_view text) : text_(text) {}

  // False at the end.
  bool Next(HtmlToken& token);
  // Passes over everything up to the tag that closes `name`. Stays where it is when none does.
  void SkipTo(std::u16string_view name);

 private:
  std::size_t TagEnd(std::size_t at);
  std::size_t CommentEnd(std::size_t at);
  bool ReadTag(HtmlToken& token);

  std::u16string_view text_;
  std::size_t at_ = 0;
  // Where nothing of the kind is to be found any more, so that nobody looks for it again.
  bool no_double_quote_ = false, no_single_quote_ = false, no_comment_end_ = false;
  std::u16string unclosed_;  // names that nothing closes, with a blank behind each
};

// The value of an attribute in a tag's inside, its entities decoded; empty when it has none.
std::u16string HtmlAttribute(std::u16string_view inside, std::u16string_view name);

// The text with characters in place of its entities.
std::u16string DecodeEntities(std::u16string_view text);

}  // namespace quillet
