// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/render.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "base/prefs.h"
#include "base/reset.h"
#include "tests/article/render_reference.h"
#include "tests/support/failing_new.h"
#include "util/text.h"

namespace quillet {
namespace {

using namespace std::string_literals;

// The tags of a hit and of a quoted line, short enough for the texts below.
const std::u16string B = u"<b><span style=\"background: #FFFF00\">";
const std::u16string E = u"</span></b>";
const std::u16string Q = u"<FONT COLOR=\"#C02020\">";
const std::u16string kPrologue = u"<FONT SIZE=\"2\">";
const std::u16string kEpilogue = u"&nbsp;<br></FONT>";

class Render : public ::testing::Test {
 protected:
  Render() {
    gPrefs = std::make_unique<Prefs>();
    gPrefs->fontsize = 2;
    gPrefs->colorquoted = 1;
  }
  ~Render() override { ResetProgram(); }

  // The fragment without the font around it.
  static std::u16string Inside(std::u16string_view text,
                               const std::vector<MatchRange>& matches = {},
                               const std::vector<AttachmentLink>& links = {}) {
    const auto html = ConvertTextToHTML(text, matches, links);
    EXPECT_TRUE(html);
    EXPECT_TRUE(html->starts_with(kPrologue) && html->ends_with(kEpilogue)) << ToUtf8(*html);
    return html->substr(kPrologue.size(), html->size() - kPrologue.size() - kEpilogue.size());
  }
  static std::u16string Whole(std::u16string_view text) {
    return ConvertTextToHTML(text, {}).value_or(u"nothing");
  }
};

#define EXPECT_HTML(found, expected) EXPECT_EQ(ToUtf8(found), ToUtf8(expected))

// --- Font ----------------------------------------------------------------------------------------

TEST_F(Render, FontAndSizeStandAroundTheText) {
  gPrefs->font = u"Arial";
  EXPECT_HTML(Whole(u"a\r\n"), u"<FONT FACE=\"Arial\" SIZE=\"2\">a&nbsp;<br>&nbsp;<br></FONT>");
}

TEST_F(Render, DefaultFontHasNoFace) {
  gPrefs->font = u"<default>";
  EXPECT_HTML(Whole(u"a"), u"<FONT SIZE=\"2\">a&nbsp;<br></FONT>");
}

TEST_F(Render, UnsetFontHasNoFace) {
  EXPECT_HTML(Whole(u"a"), u"<FONT SIZE=\"2\">a&nbsp;<br></FONT>");
}

TEST_F(Render, DefaultFontInAnotherCaseIsAName) {
  gPrefs->font = u"<Default>";
  EXPECT_HTML(Whole(u"a"), u"<FONT FACE=\"<Default>\" SIZE=\"2\">a&nbsp;<br></FONT>");
}

TEST_F(Render, FontNameGoesInAsItStands) {
  gPrefs->font = u"My \"Best\" & <Only> %d";
  EXPECT_HTML(Whole(u"a"), u"<FONT FACE=\"My \"Best\" & <Only> %d\" SIZE=\"2\">a&nbsp;<br></FONT>");
}

TEST_F(Render, EverySizeIsWrittenAsItIsStored) {
  gPrefs->fontsize = 8;
  EXPECT_HTML(Whole(u"a"), u"<FONT SIZE=\"8\">a&nbsp;<br></FONT>");
  gPrefs->fontsize = 1;
  EXPECT_HTML(Whole(u"a"), u"<FONT SIZE=\"1\">a&nbsp;<br></FONT>");
}

TEST_F(Render, EmptyTextIsTheFontAndABreak) {
  EXPECT_HTML(Whole(u""), u"<FONT SIZE=\"2\">&nbsp;<br></FONT>");
}

TEST_F(Render, TextWithoutALastLineEndStillEndsWithABreak) {
  EXPECT_HTML(Whole(u"one\r\ntwo"), u"<FONT SIZE=\"2\">one&nbsp;<br>two&nbsp;<br></FONT>");
}

// --- Escaping and line ends ----------------------------------------------------------------------

TEST_F(Render, AmpersandsAndBracketsAreEscapedQuotationMarksAreNot) {
  EXPECT_HTML(Inside(u"a&b <i> \"c\" 'd'"), u"a&amp;b &lt;i&gt; \"c\" 'd'");
}

TEST_F(Render, EntitiesOfTheTextStayText) {
  EXPECT_HTML(Inside(u"x &lt; &amp;amp; &nbsp;<br>"),
              u"x &amp;lt; &amp;amp;amp; &amp;nbsp;&lt;br&gt;");
}

TEST_F(Render, LineEndBecomesABlankAndABreak) {
  EXPECT_HTML(Inside(u"a\r\n\r\nb\r\n"), u"a&nbsp;<br>&nbsp;<br>b&nbsp;<br>");
}

TEST_F(Render, LoneCrIsABareAmpersand) {
  EXPECT_HTML(Inside(u"a\rb"), u"a&b");
  EXPECT_HTML(Inside(u"a\r\r\nb\r"), u"a&&nbsp;<br>b&");
}

TEST_F(Render, LoneLfShowsAsTextAndABreak) {
  EXPECT_HTML(Inside(u"a\nb\n\n"), u"anbsp;<br>bnbsp;<br>nbsp;<br>");
  EXPECT_HTML(Inside(u"a\n\rb"), u"anbsp;<br>&b");
}

TEST_F(Render, NulIsACharacterLikeAnyOther) {
  EXPECT_HTML(Inside(u"a\0b http://x\0y.\r\n> \0"s),
              u"a\0b <a href=\"http://x\0y\">http://x\0y</a>.&nbsp;<br>"s + Q + u"&gt; \0</FONT>"s);
}

TEST_F(Render, WideCharactersPassThrough) {
  EXPECT_HTML(Inside(u"\u20AC \u00E4\U0001F600 \uFF1E\uFF06"),
              u"\u20AC \u00E4\U0001F600 \uFF1E\uFF06");
}

// --- Links ---------------------------------------------------------------------------------------

TEST_F(Render, AddressBecomesALink) {
  EXPECT_HTML(Inside(u"see http://a.example/b now"),
              u"see <a href=\"http://a.example/b\">http://a.example/b</a> now");
}

TEST_F(Render, FullStopAfterAnAddressStaysOutside) {
  EXPECT_HTML(Inside(u"See http://a.example/. Then"),
              u"See <a href=\"http://a.example/\">http://a.example/</a>. Then");
}

TEST_F(Render, TrailingStopsAndCommasAreTrimmedOthersAreNot) {
  EXPECT_HTML(Inside(u"http://a.,.,\r\n"), u"<a href=\"http://a\">http://a</a>.,.,&nbsp;<br>");
  EXPECT_HTML(Inside(u"(http://a)!"), u"(<a href=\"http://a)!\">http://a)!</a>");
  EXPECT_HTML(Inside(u"http://a;"), u"<a href=\"http://a;\">http://a;</a>");
}

TEST_F(Render, AddressesEndAtBlanksBracketsQuotationMarksAndLineEnds) {
  EXPECT_HTML(Inside(u"http://a b"), u"<a href=\"http://a\">http://a</a> b");
  EXPECT_HTML(Inside(u"<http://a>"), u"&lt;<a href=\"http://a\">http://a</a>&gt;");
  EXPECT_HTML(Inside(u"http://a<b"), u"<a href=\"http://a\">http://a</a>&lt;b");
  EXPECT_HTML(Inside(u"\"http://a\""), u"\"<a href=\"http://a\">http://a</a>\"");
  EXPECT_HTML(Inside(u"http://a\rb"), u"<a href=\"http://a\">http://a</a>&b");
  EXPECT_HTML(Inside(u"http://a\nb"), u"<a href=\"http://a\">http://a</a>nbsp;<br>b");
}

TEST_F(Render, TabDoesNotEndAnAddress) {
  EXPECT_HTML(Inside(u"http://a\tb c"), u"<a href=\"http://a\tb\">http://a\tb</a> c");
}

TEST_F(Render, AmpersandIsEscapedInTheLinkTextOnly) {
  EXPECT_HTML(Inside(u"http://a/?b=1&c=2"),
              u"<a href=\"http://a/?b=1&c=2\">http://a/?b=1&amp;c=2</a>");
}

TEST_F(Render, OnlyThisPrefixInLowerCaseIsLinked) {
  const std::u16string_view text =
      u"https://a HTTP://b Http://c ftp://d www.e.example news:f http:/g http//h ttp://i";
  EXPECT_HTML(Inside(text), text);
}

TEST_F(Render, BarePrefixIsALink) {
  EXPECT_HTML(Inside(u"http://"), u"<a href=\"http://\">http://</a>");
  EXPECT_HTML(Inside(u"http://..."), u"<a href=\"http://\">http://</a>...");
}

TEST_F(Render, PrefixInsideAWordOrAnAddressIsPartOfIt) {
  EXPECT_HTML(Inside(u"xhttp://a"), u"x<a href=\"http://a\">http://a</a>");
  EXPECT_HTML(Inside(u"http://a?http://b"), u"<a href=\"http://a?http://b\">http://a?http://b</a>");
  EXPECT_HTML(Inside(u"http://a. http://b"),
              u"<a href=\"http://a\">http://a</a>. <a href=\"http://b\">http://b</a>");
}

TEST_F(Render, ScriptInAnAddressCannotLeaveTheAttribute) {
  EXPECT_HTML(Inside(u"http://a\"onclick=\"b\" <script>c</script>"),
              u"<a href=\"http://a\">http://a</a>\"onclick=\"b\" "
              u"&lt;script&gt;c&lt;/script&gt;");
}

// --- Hits ----------------------------------------------------------------------------------------

TEST_F(Render, HitIsHighlighted) {
  EXPECT_HTML(Inside(u"abcde", {{1, 3}}), u"a" + B + u"bc" + E + u"de");
}

TEST_F(Render, HitsMayTouchAndFillTheText) {
  EXPECT_HTML(Inside(u"abab", {{0, 2}, {2, 4}}), B + u"ab" + E + B + u"ab" + E);
}

TEST_F(Render, HitAtAnEscapedCharacterBeginsBeforeIt) {
  EXPECT_HTML(Inside(u"a&b<c", {{1, 2}, {3, 5}}),
              u"a" + B + u"&amp;" + E + u"b" + B + u"&lt;c" + E);
}

TEST_F(Render, OffsetsMoveWithWhatIsEscapedBeforeThem) {
  EXPECT_HTML(Inside(u"&<>ab&c", {{3, 5}, {6, 7}}),
              u"&amp;&lt;&gt;" + B + u"ab" + E + u"&amp;" + B + u"c" + E);
}

TEST_F(Render, HitInsideAnAddressIsInTheLinkTextOnly) {
  EXPECT_HTML(Inside(u"go http://a.example/x on", {{10, 11}}),
              u"go <a href=\"http://a.example/x\">http://" + B + u"a" + E + u".example/x</a> on");
}

TEST_F(Render, HitAcrossTheBeginningOfALinkIsClosedInIt) {
  EXPECT_HTML(Inside(u"go http://a on", {{1, 7}}),
              u"g" + B + u"o <a href=\"http://a\">http" + E + u"://a</a> on");
}

TEST_F(Render, HitOverAWholeLinkIsClosedAfterIt) {
  EXPECT_HTML(Inside(u"(http://a&b )", {{0, 12}}),
              B + u"(<a href=\"http://a&b\">http://a&amp;b</a> " + E + u")");
}

TEST_F(Render, HitThatEndsWithAPieceIsClosedAgainInTheNext) {
  EXPECT_HTML(Inside(u"go http://a on", {{1, 3}}),
              u"g" + B + u"o " + E + u"<a href=\"http://a\">" + E + u"http://a</a> on");
  EXPECT_HTML(Inside(u"http://a", {{7, 8}}),
              u"<a href=\"http://a\">http://" + B + u"a" + E + u"</a>" + E);
  EXPECT_HTML(Inside(u"x http://a b", {{9, 10}, {10, 12}}),
              u"x <a href=\"http://a\">http://" + B + u"a" + E + u"</a>" + E + B + u" b" + E);
}

TEST_F(Render, HitThatEndsWithTheTextIsClosedOnce) {
  EXPECT_HTML(Inside(u"ab", {{1, 2}}), u"a" + B + u"b" + E);
}

TEST_F(Render, HitAfterManyPiecesIsInItsPlace) {
  EXPECT_HTML(Inside(u"http://a & http://b & c", {{22, 23}}),
              u"<a href=\"http://a\">http://a</a> &amp; <a href=\"http://b\">http://b</a> &amp; " +
                  B + u"c" + E);
}

TEST_F(Render, HitsOutsideTheTextDoNoHarm) {
  EXPECT_HTML(Inside(u"ab", {{2, 3}, {5, 9}}), u"ab");
  EXPECT_HTML(Inside(u"ab", {{1, 9}}), u"a" + B + u"b");
  EXPECT_HTML(Inside(u"ab", {{-9, -5}, {-3, 1}}), u"a" + E + u"b");
  EXPECT_HTML(Inside(u"ab", {{INT32_MIN, INT32_MAX}, {1, INT32_MIN}}), u"a" + B + E + u"b");
}

TEST_F(Render, HitsOverOneAnotherLoseNoText) {
  EXPECT_HTML(Inside(u"abcd", {{0, 3}, {1, 2}}), B + u"abc" + E + B + E + u"d");
}

// --- Quoted lines --------------------------------------------------------------------------------

TEST_F(Render, QuotedLinesAreColouredEachOnItsOwn) {
  EXPECT_HTML(Inside(u"> a\r\n: b\r\nc\r\n>> d"), Q + u"&gt; a</FONT>&nbsp;<br>" + Q +
                                                      u": b</FONT>&nbsp;<br>c&nbsp;<br>" + Q +
                                                      u"&gt;&gt; d</FONT>");
}

TEST_F(Render, IndentedOrOtherwiseMarkedLinesAreNotColoured) {
  EXPECT_HTML(Inside(u" > a\r\n| b\r\n} c\r\n\t: d\r\nx> e\r\n"),
              u" &gt; a&nbsp;<br>| b&nbsp;<br>} c&nbsp;<br>\t: d&nbsp;<br>x&gt; e&nbsp;<br>");
}

TEST_F(Render, LoneLineEndsBeginLinesToo) {
  EXPECT_HTML(Inside(u"a\r>b\n>c\r\r>"),
              u"a&" + Q + u"&gt;b</FONT>nbsp;<br>" + Q + u"&gt;c</FONT>&&" + Q + u"&gt;</FONT>");
}

TEST_F(Render, BreakWrittenInTheTextBeginsNoLine) {
  EXPECT_HTML(Inside(u"a&nbsp;<br>> b"), u"a&amp;nbsp;&lt;br&gt;&gt; b");
}

TEST_F(Render, EscapedBracketWrittenInTheTextIsNoQuote) {
  EXPECT_HTML(Inside(u"&gt; a"), u"&amp;gt; a");
}

TEST_F(Render, HitAtTheBeginningOfAQuotedLineLeavesItUncoloured) {
  EXPECT_HTML(Inside(u"> a\r\n> b", {{0, 1}}),
              B + u"&gt;" + E + u" a&nbsp;<br>" + Q + u"&gt; b</FONT>");
  EXPECT_HTML(Inside(u": a", {{1, 3}}), Q + u":" + B + u" a" + E + u"</FONT>");
}

TEST_F(Render, HitThatEndsWhereALineBeginsLeavesItUncoloured) {
  EXPECT_HTML(Inside(u"a\r\n> b", {{0, 3}}), B + u"a&nbsp;<br>" + E + u"&gt; b");
}

TEST_F(Render, LineThatBeginsWithALinkIsNotColoured) {
  EXPECT_HTML(Inside(u"http://a> b"), u"<a href=\"http://a\">http://a</a>&gt; b");
}

TEST_F(Render, QuotedLineMayHoldLinksAndHits) {
  EXPECT_HTML(
      Inside(u"> x http://a\r\ny", {{2, 3}}),
      Q + u"&gt; " + B + u"x" + E + u" <a href=\"http://a\">http://a</a></FONT>" + u"&nbsp;<br>y");
}

TEST_F(Render, NothingIsColouredWithoutThePreference) {
  gPrefs->colorquoted = 0;
  EXPECT_HTML(Inside(u"> a\r\n: b"), u"&gt; a&nbsp;<br>: b");
}

// --- Attachments ---------------------------------------------------------------------------------

TEST_F(Render, AnAttachmentIsOneLinkToItsPart) {
  EXPECT_HTML(
      Inside(u"See:\r\n\r\nAttachment: a.jpg\r\nAttachment: b\r\n", {}, {{8, 25, 3}, {27, 40, 12}}),
      u"See:&nbsp;<br>&nbsp;<br>"
      u"<a href=\"attachment:3\">Attachment: a.jpg</a>&nbsp;<br>"
      u"<a href=\"attachment:12\">Attachment: b</a>&nbsp;<br>");
  EXPECT_EQ(AttachmentTarget(18446744073709551615U), u"attachment:18446744073709551615");
}

TEST_F(Render, AnAddressInTheNameOfAnAttachmentIsNoLinkOfItsOwn) {
  EXPECT_HTML(Inside(u"http://a\r\nhttp://b, c\r\nhttp://d", {}, {{10, 21, 0}}),
              u"<a href=\"http://a\">http://a</a>&nbsp;<br>"
              u"<a href=\"attachment:0\">http://b, c</a>&nbsp;<br>"
              u"<a href=\"http://d\">http://d</a>");
}

TEST_F(Render, AnAddressEndsWhereAnAttachmentBegins) {
  EXPECT_HTML(Inside(u"http://abc", {}, {{8, 10, 1}}),
              u"<a href=\"http://a\">http://a</a><a href=\"attachment:1\">bc</a>");
}

TEST_F(Render, TheNameOfAnAttachmentIsEscaped) {
  EXPECT_HTML(Inside(u"<\"&\">", {}, {{0, 5, 7}}),
              u"<a href=\"attachment:7\">&lt;\"&amp;\"&gt;</a>");
}

TEST_F(Render, HitsInAnAttachmentAreHighlightedInItsLink) {
  EXPECT_HTML(Inside(u"x photo y", {{2, 4}}, {{2, 7, 1}}),
              u"x <a href=\"attachment:1\">" + B + u"ph" + E + u"oto</a> y");
  EXPECT_HTML(Inside(u"x photo y", {{6, 9}}, {{2, 7, 1}}),
              u"x <a href=\"attachment:1\">phot" + B + u"o</a> y" + E);
}

TEST_F(Render, AttachmentsOutsideTheTextOrOverOneAnotherDoNoHarm) {
  constexpr std::size_t kMost = std::numeric_limits<std::size_t>::max();
  EXPECT_HTML(
      Inside(u"abcdef", {},
             {{3, 3, 0}, {4, 2, 0}, {0, 2, 1}, {1, 3, 2}, {4, 7, 3}, {kMost, kMost, 4}, {5, 6, 5}}),
      u"<a href=\"attachment:1\">ab</a>cde<a href=\"attachment:5\">f</a>");
}

TEST_F(Render, NoTextOfAnArticleBecomesALinkToAnAttachment) {
  const std::u16string text =
      u"attachment:1 http://attachment:1 <a href=\"attachment:1\">x</a> http://\"attachment:1\"";
  EXPECT_EQ(ToUtf8(Inside(text)).find("<a href=\"attachment:"), std::string::npos);
}

TEST(QuoteChar, OnlyTheBracketAndTheColon) {
  for (unsigned c = 0; c <= 0xFFFF; ++c) {
    EXPECT_EQ(IsQuoteChar(static_cast<char16_t>(c)), c == '>' || c == ':') << c;
  }
}

// --- Against the chain of rewritten texts --------------------------------------------------------

class RandomArticles {
 public:
  std::u16string Text() {
    static const std::array<std::u16string_view, 26> kParts = {
        u"&",       u"<",          u">",     u"\"",   u"\r",  u"\n",   u"\r\n",  u":",  u"h",
        u"t",       u"p",          u"/",     u" ",    u".",   u",",    u"a",     u"\t", u"http://",
        u"http://", u"http://a&b", u"\r\n>", u"&gt;", u"amp", u"nbsp", u"\r\n:", u";"};
    std::u16string text;
    for (std::size_t parts = Below(40); parts > 0; --parts) text += kParts[Below(kParts.size())];
    return text;
  }
  // Ascending, none over another, often touching, sometimes beyond the end.
  std::vector<MatchRange> Matches(std::size_t length) {
    std::vector<MatchRange> matches;
    if (Below(4) == 0) return matches;
    const bool dense = Below(2) == 0;
    for (std::size_t at = Below(5); at < length + 2;) {
      const std::size_t end = at + 1 + Below(dense ? 3 : 12);
      matches.push_back({static_cast<std::int32_t>(at), static_cast<std::int32_t>(end)});
      at = end + (Below(2) == 0 ? 0 : Below(dense ? 3 : 20));
    }
    return matches;
  }
  std::size_t Below(std::size_t limit) { return random_() % limit; }

 private:
  std::mt19937 random_{20261121};  // NOLINT: the same articles on every run are the point
};

TEST_F(Render, OnePassGivesWhatTheStepsGive) {
  RandomArticles random;
  for (int round = 0; round < 8000; ++round) {
    const std::u16string text = random.Text();
    const std::vector<MatchRange> matches = random.Matches(text.size());
    gPrefs->colorquoted = random.Below(4) == 0 ? 0 : 1;
    const auto html = ConvertTextToHTML(text, matches);
    ASSERT_TRUE(html);
    ASSERT_EQ(ToUtf8(*html), ToUtf8(reference::ConvertTextToHTML(
                                 text, matches, gPrefs->colorquoted != 0, kPrologue)))
        << ::testing::PrintToString(ToUtf8(text)) << " with " << matches.size() << " hits";
  }
}

TEST_F(Render, HitsInAnyOrderGiveWhatTheStepsGive) {
  RandomArticles random;
  for (int round = 0; round < 4000; ++round) {
    const std::u16string text = random.Text();
    std::vector<MatchRange> matches;
    for (std::size_t left = random.Below(5); left > 0; --left) {
      const auto any = [&] {
        return static_cast<std::int32_t>(random.Below(text.size() + 10)) - 4;
      };
      matches.push_back({any(), any()});
    }
    ASSERT_EQ(ToUtf8(*ConvertTextToHTML(text, matches)),
              ToUtf8(reference::ConvertTextToHTML(text, matches, true, kPrologue)))
        << ::testing::PrintToString(ToUtf8(text)) << " with " << matches.size() << " hits";
  }
}

TEST(RenderReference, MovesOffsetsBeyondAReplacementOnly) {
  reference::Matches matches = {{-3, -1}, {0, 1}, {1, 2}, {2, 9}};
  EXPECT_EQ(reference::ReplaceAllString(u"a&b", u"&", u"&amp;", matches), u"a&amp;b");
  EXPECT_EQ(matches, (reference::Matches{{-3, -1}, {0, 1}, {1, 6}, {6, 13}}));
  EXPECT_EQ(reference::ReplaceAllString(u"aaa", u"aa", u"b", matches), u"ba");
}

TEST(RenderReference, HighlightingMakesOffsetsRelativeToTheNextPiece) {
  reference::Matches matches = {{-5, -1}, {-2, 1}, {2, 3}, {3, 8}};
  EXPECT_HTML(reference::HighlightMatches(u"abcd", matches),
              u"a" + E + u"b" + B + u"c" + E + B + u"d");
  EXPECT_EQ(matches, (reference::Matches{{-9, -5}, {-6, -3}, {-2, -1}, {-1, 4}}));
}

// --- Size and memory -----------------------------------------------------------------------------

std::u16string Repeat(std::u16string_view part, std::size_t times) {
  std::u16string text;
  text.reserve(part.size() * times);
  while (times-- > 0) text += part;
  return text;
}

TEST_F(Render, MillionPrefixesInARowAreOneLink) {
  const std::u16string address = Repeat(u"http://", 1000000);
  EXPECT_TRUE(Inside(address) == u"<a href=\"" + address + u"\">" + address + u"</a>");
}

TEST_F(Render, ManyLinksWithManyHitsTakeTheirTimeOnce) {
  constexpr int kTimes = 100000;
  const std::u16string text = Repeat(u"http://a b\r\n", kTimes);
  std::vector<MatchRange> matches;
  for (int i = 0; i < kTimes; ++i) {
    matches.push_back({12 * i + 7, 12 * i + 8});
    matches.push_back({12 * i + 9, 12 * i + 10});
  }
  const std::u16string line = u"<a href=\"http://a\">http://" + B + u"a" + E + u"</a>" + E + u" " +
                              B + u"b" + E + u"&nbsp;<br>";
  EXPECT_TRUE(Inside(text, matches) == Repeat(line, kTimes));
}

TEST_F(Render, HitOverManyLinksTakesItsTimeOnce) {
  constexpr int kTimes = 100000;
  const std::u16string text = Repeat(u"http://a ", kTimes);
  EXPECT_TRUE(Inside(text, {{0, 9 * kTimes}}) ==
              u"<a href=\"http://a\">" + B + u"http://a</a> " +
                  Repeat(u"<a href=\"http://a\">http://a</a> ", kTimes - 1) + E);
}

TEST_F(Render, QuotedMegabyteOnOneLineHasOneSpan) {
  const std::u16string text = u">" + Repeat(u"<&>", 400000);
  EXPECT_TRUE(Inside(text) == Q + u"&gt;" + Repeat(u"&lt;&amp;&gt;", 400000) + u"</FONT>");
}

TEST_F(Render, TenMegabytesOnOneLineStayAsTheyAre) {
  const std::u16string text = Repeat(u"0123456789", 1000000);
  EXPECT_TRUE(Inside(text) == text);
}

TEST_F(Render, MegabytesOfLineEndsAndColonsAreConverted) {
  EXPECT_TRUE(Inside(Repeat(u":\n", 500000)) == Repeat(Q + u":</FONT>nbsp;<br>", 500000));
  EXPECT_TRUE(Inside(Repeat(u"http:", 500000)) == Repeat(u"http:", 500000));
}

TEST_F(Render, LackOfMemoryGivesNothing) {
  const std::u16string text = u"> " + Repeat(u"http://a&b & <c>\r\n: d\n", 200);
  const std::vector<MatchRange> matches = {{0, 7}};
  const auto expected = ConvertTextToHTML(text, matches);
  int failed = 0;
  for (int n = 1;; ++n) {
    testing::FailNthNew(n);
    const auto html = ConvertTextToHTML(text, matches);
    testing::FailNthNew(0);
    if (html) {
      EXPECT_EQ(html, expected);
      break;
    }
    ++failed;
  }
  EXPECT_GT(failed, 1);
}

// --- ROT13 ---------------------------------------------------------------------------------------

std::u16string Rot13(std::u16string text) {
  Rot13String(text);
  return text;
}

TEST(Rot13, MovesAsciiLettersThirteenPlaces) {
  EXPECT_EQ(Rot13(u"abcdefghijklmnopqrstuvwxyz"), u"nopqrstuvwxyzabcdefghijklm");
  EXPECT_EQ(Rot13(u"ABCDEFGHIJKLMNOPQRSTUVWXYZ"), u"NOPQRSTUVWXYZABCDEFGHIJKLM");
}

TEST(Rot13, LeavesEverythingElse) {
  const std::u16string text = u"@[`{09 \r\n\0\u00E4\u00C4\u0161\uFF41\u212A"s;
  EXPECT_EQ(Rot13(text), text);
}

TEST(Rot13, TwiceRestoresTheText) {
  EXPECT_EQ(Rot13(Rot13(u"Hello, World!")), u"Hello, World!");
  EXPECT_EQ(Rot13(u"Hello, World!"), u"Uryyb, Jbeyq!");
}

// --- Joining of lines ----------------------------------------------------------------------------

std::u16string Joined(std::u16string text) {
  const std::size_t length = text.size();
  RemoveCRs(text);
  EXPECT_EQ(text.size(), length);
  return text;
}

TEST(RemoveCRs, JoinsLinesWithTwoBlanksAndKeepsEmptyLines) {
  EXPECT_EQ(Joined(u"one\r\ntwo\r\n\r\nthree"), u"one  two\r\n\r\nthree");
}

TEST(RemoveCRs, DoesNotJoinWithQuotedIndentedOrEmptyLines) {
  for (const std::u16string_view next : {u">two", u":two", u" two", u"\ttwo", u"\r\nno"}) {
    const std::u16string text = u"one\r\n" + std::u16string(next);
    EXPECT_EQ(Joined(text), text);
  }
  EXPECT_EQ(Joined(u"one\r\n|two"), u"one  |two");
}

TEST(RemoveCRs, TextsShorterThanSixCharactersAreLeftAlone) {
  EXPECT_EQ(Joined(u""), u"");
  EXPECT_EQ(Joined(u"\r"), u"\r");
  EXPECT_EQ(Joined(u"aa\r\nb"), u"aa\r\nb");
}

TEST(RemoveCRs, ShortestTextThatIsJoined) {
  EXPECT_EQ(Joined(u"aa\r\nbb"), u"aa  bb");
}

TEST(RemoveCRs, FirstTwoCharactersAreNeverJoined) {
  EXPECT_EQ(Joined(u"\r\nabcdef"), u"\r\nabcdef");
  EXPECT_EQ(Joined(u"a\r\nbcdef"), u"a\r\nbcdef");
  EXPECT_EQ(Joined(u"ab\r\ncdef"), u"ab  cdef");
}

TEST(RemoveCRs, LastThreeCharactersAreNeverJoined) {
  EXPECT_EQ(Joined(u"abcd\r\nef"), u"abcd  ef");
  EXPECT_EQ(Joined(u"abcd\r\ne"), u"abcd\r\ne");
  EXPECT_EQ(Joined(u"abcd\r\n"), u"abcd\r\n");
  EXPECT_EQ(Joined(u"abcd\r"), u"abcd\r");
}

TEST(RemoveCRs, QuotedFirstLineIsNotJoined) {
  EXPECT_EQ(Joined(u"> one\r\ntwo\r\nthree"), u"> one\r\ntwo  three");
  EXPECT_EQ(Joined(u": one\r\ntwo\r\nthree"), u": one\r\ntwo  three");
}

TEST(RemoveCRs, LaterQuotedLinesAreJoinedWithPlainOnes) {
  EXPECT_EQ(Joined(u"one\r\n> two\r\nthree"), u"one\r\n> two  three");
  EXPECT_EQ(Joined(u"one\r\n> two\r\n> three"), u"one\r\n> two\r\n> three");
}

TEST(RemoveCRs, OnlyCrLfIsJoined) {
  EXPECT_EQ(Joined(u"one\rtwo\rthree"), u"one\rtwo\rthree");
  EXPECT_EQ(Joined(u"one\ntwo\nthree"), u"one\ntwo\nthree");
  EXPECT_EQ(Joined(u"one\n\rtwo\r\nthree"), u"one\n\rtwo  three");
}

TEST(RemoveCRs, QuoteCharacterAfterALoneCrProtectsTheNextLineEnd) {
  EXPECT_EQ(Joined(u"one\r> two\r\nthree\r\nfour"), u"one\r> two\r\nthree  four");
}

TEST(RemoveCRs, CrTwoPlacesBeforeALineEndKeepsIt) {
  EXPECT_EQ(Joined(u"one\ra\r\ntwo"), u"one\ra\r\ntwo");
  EXPECT_EQ(Joined(u"one\r\r\ntwo"), u"one\r  two");
  EXPECT_EQ(Joined(u"one\r\r\r\ntwo"), u"one\r\r\r\ntwo");
}

TEST(RemoveCRs, LineOfOneCharacterIsJoined) {
  EXPECT_EQ(Joined(u"ab\r\nc\r\ndef"), u"ab  c  def");
}

TEST(RemoveCRs, NothingIsJoinedAfterASignatureMark) {
  EXPECT_EQ(Joined(u"one\r\ntwo\r\n-- \r\nname\r\nplace"), u"one  two  -- \r\nname\r\nplace");
}

TEST(RemoveCRs, SignatureMarkCountsAnywhereInALine) {
  EXPECT_EQ(Joined(u"one\r\ntwo -- three\r\nfour"), u"one  two -- three\r\nfour");
  EXPECT_EQ(Joined(u"one\r\ntwo--three\r\nfour\r\n--five"), u"one  two--three  four  --five");
}

TEST(RemoveCRs, SignatureMarkInTheFirstTwoPlacesIsNotSeen) {
  EXPECT_EQ(Joined(u"-- one\r\ntwo"), u"-- one  two");
  EXPECT_EQ(Joined(u"--- one\r\ntwo"), u"--- one  two");
  EXPECT_EQ(Joined(u"---- one\r\ntwo"), u"---- one\r\ntwo");
}

TEST(RemoveCRs, SignatureMarkThatEndsWithTheTextHasNothingToProtect) {
  EXPECT_EQ(Joined(u"one\r\ntwo -- "), u"one  two -- ");
}

}  // namespace
}  // namespace quillet
