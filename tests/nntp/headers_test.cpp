// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/headers.h"
#include "base/reset.h"

#include <gtest/gtest.h>

#include "base/subscriptions.h"
#include "nntp/connection.h"
#include "nntp/text_log.h"

namespace quillet {
namespace {

class HeadersTest : public ::testing::Test {
 protected:
  ~HeadersTest() override { ResetProgram(); }

  static AsciiArticle Extracted(const std::string& head, bool keep_headers = true) {
    AsciiArticle article;
    article.headers = head;
    ExtractHeaders(article, keep_headers);
    return article;
  }
};

TEST_F(HeadersTest, FieldsComeFromTheirHeaders) {
  gConnection.server_name = u"news.example.org";
  const AsciiArticle article = Extracted(
      "Path: a!b\r\nFrom: Ann <ann@example.org>\r\nSubject: A question\r\n"
      "Message-ID: <1@example.org>\r\nDate: 1 Jan 2024 10:00:00 GMT\r\n"
      "Reply-To: box@example.org\r\nReferences: <r@x> <p@x>\r\nLines: 3");
  EXPECT_EQ(article.messageId, "<1@example.org>");
  EXPECT_EQ(article.subject, "A question");
  EXPECT_EQ(article.from, "Ann <ann@example.org>");
  EXPECT_EQ(article.parentId, "<p@x>");
  EXPECT_EQ(article.date, "1 Jan 2024 10:00:00 GMT");
  EXPECT_EQ(article.replyTo, "box@example.org");
  EXPECT_EQ(article.source, "news.example.org");
  EXPECT_EQ(article.headers, "Path: a!b\r\nReferences: <r@x> <p@x>\r\nLines: 3");
  EXPECT_EQ(article.reserved1, 1U);
  EXPECT_EQ(article.reserved2, 0U);
}

TEST_F(HeadersTest, MissingHeadersHaveTheirFallbacks) {
  const AsciiArticle article = Extracted("Path: a");
  EXPECT_EQ(article.messageId, "<error-extracting-messageid>");
  EXPECT_EQ(article.subject, "<no subject>");
  EXPECT_EQ(article.from, "<nobody>");
  EXPECT_EQ(article.parentId, "");
  EXPECT_EQ(article.date, std::nullopt);
  EXPECT_EQ(article.replyTo, "<nobody>");
  EXPECT_EQ(article.source, "<import>");
}

TEST_F(HeadersTest, OnlyTheNameOfAGroupIsNoMessageId) {
  gPrefs = std::make_unique<Prefs>();
  AddGroup(*gPrefs, u"comp.test");
  AddGroup(*gPrefs, u"caf\u00E9");
  EXPECT_EQ(Extracted("Message-ID: comp.test\r\n").messageId, "<comp.test>");
  EXPECT_EQ(Extracted("Message-ID: caf\xE9").messageId, "<caf\xE9>");
  EXPECT_EQ(Extracted(std::string("Message-ID: comp.test\0more", 26)).messageId, "<comp.test>");
  for (const std::string id : {"<comp.test>", "comp.tes", "comp.test2", "Comp.test", "comp.test ",
                               " comp.test", "", "<1@x>", "caf\xE8"}) {
    EXPECT_EQ(Extracted("Message-ID: " + id + "\r\n").messageId, id);
  }
}

TEST_F(HeadersTest, HeadersWithEmptyValuesAreNotMissing) {
  const AsciiArticle article =
      Extracted("Message-ID: \r\nSubject: \r\nFrom: \r\nReferences: \r\nDate: \r\nTo: t");
  EXPECT_EQ(article.messageId, "");
  EXPECT_EQ(article.subject, "");
  EXPECT_EQ(article.from, "");
  EXPECT_EQ(article.parentId, "");
  EXPECT_EQ(article.date, "");
  EXPECT_EQ(article.replyTo, "");  // the author's
  EXPECT_EQ(article.headers, "References: \r\nTo: t");
}

TEST_F(HeadersTest, NoHeadAtAllIsLikeAnEmptyOne) {
  AsciiArticle article;
  ExtractHeaders(article, true);
  EXPECT_EQ(article.subject, "<no subject>");
  EXPECT_EQ(article.headers, "");
}

TEST_F(HeadersTest, EmptyReplyToIsTheAuthor) {
  EXPECT_EQ(Extracted("From: a@x\r\nReply-To: \r\nDate: d").replyTo, "a@x");
  EXPECT_EQ(Extracted("From: a@x\r\nReply-To:\r\nDate: d").replyTo, "a@x");
}

TEST_F(HeadersTest, ServerNameIsNarrowed) {
  gConnection.server_name = u"n\u00E9ws\u20AC\u4E00";
  EXPECT_EQ(Extracted("").source, "n\xE9ws\x80?");
}

TEST_F(HeadersTest, HeadersAreDroppedWhenNotKept) {
  const AsciiArticle article = Extracted("Path: a\r\nSubject: s", false);
  EXPECT_EQ(article.headers, "");
  EXPECT_EQ(article.subject, "s");
}

TEST_F(HeadersTest, LowerCaseMessageIdIsFoundAndStaysInTheHeaders) {
  const AsciiArticle article = Extracted("message-id: <1@x>\r\nSubject: s");
  EXPECT_EQ(article.messageId, "<1@x>");
  EXPECT_EQ(article.headers, "message-id: <1@x>\r");
}

TEST_F(HeadersTest, HeadersThatAllHaveTheirFieldsLeaveNothing) {
  EXPECT_EQ(
      Extracted("Subject: s\r\nFrom: f\r\nMessage-ID: <1@x>\r\nDate: d\r\nReply-To: r").headers,
      "");
}

TEST_F(HeadersTest, KeptLinesAreDroppedOnlyAtTheirStart) {
  EXPECT_EQ(Extracted("X-Subject: s\r\n Subject: folded\r\nDate: d\r\nTo: t").headers,
            "X-Subject: s\r\n Subject: folded\r\nTo: t");
}

TEST_F(HeadersTest, LineFeedAfterTheLastLineGoes) {
  EXPECT_EQ(Extracted("To: t\nCc: c\n").headers, "To: t\nCc: c");
  EXPECT_EQ(Extracted("To: t\nSubject: s\n").headers, "To: t");
}

TEST_F(HeadersTest, FoldedSubjectKeepsItsFirstLine) {
  const AsciiArticle article = Extracted("Subject: one\r\n two\r\nTo: t");
  EXPECT_EQ(article.subject, "one");
  EXPECT_EQ(article.headers, " two\r\nTo: t");
}

TEST_F(HeadersTest, ParentIsWhatFollowsTheLastBlank) {
  EXPECT_EQ(Extracted("References: <only@x>\r\n").parentId, "<only@x>");
  EXPECT_EQ(Extracted("References: <a@x>  <b@x>\r\n").parentId, "<b@x>");
  EXPECT_EQ(Extracted("References: <a@x> \r\n").parentId, "");
  EXPECT_EQ(Extracted("References: <a@x>\t<b@x>\r\n").parentId, "<a@x>\t<b@x>");
  EXPECT_EQ(Extracted("References: <a@x>\r\n <b@x>\r\n").parentId, "<a@x>");
}

TEST(GetHeaderValue, FindsTheNameAnywhereWithoutRegardToCase) {
  EXPECT_EQ(GetHeaderValue("Subject:", "SUBJECT: Loud\r\n"), "Loud");
  EXPECT_EQ(GetHeaderValue("Subject:", "X-Old-Subject: first\r\nSubject: second\r\n"), "first");
  EXPECT_EQ(GetHeaderValue("Subject:", "From: x\r\n"), std::nullopt);
  EXPECT_EQ(GetHeaderValue("Subject:", ""), std::nullopt);
}

TEST(GetHeaderValue, SkipsOneByteAfterTheNameUnchecked) {
  EXPECT_EQ(GetHeaderValue("Subject:", "Subject:x-tight\r\n"), "-tight");
  EXPECT_EQ(GetHeaderValue("Subject:", "Subject:  two\r\n"), " two");
  EXPECT_EQ(GetHeaderValue("Subject:", "Subject:\r\nFrom: x"), "");
  // The byte skipped is the line feed itself, so the next line is taken.
  EXPECT_EQ(GetHeaderValue("Subject:", "Subject:\nFrom: x"), "From: x");
}

TEST(GetHeaderValue, EndsAtCrLfOrTheEndOfTheText) {
  EXPECT_EQ(GetHeaderValue("Date:", "Date: a\nb"), "a");
  EXPECT_EQ(GetHeaderValue("Date:", "Date: a\rb"), "a");
  EXPECT_EQ(GetHeaderValue("Date:", "Date: a"), "a");
  EXPECT_EQ(GetHeaderValue("Date:", "Date: "), "");
  EXPECT_EQ(GetHeaderValue("Date:", "Date:"), "");
}

TEST(GetHeaderValue, KeepsEightBitText) {
  EXPECT_EQ(GetHeaderValue("From:", "From: J\xF6rg\r\n"), "J\xF6rg");
  EXPECT_EQ(GetHeaderValueWide("from:", "From: J\xF6rg \x80\r\n"), u"J\u00F6rg \u20AC");
  EXPECT_EQ(GetHeaderValueWide("from:", "To: x"), std::nullopt);
}

TEST(GetHeaderValueIn, RegardsCase) {
  EXPECT_EQ(GetHeaderValueIn(u"From:", u"from: a\r\nFrom: b\r\n"), u"b");
  EXPECT_EQ(GetHeaderValueIn(u"From:", u"from: a\r\n"), std::nullopt);
  EXPECT_EQ(GetHeaderValueIn(u"From:", u"From:"), u"");
}

TEST(TextLog, GrowsByWhatIsAppended) {
  TextLog log;
  EXPECT_FALSE(log.has_text);
  EXPECT_TRUE(AppendToLog(log, u"one\r\n"));
  EXPECT_TRUE(AppendToLog(log, u""));
  EXPECT_TRUE(AppendToLog(log, u"two"));
  EXPECT_EQ(log.text, u"one\r\ntwo");
}

TEST(TextLog, EmptyTextMakesANewLogNonNull) {
  TextLog log;
  EXPECT_TRUE(AppendToLog(log, u""));
  EXPECT_TRUE(log.has_text);
  EXPECT_EQ(log.text, u"");
}

}  // namespace
}  // namespace quillet
