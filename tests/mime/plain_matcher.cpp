// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/mime/plain_matcher.h"

namespace quillet::testing {
namespace {

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
}

bool IsLetterOrDigit(char c) {
  const char lower = Lower(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9');
}

bool Equal(char a, char b, bool match_case) {
  return match_case ? a == b : Lower(a) == Lower(b);
}

bool IsHit(std::string_view text, std::string_view wanted, const MatchOptions& options,
           std::size_t at) {
  const std::size_t end = at + wanted.size();
  if (wanted.empty() || end > text.size()) return false;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (!Equal(text[at + i], wanted[i], options.match_case)) return false;
  }
  if (!options.whole_word) return true;
  return (at == 0 || !IsLetterOrDigit(text[at - 1])) &&
         (end == text.size() || !IsLetterOrDigit(text[end]));
}

}  // namespace

std::vector<MatchRange> FindPlainly(std::string_view text, std::string_view wanted,
                                    const MatchOptions& options) {
  std::vector<MatchRange> hits;
  for (std::size_t at = 0; at < text.size();) {
    if (!IsHit(text, wanted, options, at)) {
      ++at;
      continue;
    }
    hits.push_back({static_cast<int>(at), static_cast<int>(at + wanted.size())});
    at += wanted.size();
  }
  return hits;
}

std::string RandomTexts::Text(std::string_view alphabet, std::size_t limit) {
  std::string text;
  for (std::size_t left = random_() % (limit + 1); left > 0; --left) {
    text += alphabet[random_() % alphabet.size()];
  }
  return text;
}

std::pair<std::string, std::string> RandomTexts::Repetitive() {
  const std::string unit = Text("ab-", 6) + 'a';
  std::string text = Text("ab", 10), wanted;
  while (text.size() < 6000) text += unit;
  text += Text("ab-", 10);
  while (wanted.size() < 60) wanted += unit;
  wanted.insert(0, Text("ab", 1));
  wanted += Text("ab", 2);
  return {text, wanted};
}

std::u16string RandomTexts::UnitsOf(std::u16string_view units, std::size_t limit) {
  std::u16string text;
  for (std::size_t left = random_() % (limit + 1); left > 0; --left) {
    text += units[random_() % units.size()];
  }
  return text;
}

std::u16string RandomTexts::Units(std::size_t limit) {
  return UnitsOf(u"aAzZ@[`{ \u00C4\u00E4\u0141\u0161\u0391\u03B1\U0001F600", limit);
}

std::u16string RandomTexts::Folding(std::size_t limit) {
  return UnitsOf(u"sSfiI\u00DF\u1E9E\uFB03\uFB01\u0130\u0307\U00010400\U00010428", limit);
}

}  // namespace quillet::testing
