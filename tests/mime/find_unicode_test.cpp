// SPDX-License-Identifier: GPL-3.0-or-later
// FindMatches beyond ASCII.
#include <gtest/gtest.h>

#include "mime/find_text.h"
#include "mime/folding.h"
#include "mime/utf16.h"
#include "tests/mime/plain_matcher.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

using Ranges = std::vector<MatchRange>;

constexpr MatchOptions kCase{.match_case = true, .whole_word = false};
constexpr MatchOptions kWord{.match_case = false, .whole_word = true};

TEST(FindBeyondAscii, CaseIsIgnoredInEveryScriptUnlessAskedFor) {
  EXPECT_EQ(FindMatches(u"\u041F\u0440\u0438\u0432\u0435\u0442", u"\u043F\u0420\u0418", {}),
            (Ranges{{0, 3}}));
  EXPECT_EQ(FindMatches(u"\u039F\u0394\u039F\u03A3", u"\u03BF\u03B4\u03BF\u03C2", {}),
            (Ranges{{0, 4}}));
  EXPECT_EQ(FindMatches(u"\u041F\u0440 \u043F\u0440", u"\u043F", kCase), (Ranges{{3, 4}}));
  EXPECT_EQ(FindMatches(u"\u00C4\u00E4", u"\u00E4", {}), (Ranges{{0, 1}, {1, 2}}));
}

TEST(FindBeyondAscii, HitsAreWhereTheyStandInTheShownText) {
  EXPECT_EQ(FindMatches(u"\u00DF\u00DF end", u"END", {}), (Ranges{{3, 6}}));
  EXPECT_EQ(FindMatches(u"Gro\u00DFe STRASSE, Stra\u00DFe.", u"stra\u00DFe", {}),
            (Ranges{{6, 13}, {15, 21}}));
  EXPECT_EQ(FindMatches(u"\uFB03x \U0001F600 o\uFB03ce", u"office", {}), (Ranges{{6, 10}}));
}

TEST(FindBeyondAscii, AHitIsMadeOfWholeCharacters) {
  EXPECT_EQ(FindMatches(u"\u00DF", u"s", {}), Ranges{});
  EXPECT_EQ(FindMatches(u"\u00DF", u"ss", {}), (Ranges{{0, 1}}));
  EXPECT_EQ(FindMatches(u"s\u00DF", u"ss", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches(u"\u00DFs", u"ss", {}), (Ranges{{0, 1}}));
  EXPECT_EQ(FindMatches(u"s\u00DFs", u"ss", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches(u"\uFB03", u"ff", {}), Ranges{});
  EXPECT_EQ(FindMatches(u"\uFB03", u"fi", {}), Ranges{});
}

TEST(FindBeyondAscii, HalfAPairIsFoundOnlyWhereItStandsAlone) {
  const std::u16string text = u"\U0001F600 \xD83D \xDE00";
  EXPECT_EQ(FindMatches(text, u"\xD83D", {}), (Ranges{{3, 4}}));
  EXPECT_EQ(FindMatches(text, u"\xDE00", {}), (Ranges{{5, 6}}));
  EXPECT_EQ(FindMatches(text, u"\xDE00", kCase), (Ranges{{5, 6}}));
  EXPECT_EQ(FindMatches(text, u"\U0001F600", kCase), (Ranges{{0, 2}}));
}

TEST(FindBeyondAscii, AccentsAreComparedAsTyped) {
  EXPECT_EQ(FindMatches(u"cafe caf\u00E9 cafe\u0301", u"caf\u00E9", {}), (Ranges{{5, 9}}));
  EXPECT_EQ(FindMatches(u"caf\u00E9 cafe\u0301", u"cafe\u0301", {}), (Ranges{{5, 10}}));
}

TEST(FindBeyondAscii, MatchCaseComparesAsTyped) {
  EXPECT_EQ(FindMatches(u"Stra\u00DFe STRASSE", u"strasse", kCase), Ranges{});
  EXPECT_EQ(FindMatches(u"Stra\u00DFe stra\u00DFe", u"stra\u00DFe", kCase), (Ranges{{7, 13}}));
}

TEST(FindBeyondAscii, TextInAsciiIsFoundByWhatFoldsToIt) {
  EXPECT_EQ(FindMatches(u"the street: Strasse", u"stra\u00DFe", {}), (Ranges{{12, 19}}));
  EXPECT_EQ(FindMatches(u"kelvin", u"\u212A", {}), (Ranges{{0, 1}}));
  EXPECT_EQ(FindMatches(u"kelvin", u"\u212A", kCase), Ranges{});
  EXPECT_EQ(FindMatches(u"kelvin", u"\u00E9", {}), Ranges{});
}

TEST(FindBeyondAscii, LettersAndDigitsOfEveryScriptMakeWords) {
  for (const char32_t c : U"a7\u00E9\u00DF\u03B4\u0431\u05D0\u0663\u4E2D\u0E01\U00010428") {
    if (c == 0) continue;
    std::u16string before, after = u"+";
    AppendCharacter(before, c);
    AppendCharacter(after, c);
    EXPECT_EQ(FindMatches(before + u"+\u00A7", u"+", kWord), Ranges{}) << static_cast<unsigned>(c);
    EXPECT_EQ(FindMatches(u"\u00A7" + after, u"+", kWord), Ranges{}) << static_cast<unsigned>(c);
  }
  for (const char16_t c : {u'_', u'\u00A7', u'\u2014', u'\u00AB', u'\u3002', u'\u2026'}) {
    const std::u16string text = std::u16string(1, c) + u"+" + c;
    EXPECT_EQ(FindMatches(text, u"+", kWord), (Ranges{{1, 2}})) << static_cast<unsigned>(c);
  }
  EXPECT_EQ(FindMatches(u"\U0001F600word\U0001F600", u"word", kWord), (Ranges{{2, 6}}));
}

TEST(FindBeyondAscii, CombiningMarksBelongToTheCharacterBeforeThem) {
  EXPECT_EQ(FindMatches(u"cafe\u0301", u"cafe", kWord), Ranges{});
  EXPECT_EQ(FindMatches(u"e\u0301-word", u"-word", kWord), Ranges{});
  EXPECT_EQ(FindMatches(u"e\u0301\u0323word", u"word", kWord), Ranges{});
  EXPECT_EQ(FindMatches(u"\u2764\uFE0Fword", u"word", kWord), (Ranges{{2, 6}}));
  EXPECT_EQ(FindMatches(u"a \u2764\uFE0F b", u"\u2764", kWord), (Ranges{{2, 3}}));
  EXPECT_EQ(FindMatches(u"a \u2764\uFE0Fb", u"\u2764", kWord), Ranges{});
}

TEST(FindBeyondAscii, MatchCaseKeepsWholeWords) {
  EXPECT_EQ(FindMatches(u"\u00E4word word", u"word", {true, true}), (Ranges{{6, 10}}));
}

TEST(FindBeyondAscii, IsOffWithoutDecoding) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(FindMatches(u"\u00C4\u00E4", u"\u00E4", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches(u"\u00DF strasse", u"ss", {}), (Ranges{{6, 8}}));
  EXPECT_EQ(FindMatches(u"Strasse", u"stra\u00DFe", {}), Ranges{});
  EXPECT_EQ(FindMatches(u"\u00E4word", u"word", kWord), (Ranges{{1, 5}}));
  EXPECT_EQ(FindMatches(u"\U0001F600", u"\xDE00", {}), (Ranges{{1, 2}}));
}

// --- Against the obvious way ---------------------------------------------------------------------

bool IsWhole(std::u16string_view text, std::size_t place) {
  return !IsInsidePair(text, place);
}

// Every part of the text from each place on is folded and compared.
Ranges FindSlowly(const std::u16string& text, const std::u16string& wanted) {
  Ranges hits;
  for (std::size_t begin = 0; begin < text.size();) {
    std::size_t hit = 0;
    for (std::size_t end = begin + 1; end <= text.size() && hit == 0; ++end) {
      const bool equal = FoldFully(text.substr(begin, end - begin)) == FoldFully(wanted);
      if (equal && IsWhole(text, begin) && IsWhole(text, end)) hit = end;
    }
    if (hit != 0) hits.push_back({static_cast<int>(begin), static_cast<int>(hit)});
    begin = hit != 0 ? hit : begin + 1;
  }
  return hits;
}

TEST(FindBeyondAscii, AgreesWithFoldingEveryPartOfRandomTexts) {
  testing::RandomTexts random;
  int found = 0;
  for (int round = 0; round < 5000; ++round) {
    const std::u16string text = random.Folding(14), wanted = random.Folding(3);
    const Ranges hits = FindMatches(text, wanted, {});
    found += hits.empty() ? 0 : 1;
    ASSERT_EQ(hits, FindSlowly(text, wanted)) << round;
  }
  EXPECT_GT(found, 500);
}

// Long and repetitive enough for the way that looks at every character once.
TEST(FindBeyondAscii, RepetitiveTextsAreFoundAlike) {
  std::u16string text;
  for (int i = 0; i < 3000; ++i) text += u"s\u00DF";
  const std::u16string wanted = std::u16string(60, u's') + u"t";
  EXPECT_EQ(FindMatches(text + u"T", wanted, {}), (Ranges{{5960, 6001}}));
}

// --- Texts made to be slow: a search that compares over and over would not end in time ----------

TEST(FindBeyondAscii, TextsMadeToBeSlowTakeTheirTimeOnce) {
  constexpr std::size_t kMany = 200000;
  const std::u16string sharp(kMany, u'\u00DF');
  EXPECT_EQ(FindMatches(sharp, std::u16string(20000, u's') + u"x", {}), Ranges{});
  EXPECT_EQ(FindMatches(sharp, std::u16string(19999, u's'), {}), Ranges{});
  EXPECT_EQ(FindMatches(sharp, u"s", {}), Ranges{});
  EXPECT_EQ(FindMatches(sharp, u"ss", {}).size(), kMany);
  const std::u16string marks = u"a" + std::u16string(kMany, u'\u0301');
  EXPECT_GT(FindMatches(marks, u"\u0301", kWord).size(), kMany - 100);
}

}  // namespace
}  // namespace quillet
