// SPDX-License-Identifier: GPL-3.0-or-later
// Text in ASCII takes the way that knows nothing else. Other text is folded, when case does not
// matter, and a place that fits in the folded text is a hit when it is made of whole characters of
// the shown one.
#include "mime/shown_matcher.h"

#include <glib.h>

#include <optional>

#include "mime/decoding.h"
#include "mime/folding.h"
#include "mime/utf16.h"

namespace quillet {
namespace {

// More than any letter carries; a text made of nothing else must not be walked along at each place.
constexpr int kMostMarks = 32;

std::size_t BeforeMarks(std::u16string_view text, std::size_t place) {
  for (int marks = 0; place > 0 && marks < kMostMarks; ++marks) {
    const char32_t c = CharacterBefore(text, place);
    if (g_unichar_ismark(c) == 0) break;
    place -= UnitsOf(c);
  }
  return place;
}

std::size_t BehindMarks(std::u16string_view text, std::size_t place) {
  for (int marks = 0; place < text.size() && marks < kMostMarks; ++marks) {
    const char32_t c = CharacterAt(text, place);
    if (g_unichar_ismark(c) == 0) break;
    place += UnitsOf(c);
  }
  return place;
}

// Marks belong to what they stand behind.
bool EndsWithWordCharacter(std::u16string_view text, std::size_t end) {
  const std::size_t base = BeforeMarks(text, end);
  return base > 0 && g_unichar_isalnum(CharacterBefore(text, base)) != 0;
}

bool GoesOnWithWordCharacter(std::u16string_view text, std::size_t place) {
  const std::size_t base = BehindMarks(text, place);
  if (base > place && EndsWithWordCharacter(text, place)) return true;
  return base < text.size() && g_unichar_isalnum(CharacterAt(text, base)) != 0;
}

// The place as a hit, unless it cuts a character or a neighbour forbids it.
std::optional<MatchRange> HitAt(std::u16string_view text, std::size_t begin, std::size_t end,
                                bool whole_word) {
  if (IsInsidePair(text, begin) || IsInsidePair(text, end)) return std::nullopt;
  const bool refused =
      whole_word && (EndsWithWordCharacter(text, begin) || GoesOnWithWordCharacter(text, end));
  return refused ? std::nullopt : Matcher<char16_t>::RangeOf(begin, end);
}

}  // namespace

ShownMatcher::ShownMatcher(std::u16string_view wanted, const MatchOptions& options)
    : options_(options),
      ascii_only_(!Decoding()),
      ascii_(ascii_only_ || options.match_case ? std::u16string(wanted) : FoldFully(wanted),
             options),
      any_(options.match_case ? std::u16string(wanted) : FoldFully(wanted), {true, false}) {}

std::vector<MatchRange> ShownMatcher::Find(std::u16string_view text, std::size_t limit) const {
  if (ascii_only_ || IsAscii(text)) return ascii_.Find(text, limit);
  return options_.match_case ? FindAsTyped(text, limit) : FindFolded(text, limit);
}

std::vector<MatchRange> ShownMatcher::FindAsTyped(std::u16string_view text,
                                                  std::size_t limit) const {
  return any_.Find(text, limit, [&](std::size_t begin, std::size_t end) {
    return HitAt(text, begin, end, options_.whole_word);
  });
}

std::vector<MatchRange> ShownMatcher::FindFolded(std::u16string_view text,
                                                 std::size_t limit) const {
  const FoldedText folded(text);
  FoldedText::Walk begins(folded), ends(folded);
  return any_.Find(folded.text(), limit,
                   [&](std::size_t begin, std::size_t end) -> std::optional<MatchRange> {
                     const auto from = begins.At(begin), to = ends.At(end);
                     if (!from.whole || !to.whole) return std::nullopt;
                     return HitAt(text, from.shown, to.shown, options_.whole_word);
                   });
}

}  // namespace quillet
