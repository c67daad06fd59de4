// SPDX-License-Identifier: GPL-3.0-or-later
// Headers as they come, good and bad, and what is shown of them.
#include <gtest/gtest.h>

#include "mime/shown_text.h"
#include "tests/mime/without_decoding.h"
#include "util/text.h"

namespace quillet {
namespace {

TEST(ShownHeader, PlainAsciiIsShownAsItIs) {
  EXPECT_EQ(ShownHeader("Re: a = b? ?= =\t\x01"), u"Re: a = b? ?= =\t\x01");
  EXPECT_EQ(ShownHeader(""), u"");
}

TEST(ShownHeader, DecodesBothEncodings) {
  EXPECT_EQ(ShownHeader("=?UTF-8?Q?Gr=C3=BC=c3=9fe_aus?= =?utf-8?b?IEvDtmxu?="), u"Grüße aus Köln");
  EXPECT_EQ(ShownHeader("=?iso-8859-1?q?caf=E9?="), u"café");
  EXPECT_EQ(ShownHeader("=?koi8-r?B?8NLJ18XU?="), u"Привет");
  EXPECT_EQ(ShownHeader("=?ISO-2022-JP?B?GyRCRnxLXDhsGyhC?="), u"日本語");
  EXPECT_EQ(ShownHeader("=?utf-8?B?8J+YgA==?="), u"😀");
}

TEST(ShownHeader, ALanguageBehindTheCharsetIsPassedOver) {
  EXPECT_EQ(ShownHeader("=?utf-8*de?Q?=C3=BC?="), u"ü");
  EXPECT_EQ(ShownHeader("=?ISO-8859-1*EN-GB?Q?=A3?="), u"£");
}

TEST(ShownHeader, BlanksBetweenWordsGoAndAllOthersStay) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?a?= \t  =?utf-8?Q?b?="), u"ab");
  EXPECT_EQ(ShownHeader("=?utf-8?Q?a?=  x  =?utf-8?Q?b?= "), u"a  x  b ");
  EXPECT_EQ(ShownHeader("  =?utf-8?Q?a_?=  y"), u"  a   y");
}

TEST(ShownHeader, WordsStandWhereTheyMustNot) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?a?==?utf-8?Q?b?=c=?utf-8?Q?d?="), u"abcd");
  EXPECT_EQ(ShownHeader("\"=?utf-8?Q?J=C3=B6rg?=\" <a@b.c>"), u"\"Jörg\" <a@b.c>");
  EXPECT_EQ(ShownHeader("a@b.c (=?utf-8?Q?J=C3=B6rg?=)"), u"a@b.c (Jörg)");
}

TEST(ShownHeader, BlanksInAQWordAndInBase64AreForgiven) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?so steht =C3=BC?="), u"so steht ü");
  EXPECT_EQ(ShownHeader("=?utf-8?B?w7 zD vA?="), u"üü");
}

TEST(ShownHeader, BadEscapesStayAndMissingPaddingIsForgiven) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?100=ZZ_=C3=BC=?="), u"100=ZZ ü=");
  EXPECT_EQ(ShownHeader("=?utf-8?B?w7w?="), u"ü");
  EXPECT_EQ(ShownHeader("=?utf-8?B?w7w=w7w=?="), u"üü");
  EXPECT_EQ(ShownHeader("[=?utf-8?Q?"
                        "?=]"),
            u"[]");
}

TEST(ShownHeader, ACutWordIsShownAsItIs) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?Gr=C3=BC"), u"=?utf-8?Q?Gr=C3=BC");
  EXPECT_EQ(ShownHeader("=?utf-8?Q?cut =?utf-8?Q?=C3=BC?= x"), u"=?utf-8?Q?cut ü x");
  EXPECT_EQ(ShownHeader("=?utf-8?Q"), u"=?utf-8?Q");
  EXPECT_EQ(ShownHeader("=?"), u"=?");
  EXPECT_EQ(ShownHeader("=??Q?x?="), u"=??Q?x?=");
}

TEST(ShownHeader, UnknownSetsAndEncodingsAreShownAsTheyAre) {
  EXPECT_EQ(ShownHeader("=?x-klingon?Q?=C3=BC?= =?utf-8?Q?=C3=BC?="), u"=?x-klingon?Q?=C3=BC?= ü");
  EXPECT_EQ(ShownHeader("=?utf-8?X?=C3=BC?="), u"=?utf-8?X?=C3=BC?=");
  EXPECT_EQ(ShownHeader("=?../../etc/x?Q?a?="), u"=?../../etc/x?Q?a?=");
}

TEST(ShownHeader, UnlabelledWordsAreUtf8OrCodePage1252) {
  EXPECT_EQ(ShownHeader("=?unknown-8bit?Q?=C3=BC?= =?us-ascii?Q?=FC?="), u"üü");
}

TEST(ShownHeader, ACharacterMayBeCutByTheEndsOfWords) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?=C3?= =?UTF-8?Q?=BC?="), u"ü");
  EXPECT_EQ(ShownHeader("=?utf-8?B?5pel5pys6A==?= =?utf-8?B?qp4=?="), u"日本語");
  EXPECT_EQ(ShownHeader("=?big5?Q?=A4?= =?big5?Q?=A4?="), u"中");
  EXPECT_EQ(ShownHeader("=?utf-8?Q?=C3?= =?iso-8859-1?Q?=BC?="), u"\u00C3\u00BC");
}

TEST(ShownHeader, AWordThatLiesSpoilsNoNeighbour) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?=FC?= =?utf-8?Q?=C3=BC?="), u"üü");
}

TEST(ShownHeader, Raw8BitIsUtf8OrCodePage1252) {
  EXPECT_EQ(ShownHeader("Gr\xC3\xBC\xC3\x9F"
                        "e \xE2\x82\xAC"),
            u"Grüße €");
  EXPECT_EQ(ShownHeader("Gr\xFC\xDF"
                        "e \x80"),
            u"Grüße €");
  EXPECT_EQ(ShownHeader("\xFC =?utf-8?Q?=C3=BC?= \xC3\xBC"), u"ü ü ü");
}

TEST(ShownHeader, OverlongAndSurrogateFormsAreNoUtf8) {
  EXPECT_EQ(ShownHeader("\xC0\xAF"), u"\u00C0\u00AF");
  EXPECT_EQ(ShownHeader("\xED\xA0\x80"), u"\u00ED\u00A0\u20AC");
  EXPECT_EQ(ShownHeader("\xF4\x90\x80\x80"), Widen("\xF4\x90\x80\x80").replace(1, 1, u"\xFFFD"));
  EXPECT_EQ(ShownHeader("=?utf-8?Q?=C0=AF?="), u"\u00C0\u00AF");
}

TEST(ShownHeader, NothingEndsTheLine) {
  EXPECT_EQ(ShownHeader("=?utf-8?Q?a=0D=0ABcc:_b=09c=0B=00=1B=7F=C2=85=E2=80=A8?="),
            u"a  Bcc: b\tc \xFFFD\xFFFD\xFFFD  ");
  EXPECT_EQ(ShownHeader("\xFC\r\n b\tc"), u"ü b\tc");
}

TEST(ShownHeader, NothingTurnsTheDirectionOfTheWriting) {
  EXPECT_EQ(ShownHeader("=?utf-8?B?4oCuZ25wLmV4ZeKApg==?= \xE2\x81\xA6x\xE2\x81\xA9"),
            u"gnp.exe… x");
  EXPECT_EQ(ShownHeader("a\xE2\x80\xAA\xE2\x80\xAB\xE2\x80\xAC\xE2\x80\xAD\xE2\x80\xAEz"), u"az");
  EXPECT_EQ(ShownHeader("\xE2\x80\x8F\xD7\x90"), u"\u200F\u05D0");
}

TEST(ShownHeader, LongOnesAreDecodedInOneGo) {
  std::string word = "=?utf-8?Q?";
  for (int i = 0; i < 17000; ++i) word += "=C3=BC";
  const std::u16string shown = ShownHeader(word + "?=");
  EXPECT_EQ(shown, std::u16string(17000, u'ü'));
  std::string openers;
  for (int i = 0; i < 100000; ++i) openers += "=?utf-8?Q?x";
  EXPECT_EQ(ShownHeader(openers), Widen(openers));
  std::string unknown;
  for (int i = 0; i < 20000; ++i) unknown += "=?q" + std::to_string(i) + "?Q?x?=";
  EXPECT_EQ(ShownHeader(unknown), Widen(unknown));
}

TEST(ShownHeader, IsTheStoredBytesWhileDecodingIsOff) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(ShownHeader("=?utf-8?Q?=C3=BC?= \xC3\xBC"), u"=?utf-8?Q?=C3=BC?= \u00C3\u00BC");
  EXPECT_EQ(ShownHeaderLines("X: =?utf-8?Q?=C3=BC?=\r\n"), u"X: =?utf-8?Q?=C3=BC?=\r\n");
}

TEST(ShownHeaderLines, LinesKeepTheirEnds) {
  EXPECT_EQ(ShownHeaderLines("A: 1\r\n\t2\r\nB: =?utf-8?Q?=C3=BC?= x\r\n y\nC: \xFC\nD: \xC3\xBC"),
            u"A: 1\r\n\t2\r\nB: ü x\r\n y\nC: ü\nD: ü");
  EXPECT_EQ(ShownHeaderLines("A: \x80\n\n\nB: 2\n"), u"A: €\n\n\nB: 2\n");
}

TEST(ShownHeaderLines, WordsMeetAcrossAFold) {
  EXPECT_EQ(ShownHeaderLines("X: =?utf-8?Q?=C3?=\r\n =?utf-8?Q?=BC?=\r\nY: =?utf-8?Q?=C3=BC?=\r\n"),
            u"X: ü\r\nY: ü\r\n");
}

TEST(ShownHeaderLines, AWordEndsWithItsField) {
  EXPECT_EQ(ShownHeaderLines("X: =?utf-8?Q?=C3\r\nY: =BC?=\r\n"),
            u"X: =?utf-8?Q?=C3\r\nY: =BC?=\r\n");
  EXPECT_EQ(ShownHeaderLines("X: =?utf-8?Q?a=0D=0AY:_b?=\r\n"), u"X: a  Y: b\r\n");
}

}  // namespace
}  // namespace quillet
