// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/text.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

std::string AllBytes() {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}

TEST(CodePage1252, EveryByteSurvivesBothDirections) {
  EXPECT_EQ(Narrow(Widen(AllBytes())), AllBytes());
}

TEST(CodePage1252, TheFiveFreeBytesAreControlCharacters) {
  EXPECT_EQ(Widen("\x81\x8D\x8F\x90\x9D"), u"\u0081\u008D\u008F\u0090\u009D");
}

TEST(CodePage1252, HighControlsAreTheirCharacters) {
  EXPECT_EQ(Widen("\x80\x85\x91\x92\x96\x99\x9F"), u"\u20AC\u2026\u2018\u2019\u2013\u2122\u0178");
  EXPECT_EQ(Widen("\xE4\xF6\xFC\xDF\xFF"), u"\u00E4\u00F6\u00FC\u00DF\u00FF");
}

TEST(CodePage1252, UnitsWithoutAByteBecomeQuestionMarks) {
  EXPECT_EQ(Narrow(u"a\u0416b\U0001F600c\u0080"), "a?b??c?");
}

TEST(Utf8, RoundTripsAllPlanes) {
  const std::u16string text = u"a\u00E4\u20AC\uE000\U0001F600";
  EXPECT_EQ(ToUtf8(text), "a\xC3\xA4\xE2\x82\xAC\xEE\x80\x80\xF0\x9F\x98\x80");
  EXPECT_EQ(FromUtf8(ToUtf8(text)), text);
}

TEST(Utf8, MalformedInputYieldsReplacementCharacters) {
  EXPECT_EQ(FromUtf8("\xC3"), u"\uFFFD");
  EXPECT_EQ(FromUtf8("\xC0\x80"), u"\uFFFD\uFFFD");
  EXPECT_EQ(FromUtf8("\xED\xA0\x80"), u"\uFFFD\uFFFD\uFFFD");
  EXPECT_EQ(FromUtf8("\xF4\x90\x80\x80x"), u"\uFFFD\uFFFD\uFFFD\uFFFDx");
  EXPECT_EQ(ToUtf8(std::u16string(1, char16_t{0xD800})), "\xEF\xBF\xBD");
}

TEST(Prefix, EmptyPrefixAlwaysMatches) {
  EXPECT_TRUE(StartsWith("", ""));
  EXPECT_TRUE(StartsWith(u"x", u""));
  EXPECT_TRUE(StartsWithNoCase("x", ""));
  EXPECT_TRUE(EndsWith("", ""));
}

TEST(Prefix, CaseMattersOnlyInTheSensitiveForm) {
  EXPECT_FALSE(StartsWith("Subject:", "subject:"));
  EXPECT_TRUE(StartsWithNoCase("Subject:", "sUBJECT:"));
  EXPECT_TRUE(StartsWithNoCase(u"Subject:", u"subject:"));
  EXPECT_FALSE(StartsWithNoCase("Sub", "Subject"));
  EXPECT_FALSE(StartsWithNoCase("\xC4", "\xE4"));
}

TEST(FindNoCase, FindsTheFirstMatch) {
  EXPECT_EQ(FindNoCase("abcABC", "bc"), 1U);
  EXPECT_EQ(FindNoCase("LINUX", "linux"), 0U);
  EXPECT_EQ(FindNoCase("abc", "d"), std::string_view::npos);
  EXPECT_EQ(FindNoCase("", ""), 0U);
  EXPECT_EQ(FindNoCase("", "a"), std::string_view::npos);
}

TEST(UntilNul, EndsATextAtItsFirstNul) {
  using std::string_view_literals::operator""sv;
  EXPECT_EQ(UntilNul("abc\0d\0"sv), "abc");
  EXPECT_EQ(UntilNul("abc"sv), "abc");
  EXPECT_EQ(UntilNul("\0abc"sv), "");
  EXPECT_EQ(UntilNul(""sv), "");
  EXPECT_EQ(UntilNul(u"abc\0d\0"sv), u"abc");
  EXPECT_EQ(UntilNul(u"abc"sv), u"abc");
  EXPECT_EQ(UntilNul(u"\0abc"sv), u"");
}

}  // namespace
}  // namespace quillet
