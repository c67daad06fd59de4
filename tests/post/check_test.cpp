// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/check.h"

#include <gtest/gtest.h>

#include <string>

#include "post/article_text.h"
#include "post/compose.h"

namespace quillet {
namespace {

const std::u16string kSeparator(kBodySeparator);
const std::u16string kHead = u"From: a\r\nSubject: s\r\nNewsgroups: comp.test\r\n";
const std::u16string kGood = kHead + kSeparator + u"Body\r\n";

CheckedArticle Checked(std::u16string_view text, std::u16string_view references = u"",
                       TextForm form = TextForm::kQuotedBytes) {
  const auto result = CheckArticle(text, references, form);
  const auto* article = std::get_if<CheckedArticle>(&result);
  EXPECT_NE(article, nullptr);
  return article != nullptr ? *article : CheckedArticle();
}

ArticleFault Fault(std::u16string_view text) {
  const auto result = CheckArticle(text, u"", TextForm::kQuotedBytes);
  const auto* fault = std::get_if<ArticleFault>(&result);
  EXPECT_NE(fault, nullptr);
  return fault != nullptr ? *fault : ArticleFault();
}

TEST(CheckArticle, GoodArticleIsTakenApart) {
  const CheckedArticle article = Checked(kGood);
  EXPECT_EQ(article.headers, "From: a\r\nSubject: s\r\nNewsgroups: comp.test\r\n");
  EXPECT_EQ(article.body, "Body\r\n");
  EXPECT_EQ(article.subject, "s");
}

TEST(CheckArticle, EmptyLinesAmongTheHeadersGo) {
  const std::string headers = "From: a\r\nSubject: s\r\nNewsgroups: comp.test\r\n";
  EXPECT_EQ(Checked(kHead + u"\r\n" + kSeparator + u"B").headers, headers);
  EXPECT_EQ(Checked(u"\r\n\r\nFrom: a\r\n\r\n\r\nSubject: s\r\nNewsgroups: comp.test\r\n\r\n" +
                    kSeparator + u"B")
                .headers,
            headers);
}

TEST(CheckArticle, ReferencesAreAppended) {
  EXPECT_EQ(Checked(kGood, u"<a@x> <b@x>").headers,
            "From: a\r\nSubject: s\r\nNewsgroups: comp.test\r\nReferences: <a@x> <b@x>\r\n");
}

TEST(CheckArticle, BlankBeforeTheColon) {
  const std::u16string_view message = u"One or more headers contain spaces before a colon.";
  EXPECT_EQ(Fault(u"From : a\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Fault(u" : a\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Fault(u"no colon here\r\n" + kSeparator + u"B").message, message);
  // A continuation line.
  const ArticleFault fault = Fault(u"From: a\r\n b\r\n" + kSeparator + u"B");
  EXPECT_EQ(fault.message, message);
  EXPECT_EQ(fault.at, 9U);
}

TEST(CheckArticle, ColonAtTheBeginning) {
  const ArticleFault fault = Fault(u"From: a\r\n: b\r\n" + kSeparator + u"B");
  EXPECT_EQ(fault.message, u"One or more header lines begin with colons, which is not allowed.");
  EXPECT_EQ(fault.at, 9U);
}

TEST(CheckArticle, NoBlankAfterTheColon) {
  const std::u16string_view message =
      u"One or more header lines do not have a space after their first colon.";
  EXPECT_EQ(Fault(u"From:a\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Fault(u"From:\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Fault(u"From:\ta\r\n" + kSeparator + u"B").message, message);
}

TEST(CheckArticle, LineWithoutColon) {
  const ArticleFault fault = Fault(u"From: a\r\nhello\r\n" + kSeparator + u"B");
  EXPECT_EQ(fault.message, u"One or more header lines do not contain colons.");
  EXPECT_EQ(fault.at, 9U);
  EXPECT_EQ(Fault(u"\thello\r\n" + kSeparator + u"B").message,
            u"One or more header lines do not contain colons.");
}

TEST(CheckArticle, SeparatorOnTheFirstLine) {
  EXPECT_EQ(Fault(kSeparator + u"B").message, u"There are no headers.");
}

TEST(CheckArticle, MissingSeparator) {
  const std::u16string_view message = u"The '--- Begin body here ---' line is missing.";
  EXPECT_EQ(Fault(kHead).message, message);
  EXPECT_EQ(Fault(u"").message, message);
  EXPECT_EQ(Fault(u"From").message, message);
  EXPECT_EQ(Fault(u"From:").message, message);
  // Cut off, it is a line with blanks.
  EXPECT_EQ(Fault(kHead + u"--- Begin body here ---").message,
            u"One or more headers contain spaces before a colon.");
}

TEST(CheckArticle, FirstFaultOfTheScanIsTold) {
  EXPECT_EQ(Fault(u"a b\r\n:c\r\n").message, u"One or more headers contain spaces before a colon.");
  EXPECT_EQ(Fault(u":c\r\na b\r\n").message,
            u"One or more header lines begin with colons, which is not allowed.");
}

TEST(CheckArticle, NewsgroupsMustBeThere) {
  const std::u16string_view message = u"The 'Newsgroups:' header is missing or invalid.";
  EXPECT_EQ(Fault(u"Subject: s\r\n" + kSeparator + u"B").message, message);
  const ArticleFault fault = Fault(u"Subject: s\r\nNewsgroups: \r\n" + kSeparator + u"B");
  EXPECT_EQ(fault.message, message);
  EXPECT_EQ(fault.at, 12U);
}

TEST(CheckArticle, NewsgroupsMustNotHaveBlanks) {
  const std::u16string_view message =
      u"The newsgroups line is invalid. Newsgroups must be separated by commas; the only space "
      u"that is allowed should follow the colon.";
  EXPECT_EQ(Fault(u"Subject: s\r\nNewsgroups: a, b\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Fault(u"Subject: s\r\nNewsgroups:  a\r\n" + kSeparator + u"B").message, message);
  EXPECT_EQ(Checked(u"Subject: s\r\nNewsgroups: a,b\r\n" + kSeparator + u"B").subject, "s");
  EXPECT_EQ(Checked(u"Subject: s\r\nnewsgroups: a\r\n" + kSeparator + u"B").subject, "s");
}

TEST(CheckArticle, BodyMustBeThere) {
  EXPECT_EQ(Fault(kHead + kSeparator).message, u"The article has no body.");
  EXPECT_EQ(Checked(kHead + kSeparator + u"\r\n").body, "\r\n");
}

TEST(CheckArticle, SubjectMustBeThere) {
  EXPECT_EQ(Fault(u"Newsgroups: a\r\n" + kSeparator + u"B").message,
            u"The article has no subject.");
  const ArticleFault fault = Fault(u"Newsgroups: a\r\nSubject: \r\n" + kSeparator + u"B");
  EXPECT_EQ(fault.message, u"The article has no subject.");
  EXPECT_EQ(fault.at, 15U);
}

TEST(CheckArticle, GroupsAreLookedAtBeforeBodyAndSubject) {
  EXPECT_EQ(Fault(u"From: a\r\n" + kSeparator).message,
            u"The 'Newsgroups:' header is missing or invalid.");
  EXPECT_EQ(Fault(u"Newsgroups: a\r\n" + kSeparator).message, u"The article has no body.");
}

TEST(CheckArticle, SecondSeparatorBelongsToTheBody) {
  EXPECT_EQ(Checked(kGood + kSeparator).body, "Body\r\n--- Begin body here ---\r\n");
}

TEST(CheckArticle, TextBecomesEightBitText) {
  const CheckedArticle article =
      Checked(u"Subject: caf\u00E9\r\nNewsgroups: a\r\n" + kSeparator + u"\u20AC\xFFE9\u4E2D");
  EXPECT_EQ(article.subject, "caf\xE9");
  EXPECT_EQ(article.body, "\x80\xE9?");
}

MailParts Parts(const std::u16string& text) {
  const auto result = FindMailParts(text);
  const auto* parts = std::get_if<MailParts>(&result);
  EXPECT_NE(parts, nullptr);
  return parts != nullptr ? *parts : MailParts();
}

std::u16string MailFault(const std::u16string& text) {
  const auto result = FindMailParts(text);
  const auto* fault = std::get_if<ArticleFault>(&result);
  return fault != nullptr ? fault->message : u"none";
}

TEST(MailPartsOfAText, AreSubjectAndBody) {
  EXPECT_EQ(Parts(kGood).subject, u"s");
  EXPECT_EQ(Parts(kGood).body, u"Body\r\n");
  EXPECT_EQ(Parts(u"no colon\r\nSubject: \r\n" + kSeparator).subject, u"");
  EXPECT_EQ(Parts(u"no colon\r\nSubject: \r\n" + kSeparator).body, u"");
}

TEST(MailPartsOfAText, SubjectIsLookedForBeforeTheSeparator) {
  const std::u16string_view message = u"The 'Subject:' header could not be found.";
  EXPECT_EQ(MailFault(u"From: a\r\n" + kSeparator + u"Subject: s\r\n"), message);
  EXPECT_EQ(MailFault(u"subject: s\r\n" + kSeparator + u"B"), message);
  EXPECT_EQ(MailFault(u""), message);
}

TEST(MailPartsOfAText, WithoutASeparatorThereAreNone) {
  EXPECT_EQ(MailFault(kHead), u"The '--- Begin body here ---' line is missing.");
  EXPECT_EQ(MailFault(u"Subject: --- Begin body here ---\r\n"),
            u"The '--- Begin body here ---' line is missing.");
}

TEST(HeaderLines, AreFoundAtTheBeginningOfALineOnly) {
  const std::string text = "X-Newsgroups: a\r\nSubject: Newsgroups: b\r\nnewsGROUPS: c\r\n";
  EXPECT_EQ(FindHeaderLine("Newsgroups:", text).value, "c");
  EXPECT_EQ(FindHeaderLine("Newsgroups:", text).at, 41U);
  EXPECT_EQ(FindHeaderLine("Newsgroups:", std::string_view("Newsgroups:")).value, "");
  EXPECT_EQ(FindHeaderLine("From:", text).at, std::string::npos);
}

}  // namespace
}  // namespace quillet
