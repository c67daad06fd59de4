// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/find_text.h"

#include <limits>

#include "mime/shown_matcher.h"

namespace quillet {

std::vector<MatchRange> FindMatches(std::u16string_view text, std::u16string_view wanted,
                                    const MatchOptions& options) {
  return ShownMatcher(wanted, options).Find(text, std::numeric_limits<std::size_t>::max());
}

}  // namespace quillet
