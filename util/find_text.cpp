#include "util/find_text.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string>

#include "util/text.h"

namespace quillet {
namespace {

using FoldTable = std::array<unsigned char, 256>;

constexpr FoldTable MakeFolds(bool keep_case) {
  FoldTable folds{};
  for (std::size_t c = 0; c < folds.size(); ++c) {
    const bool capital = c >= 'A' && c <= 'Z';
    folds[c] = static_cast<unsigned char>(capital && !keep_case ? c + ('a' - 'A') : c);
  }
  return folds;
}
constexpr FoldTable kKeepCase = MakeFolds(true);
constexpr FoldTable kFoldCase = MakeFolds(false);

bool IsWordCharacter(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// One search, with what has been found so far.
struct Search {
  std::string_view text;
  std::string wanted;  // folded
  const FoldTable& folds;
  bool whole_word;
  std::size_t limit;  // of hits
  std::vector<MatchRange> hits;

  unsigned char Folded(std::size_t at) const { return folds[static_cast<unsigned char>(text[at])]; }
  unsigned char Wanted(std::size_t at) const { return static_cast<unsigned char>(wanted[at]); }
};

// Takes the place as a hit unless a neighbour forbids it.
bool Take(Search& search, std::size_t at) {
  const std::size_t end = at + search.wanted.size();
  if (search.whole_word) {
    if (at > 0 && IsWordCharacter(search.text[at - 1])) return false;
    if (end < search.text.size() && IsWordCharacter(search.text[end])) return false;
  }
  search.hits.push_back({static_cast<std::int32_t>(at), static_cast<std::int32_t>(end)});
  return true;
}

// For every length of a beginning of the wanted text: its longest proper beginning that is also its
// end.
std::vector<std::size_t> Borders(std::string_view wanted) {
  std::vector<std::size_t> borders(wanted.size() + 1, 0);
  for (std::size_t i = 1, k = 0; i < wanted.size(); ++i) {
    while (k > 0 && wanted[i] != wanted[k]) k = borders[k];
    if (wanted[i] == wanted[k]) ++k;
    borders[i + 1] = k;
  }
  return borders;
}

// Looks at every character once, so no text and no search text makes it slow.
void ScanSteadily(Search& search, std::size_t from) {
  const std::size_t length = search.wanted.size();
  const std::vector<std::size_t> borders = Borders(search.wanted);
  std::size_t matched = 0;
  for (std::size_t at = from; at < search.text.size(); ++at) {
    const unsigned char c = search.Folded(at);
    while (matched > 0 && search.Wanted(matched) != c) matched = borders[matched];
    if (search.Wanted(matched) == c) ++matched;
    if (matched < length) continue;
    const bool taken = Take(search, at + 1 - length);
    if (search.hits.size() == search.limit) return;
    matched = taken ? 0 : borders[matched];
  }
}

// A character as it may stand in the text: itself, or in the other case.
struct Letter {
  char one, other;
  unsigned char Is(char c) const { return static_cast<unsigned char>((c == one) | (c == other)); }
};

Letter LetterAt(const Search& search, std::size_t at) {
  const char c = search.wanted[at];
  const bool both = &search.folds == &kFoldCase && c >= 'a' && c <= 'z';
  return {c, both ? static_cast<char>(c - ('a' - 'A')) : c};
}

// The first of the places from `at` on whose first and last characters fit, else `places`. Most
// blocks have none: without a way out of their loop compilers make vector code of it.
std::size_t NextCandidate(const Search& search, Letter first, Letter last, std::size_t at,
                          std::size_t places) {
  constexpr std::size_t kBlock = 32;
  const char* begin = search.text.data();
  const char* end = begin + search.wanted.size() - 1;
  const auto fits = [=](std::size_t place) -> unsigned char {
    return first.Is(begin[place]) & last.Is(end[place]);
  };
  if (at < places && fits(at) != 0) return at;
  for (; at + kBlock <= places; at += kBlock) {
    unsigned char found = 0;
    for (std::size_t i = 0; i < kBlock; ++i) found |= fits(at + i);
    if (found != 0) break;
  }
  while (at < places && fits(at) == 0) ++at;
  return at;
}

std::size_t MatchedCharacters(const Search& search, std::size_t at) {
  std::size_t matched = 0;
  while (matched < search.wanted.size() && search.Folded(at + matched) == search.Wanted(matched)) {
    ++matched;
  }
  return matched;
}

// Compares at the places that look like it. A text made to be compared over and over is left to the
// steady scan.
void ScanCandidates(Search& search) {
  constexpr std::size_t kWorkPerCharacter = 4, kFreeWork = 4096;
  const std::size_t length = search.wanted.size(), places = search.text.size() - length + 1;
  const Letter first = LetterAt(search, 0), last = LetterAt(search, length - 1);
  std::size_t work = 0;
  for (std::size_t at = 0; at < places;) {
    at = NextCandidate(search, first, last, at, places);
    if (at >= places) return;
    if (work > kFreeWork + kWorkPerCharacter * at) return ScanSteadily(search, at);
    const std::size_t matched = MatchedCharacters(search, at);
    work += matched;
    const bool taken = matched == length && Take(search, at);
    if (search.hits.size() == search.limit) return;
    at += taken ? length : 1;
  }
}

std::vector<MatchRange> Scan(std::string_view text, std::string_view wanted,
                             const MatchOptions& options, std::size_t limit) {
  if (wanted.empty() || text.size() < wanted.size()) return {};
  Search search{text,
                std::string(wanted),
                options.match_case ? kKeepCase : kFoldCase,
                options.whole_word,
                limit,
                {}};
  if (!options.match_case) std::ranges::transform(wanted, search.wanted.begin(), ToLowerAscii);
  ScanCandidates(search);
  return std::move(search.hits);
}

}  // namespace

std::vector<MatchRange> FindMatches(std::string_view text, std::string_view wanted,
                                    const MatchOptions& options) {
  return Scan(text, wanted, options, std::numeric_limits<std::size_t>::max());
}

bool HasMatch(std::string_view text, std::string_view wanted, const MatchOptions& options) {
  return !Scan(text, wanted, options, 1).empty();
}

}  // namespace quillet
