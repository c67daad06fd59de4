// Looking for text in shown text, as the Find commands do. Pure; any thread.
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
  bool whole_word = false;  // neither neighbour may be an ASCII letter or digit
};

// All hits from left to right; after a hit the scan goes on at its end, so they never overlap. A
// place that is refused for its neighbours is no hit: the scan goes on with the next unit. An empty
// search text has no hits. The time is linear in the text, whatever is looked for.
std::vector<MatchRange> FindMatches(std::u16string_view text, std::u16string_view wanted,
                                    const MatchOptions& options);

}  // namespace quillet
