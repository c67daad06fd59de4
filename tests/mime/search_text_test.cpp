// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/search_text.h"

#include <gtest/gtest.h>

#include "mime/body.h"
#include "mime/shown_text.h"
#include "tests/mime/plain_matcher.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

constexpr MatchOptions kCase{.match_case = true, .whole_word = false};
constexpr MatchOptions kWord{.match_case = false, .whole_word = true};

bool IsInBody(std::string_view body, std::u16string_view wanted, const MatchOptions& options) {
  return SearchText(wanted, options).IsInBody({.all = "", .head = "", .body = body, .subject = ""});
}

TEST(SearchText, IsInABodyWhenThereIsAHit) {
  EXPECT_TRUE(IsInBody("a word", u"WORD", {}));
  EXPECT_FALSE(IsInBody("a word", u"WORD", kCase));
  EXPECT_FALSE(IsInBody("a words", u"word", kWord));
  EXPECT_TRUE(IsInBody("swords word", u"word", kWord));
  EXPECT_FALSE(IsInBody("a word", u"", {}));
}

TEST(SearchText, LooksThroughTheBodyOrThroughEveryText) {
  constexpr std::string_view kAll("head\0body\0subject\0", 18);
  const ArticleTexts texts{kAll, kAll.substr(0, 4), kAll.substr(5, 4), kAll.substr(10, 7)};
  for (const std::u16string_view wanted : {u"head", u"subject"}) {
    EXPECT_TRUE(SearchText(wanted, kWord).IsInAny(texts));
    EXPECT_FALSE(SearchText(wanted, kWord).IsInBody(texts));
  }
  EXPECT_TRUE(SearchText(u"body", kWord).IsInAny(texts));
  EXPECT_TRUE(SearchText(u"body", kWord).IsInBody(texts));
  EXPECT_FALSE(SearchText(u"headbody", {}).IsInAny(texts));
}

TEST(SearchText, AUnitThatNoByteShowsIsInNoTextWithoutDecoding) {
  const testing::WithoutDecoding off;
  EXPECT_FALSE(IsInBody("Omega ? a", u"\u03A9", {}));
  EXPECT_FALSE(IsInBody("a?", u"a\u0141", {}));
  EXPECT_TRUE(IsInBody("Omega ?", u"?", {}));
  EXPECT_TRUE(IsInBody("5 \x80", u"\u20AC", {}));
}

TEST(SearchText, ComparesEveryByteWithEveryOtherAsShownTextDoesWithoutDecoding) {
  const testing::WithoutDecoding off;
  for (int choice = 0; choice < 4; ++choice) {
    const MatchOptions options{(choice & 1) != 0, (choice & 2) != 0};
    for (int b = 0; b < 256; ++b) {
      const std::string wanted(1, static_cast<char>(b));
      const SearchText search(RawBody(wanted), options);
      for (int a = 0; a < 256; ++a) {
        const std::string stored(1, static_cast<char>(a));
        const bool expected = !testing::FindPlainly(stored, wanted, options).empty();
        ASSERT_EQ(search.IsInBody({.all = "", .head = "", .body = stored, .subject = ""}), expected)
            << a << ' ' << b;
      }
    }
  }
}

// A byte beside the hit, on either side.
TEST(SearchText, EveryByteEndsAWordAsInShownTextWithoutDecoding) {
  const testing::WithoutDecoding off;
  const SearchText search(u"x", kWord);
  for (int a = 0; a < 256; ++a) {
    for (const std::string& stored :
         {static_cast<char>(a) + std::string("x"), std::string("x") + static_cast<char>(a)}) {
      ASSERT_EQ(search.IsInBody({.all = "", .head = "", .body = stored, .subject = ""}),
                !FindMatches(RawBody(stored), u"x", kWord).empty())
          << a;
      ASSERT_EQ(search.IsInBody({.all = "", .head = "", .body = stored, .subject = ""}),
                !testing::FindPlainly(stored, "x", kWord).empty())
          << a;
    }
  }
}

// A search that compares over and over would not end in time.
TEST(SearchText, TextsMadeToBeSlowTakeTheirTimeOnce) {
  const std::string text(4000000, 'a');
  const std::u16string many(20000, u'a');
  EXPECT_FALSE(IsInBody(text, many + u'b', {}));
  EXPECT_FALSE(IsInBody(text, u'b' + many, {}));
  EXPECT_FALSE(IsInBody(text, many, kWord));
}

}  // namespace
}  // namespace quillet
