#include "util/find_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "util/text.h"

namespace quillet {
namespace {

using Ranges = std::vector<MatchRange>;

constexpr MatchOptions kCase{.match_case = true, .whole_word = false};
constexpr MatchOptions kWord{.match_case = false, .whole_word = true};

TEST(FindMatches, HitsAreStartAndOnePastTheEnd) {
  EXPECT_EQ(FindMatches("abc abc", "bc", {}), (Ranges{{1, 3}, {5, 7}}));
  EXPECT_EQ(FindMatches("abc", "abc", {}), (Ranges{{0, 3}}));
  EXPECT_EQ(FindMatches("abc", "c", {}), (Ranges{{2, 3}}));
}

TEST(FindMatches, HitsNeverOverlap) {
  EXPECT_EQ(FindMatches("aaaaa", "aa", {}), (Ranges{{0, 2}, {2, 4}}));
  EXPECT_EQ(FindMatches("abababa", "aba", {}), (Ranges{{0, 3}, {4, 7}}));
}

TEST(FindMatches, EmptySearchTextHasNone) {
  EXPECT_EQ(FindMatches("abc", "", {}), Ranges{});
  EXPECT_EQ(FindMatches("", "", kWord), Ranges{});
}

TEST(FindMatches, LongerSearchTextThanTextHasNone) {
  EXPECT_EQ(FindMatches("ab", "abc", {}), Ranges{});
  EXPECT_EQ(FindMatches("", "a", {}), Ranges{});
}

TEST(FindMatches, CaseIsIgnoredUnlessAskedFor) {
  EXPECT_EQ(FindMatches("Hello hELLO", "heLLo", {}), (Ranges{{0, 5}, {6, 11}}));
  EXPECT_EQ(FindMatches("Hello hello", "hello", kCase), (Ranges{{6, 11}}));
  EXPECT_EQ(FindMatches("hello", "Hello", kCase), Ranges{});
}

TEST(FindMatches, OnlyAsciiLettersAreFolded) {
  EXPECT_EQ(FindMatches("\xE4\xC4", "\xE4", {}), (Ranges{{0, 1}}));
  EXPECT_EQ(FindMatches("@[`{", "`", {}), (Ranges{{2, 3}}));
  EXPECT_EQ(FindMatches("@[`{", "[", {}), (Ranges{{1, 2}}));
  EXPECT_EQ(FindMatches("AZaz", "az", {}), (Ranges{{0, 2}, {2, 4}}));
}

TEST(FindMatches, EveryByteIsFound) {
  std::string text;
  for (int c = 0; c < 256; ++c) text += static_cast<char>(c);
  for (int c = 0; c < 256; ++c) {
    EXPECT_EQ(FindMatches(text, text.substr(static_cast<std::size_t>(c), 1), kCase),
              (Ranges{{c, c + 1}}));
  }
}

TEST(FindMatches, NulIsACharacterLikeAnyOther) {
  const std::string text("a\0b\0b", 5), wanted("\0b", 2);
  EXPECT_EQ(FindMatches(text, wanted, {}), (Ranges{{1, 3}, {3, 5}}));
}

TEST(FindMatches, WholeWordsHaveNoLetterOrDigitBesideThem) {
  EXPECT_EQ(FindMatches("word words sword word2 4word word", "word", kWord),
            (Ranges{{0, 4}, {29, 33}}));
  EXPECT_EQ(FindMatches("word", "word", kWord), (Ranges{{0, 4}}));
  EXPECT_EQ(FindMatches("(word) _word_ -word-", "word", kWord),
            (Ranges{{1, 5}, {8, 12}, {15, 19}}));
}

TEST(FindMatches, LettersBeyondAsciiEndAWord) {
  EXPECT_EQ(FindMatches("\xE4word\xDF", "word", kWord), (Ranges{{1, 5}}));
}

TEST(FindMatches, WholeWordLooksOutsideTheHitOnly) {
  EXPECT_EQ(FindMatches("a + b", "+ ", kWord), Ranges{});
  EXPECT_EQ(FindMatches("a +  b", "+ ", kWord), (Ranges{{2, 4}}));
}

TEST(FindMatches, ScanGoesOnWithTheNextCharacterAfterARefusedPlace) {
  EXPECT_EQ(FindMatches("xa a a", "a a", kWord), (Ranges{{3, 6}}));
  EXPECT_EQ(FindMatches("x-- --", "-- --", kWord), Ranges{});
  EXPECT_EQ(FindMatches("aaa aa", "aa", kWord), (Ranges{{4, 6}}));
}

TEST(FindMatches, NeighbourMayBelongToTheHitBefore) {
  EXPECT_EQ(FindMatches("..-..", ".", kWord), (Ranges{{0, 1}, {1, 2}, {3, 4}, {4, 5}}));
  EXPECT_EQ(FindMatches("a-a-", "a-", kWord), Ranges{(MatchRange{2, 4})});
}

TEST(FindMatches, OptionsWorkTogether) {
  const MatchOptions both{.match_case = true, .whole_word = true};
  EXPECT_EQ(FindMatches("Word word words WORD", "word", both), (Ranges{{5, 9}}));
}

TEST(HasMatch, IsTrueWhenThereIsAHit) {
  EXPECT_TRUE(HasMatch("a word", "WORD", {}));
  EXPECT_FALSE(HasMatch("a word", "WORD", kCase));
  EXPECT_FALSE(HasMatch("a words", "word", kWord));
  EXPECT_TRUE(HasMatch("swords word", "word", kWord));
  EXPECT_FALSE(HasMatch("a word", "", {}));
}

// --- Against the obvious way ---------------------------------------------------------------------

bool IsLetterOrDigit(char c) {
  return std::string_view("0123456789abcdefghijklmnopqrstuvwxyz").find(ToLowerAscii(c)) !=
         std::string_view::npos;
}

bool IsHit(std::string_view text, std::string_view wanted, const MatchOptions& options,
           std::size_t at) {
  const std::size_t end = at + wanted.size();
  const std::string_view place = text.substr(at, wanted.size());
  if (options.match_case ? place != wanted
                         : place.size() != wanted.size() || !StartsWithNoCase(place, wanted)) {
    return false;
  }
  if (!options.whole_word) return true;
  return (at == 0 || !IsLetterOrDigit(text[at - 1])) &&
         (end == text.size() || !IsLetterOrDigit(text[end]));
}

Ranges FindPlainly(std::string_view text, std::string_view wanted, const MatchOptions& options) {
  Ranges hits;
  for (std::size_t at = 0; at < text.size();) {
    if (wanted.empty() || !IsHit(text, wanted, options, at)) {
      ++at;
      continue;
    }
    hits.push_back({static_cast<int>(at), static_cast<int>(at + wanted.size())});
    at += wanted.size();
  }
  return hits;
}

class RandomTexts {
 public:
  std::string Text(std::string_view alphabet, std::size_t limit) {
    std::string text;
    for (std::size_t left = random_() % (limit + 1); left > 0; --left) {
      text += alphabet[random_() % alphabet.size()];
    }
    return text;
  }

 private:
  std::mt19937 random_{4711};  // NOLINT: the same texts on every run are the point
};

TEST(FindMatches, AgreesWithTheObviousWayOnRandomTexts) {
  RandomTexts random;
  for (int round = 0; round < 20000; ++round) {
    for (const std::string_view alphabet : {"ab", "aA -", "abcdefgh ", "a\xE4\xC4-"}) {
      const std::string text = random.Text(alphabet, 60), wanted = random.Text(alphabet, 5);
      const MatchOptions options{(round & 1) != 0, (round & 2) != 0};
      const Ranges expected = FindPlainly(text, wanted, options);
      ASSERT_EQ(FindMatches(text, wanted, options), expected) << text << '|' << wanted;
      ASSERT_EQ(HasMatch(text, wanted, options), !expected.empty()) << text << '|' << wanted;
    }
  }
}

// Long and repetitive enough for the way that looks at every character once.
TEST(FindMatches, AgreesWithTheObviousWayOnRepetitiveTexts) {
  RandomTexts random;
  for (int round = 0; round < 300; ++round) {
    const std::string unit = random.Text("ab-", 6) + 'a';
    std::string text = random.Text("ab", 10), wanted;
    while (text.size() < 6000) text += unit;
    text += random.Text("ab-", 10);
    while (wanted.size() < 60) wanted += unit;
    wanted.insert(0, random.Text("ab", 1));
    wanted += random.Text("ab", 2);
    for (int choice = 0; choice < 4; ++choice) {
      const MatchOptions options{(choice & 1) != 0, (choice & 2) != 0};
      const Ranges expected = FindPlainly(text, wanted, options);
      ASSERT_EQ(FindMatches(text, wanted, options), expected) << unit << '|' << wanted;
      ASSERT_EQ(HasMatch(text, wanted, options), !expected.empty()) << unit << '|' << wanted;
    }
  }
}

// --- Texts made to be slow: a search that compares over and over would not end in time
// ------------

constexpr std::size_t kMegabytes = 4000000;

TEST(FindMatches, EqualCharactersTakeTheirTimeOnce) {
  const std::string text(kMegabytes, 'a');
  EXPECT_EQ(FindMatches(text, std::string(200, 'a'), {}).size(), kMegabytes / 200);
  EXPECT_EQ(FindMatches(text, std::string(5000, 'a'), {}).size(), kMegabytes / 5000);
  EXPECT_EQ(FindMatches(text, "a", {}).size(), kMegabytes);
}

TEST(FindMatches, SearchTextThatFailsLateTakesItsTimeOnce) {
  const std::string text(kMegabytes, 'a');
  EXPECT_EQ(FindMatches(text, 'b' + std::string(20000, 'a'), {}), Ranges{});
  EXPECT_EQ(FindMatches(text, std::string(20000, 'a') + 'b', {}), Ranges{});
  EXPECT_EQ(FindMatches(text, std::string(10000, 'a') + 'b' + std::string(10000, 'a'), {}),
            Ranges{});
}

TEST(FindMatches, RefusedPlacesTakeTheirTimeOnce) {
  const std::string text(kMegabytes, 'a');
  EXPECT_EQ(FindMatches(text, std::string(20000, 'a'), kWord), Ranges{});
  EXPECT_FALSE(HasMatch(text, std::string(20000, 'a'), kWord));
}

}  // namespace
}  // namespace quillet
