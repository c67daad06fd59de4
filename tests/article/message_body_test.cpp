// SPDX-License-Identifier: GPL-3.0-or-later
// The texts made of an article: as it is shown, found and saved, the "Message headers" dialog, and
// the name of its file.
#include "article/message_body.h"

#include "article/headers_dialog.h"
#include "article/save.h"
#include "mime/decoding.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

class MessageBody : public StoreTest {
 protected:
  ~MessageBody() override {
    testing::LimitNew(0);
    testing::FailNthNew(0);
    testing::FailNewOfAtLeast(0);
  }

  static AsciiArticle Full() {
    AsciiArticle article;
    article.messageId = "<1@x>";
    article.headers = "Newsgroups: alt.test\r\nLines: 1\r";
    article.body = "Hello.\r\n";
    article.parentId = "<0@x>";
    article.subject = "Re: a";
    article.from = "Ann <a@x>";
    article.date = "1 Jan 2001";
    article.replyTo = "b@x";
    article.source = "news.example.invalid";
    article.articleNumber = 4000000000;
    article.compressionSavings = 0.428;
    return article;
  }
  static std::u16string TextOf(const std::optional<MessageText>& message) {
    return message ? message->text : u"nothing";
  }
  static std::u16string Body(const AsciiArticle& article) {
    return TextOf(CreateMessageBody(&article, false));
  }
  static std::u16string WithHeaders(const AsciiArticle& article) {
    return TextOf(CreateMessageBody(&article, true));
  }
};

TEST_F(MessageBody, OfNoArticleIsEmpty) {
  EXPECT_EQ(CreateMessageBody(nullptr, false), MessageText());
  EXPECT_EQ(CreateMessageBody(nullptr, true), MessageText());
}

TEST_F(MessageBody, WithoutHeadersIsTheWidenedBody) {
  AsciiArticle article = Full();
  article.body = "Caf\xe9 \x80 5.\r\n\r\nEnd";
  EXPECT_EQ(Body(article), u"Café € 5.\r\n\r\nEnd");
}

TEST_F(MessageBody, WithHeadersHasTheBlockAnEmptyLineAndTheBody) {
  EXPECT_EQ(WithHeaders(Full()),
            u"Subject: Re: a\r\n"
            u"Date: 1 Jan 2001\r\n"
            u"From: Ann <a@x>\r\n"
            u"Reply-To: b@x\r\n"
            u"Message-ID: <1@x>\r\n"
            u"Newsgroups: alt.test\r\n"
            u"Lines: 1\r\n"
            u"\r\n"
            u"Hello.\r\n");
}

TEST_F(MessageBody, OnlyReplyToAndKeptLinesMayBeMissingFromTheBlock) {
  AsciiArticle article = Full();
  article.replyTo = "";
  article.headers = "";
  article.subject = "";
  article.date.reset();
  article.from.reset();
  article.messageId = "";
  EXPECT_EQ(WithHeaders(article),
            u"Subject: \r\nDate: \r\nFrom: \r\nMessage-ID: \r\n\r\nHello.\r\n");
  article.replyTo.reset();
  article.headers.reset();
  article.subject.reset();
  article.messageId.reset();
  EXPECT_EQ(WithHeaders(article),
            u"Subject: \r\nDate: \r\nFrom: \r\nMessage-ID: \r\n\r\nHello.\r\n");
}

TEST_F(MessageBody, KeptLinesEndInCarriageReturnAndLineFeedHoweverTheyWereReceived) {
  const auto block = [](std::string_view lines) {
    AsciiArticle article;
    article.headers = lines;
    article.body = "b";
    const std::u16string text = TextOf(CreateMessageBody(&article, true));
    constexpr std::u16string_view kBefore = u"Subject: \r\nDate: \r\nFrom: \r\nMessage-ID: \r\n";
    EXPECT_TRUE(text.starts_with(kBefore) && text.ends_with(u"\r\nb"));
    return text.substr(kBefore.size(), text.size() - kBefore.size() - 3);
  };
  EXPECT_EQ(block("A: 1\r\nB: 2\r"), u"A: 1\r\nB: 2\r\n");
  EXPECT_EQ(block("A: 1\r\nB: 2"), u"A: 1\r\nB: 2\r\n");
  EXPECT_EQ(block("A: 1\r\nB: 2\r\n"), u"A: 1\r\nB: 2\r\n");
  EXPECT_EQ(block("A: 1\rB: 2\r"), u"A: 1\r\nB: 2\r\n");
  EXPECT_EQ(block("A: 1\nB: 2\n"), u"A: 1\r\nB: 2\r\n");
  EXPECT_EQ(block("A: 1\r\n folded\r"), u"A: 1\r\n folded\r\n");
  EXPECT_EQ(block("\r"), u"\r\n");
  EXPECT_EQ(block(""), u"");
}

TEST_F(MessageBody, RemoveCrsJoinsLinesOfTheBodyOnly) {
  AsciiArticle article = Full();
  article.body = "first line\r\nsecond line\r\n";
  article.headers = "X-Long: first\r\nsecond\r";
  gPrefs->removecrs = 1;
  EXPECT_EQ(Body(article), u"first line  second line\r\n");
  EXPECT_TRUE(WithHeaders(article).ends_with(
      u"X-Long: first\r\nsecond\r\n\r\nfirst line  second line\r\n"));
  gPrefs->removecrs = 0;
  EXPECT_EQ(Body(article), u"first line\r\nsecond line\r\n");
}

TEST_F(MessageBody, AMissingBodySaysSo) {
  AsciiArticle article = Full();
  const std::u16string header = WithHeaders(article).substr(0, WithHeaders(article).size() - 8);
  constexpr std::u16string_view kNotDownloaded = u"Quillet notification: body not downloaded.\r\n";
  for (const std::optional<std::string>& body : {std::optional<std::string>(""), {}}) {
    article.body = body;
    for (const std::uint32_t removecrs : {0U, 1U}) {
      gPrefs->removecrs = removecrs;
      EXPECT_EQ(Body(article), kNotDownloaded);
      EXPECT_EQ(WithHeaders(article), header + std::u16string(kNotDownloaded));
    }
  }
}

TEST_F(MessageBody, OnlyTheJoiningPathWithHeadersSpeaksOfADownload) {
  AsciiArticle article = Full();
  article.body = "";
  gPrefs->onlinemode = 1;
  EXPECT_EQ(Body(article), u"Quillet notification: body not downloaded.\r\n");
  EXPECT_TRUE(
      WithHeaders(article).ends_with(u"\r\n\r\nQuillet notification: body not downloaded.\r\n"));
  gPrefs->removecrs = 1;
  EXPECT_EQ(Body(article), u"Quillet notification: body not downloaded.\r\n");
  EXPECT_TRUE(
      WithHeaders(article).ends_with(u"\r\n\r\nQuillet notification: downloading body\r\n"));
  EXPECT_EQ(article.body, "");
}

TEST_F(MessageBody, Rot13TurnsTheWholeTextTheHeadersIncluded) {
  AsciiArticle article = Full();
  article.showFlag = 1;
  EXPECT_EQ(Body(article), u"Uryyb.\r\n");
  EXPECT_EQ(WithHeaders(article),
            u"Fhowrpg: Er: n\r\n"
            u"Qngr: 1 Wna 2001\r\n"
            u"Sebz: Naa <n@k>\r\n"
            u"Ercyl-Gb: o@k\r\n"
            u"Zrffntr-VQ: <1@k>\r\n"
            u"Arjftebhcf: nyg.grfg\r\n"
            u"Yvarf: 1\r\n"
            u"\r\n"
            u"Uryyb.\r\n");
  article.body = "";
  EXPECT_EQ(Body(article), u"Dhvyyrg abgvsvpngvba: obql abg qbjaybnqrq.\r\n");
}

// Joining comes first: the marks it looks for are those of the article as it was written.
TEST_F(MessageBody, LinesAreJoinedBeforeTheTextIsTurned) {
  AsciiArticle article = Full();
  article.showFlag = 1;
  article.body = "first line\r\nsecond line\r\n";
  gPrefs->removecrs = 1;
  EXPECT_EQ(Body(article), u"svefg yvar  frpbaq yvar\r\n");
}

TEST_F(MessageBody, WithoutMemoryIsNothingReportedByPath) {
  AsciiArticle article = Full();
  article.body = std::string(100000, 'b');
  for (const bool with_headers : {false, true}) {
    for (const std::uint32_t removecrs : {0U, 1U}) {
      fake.display.ForgetBoxes();
      gPrefs->removecrs = removecrs;
      testing::LimitNew(50000);
      EXPECT_EQ(CreateMessageBody(&article, with_headers), std::nullopt);
      testing::LimitNew(0);
      EXPECT_THAT(
          BoxTexts(),
          ElementsAre(removecrs != 0
                          ? u"An unexpected error (out of memory) occurred in CreateMessageBody."
                          : u"An unexpected error (out of memory) occurred in "
                            u"DisplayCurrentArticle."));
    }
  }
}

TEST_F(MessageBody, EveryAllocationMayFail) {
  AsciiArticle article = Full();
  article.body = std::string(1000, 'b');
  int failures = 0;
  for (int n = 1; n < 100; ++n) {
    testing::FailNthNew(n);
    const auto text = CreateMessageBody(&article, true);
    testing::FailNthNew(0);
    if (text) break;
    ++failures;
  }
  EXPECT_GE(failures, 4);
  EXPECT_LT(failures, 99);
  EXPECT_EQ(BoxTexts().size(), static_cast<std::size_t>(failures));
}

TEST_F(MessageBody, TakesAMegabyteOnOneLine) {
  AsciiArticle article = Full();
  article.body = std::string(1 << 20, 'x');
  EXPECT_EQ(Body(article), std::u16string(1 << 20, u'x'));
  gPrefs->removecrs = 1;
  EXPECT_EQ(Body(article), std::u16string(1 << 20, u'x'));
  EXPECT_EQ(WithHeaders(article).size(), WithHeaders(Full()).size() - 8 + (1 << 20));
}

TEST_F(MessageBody, KeepsNulsAndControlCharactersWhileNothingIsDecoded) {
  SetDecoding(false);
  AsciiArticle article = Full();
  article.body = Raw("a\0b\x01\x1b\x7f\x81\r\n");
  article.headers = Raw("X: \0\r");
  EXPECT_EQ(Body(article), std::u16string_view(u"a\0b\x01\x1b\x7f\x81\r\n", 9));
  EXPECT_NE(WithHeaders(article).find(std::u16string_view(u"X: \0\r\n\r\na\0b", 11)),
            std::u16string::npos);
}

TEST_F(MessageBody, KeepsThemInAnArticleThatNeedsNoDecoding) {
  AsciiArticle article = Full();
  article.body = Raw("a\0b\x01\x1b\x7f\r\n");
  EXPECT_EQ(Body(article), std::u16string_view(u"a\0b\x01\x1b\x7f\r\n", 8));
}

TEST_F(MessageBody, ShowsThemHarmlessInADecodedArticle) {
  AsciiArticle article = Full();
  article.body = Raw("a\0b\x01\x1b\x7f\x81 \xe9\r\n");
  EXPECT_EQ(Body(article),
            u"a\uFFFD"
            u"b\uFFFD\uFFFD\uFFFD\uFFFD \u00E9\r\n");
}

// --- The "Message headers" dialog ----------------------------------------------------------------

TEST_F(MessageBody, MessageHeadersListEverything) {
  EXPECT_EQ(MessageHeadersText(Full()),
            u"Subject: Re: a\r\n"
            u"From: Ann <a@x>\r\n"
            u"Date: 1 Jan 2001\r\n"
            u"Message-ID: <1@x>\r\n"
            u"Newsgroups: alt.test\r\n"
            u"Lines: 1\r\n"
            u"X-Quillet-ParentID: <0@x>\r\n"
            u"X-Quillet-ServerName: news.example.invalid\r\n"
            u"X-Quillet-ServerID: 4000000000\r\n"
            u"X-Quillet-CompressedSavings: 42%\r\n");
}

TEST_F(MessageBody, MessageHeadersShowTheReplyAddressOnlyWhenItIsTheAuthors) {
  AsciiArticle article = Full();
  article.replyTo = article.from;
  EXPECT_TRUE(MessageHeadersText(article).starts_with(
      u"Subject: Re: a\r\nFrom: Ann <a@x>\r\nDate: 1 Jan 2001\r\nReply-To: Ann <a@x>\r\n"
      u"Message-ID: <1@x>\r\n"));
  article.replyTo = "ann <a@x>";
  EXPECT_EQ(MessageHeadersText(article).find(u"Reply-To"), std::u16string::npos);
}

TEST_F(MessageBody, MessageHeadersLeaveOutWhatIsMissingButNotTheSubject) {
  constexpr std::u16string_view kBare =
      u"Subject: \r\nReply-To: \r\nX-Quillet-ServerID: 0\r\nX-Quillet-CompressedSavings: 0%\r\n";
  EXPECT_EQ(MessageHeadersText(AsciiArticle()), kBare);
  AsciiArticle article;
  article.messageId = article.headers = article.parentId = article.subject = article.from =
      article.source = article.date = article.replyTo = "";
  EXPECT_EQ(MessageHeadersText(article), kBare);
  article.from.reset();
  EXPECT_EQ(MessageHeadersText(article), kBare);
  article.replyTo = "a@x";
  EXPECT_EQ(MessageHeadersText(article).find(u"Reply-To"), std::u16string::npos);
}

TEST_F(MessageBody, SavingsAreTruncatedAlsoBelowZero) {
  AsciiArticle article;
  const auto savings = [&](double value) {
    article.compressionSavings = value;
    const std::u16string text = MessageHeadersText(article);
    const std::size_t at = text.find(u"Savings: ") + 9;
    return text.substr(at, text.size() - at - 2);
  };
  EXPECT_EQ(savings(0.999), u"99%");
  EXPECT_EQ(savings(0.5), u"50%");
  EXPECT_EQ(savings(-0.129), u"-12%");
  EXPECT_EQ(savings(-0.009), u"0%");
}

// --- The name of its file ------------------------------------------------------------------------

TEST(DefaultFileName, HasOnlyLettersDigitsAndUnderscores) {
  EXPECT_EQ(DefaultFileName("Re: a/b"), u"Re__a_b.txt");
  EXPECT_EQ(DefaultFileName("Az09"), u"Az09.txt");
  EXPECT_EQ(DefaultFileName("@[`{/:"), u"______.txt");
  EXPECT_EQ(DefaultFileName("..\\..\\etc"), u"______etc.txt");
  EXPECT_EQ(DefaultFileName("\xe9t\xe9"), u"_t_.txt");
  EXPECT_EQ(DefaultFileName(Raw("a\0b\r\n")), u"a_b__.txt");
  EXPECT_EQ(DefaultFileName(""), u".txt");
}

TEST(DefaultFileName, IsCutAfterSixteenCharacters) {
  EXPECT_EQ(DefaultFileName("0123456789abcdef"), u"0123456789abcdef.txt");
  EXPECT_EQ(DefaultFileName("0123456789abcdefg"), u"0123456789abcdef.txt");
  EXPECT_EQ(DefaultFileName(std::string(100000, 'x')), u"xxxxxxxxxxxxxxxx.txt");
}

}  // namespace
}  // namespace quillet
