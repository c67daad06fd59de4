// SPDX-License-Identifier: GPL-3.0-or-later
// The matcher behind FindMatches and SearchText, for shown text (char16_t) and for stored text that
// is shown unit by unit (char). By itself it knows ASCII only; who takes a place as a hit by other
// rules (ShownMatcher) hands them in.
//
// Places whose first and last characters fit are compared one after the other; a text made to be
// compared over and over is left to the algorithm of Knuth, Morris and Pratt, which looks at every
// character once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "mime/find_text.h"
#include "util/first_place.h"
#include "util/text.h"

namespace quillet {

template <class Char>
class Matcher {
 public:
  using View = std::basic_string_view<Char>;

  Matcher(View wanted, const MatchOptions& options) : wanted_(wanted), options_(options) {
    for (Char& c : wanted_) c = Folded(c);
  }

  // The first hits, no more than `limit`; FindMatches says what a hit is where a word is made of
  // ASCII.
  std::vector<MatchRange> Find(View text, std::size_t limit) const {
    return Find(text, limit, [&](std::size_t begin, std::size_t end) {
      return IsRefused(text, begin, end) ? std::optional<MatchRange>() : RangeOf(begin, end);
    });
  }

  // The same, but `take` says of each place that fits, from left to right, what it is as a hit;
  // nothing: it is none.
  template <class Take>
  std::vector<MatchRange> Find(View text, std::size_t limit, Take take) const {
    if (wanted_.empty() || text.size() < wanted_.size()) return {};
    Search<Take> search{text, limit, {}, std::move(take)};
    ScanCandidates(search);
    return std::move(search.hits);
  }

  static std::optional<MatchRange> RangeOf(std::size_t begin, std::size_t end) {
    return MatchRange{static_cast<std::int32_t>(begin), static_cast<std::int32_t>(end)};
  }

 private:
  // One search, with what has been found so far.
  template <class Take>
  struct Search {
    View text;
    std::size_t limit;
    std::vector<MatchRange> hits;
    Take take;

    bool TakePlace(std::size_t begin, std::size_t end) {
      const std::optional<MatchRange> hit = take(begin, end);
      if (hit) hits.push_back(*hit);
      return hit.has_value();
    }
  };

  using Flag = std::conditional_t<sizeof(Char) == 1, std::uint8_t, std::uint16_t>;

  // A character as it may stand in the text: itself, or in the other case.
  struct Letter {
    Char one, other;
    Flag Is(Char c) const { return static_cast<Flag>((c == one) | (c == other)); }
  };

  // As Fold does, one character at a time.
  Char Folded(Char c) const { return options_.match_case ? c : ToLowerAscii(c); }

  static bool IsWordCharacter(Char c) {
    const Char lower = ToLowerAscii(c);
    return (c >= '0' && c <= '9') || (lower >= 'a' && lower <= 'z');
  }

  Letter LetterAt(std::size_t at) const {
    const Char c = wanted_[at];
    const bool both = !options_.match_case && c >= 'a' && c <= 'z';
    return {c, both ? static_cast<Char>(c - ('a' - 'A')) : c};
  }

  // A neighbour forbids that the place is a hit.
  bool IsRefused(View text, std::size_t begin, std::size_t end) const {
    if (!options_.whole_word) return false;
    if (begin > 0 && IsWordCharacter(text[begin - 1])) return true;
    return end < text.size() && IsWordCharacter(text[end]);
  }

  // The first of the places from `at` on whose first and last characters fit, else `places`.
  std::size_t NextCandidate(View text, std::size_t at, std::size_t places) const {
    const Letter first = LetterAt(0), last = LetterAt(wanted_.size() - 1);
    const Char* begin = text.data();
    const Char* end = begin + wanted_.size() - 1;
    const auto fits = [=](std::size_t place) {
      return static_cast<Flag>(first.Is(begin[place]) & last.Is(end[place]));
    };
    if (at < places && fits(at) != 0) return at;
    return FirstPlace(at, places, fits);
  }

  std::size_t MatchedCharacters(View text, std::size_t at) const {
    std::size_t matched = 0;
    while (matched < wanted_.size() && Folded(text[at + matched]) == wanted_[matched]) {
      ++matched;
    }
    return matched;
  }

  template <class Take>
  void ScanCandidates(Search<Take>& search) const {
    constexpr std::size_t kWorkPerCharacter = 4, kFreeWork = 4096;
    const std::size_t length = wanted_.size(), places = search.text.size() - length + 1;
    std::size_t work = 0;
    for (std::size_t at = 0; at < places;) {
      at = NextCandidate(search.text, at, places);
      if (at >= places) return;
      if (work > kFreeWork + kWorkPerCharacter * at) return ScanSteadily(search, at);
      const std::size_t matched = MatchedCharacters(search.text, at);
      work += matched;
      const bool taken = matched == length && search.TakePlace(at, at + length);
      if (search.hits.size() == search.limit) return;
      at += taken ? length : 1;
    }
  }

  // The failure function of Knuth, Morris and Pratt: for every length of a beginning of the wanted
  // text its longest proper beginning that is also its end.
  std::vector<std::size_t> Borders() const {
    std::vector<std::size_t> borders(wanted_.size() + 1, 0);
    for (std::size_t i = 1, k = 0; i < wanted_.size(); ++i) {
      while (k > 0 && wanted_[i] != wanted_[k]) k = borders[k];
      if (wanted_[i] == wanted_[k]) ++k;
      borders[i + 1] = k;
    }
    return borders;
  }

  // Knuth-Morris-Pratt, from the place `from` on.
  template <class Take>
  void ScanSteadily(Search<Take>& search, std::size_t from) const {
    const std::size_t length = wanted_.size();
    const std::vector<std::size_t> borders = Borders();
    std::size_t matched = 0;
    for (std::size_t at = from; at < search.text.size(); ++at) {
      const Char c = Folded(search.text[at]);
      while (matched > 0 && wanted_[matched] != c) matched = borders[matched];
      if (wanted_[matched] == c) ++matched;
      if (matched < length) continue;
      const bool taken = search.TakePlace(at + 1 - length, at + 1);
      if (search.hits.size() == search.limit) return;
      matched = taken ? 0 : borders[matched];
    }
  }

  std::basic_string<Char> wanted_;  // folded
  MatchOptions options_;
};

}  // namespace quillet
