// SPDX-License-Identifier: GPL-3.0-or-later
// What is written, stored, sent, and fetched again, is shown as it was written.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "mime/body.h"
#include "mime/shown_text.h"
#include "nntp/character_text.h"
#include "nntp/post_text.h"
#include "post/check.h"
#include "post/compose.h"

namespace quillet {
namespace {

struct Fetched {
  std::string head;
  std::string body;  // dots doubled, as a server sends it
};

Fetched SendAndFetch(const CheckedArticle& article) {
  const bool characters = HasCharacters(article.headers, article.body);
  const std::string text = characters ? BuildCharacterPost(article.headers, article.body)
                                      : BuildPostText(article.headers, WrapPostBody(article.body));
  const std::size_t end = text.find("\r\n\r\n") + 4;
  EXPECT_TRUE(text.ends_with("\r\n.\r\n"));
  return {text.substr(0, end), text.substr(end, text.size() - end - 3)};
}

CheckedArticle Written(const std::u16string& head, const std::u16string& body) {
  auto checked = CheckArticle(head + u"Newsgroups: a.b\r\n" + std::u16string(kBodySeparator) + body,
                              u"", TextForm::kUtf8);
  EXPECT_TRUE(std::holds_alternative<CheckedArticle>(checked));
  return std::get<CheckedArticle>(checked);
}

std::u16string Times(std::size_t count, std::u16string_view text) {
  std::u16string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

// The value of a header as the article's reader sees it.
std::u16string Shown(const std::string& name, const std::string& head) {
  return ShownHeader(FindHeaderLine(name, head).value);
}

const std::vector<std::u16string>& Texts() {
  static const std::vector<std::u16string> kTexts = {
      u"plain ASCII",
      u"Z\u00FCrich, caf\u00E9 \u20AC",
      u"\u039A\u03B1\u03BB\u03B7\u03BC\u03AD\u03C1\u03B1 \u03BA\u03CC\u03C3\u03BC\u03B5",
      u"\u041F\u0440\u0438\u0432\u0435\u0442",
      u"\u0633\u0644\u0627\u0645 \u05E9\u05DC\u05D5\u05DD",
      u"\u0E01\u0E33\u0E25\u0E31\u0E07",
      u"\u65E5\u672C\u8A9E\uFF80\uFF71\uFFE5",
      u"\xD83D\xDE00 \xD83D\xDC68\x200D\xD83D\xDC69",
      u"e\u0301 and \u00E9",
      u"=?UTF-8?Q?=CE=A9?= \u03A9 =3D =",
  };
  return kTexts;
}

TEST(RoundTrip, BodiesOfEveryScriptComeBack) {
  for (const std::u16string& text : Texts()) {
    const std::u16string body =
        text + u"\r\n\r\n> " + text + u"\r\n.\r\n..\r\n." + text + u"\r\n-- \r\n" + text + u"\r\n";
    const Fetched fetched = SendAndFetch(Written(u"From: a@b\r\nSubject: s\r\n", body));
    const DecodedBody decoded =
        DecodeBody({.head = fetched.head, .body = fetched.body, .stuffed = true});
    // A post ends with an empty line.
    EXPECT_EQ(decoded.text, body + u"\r\n");
    EXPECT_FALSE(decoded.damaged);
    EXPECT_TRUE(decoded.attachments.empty());
  }
}

TEST(RoundTrip, HeadersOfEveryScriptComeBack) {
  for (const std::u16string& text : Texts()) {
    const std::u16string quoted = u"\"" + text + u"\" <a@b.c>";
    const Fetched fetched = SendAndFetch(Written(
        u"From: " + quoted + u"\r\nSubject: Re: " + text + u"\r\nOrganization: " + text + u"\r\n",
        u"\u03A9"));
    // That one can only be meant, and is shown decoded, where all is plain ASCII.
    EXPECT_EQ(Shown("Subject:", fetched.head), u"Re: " + text);
    EXPECT_EQ(Shown("Organization:", fetched.head), text);
    const std::u16string from = Shown("From:", fetched.head);
    EXPECT_TRUE(from == quoted || from == text + u" <a@b.c>");
  }
}

TEST(RoundTrip, LongLinesWithoutABlankComeBackUpToTheLimit) {
  for (const std::u16string& line :
       {Times(300, u"\u65E5"), Times(490, u"\u03A9"), Times(240, u"\xD83D\xDE00")}) {
    const Fetched fetched = SendAndFetch(Written(u"From: a@b\r\nSubject: s\r\n", line + u"\r\n"));
    EXPECT_EQ(DecodeBody({.head = fetched.head, .body = fetched.body, .stuffed = true}).text,
              line + u"\r\n\r\n");
  }
}

TEST(RoundTrip, LongSubjectsComeBackAlthoughTheyAreFolded) {
  const std::u16string subject =
      Times(60, u"\u039A\u03B1\u03BB\u03B7\u03BC\u03AD\u03C1\u03B1 ") + u"\u03A9";
  const Fetched fetched =
      SendAndFetch(Written(u"From: a@b\r\nSubject: " + subject + u"\r\n", u"b\r\n"));
  const std::size_t at = fetched.head.find("Subject: ") + 9;
  const std::size_t end = fetched.head.find("\r\nNewsgroups:");
  ASSERT_NE(fetched.head.substr(at, end - at).find("\r\n\t"), std::string::npos);
  EXPECT_EQ(ShownHeader(fetched.head.substr(at, end - at)), subject);
}

TEST(RoundTrip, BodiesInACharsetOfTheUsersOwnComeBack) {
  const std::u16string head = u"From: a@b\r\nSubject: s\r\nContent-Type: text/plain; charset=";
  const struct {
    std::u16string charset, text;
  } kCases[] = {
      {u"ISO-8859-7", u"\u03A9\u03B1\r\n"},    {u"KOI8-R", u"\u041F\u0440\u0438\r\n"},
      {u"Shift_JIS", u"\u65E5\u672C\r\n"},     {u"ISO-2022-JP", u"\u65E5 a \u672C\r\n.\r\n"},
      {u"GB18030", u"\u65E5\xD83D\xDE00\r\n"}, {u"Big5", u"\u65E5\u672C\r\n"}};
  for (const auto& each : kCases) {
    const Fetched fetched = SendAndFetch(Written(head + each.charset + u"\r\n", each.text));
    EXPECT_EQ(DecodeBody({.head = fetched.head, .body = fetched.body, .stuffed = true}).text,
              each.text + u"\r\n");
  }
}

}  // namespace
}  // namespace quillet
