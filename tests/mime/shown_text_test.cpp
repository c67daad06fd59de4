// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/shown_text.h"
#include "mime/body.h"

#include <gtest/gtest.h>

#include "tests/mime/plain_matcher.h"
#include "tests/mime/without_decoding.h"
#include "util/text.h"

namespace quillet {
namespace {

std::string AllBytes() {
  std::string bytes;
  for (int c = 0; c < 256; ++c) bytes += static_cast<char>(c);
  return bytes;
}

TEST(ShownText, EveryStoredTextIsCodePage1252WhileDecodingIsOff) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(ShownHeader("Caf\xE9 \x80"), u"Caf\u00E9 \u20AC");
  EXPECT_EQ(ShownHeaderLines("X: \x93q\x94\r\n"), u"X: \u201Cq\u201D\r\n");
  EXPECT_EQ(RawBody("\x8A\x81\r\n"), u"\u0160\u0081\r\n");
  for (const auto& shown :
       {ShownHeader(AllBytes()), ShownHeaderLines(AllBytes()), RawBody(AllBytes())}) {
    EXPECT_EQ(shown, Widen(AllBytes()));
  }
}

TEST(ShownText, ARawBodyIsCodePage1252WhateverItMayBe) {
  EXPECT_EQ(RawBody("\xC3\xA9 =?utf-8?q?=C3=A9?="), u"\u00C3\u00A9 =?utf-8?q?=C3=A9?=");
}

TEST(ShownText, ARawHeaderIsShownByteForByte) {
  EXPECT_EQ(RawHeader("=?utf-8?q?=C3=A9?= \xE9\x80"), u"=?utf-8?q?=C3=A9?= \u00E9\u20AC");
  EXPECT_EQ(ToStored(RawHeader(AllBytes())), AllBytes());
}

TEST(ShownText, WhatIsShownGoesBackToItsBytesWhileDecodingIsOff) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(ToStored(ShownHeader(AllBytes())), AllBytes());
  EXPECT_EQ(ToStored(RawBody(AllBytes())), AllBytes());
}

TEST(ShownText, AUnitWithoutAByteBecomesAQuestionMark) {
  EXPECT_EQ(ToStored(u"\u03A9\u20AC\U0001F600"), "?\x80??");
}

TEST(ShownText, WhatHasNoByteIsNamedOnceAndWhole) {
  using Characters = std::vector<std::u16string>;
  EXPECT_EQ(NotStorable(u"\u03A9?\u20AC\U0001F600x\u0416\u03A9\U0001F600"),
            (Characters{u"\u03A9", u"\U0001F600", u"\u0416"}));
  EXPECT_EQ(NotStorable(u"\xDE00\xD83D\xD83D"), (Characters{u"\xDE00", u"\xD83D"}));
  EXPECT_EQ(NotStorable(Widen(AllBytes())), Characters());
}

TEST(Fold, FoldsAsciiLettersAloneWithoutDecoding) {
  const testing::WithoutDecoding scope;
  std::u16string units, expected;
  for (int c = 0; c < 0x10000; ++c) {
    units += static_cast<char16_t>(c);
    expected += static_cast<char16_t>(c >= u'A' && c <= u'Z' ? c + 32 : c);
  }
  EXPECT_EQ(Fold(units), expected);
}

// --- The killfile's comparison -------------------------------------------------------------------

// Without decoding.
bool HoldsFolded(std::string_view stored, std::string_view wanted) {
  return Fold(ShownHeader(stored)).find(Fold(ShownHeader(wanted))) != std::u16string::npos;
}

TEST(HeaderContains, AnEmptyTextIsInEveryHeader) {
  EXPECT_TRUE(HeaderContains("a", ""));
  EXPECT_TRUE(HeaderContains("", ""));
  EXPECT_FALSE(HeaderContains("", "a"));
}

TEST(HeaderContains, ComparesEveryByteWithEveryOtherWithoutDecoding) {
  const testing::WithoutDecoding scope;
  for (int a = 0; a < 256; ++a) {
    for (int b = 0; b < 256; ++b) {
      const std::string stored(1, static_cast<char>(a)), wanted(1, static_cast<char>(b));
      const bool expected = !testing::FindPlainly(stored, wanted, {}).empty();
      ASSERT_EQ(HeaderContains(stored, wanted), expected) << a << ' ' << b;
      ASSERT_EQ(HoldsFolded(stored, wanted), expected) << a << ' ' << b;
    }
  }
}

TEST(HeaderContains, AgreesWithComparingBytesAndFoldedTextWithoutDecoding) {
  const testing::WithoutDecoding scope;
  testing::RandomTexts random;
  for (int round = 0; round < 20000; ++round) {
    for (const std::string_view alphabet : testing::kAlphabets) {
      const std::string stored = random.Text(alphabet, 40), wanted = random.Text(alphabet, 4);
      const bool expected = wanted.empty() || !testing::FindPlainly(stored, wanted, {}).empty();
      ASSERT_EQ(HeaderContains(stored, wanted), expected) << stored << '|' << wanted;
      ASSERT_EQ(HoldsFolded(stored, wanted), expected) << stored << '|' << wanted;
    }
  }
}

// What was entered before there was any decoding goes on matching.
TEST(HeaderContains, EveryByteThatCanBeTypedMatchesItself) {
  for (int b = ' '; b < 256; ++b) {
    if (b == 0x7F) continue;
    const std::string wanted(1, static_cast<char>(b));
    EXPECT_TRUE(HeaderContains("x\xE4" + wanted + "\xC3y", wanted)) << b;
  }
  EXPECT_TRUE(HeaderContains("=?gb2312?B?xOO6w6M=?=", "=?GB2312?"));
}

TEST(HeaderContains, PlainTextMatchesWithoutRegardToAsciiCase) {
  EXPECT_TRUE(HeaderContains("Make MONEY fast", "money F"));
  EXPECT_FALSE(HeaderContains("Make MONEY fast", "moneyf"));
}

TEST(HeaderContains, FoldsAsShownTextIsFolded) {
  EXPECT_TRUE(HeaderContains("die stra\xDF\x65", "STRASSE"));
  EXPECT_TRUE(HeaderContains("die STRASSE", "stra\xDF\x65"));
  EXPECT_FALSE(HeaderContains("die stra\xDF\x65", "s e"));
  EXPECT_FALSE(HeaderContains("\xDF", "s"));
}

}  // namespace
}  // namespace quillet
