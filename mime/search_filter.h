// SPDX-License-Identifier: GPL-3.0-or-later
// A cheap look at a stored body before it is decoded and searched. Most articles do not hold what
// is looked for, and most of these show that in their bytes. Any thread; pure.
#pragma once

#include <optional>
#include <string_view>

#include "mime/body.h"
#include "mime/find_text.h"
#include "mime/matcher.h"

namespace quillet {

class SearchFilter {
 public:
  SearchFilter(std::u16string_view wanted, const MatchOptions& options);

  // True: what is shown of the body, with decoding on, does not hold the text, and it has no
  // attachments. False tells nothing.
  bool RulesOut(const BodySource& source) const;

 private:
  bool IsNotIn(std::string_view bytes) const;

  std::optional<Matcher<char>> run_;  // the longest part of the text in ASCII
};

}  // namespace quillet
