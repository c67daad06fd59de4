// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/find_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "mime/body.h"
#include "mime/search_text.h"
#include "mime/shown_text.h"
#include "tests/mime/plain_matcher.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

using Ranges = std::vector<MatchRange>;

constexpr MatchOptions kCase{.match_case = true, .whole_word = false};
constexpr MatchOptions kWord{.match_case = false, .whole_word = true};

TEST(FindMatches, HitsAreStartAndOnePastTheEnd) {
  EXPECT_EQ(FindMatches(u"abc abc", u"bc", {}), (Ranges{{1, 3}, {5, 7}}));
  EXPECT_EQ(FindMatches(u"abc", u"abc", {}), (Ranges{{0, 3}}));
  EXPECT_EQ(FindMatches(u"abc", u"c", {}), (Ranges{{2, 3}}));
}

TEST(FindMatches, HitsNeverOverlap) {
  EXPECT_EQ(FindMatches(u"aaaaa", u"aa", {}), (Ranges{{0, 2}, {2, 4}}));
  EXPECT_EQ(FindMatches(u"abababa", u"aba", {}), (Ranges{{0, 3}, {4, 7}}));
}

TEST(FindMatches, EmptySearchTextHasNone) {
  EXPECT_EQ(FindMatches(u"abc", u"", {}), Ranges{});
  EXPECT_EQ(FindMatches(u"", u"", kWord), Ranges{});
}

TEST(FindMatches, LongerSearchTextThanTextHasNone) {
  EXPECT_EQ(FindMatches(u"ab", u"abc", {}), Ranges{});
  EXPECT_EQ(FindMatches(u"", u"a", {}), Ranges{});
}

TEST(FindMatches, CaseIsIgnoredUnlessAskedFor) {
  EXPECT_EQ(FindMatches(u"Hello hELLO", u"heLLo", {}), (Ranges{{0, 5}, {6, 11}}));
  EXPECT_EQ(FindMatches(u"Hello hello", u"hello", kCase), (Ranges{{6, 11}}));
  EXPECT_EQ(FindMatches(u"hello", u"Hello", kCase), Ranges{});
}

TEST(FindMatches, OnlyAsciiLettersAreFoldedWithoutDecoding) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(FindMatches(u"\u00E4\u00C4", u"\u00E4", {}), (Ranges{{0, 1}}));
  EXPECT_EQ(FindMatches(u"@[`{", u"`", {}), (Ranges{{2, 3}}));
  EXPECT_EQ(FindMatches(u"@[`{", u"[", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches(u"AZaz", u"az", {}), (Ranges{{0, 2}, {2, 4}}));
}

TEST(FindMatches, OnlyLettersAndDigitsOfAsciiMakeWordsWithoutDecoding) {
  const testing::WithoutDecoding off;
  for (char16_t c = 1; c < 0x180; ++c) {
    const bool letter =
        (c >= u'0' && c <= u'9') || (c >= u'A' && c <= u'Z') || (c >= u'a' && c <= u'z');
    const std::u16string before = std::u16string(1, c) + u"+";
    const std::u16string after = u"+" + std::u16string(1, c);
    if (c == u'+') continue;
    EXPECT_EQ(FindMatches(before, u"+", kWord).empty(), letter) << static_cast<int>(c);
    EXPECT_EQ(FindMatches(after, u"+", kWord).empty(), letter) << static_cast<int>(c);
  }
}

TEST(FindMatches, EveryUnitIsFound) {
  std::u16string text;
  for (int c = 0; c < 0x10000; ++c) text += static_cast<char16_t>(c);
  for (int c = 0; c < 0x10000; c += c < 0x100 ? 1 : 0x301) {
    EXPECT_EQ(FindMatches(text, text.substr(static_cast<std::size_t>(c), 1), kCase),
              (Ranges{{c, c + 1}}));
  }
}

TEST(FindMatches, OffsetsCountUnitsWhateverTheBytes) {
  EXPECT_EQ(FindMatches(u"\u20AC\u4E2D\U0001F600 caf\u00E9", u"CAF\u00E9", {}), (Ranges{{5, 9}}));
  EXPECT_EQ(FindMatches(u"\U0001F600\U0001F601", u"\U0001F601", {}), (Ranges{{2, 4}}));
}

TEST(FindMatches, UnitsThatShareALowByteDiffer) {
  EXPECT_EQ(FindMatches(u"\u0161a", u"a", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches(u"\u0141\u0161", u"\u0161", {}), (Ranges{{1, 2}}));
}

TEST(FindMatches, NulIsACharacterLikeAnyOther) {
  const std::u16string text(u"a\0b\0b", 5), wanted(u"\0b", 2);
  EXPECT_EQ(FindMatches(text, wanted, {}), (Ranges{{1, 3}, {3, 5}}));
}

TEST(FindMatches, WholeWordsHaveNoLetterOrDigitBesideThem) {
  EXPECT_EQ(FindMatches(u"word words sword word2 4word word", u"word", kWord),
            (Ranges{{0, 4}, {29, 33}}));
  EXPECT_EQ(FindMatches(u"word", u"word", kWord), (Ranges{{0, 4}}));
  EXPECT_EQ(FindMatches(u"(word) _word_ -word-", u"word", kWord),
            (Ranges{{1, 5}, {8, 12}, {15, 19}}));
}

TEST(FindMatches, LettersBeyondAsciiEndAWordWithoutDecoding) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(FindMatches(u"\u00E4word\u00DF", u"word", kWord), (Ranges{{1, 5}}));
}

TEST(FindMatches, WholeWordLooksOutsideTheHitOnly) {
  EXPECT_EQ(FindMatches(u"a + b", u"+ ", kWord), Ranges{});
  EXPECT_EQ(FindMatches(u"a +  b", u"+ ", kWord), (Ranges{{2, 4}}));
}

TEST(FindMatches, ScanGoesOnWithTheNextCharacterAfterARefusedPlace) {
  EXPECT_EQ(FindMatches(u"xa a a", u"a a", kWord), (Ranges{{3, 6}}));
  EXPECT_EQ(FindMatches(u"x-- --", u"-- --", kWord), Ranges{});
  EXPECT_EQ(FindMatches(u"aaa aa", u"aa", kWord), (Ranges{{4, 6}}));
}

TEST(FindMatches, NeighbourMayBelongToTheHitBefore) {
  EXPECT_EQ(FindMatches(u"..-..", u".", kWord), (Ranges{{0, 1}, {1, 2}, {3, 4}, {4, 5}}));
  EXPECT_EQ(FindMatches(u"a-a-", u"a-", kWord), Ranges{(MatchRange{2, 4})});
}

TEST(FindMatches, OptionsWorkTogether) {
  const MatchOptions both{.match_case = true, .whole_word = true};
  EXPECT_EQ(FindMatches(u"Word word words WORD", u"word", both), (Ranges{{5, 9}}));
}

// --- Against the obvious way ---------------------------------------------------------------------

// What comparing bytes finds in a stored text is found in the shown one, and by looking through the
// stored one.
void Compare(const std::string& text, const std::string& wanted, const MatchOptions& options) {
  const Ranges expected = testing::FindPlainly(text, wanted, options);
  const std::u16string shown_wanted = RawBody(wanted);
  ASSERT_EQ(FindMatches(RawBody(text), shown_wanted, options), expected) << text << '|' << wanted;
  ASSERT_EQ(SearchText(shown_wanted, options)
                .IsInBody({.all = "", .head = "", .body = text, .subject = ""}),
            !expected.empty())
      << text << '|' << wanted;
}

TEST(FindMatches, AgreesWithComparingBytesOnRandomTextsWithoutDecoding) {
  const testing::WithoutDecoding off;
  testing::RandomTexts random;
  for (int round = 0; round < 20000; ++round) {
    for (const std::string_view alphabet : testing::kAlphabets) {
      const std::string text = random.Text(alphabet, 80), wanted = random.Text(alphabet, 5);
      ASSERT_NO_FATAL_FAILURE(Compare(text, wanted, {(round & 1) != 0, (round & 2) != 0}));
    }
  }
}

// Long and repetitive enough for the way that looks at every character once.
TEST(FindMatches, AgreesWithComparingBytesOnRepetitiveTexts) {
  testing::RandomTexts random;
  for (int round = 0; round < 300; ++round) {
    const auto [text, wanted] = random.Repetitive();
    for (int choice = 0; choice < 4; ++choice) {
      ASSERT_NO_FATAL_FAILURE(Compare(text, wanted, {(choice & 1) != 0, (choice & 2) != 0}));
    }
  }
}

TEST(FindMatches, CaseFoldsAsFoldDoesWithoutDecoding) {
  const testing::WithoutDecoding off;
  testing::RandomTexts random;
  for (int round = 0; round < 20000; ++round) {
    const std::u16string text = random.Units(60), wanted = random.Units(3);
    const bool whole_word = (round & 1) != 0;
    ASSERT_EQ(FindMatches(text, wanted, {false, whole_word}),
              FindMatches(Fold(text), Fold(wanted), {true, whole_word}))
        << round;
  }
}

// --- Texts made to be slow: a search that compares over and over would not end in time ----------

constexpr std::size_t kMegabytes = 4000000;

TEST(FindMatches, EqualCharactersTakeTheirTimeOnce) {
  const std::u16string text(kMegabytes, u'a');
  EXPECT_EQ(FindMatches(text, std::u16string(200, u'a'), {}).size(), kMegabytes / 200);
  EXPECT_EQ(FindMatches(text, std::u16string(5000, u'a'), {}).size(), kMegabytes / 5000);
  EXPECT_EQ(FindMatches(text, u"a", {}).size(), kMegabytes);
}

TEST(FindMatches, SearchTextThatFailsLateTakesItsTimeOnce) {
  const std::u16string text(kMegabytes, u'a');
  EXPECT_EQ(FindMatches(text, u'b' + std::u16string(20000, u'a'), {}), Ranges{});
  EXPECT_EQ(FindMatches(text, std::u16string(20000, u'a') + u'b', {}), Ranges{});
  EXPECT_EQ(FindMatches(text, std::u16string(10000, u'a') + u'b' + std::u16string(10000, u'a'), {}),
            Ranges{});
}

TEST(FindMatches, RefusedPlacesTakeTheirTimeOnce) {
  const std::u16string text(kMegabytes, u'a');
  EXPECT_EQ(FindMatches(text, std::u16string(20000, u'a'), kWord), Ranges{});
}

}  // namespace
}  // namespace quillet
