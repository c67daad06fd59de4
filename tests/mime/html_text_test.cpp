// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/html_text.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(HtmlToText, BlocksAreLinesAndSpacesAreOneBlank) {
  EXPECT_EQ(HtmlToText(u"<p>One  <b>two</b>\r\n three</p><p>four<br>five</p><div>six</div>seven"),
            u"One two three\r\n\r\nfour\r\nfive\r\n\r\nsix\r\nseven\r\n");
  EXPECT_EQ(HtmlToText(u"a<br><br><br><br>b"), u"a\r\n\r\nb\r\n");
  EXPECT_EQ(HtmlToText(u"<h1>T</h1>x<hr>y"), u"T\r\n\r\nx\r\n----\r\ny\r\n");
  EXPECT_EQ(HtmlToText(u""), u"");
  EXPECT_EQ(HtmlToText(u"  <p> </p> "), u"");
}

TEST(HtmlToText, EntitiesAreCharacters) {
  EXPECT_EQ(
      HtmlToText(u"&lt;b&gt; &amp; &eacute;&Eacute;&euro; &#228;&#xE4;&#X1F600; &quot&nbsp;x"),
      u"<b> & éÉ€ ää😀 \" x\r\n");
  EXPECT_EQ(HtmlToText(u"&#128;&#150;"), u"€–\r\n");
  EXPECT_EQ(HtmlToText(u"&#0;&#7;&#xD800;&#99999999999;"), u"\xFFFD\xFFFD\xFFFD\xFFFD\r\n");
  EXPECT_EQ(HtmlToText(u"a & b &unknown; &; &#; &#x;"), u"a & b &unknown; &; &#; &#x;\r\n");
  EXPECT_EQ(HtmlToText(u"&lt;script&gt;"), u"<script>\r\n");
}

TEST(HtmlToText, ScriptsStylesAndTitlesAreNoText) {
  EXPECT_EQ(
      HtmlToText(u"<head><title>T</title><style>p{}</style></head>"
                 u"<SCRIPT src='http://x/y'>if (a<b) alert('</p>')</sCRipt >Text<!-- <p>c -->."),
      u"Text.\r\n");
  EXPECT_EQ(HtmlToText(u"<script>never closed"), u"never closed\r\n");
  EXPECT_EQ(HtmlToText(u"<!DOCTYPE html><?xml x?><![if x]>a<!-- never closed> b"), u"a b\r\n");
}

TEST(HtmlToText, FormsAndPicturesLeaveTheirTextAlone) {
  EXPECT_EQ(HtmlToText(u"<form action=http://x><input value=v>Name<img src='http://spy/1.gif'>"
                       u"<img alt=\"a &lt;cat&gt;\r\n\" src=cid:1></form>"),
            u"Name[a <cat>]\r\n");
}

TEST(HtmlToText, LinksHaveTheirAddressBehindThem) {
  EXPECT_EQ(HtmlToText(u"See <a href=\"http://example.org/a?b&amp;c\">the page</a>."),
            u"See the page <http://example.org/a?b&c>.\r\n");
  EXPECT_EQ(HtmlToText(u"<a href='http://example.org/'>http://example.org</a>"),
            u"http://example.org\r\n");
  EXPECT_EQ(HtmlToText(u"<a href=mailto:a@b.c>a@b.c</a>"), u"a@b.c\r\n");
  EXPECT_EQ(HtmlToText(u"<a href='javascript:x()'>x</a> <a href='#y'>y</a> <a href='data:z'>z</a>"),
            u"x y z\r\n");
  EXPECT_EQ(HtmlToText(u"<a href=http://a>one <a href=http://b>two"),
            u"one <http://a> two <http://b>\r\n");
  EXPECT_EQ(HtmlToText(u"<a href='http://a/\r\nb'>x</a>"), u"x <http://a/  b>\r\n");
}

TEST(HtmlToText, ListsQuotesTablesAndPreformattedText) {
  EXPECT_EQ(HtmlToText(u"x<ul><li>a<li>b<ul><li>c</ul></ul>y"),
            u"x\r\n\r\n- a\r\n- b\r\n  - c\r\n\r\ny\r\n");
  EXPECT_EQ(HtmlToText(u"x<blockquote>q<br>r<blockquote>s</blockquote></blockquote>y"),
            u"x\r\n\r\n> q\r\n> r\r\n\r\n>> s\r\n\r\ny\r\n");
  EXPECT_EQ(HtmlToText(u"<table><tr><td>a</td><td>b</td></tr><tr><th>c<th>d</table>"),
            u"a b\r\nc d\r\n");
  EXPECT_EQ(HtmlToText(u"<pre>a  b\r\n  c\n\nd</pre>e"), u"a  b\r\n  c\r\n\r\nd\r\n\r\ne\r\n");
}

TEST(HtmlToText, WhatIsNoTagIsText) {
  EXPECT_EQ(HtmlToText(u"a < b <c@d.e> <3 <> </> 1<2>1"), u"a < b <c@d.e> <3 <> </> 1<2>1\r\n");
  EXPECT_EQ(HtmlToText(u"<unknown x=y>a</unknown>"), u"a\r\n");
  EXPECT_EQ(HtmlToText(u"<b title=\"a>b\">x</b> <b title='y>z"), u"x z\r\n");
  EXPECT_EQ(HtmlToText(u"a<p<b>c"), u"a\r\n\r\nc\r\n");
  EXPECT_EQ(HtmlToText(u"a<img src='x"), u"a\r\n");
}

TEST(HtmlToText, WhatIsMadeToTakeLongDoesNot) {
  for (const std::u16string_view piece :
       {u"<a \"", u"<a ='", u"<!--", u"<script>", u"</", u"<blockquote>\n", u"<", u"&", u"&#",
        u"<ul><li>", u"<a =\">\" ", u"<a href=http://x>"}) {
    std::u16string html;
    while (html.size() < 400000) html += piece;
    EXPECT_LT(HtmlToText(html).size(), 6 * html.size() + 100) << html.substr(0, 20).size();
  }
  std::u16string deep;
  for (int i = 0; i < 20000; ++i) deep += u"<blockquote>";
  for (int i = 0; i < 20000; ++i) deep += u"x<br>";
  EXPECT_LT(HtmlToText(deep).size(), 20000U * 10);
}

TEST(HtmlCharset, IsWhatThePageSaysAtItsStart) {
  EXPECT_EQ(HtmlCharset("<html><meta http-equiv=Content-Type content='text/html; charset=koi8-r'>"),
            "koi8-r");
  EXPECT_EQ(HtmlCharset("<META CHARSET=\"utf-8\"/>"), "utf-8");
  EXPECT_EQ(HtmlCharset("<p>charset=utf-8"), "");
  EXPECT_EQ(HtmlCharset(std::string(1024, ' ') + "<meta charset=utf-8>"), "");
}

}  // namespace
}  // namespace quillet
