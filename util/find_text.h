// Looking for text in 8-bit text, as the Find commands do. Pure; any thread.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace quillet {

// One hit: offsets of its first character and one past its last. 8-bit text is in a single-byte
// code page, so the offsets are those of the widened text as well.
struct MatchRange {
  std::int32_t start = 0;
  std::int32_t end = 0;
  bool operator==(const MatchRange&) const = default;
};

struct MatchOptions {
  bool match_case = false;  // off: A-Z equal a-z, no other letters
  bool whole_word = false;  // neither neighbour may be an ASCII letter or digit
};

// All hits from left to right; after a hit the scan goes on at its end, so they never overlap. A
// place that is refused for its neighbours is no hit: the scan goes on with the next character. An
// empty search text has no hits. The time is linear in the text, whatever is looked for.
std::vector<MatchRange> FindMatches(std::string_view text, std::string_view wanted,
                                    const MatchOptions& options);
// True when there is at least one; looks no further than that.
bool HasMatch(std::string_view text, std::string_view wanted, const MatchOptions& options);

}  // namespace quillet
