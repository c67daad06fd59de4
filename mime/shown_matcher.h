// SPDX-License-Identifier: GPL-3.0-or-later
// A text to look for in shown texts, made ready once. Any thread; pure but for the switch of
// mime/decoding.h, which is read when it is made.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mime/find_text.h"
#include "mime/matcher.h"

namespace quillet {

class ShownMatcher {
 public:
  ShownMatcher(std::u16string_view wanted, const MatchOptions& options);

  // The first hits, no more than `limit`; FindMatches says what a hit is.
  std::vector<MatchRange> Find(std::u16string_view text, std::size_t limit) const;

 private:
  // By the letters and digits of Unicode, and for whole characters only.
  std::vector<MatchRange> FindAsTyped(std::u16string_view text, std::size_t limit) const;
  std::vector<MatchRange> FindFolded(std::u16string_view text, std::size_t limit) const;

  MatchOptions options_;
  bool ascii_only_;          // as if there were no other letters
  Matcher<char16_t> ascii_;  // for text in ASCII
  Matcher<char16_t> any_;    // for any text, folded unless case matters
};

}  // namespace quillet
