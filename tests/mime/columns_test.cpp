// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/columns.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(Columns, WideCharactersHaveTwo) {
  EXPECT_EQ(ColumnsOf(U'a'), 1U);
  EXPECT_EQ(ColumnsOf(U'\u00E9'), 1U);
  EXPECT_EQ(ColumnsOf(U'\u03A9'), 1U);
  EXPECT_EQ(ColumnsOf(U'\u65E5'), 2U);
  EXPECT_EQ(ColumnsOf(U'\uFF01'), 2U);      // full-width sign
  EXPECT_EQ(ColumnsOf(U'\uFF76'), 1U);      // half-width katakana
  EXPECT_EQ(ColumnsOf(U'\U0001F600'), 2U);  // an emoji
}

TEST(Columns, CombiningMarksAndJoinersHaveNone) {
  EXPECT_EQ(ColumnsOf(U'\u0301'), 0U);
  EXPECT_EQ(ColumnsOf(U'\u0E31'), 0U);  // a Thai vowel above its consonant
  EXPECT_EQ(ColumnsOf(U'\u200D'), 0U);
  EXPECT_EQ(ColumnsOf(U'\uFE0F'), 0U);
}

TEST(Columns, OfATextAreThoseOfItsCharacters) {
  EXPECT_EQ(ColumnsOf(std::string_view("")), 0U);
  EXPECT_EQ(ColumnsOf(std::string_view("ae\xCC\x81\xE6\x97\xA5")), 4U);
  EXPECT_EQ(ColumnsOf(std::string_view("\xFF\xE6")), 2U);  // each byte a U+FFFD
}

TEST(Columns, NoCutTearsWhatIsReadAsOne) {
  EXPECT_TRUE(MayCutBetween(U'a', U'b'));
  EXPECT_TRUE(MayCutBetween(U'\u65E5', U'\u672C'));
  EXPECT_FALSE(MayCutBetween(U'e', U'\u0301'));
  EXPECT_FALSE(MayCutBetween(U'\U0001F468', U'\u200D'));
  EXPECT_FALSE(MayCutBetween(U'\u200D', U'\U0001F469'));
  EXPECT_FALSE(MayCutBetween(U'\U0001F44D', U'\U0001F3FD'));
  EXPECT_FALSE(MayCutBetween(U'\U0001F1EC', U'\U0001F1F7'));
  EXPECT_TRUE(MayCutBetween(U'\U0001F1EC', U'a'));
}

TEST(Utf8Characters, MalformedOnesAreOneByteLong) {
  const auto expect = [](std::string_view text, char32_t value, std::size_t bytes) {
    EXPECT_EQ(CharacterAt(text, 0).value, value);
    EXPECT_EQ(CharacterAt(text, 0).bytes, bytes);
  };
  expect("a", U'a', 1);
  expect("\xCE\xA9", U'\u03A9', 2);
  expect("\xE6\x97\xA5", U'\u65E5', 3);
  expect("\xF0\x9F\x98\x80", U'\U0001F600', 4);
  expect("\xE6\x97", 0xFFFD, 1);          // cut
  expect("\x97\xA5", 0xFFFD, 1);          // its end alone
  expect("\xC0\xAF", 0xFFFD, 1);          // longer than it has to be
  expect("\xED\xA0\x80", 0xFFFD, 1);      // a surrogate
  expect("\xF4\x90\x80\x80", 0xFFFD, 1);  // beyond Unicode
  expect("\xFF", 0xFFFD, 1);
}

}  // namespace
}  // namespace quillet
