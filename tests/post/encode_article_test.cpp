// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/encode_article.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "post/compose.h"
#include "util/blanks.h"

namespace quillet {
namespace {

const std::u16string kSeparator(kBodySeparator);
constexpr std::string_view kMimeLines =
    "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
    "Content-Transfer-Encoding: 8bit\r\n";

CheckedArticle Encoded(std::u16string_view head, std::u16string_view body,
                       std::u16string_view references = u"") {
  auto result = EncodeArticle(head, references, body);
  auto* article = std::get_if<CheckedArticle>(&result);
  EXPECT_NE(article, nullptr);
  return article != nullptr ? std::move(*article) : CheckedArticle();
}

std::string Head(std::u16string_view head) {
  const std::string headers = Encoded(head, u"\u03A9").headers;
  EXPECT_TRUE(headers.ends_with(kMimeLines));
  return headers.substr(0, headers.size() - kMimeLines.size());
}

ArticleFault Fault(std::u16string_view head, std::u16string_view body = u"b") {
  auto result = EncodeArticle(head, u"", body);
  auto* fault = std::get_if<ArticleFault>(&result);
  EXPECT_NE(fault, nullptr);
  return fault != nullptr ? *fault : ArticleFault();
}

// --- the bytes ---

TEST(EncodeArticle, BodyIsUtf8AndTheHeadSaysSo) {
  const CheckedArticle article =
      Encoded(u"From: a\r\nSubject: s\r\nNewsgroups: g\r\n",
              u"\u0393\u03B5\u03B9\u03AC, \u65E5\u672C, \xD83D\xDE00, caf\u00E9\r\n");
  EXPECT_EQ(article.headers,
            "From: a\r\nSubject: s\r\nNewsgroups: g\r\nMIME-Version: 1.0\r\n"
            "Content-Type: text/plain; charset=UTF-8\r\n"
            "Content-Transfer-Encoding: 8bit\r\n");
  EXPECT_EQ(article.body,
            "\xCE\x93\xCE\xB5\xCE\xB9\xCE\xAC, \xE6\x97\xA5\xE6\x9C\xAC, \xF0\x9F\x98\x80, "
            "caf\xC3\xA9\r\n");
  EXPECT_EQ(article.subject, "s");
}

TEST(EncodeArticle, LastUnitsOfThePlaneAreCharacters) {
  // Half-width katakana and a full-width sign; a lone surrogate can be sent nowhere.
  EXPECT_EQ(Encoded(u"A: b\r\n", u"\uFF80\uFF81\uFFE5\xD83Dx").body,
            "\xEF\xBE\x80\xEF\xBE\x81\xEF\xBF\xA5\xEF\xBF\xBDx");
}

TEST(EncodeArticle, SubjectBecomesWords) {
  const CheckedArticle article = Encoded(
      u"Subject: Re: \u039A\u03B1\u03BB\u03B7\u03BC\u03AD\u03C1\u03B1 "
      u"\u03BA\u03CC\u03C3\u03BC\u03B5\r\n",
      u"b");
  EXPECT_EQ(article.subject, "Re: =?UTF-8?B?zprOsc67zrfOvM6tz4HOsSDOus+Mz4POvM61?=");
  EXPECT_TRUE(article.headers.starts_with("Subject: " + article.subject + "\r\nMIME-Version"));
}

TEST(EncodeArticle, OfAddressesTheNamesBecomeWords) {
  EXPECT_EQ(Head(u"From: \"\u0395\u03BB\u03BB\u03B7\u03BD\u03B9\u03BA\u03AC \u03A9\" <a@b.c>\r\n"),
            "From: =?UTF-8?B?zpXOu867zrfOvc65zrrOrCDOqQ==?= <a@b.c>\r\n");
  EXPECT_EQ(Head(u"From: \u0395\u03BB\u03BB, \u03A9 <a@b.c>\r\n"),
            "From: =?UTF-8?B?zpXOu867LCDOqQ==?= <a@b.c>\r\n");
  EXPECT_EQ(Head(u"Reply-To: Ann <a@b>, \u03A9 <c@d>\r\n"),
            "Reply-To: Ann <a@b>, =?UTF-8?Q?=CE=A9?= <c@d>\r\n");
  EXPECT_EQ(Head(u"sender: a@b (x, \u03A9), \"B, C\" <d@e>\r\n"),
            "sender: a@b (=?UTF-8?Q?x=2C_=CE=A9?=), \"B, C\" <d@e>\r\n");
}

TEST(EncodeArticle, OtherHeadersBecomeWords) {
  EXPECT_EQ(Head(u"Organization: Z\u00FCrich\r\nComments: \u65E5\u672C\u8A9E\r\nX-A: 1\r\n"),
            "Organization: =?UTF-8?Q?Z=C3=BCrich?=\r\nComments: =?UTF-8?B?5pel5pys6Kqe?=\r\n"
            "X-A: 1\r\n");
  EXPECT_EQ(Head(u"Content-Description: \u03A9\r\n"),
            "Content-Description: =?UTF-8?Q?=CE=A9?=\r\n");
}

TEST(EncodeArticle, ContinuationLinesAreOfTheirField) {
  EXPECT_EQ(Head(u"X-A: a\r\n\t\u03A9\r\nFrom: A\r\n\t\"\u03A9\" <a@b>\r\n"),
            "X-A: a\r\n\t=?UTF-8?Q?=CE=A9?=\r\nFrom: A\r\n\t=?UTF-8?Q?=CE=A9?= <a@b>\r\n");
  EXPECT_TRUE(Fault(u"References: <a@b>\r\n\t<\u03A9@b>\r\n")
                  .message.starts_with(u"The header 'References:' can hold"));
}

TEST(EncodeArticle, EmptyLinesOfTheHeadGo) {
  EXPECT_EQ(Head(u"\r\nA: b\r\n\r\n\r\nC: d"), "A: b\r\nC: d\r\n");
}

TEST(EncodeArticle, ReferencesStandBeforeTheMimeLines) {
  EXPECT_EQ(Encoded(u"A: b\r\n", u"\u03A9", u"<a@x> <b@x>").headers,
            "A: b\r\nReferences: <a@x> <b@x>\r\n" + std::string(kMimeLines));
}

TEST(AsciiReferences, LeaveOutWhatNoServerTakes) {
  EXPECT_EQ(AsciiReferences(u"<a@x>  <b@x>"), u"<a@x>  <b@x>");
  EXPECT_EQ(AsciiReferences(u"<a@x> <\u00E9@x> <b@x>"), u"<a@x> <b@x>");
  EXPECT_EQ(AsciiReferences(u"<\u00E9@x>"), u"");
}

// --- what cannot be written ---

TEST(EncodeArticle, NamesOfGroupsAndIdsMustBeAscii) {
  const ArticleFault fault = Fault(u"From: a\r\nNewsgroups: comp.\u03A9\r\n");
  EXPECT_EQ(fault.message,
            u"The header 'Newsgroups:' can hold plain ASCII characters only. Please take the other "
            u"characters out of it.");
  EXPECT_EQ(fault.at, 9U);
  for (const std::u16string_view name :
       {u"newsgroups", u"Followup-To", u"References", u"Message-ID", u"Supersedes", u"Control",
        u"Distribution", u"Date", u"Content-Type", u"Content-Language", u"MIME-Version"}) {
    const std::u16string line = std::u16string(name) + u": \u03A9\r\n";
    EXPECT_EQ(Fault(line).message.substr(0, 13 + name.size()),
              u"The header '" + std::u16string(name) + u":");
  }
}

TEST(EncodeArticle, AddressesMustBeAscii) {
  const ArticleFault fault = Fault(u"Subject: s\r\nFrom: Ann <ann@b\u00FCro.example>\r\n");
  EXPECT_EQ(fault.message,
            u"The address in the header 'From:' can hold plain ASCII characters only. Please take "
            u"the other characters out of it.");
  EXPECT_EQ(fault.at, 12U);
  EXPECT_FALSE(Fault(u"From: \u03A9@b (Ann)\r\n").message.empty());
  EXPECT_FALSE(Fault(u"Reply-To: \u03A9 <a@b>, \u03A9@b\r\n").message.empty());
  EXPECT_EQ(Head(u"From: \u03A9@home <a@b>\r\n"), "From: =?UTF-8?Q?=CE=A9=40home?= <a@b>\r\n");
}

TEST(EncodeArticle, HeaderNamesMustBeAscii) {
  const ArticleFault fault = Fault(u"A: b\r\nX-\u03A9: c\r\n");
  EXPECT_EQ(fault.message,
            u"One or more header lines have characters before their first colon that are not plain "
            u"ASCII.");
  EXPECT_EQ(fault.at, 6U);
}

// --- a Content-Type of the user's own ---

TEST(EncodeArticle, OwnMimeFieldsWin) {
  EXPECT_EQ(Encoded(u"content-type: text/plain; charset=utf-8; format=flowed\r\n", u"\u03A9"),
            (CheckedArticle{"content-type: text/plain; charset=utf-8; format=flowed\r\n"
                            "MIME-Version: 1.0\r\nContent-Transfer-Encoding: 8bit\r\n",
                            "\xCE\xA9", ""}));
  EXPECT_EQ(Encoded(u"Mime-Version: 1.0 (mine)\r\nContent-Transfer-Encoding: BINARY\r\n", u"\u03A9")
                .headers,
            "Mime-Version: 1.0 (mine)\r\nContent-Transfer-Encoding: BINARY\r\n"
            "Content-Type: text/plain; charset=UTF-8\r\n");
}

TEST(EncodeArticle, OwnFieldThatSaysThatTheBodyIsPackedIsRefused) {
  for (const std::u16string_view packed : {u"base64", u"Quoted-Printable "}) {
    const std::u16string head =
        u"Subject: s\r\nContent-Transfer-Encoding: " + std::u16string(packed) + u"\r\n";
    const auto checked = EncodeArticle(head, u"", u"\u03A9\r\n");
    ASSERT_TRUE(std::holds_alternative<ArticleFault>(checked));
    const auto& fault = std::get<ArticleFault>(checked);
    EXPECT_EQ(fault.message,
              u"The article is not plain ASCII, but its header 'Content-Transfer-Encoding: " +
                  std::u16string(Trimmed(packed)) +
                  u"' says that it is packed. Please remove that header.");
    EXPECT_EQ(fault.at, 12U);
    EXPECT_TRUE(std::holds_alternative<CheckedArticle>(EncodeArticle(head, u"", u"plain\r\n")));
  }
  EXPECT_TRUE(std::holds_alternative<CheckedArticle>(
      EncodeArticle(u"Content-Transfer-Encoding: 8BIT\r\n", u"", u"\u03A9\r\n")));
}

TEST(EncodeArticle, BodyIsInTheCharsetOfTheOwnContentType) {
  const CheckedArticle article =
      Encoded(u"Subject: \u03A9\r\nContent-Type: text/plain;\r\n\tcharset=ISO-8859-7\r\n",
              u"\u03A9\u03B1\r\n");
  EXPECT_EQ(article.headers,
            "Subject: =?UTF-8?Q?=CE=A9?=\r\nContent-Type: text/plain;\r\n\tcharset=ISO-8859-7\r\n"
            "MIME-Version: 1.0\r\nContent-Transfer-Encoding: 8bit\r\n");
  EXPECT_EQ(article.body, "\xD9\xE1\r\n");
}

TEST(EncodeArticle, WhatThatCharsetLacksIsRefused) {
  const ArticleFault fault =
      Fault(u"A: b\r\nContent-Type: text/plain; charset=ISO-8859-7\r\n", u"\u65E5");
  EXPECT_EQ(fault.message,
            u"The article cannot be written in the character set 'ISO-8859-7', which its header "
            u"'Content-Type:' names. Please name UTF-8 there, or remove that header.");
  EXPECT_EQ(fault.at, 6U);
  EXPECT_FALSE(Fault(u"Content-Type: text/plain; charset=us-ascii\r\n", u"\u00E9").message.empty());
  EXPECT_FALSE(Fault(u"Content-Type: text/plain; charset=x-none\r\n", u"\u00E9").message.empty());
  EXPECT_FALSE(Fault(u"Content-Type: text/plain; charset=UTF-16\r\n", u"\u00E9").message.empty());
}

TEST(EncodeArticle, ContentTypeWithoutACharsetLeavesTheBodyInUtf8) {
  const CheckedArticle article = Encoded(u"Content-Type: text/plain; format=flowed\r\n", u"\u03A9");
  EXPECT_EQ(article.body, "\xCE\xA9");
  EXPECT_EQ(article.headers,
            "Content-Type: text/plain; format=flowed\r\nMIME-Version: 1.0\r\n"
            "Content-Transfer-Encoding: 8bit\r\n");
}

// --- and back ---

TEST(WrittenBody, IsWhatWasWritten) {
  for (const std::u16string_view type : {u"", u"Content-Type: text/plain; charset=UTF-8\r\n",
                                         u"Content-Type: text/plain; charset=ISO-8859-7\r\n"}) {
    const std::u16string_view body = u"\u0393\u03B5\u03B9\u03AC\r\n> \u03A9\r\n";
    const CheckedArticle article = Encoded(std::u16string(u"A: b\r\n").append(type), body);
    EXPECT_EQ(WrittenBody(article.headers, article.body), body);
  }
  const std::u16string_view kana = u"\u65E5\u672C\r\n";
  const CheckedArticle article =
      Encoded(u"Content-Type: text/plain; charset=ISO-2022-JP\r\n", kana);
  EXPECT_EQ(article.body, "\x1B$BF|K\\\x1B(B\r\n");
  EXPECT_EQ(WrittenBody(article.headers, article.body), kana);
}

TEST(WrittenBody, OfEarlierVersionsIsInCodePage1252) {
  EXPECT_EQ(WrittenBody("A: b\r\n", "caf\xE9 \x80\r\n"), u"caf\u00E9 \u20AC\r\n");
  EXPECT_EQ(WrittenBody("", "plain"), u"plain");
}

// --- against the code page, for plain ASCII ---

TEST(CheckArticle, PlainAsciiIsTheSameInEveryForm) {
  std::mt19937 random(20261122);
  const auto line = [&] {
    std::u16string text;
    for (std::size_t i = random() % 1200; i > 0; --i) {
      const bool printable = random() % 50 != 0;
      text += static_cast<char16_t>(printable ? 32 + random() % 95 : 1 + random() % 9);
    }
    return text;
  };
  for (int i = 0; i < 200; ++i) {
    std::u16string text = u"From: " + line() + u"\r\nSubject: x" + line() + u"\r\n\r\n";
    text += u"Newsgroups: a.b\r\nX-A: " + line() + u"\r\n";
    if (i % 5 == 0) text += u"Content-Type: text/plain; charset=ISO-2022-JP\r\n";
    text += kSeparator;
    for (std::size_t lines = random() % 5; lines > 0; --lines) text += line() + u"\r\n";
    text += u".";
    const std::u16string_view references = i % 2 == 0 ? u"<a@x>  <b@x>" : u"";
    const auto off = CheckArticle(text, references, TextForm::kQuotedBytes);
    const auto on = CheckArticle(text, references, TextForm::kUtf8);
    ASSERT_TRUE(std::holds_alternative<CheckedArticle>(off)) << i;
    ASSERT_EQ(std::get<CheckedArticle>(on), std::get<CheckedArticle>(off)) << i;
  }
}

TEST(CheckArticle, FaultsAreTheSameInEveryForm) {
  for (const std::u16string& text :
       {u"From : \u03A9\r\n" + kSeparator + u"B", u"Subject: \u03A9\r\n" + kSeparator + u"B",
        u"Subject: s\r\nNewsgroups: \u03A9, b\r\n" + kSeparator + u"B",
        u"Newsgroups: \u03A9\r\nSubject: s\r\n" + kSeparator, kSeparator + u"\u03A9",
        std::u16string(u"\u03A9")}) {
    const auto off = CheckArticle(text, u"", TextForm::kQuotedBytes);
    const auto on = CheckArticle(text, u"", TextForm::kUtf8);
    ASSERT_TRUE(std::holds_alternative<ArticleFault>(off));
    EXPECT_EQ(std::get<ArticleFault>(on).message, std::get<ArticleFault>(off).message);
    EXPECT_EQ(std::get<ArticleFault>(on).at, std::get<ArticleFault>(off).at);
  }
}

}  // namespace
}  // namespace quillet
