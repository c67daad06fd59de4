// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/encode_text.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(EncodeText, Utf8HoldsEverything) {
  EXPECT_EQ(EncodeText(u"\u03A9\u65E5\xD83D\xDE00\r\n", "UTF-8"),
            "\xCE\xA9\xE6\x97\xA5\xF0\x9F\x98\x80\r\n");
  EXPECT_EQ(EncodeText(u"a\xD83D", "utf8"), "a\xEF\xBF\xBD");
  EXPECT_EQ(EncodeText(u"", "utf-8"), "");
}

TEST(EncodeText, OtherCharsetsHoldWhatTheyHave) {
  EXPECT_EQ(EncodeText(u"\u03A9\u03B1\r\n", "ISO-8859-7"), "\xD9\xE1\r\n");
  EXPECT_EQ(EncodeText(u"caf\u00E9", "iso-8859-1"), "caf\xE9");
  EXPECT_EQ(EncodeText(u"\u0416", "KOI8-R"), "\xF6");
  EXPECT_EQ(EncodeText(u"abc", "us-ascii"), "abc");
  EXPECT_EQ(EncodeText(u"\u65E5", "x-sjis"), "\x93\xFA");  // one of its many names
  EXPECT_EQ(EncodeText(u"\u20AC", "windows-1252"), "\x80");
}

TEST(EncodeText, OneCharacterTooManyRefusesAll) {
  EXPECT_EQ(EncodeText(u"caf\u00E9 \u03A9", "iso-8859-1"), std::nullopt);
  EXPECT_EQ(EncodeText(u"caf\u00E9", "us-ascii"), std::nullopt);
  EXPECT_EQ(EncodeText(u"\u20AC", "iso-8859-1"), std::nullopt);
}

TEST(EncodeText, CharsetsThatNoLineCanBeWrittenInAreRefused) {
  EXPECT_EQ(EncodeText(u"a", "no-such-charset"), std::nullopt);
  EXPECT_EQ(EncodeText(u"a", ""), std::nullopt);
  EXPECT_EQ(EncodeText(u"a", "UTF-16"), std::nullopt);
  EXPECT_EQ(EncodeText(u"a", "UCS-2LE"), std::nullopt);
  EXPECT_EQ(EncodeText(u"a", "UTF-7"), std::nullopt);  // it has a "+" of its own
  EXPECT_EQ(EncodeText(u"\u00E9", "ISO-8859-7//TRANSLIT"), std::nullopt);
  EXPECT_EQ(EncodeText(u"\u00E9", "ISO-8859-7//IGNORE"), std::nullopt);
}

TEST(EncodeText, EveryLineEndsInTheFirstState) {
  EXPECT_EQ(EncodeText(u"\u65E5\u672C\r\n\u65E5", "ISO-2022-JP"),
            "\x1B$BF|K\\\x1B(B\r\n\x1B$BF|\x1B(B");
}

TEST(EncodeText, LongTextsComeWhole) {
  const std::u16string text(5000, u'\u03A9');
  EXPECT_EQ(EncodeText(text, "ISO-8859-7"), std::string(5000, '\xD9'));
  EXPECT_EQ(DecodeText(std::string(5000, '\xD9'), "ISO-8859-7"), text);
}

TEST(DecodeText, IsTheWayBack) {
  EXPECT_EQ(DecodeText("\x1B$BF|K\\\x1B(B\r\n", "ISO-2022-JP"), u"\u65E5\u672C\r\n");
  EXPECT_EQ(DecodeText("\xD9\xE1", "iso-8859-7"), u"\u03A9\u03B1");
  EXPECT_EQ(DecodeText("\xF0\x9F\x98\x80", "UTF-8"), u"\xD83D\xDE00");
}

TEST(DecodeText, WhatIsNotAllOfTheCharsetIsRefused) {
  EXPECT_EQ(DecodeText("a\xFF", "UTF-8"), std::nullopt);
  EXPECT_EQ(DecodeText("a\xE6\x97", "UTF-8"), std::nullopt);  // cut at its end
  EXPECT_EQ(DecodeText("\xED\xA0\x80", "UTF-8"), std::nullopt);
  EXPECT_EQ(DecodeText("\xE9", "us-ascii"), std::nullopt);
  EXPECT_EQ(DecodeText("a", "no-such-charset"), std::nullopt);
}

TEST(CharsetOfHead, IsNamedByTheContentType) {
  EXPECT_EQ(CharsetOfHead("From: a\r\nContent-Type: text/plain; charset=ISO-8859-7\r\n"),
            "ISO-8859-7");
  EXPECT_EQ(CharsetOfHead("content-TYPE: text/plain;\r\n\tformat=flowed;\r\n charset=\"utf-8\"\r\n"
                          "X: y\r\n"),
            "utf-8");
  EXPECT_EQ(CharsetOfHead("Content-Type: text/plain; format=flowed\r\n"), "");
  EXPECT_EQ(CharsetOfHead("X-Content-Type: text/plain; charset=x\r\n"), "");
  EXPECT_EQ(CharsetOfHead("Content-Type: text/plain\r\nX: y; charset=x\r\n"), "");
  EXPECT_EQ(CharsetOfHead(""), "");
}

}  // namespace
}  // namespace quillet
