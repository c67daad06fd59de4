// SPDX-License-Identifier: GPL-3.0-or-later
// Looking for text in shown text, as the Find commands do. Any thread; pure but for the switch of
// mime/decoding.h. While decoding is off the only letters and digits are those of ASCII.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace quillet {

// One hit: offsets of its first UTF-16 unit and one past its last, in the text that is shown.
struct MatchRange {
  std::int32_t start = 0;
  std::int32_t end = 0;
  bool operator==(const MatchRange&) const = default;
};

struct MatchOptions {
  bool match_case = false;  // off: compared as Fold makes them
  // Neither neighbour may be a letter or digit, of ASCII or any other. Combining marks belong to
  // the character that they stand behind.
  bool whole_word = false;
};

// All hits from left to right; after a hit the scan goes on at its end, so they never overlap. A
// place that is refused for its neighbours is no hit: the scan goes on with the next unit. An empty
// search text has no hits. Hits begin and end with whole characters, also where folding changes
// their number: "ss" is found in "\u00DF", "s" is not. The time is linear in the text, whatever is
// looked for.
std::vector<MatchRange> FindMatches(std::u16string_view text, std::u16string_view wanted,
                                    const MatchOptions& options);

}  // namespace quillet
