// SPDX-License-Identifier: GPL-3.0-or-later
// Articles that have to be decoded: what is shown of them, their attachments, their raw text.
#include <numeric>

#include "article/attachments.h"
#include "article/headers_dialog.h"
#include "article/message_body.h"
#include "article/save.h"
#include "mime/decoding.h"
#include "mime/shown_text.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::string_view kGreekHead =
    "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
    "Content-Transfer-Encoding: quoted-printable\r\n";
constexpr std::string_view kGreekBody = "=CE=A9 caf=C3=A9\r\n..dots\r\n";
constexpr std::string_view kMixedHead =
    "MIME-Version: 1.0\r\nContent-Type: multipart/mixed; boundary=\"b\"\r\n";
// A text, a picture of four bytes and a file of one whose name leads elsewhere.
constexpr std::string_view kMixedBody =
    "--b\r\nContent-Type: text/plain; charset=UTF-8\r\n\r\nSee \xCE\xA9.\r\nagain\r\n"
    "--b\r\nContent-Type: image/jpeg\r\n"
    "Content-Disposition: attachment; filename=\"photo.jpg\"\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\n/9j/AA==\r\n"
    "--b\r\nContent-Type: application/octet-stream\r\n"
    "Content-Disposition: attachment; filename=\"../../etc/http://passwd\"\r\n"
    "Content-Transfer-Encoding: base64\r\n\r\nQQ==\r\n"
    "--b--\r\n";

class DecodedArticles : public ArticleTest {
 protected:
  static AsciiArticle Greek(std::string_view id = "<g@x>") {
    AsciiArticle article = Written(id, 1, "", "one =?utf-8?q?=CE=A9?=", kGreekBody);
    article.from = "=?utf-8?q?=CE=91nn?= <ann@example.invalid>";
    article.replyTo = "";
    article.headers = kGreekHead;
    return article;
  }
  static AsciiArticle Mixed(std::string_view id = "<m@x>") {
    AsciiArticle article = Written(id, 2, "", "Mixed", kMixedBody);
    article.headers = kMixedHead;
    return article;
  }
  void Show(const AsciiArticle& article) {
    Put(kGroup, article);
    OpenGroup(1);
    Open(*article.messageId);
  }
  static MessageText Made(const AsciiArticle& article, MessageForm form = MessageForm::kDecoded) {
    return CreateMessageBody(&article, false, form).value_or(MessageText());
  }
  // The targets of the shown links, in their order.
  std::vector<std::u16string> Targets() {
    std::vector<std::u16string> targets;
    const std::u16string source = Source();
    constexpr std::u16string_view kStart = u"<a href=\"";
    for (std::size_t at = source.find(kStart); at != source.npos;
         at = source.find(kStart, at + 1)) {
      const std::size_t target = at + kStart.size();
      targets.push_back(source.substr(target, source.find(u'"', target) - target));
    }
    return targets;
  }
  std::optional<std::string> File(std::u16string_view path) {
    return fake.files.ReadFile(path, 1 << 24);
  }
};

// --- The text ------------------------------------------------------------------------------------

TEST_F(DecodedArticles, TheBodyIsDecodedAndItsDotsAreAsTheyWereWritten) {
  Show(Greek());
  EXPECT_EQ(Source(), Page(u"\u03A9 caf\u00E9&nbsp;<br>.dots&nbsp;<br>"));
}

TEST_F(DecodedArticles, ImportedArticlesHaveNoDotsToUndo) {
  AsciiArticle article = Greek();
  article.source = "<import>";
  EXPECT_EQ(Made(article).text, u"\u03A9 caf\u00E9\r\n..dots\r\n");
}

TEST_F(DecodedArticles, TheHeaderBlockIsDecodedAndItsSubjectJoined) {
  AsciiArticle article = Greek();
  article.headers = " =?utf-8?q?=CE=A8?=\r\n" + std::string(kGreekHead);
  const std::u16string text = CreateMessageBody(&article, true).value_or(MessageText()).text;
  EXPECT_TRUE(
      text.starts_with(u"Subject: one \u03A9\u03A8\r\nDate: 1 Jan 2001\r\n"
                       u"From: \u0391nn <ann@example.invalid>\r\n"
                       u"Message-ID: <g@x>\r\n"))
      << ToUtf8(text);
}

TEST_F(DecodedArticles, TheHeaderBarIsDecodedAndItsSubjectJoined) {
  AsciiArticle article = Greek();
  article.headers = " =?utf-8?q?=CE=A8?=\r\n" + std::string(kGreekHead);
  Show(article);
  EXPECT_EQ(Shown().header[0].left, u"Subject: one \u03A9\u03A8");
  EXPECT_EQ(Shown().header[1].left, u"From: \u0391nn <ann@example.invalid>");
}

TEST_F(DecodedArticles, WithoutDecodingEverythingIsShownByteForByte) {
  SetDecoding(false);
  Show(Greek());
  EXPECT_EQ(Source(), Page(u"=CE=A9 caf=C3=A9&nbsp;<br>..dots&nbsp;<br>"));
  EXPECT_EQ(Shown().header[0].left, u"Subject: one =?utf-8?q?=CE=A9?=");
  EXPECT_EQ(Made(Mixed()), (MessageText{Widen(kMixedBody), {}}));
}

TEST_F(DecodedArticles, RemoveCrsJoinsDecodedLinesOnly) {
  gPrefs->removecrs = 1;
  const MessageText message = Made(Mixed());
  EXPECT_TRUE(message.text.starts_with(u"See \u03A9.  again\r\n\r\nAttachment: photo.jpg"))
      << ToUtf8(message.text);
  ASSERT_EQ(message.links.size(), 2U);
  EXPECT_EQ(message.text.substr(message.links[0].end, 2), u"\r\n");
}

TEST_F(DecodedArticles, Rot13TurnsTheDecodedTextButNoLineOfAnAttachment) {
  AsciiArticle article = Mixed();
  article.showFlag = 1;
  EXPECT_TRUE(Made(article).text.starts_with(
      u"Frr \u03A9.\r\nntnva\r\n\r\nAttachment: photo.jpg, image/jpeg, "))
      << ToUtf8(Made(article).text);
}

// --- Attachments ---------------------------------------------------------------------------------

TEST_F(DecodedArticles, AttachmentsStandBelowTheTextEachALineThatIsALink) {
  const MessageText message = Made(Mixed());
  ASSERT_EQ(message.links.size(), 2U);
  EXPECT_EQ(message.text.substr(0, message.links[0].start), u"See \u03A9.\r\nagain\r\n\r\n");
  std::vector<Attachment> attachments = DecodeBody(BodySourceOf(Mixed())).attachments;
  ASSERT_EQ(attachments.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    const AttachmentLink& link = message.links[i];
    EXPECT_EQ(message.text.substr(link.start, link.end - link.start),
              AttachmentLine(attachments[i]));
    EXPECT_EQ(message.text.substr(link.end, 2), u"\r\n");
    EXPECT_EQ(link.part, attachments[i].part);
  }
  EXPECT_EQ(message.text.size(), message.links[1].end + 2);
}

TEST_F(DecodedArticles, AnAttachmentsLineIsExactlyOneLink) {
  Show(Mixed());
  const std::vector<Attachment> attachments = DecodeBody(BodySourceOf(Mixed())).attachments;
  ASSERT_EQ(attachments.size(), 2U);
  EXPECT_THAT(Targets(), ElementsAre(AttachmentTarget(attachments[0].part),
                                     AttachmentTarget(attachments[1].part)));
  EXPECT_NE(Source().find(u"\">Attachment: photo.jpg, image/jpeg, "), std::u16string::npos);
}

TEST_F(DecodedArticles, AFollowedAttachmentIsSavedUnderTheNameThatIsChosen) {
  Show(Mixed());
  fake.display.ExpectSaveFile(u"\\my photo.jpg");
  SaveAttachment(Targets().at(0));
  EXPECT_EQ(File(u"\\my photo.jpg"), Raw("\xFF\xD8\xFF\0"));
  const auto dialogs = fake.display.save_dialogs();
  ASSERT_EQ(dialogs.size(), 1U);
  EXPECT_EQ(dialogs[0].title, u"Save attachment as");
  EXPECT_EQ(dialogs[0].default_name, u"photo.jpg");
  EXPECT_EQ(dialogs[0].default_extension, u"");
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(DecodedArticles, TheNameThatIsOfferedLeadsNowhereElse) {
  Show(Mixed());
  fake.display.ExpectSaveFile({});
  SaveAttachment(Targets().at(1));
  const std::u16string offered = fake.display.save_dialogs().at(0).default_name;
  EXPECT_FALSE(offered.empty() || offered.front() == u'.');
  EXPECT_EQ(offered.find_first_of(u"/\\"), offered.npos) << ToUtf8(offered);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(DecodedArticles, AnAttachmentNeverReplacesAFile) {
  Show(Mixed());
  ASSERT_TRUE(fake.files.WriteFile(u"\\mine", "mine"));
  fake.display.ExpectSaveFile(u"\\mine");
  SaveAttachment(Targets().at(0));
  EXPECT_EQ(File(u"\\mine"), "mine");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
}

TEST_F(DecodedArticles, WhatTheShownArticleDoesNotHaveIsTold) {
  constexpr std::u16string_view kGone =
      u"The article that is shown has no such attachment any more. Please open the article again.";
  const auto boxes_after = [&](std::u16string_view target) {
    fake.display.ForgetBoxes();
    SaveAttachment(target);
    return BoxTexts();
  };
  EXPECT_THAT(boxes_after(u"attachment:0"), ElementsAre(kGone));
  Show(Mixed());
  const std::u16string target = Targets().at(0);
  for (const std::u16string_view other : {u"attachment:", u"attachment:99", u"attachment:-1",
                                          u"attachment:x", u"attachment:18446744073709551616"}) {
    EXPECT_THAT(boxes_after(other), ElementsAre(kGone)) << ToUtf8(other);
  }
  EXPECT_THAT(boxes_after(target + u"0"), ElementsAre(kGone));
  SetDecoding(false);
  EXPECT_THAT(boxes_after(target), ElementsAre(kGone));
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
}

TEST(AttachmentTarget, IsKnownByItsScheme) {
  EXPECT_TRUE(IsAttachmentTarget(u"attachment:1"));
  for (const std::u16string_view other : {u"http://a", u"Attachment:1", u"attachment", u""}) {
    EXPECT_FALSE(IsAttachmentTarget(other));
  }
}

// --- Damaged articles ----------------------------------------------------------------------------

AsciiArticle Damaged() {
  AsciiArticle article;
  article.headers =
      "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
      "Content-Transfer-Encoding: base64\r\n";
  article.body = "This is no base64 at all! <http://a>\r\nIt is *text*.\r\n";
  article.source = "news";
  return article;
}

TEST_F(DecodedArticles, WhatCannotBeDecodedIsShownAsItCameBelowALineThatSaysSo) {
  const AsciiArticle article = Damaged();
  constexpr std::u16string_view kNote =
      u"Quillet notification: this article could not be decoded. Its text is shown as it was "
      u"received.\r\n";
  ASSERT_TRUE(DecodeBody(BodySourceOf(article)).damaged);
  EXPECT_EQ(Made(article).text, std::u16string(kNote) + Widen(*article.body));
  EXPECT_EQ(Made(article, MessageForm::kRaw).text, Widen(*article.body));
  const std::u16string with_headers =
      CreateMessageBody(&article, true).value_or(MessageText()).text;
  EXPECT_NE(with_headers.find(u"\r\n\r\n" + std::u16string(kNote)), with_headers.npos);
}

TEST_F(DecodedArticles, TheLineAboutTheDamageIsNeitherTurnedNorJoined) {
  AsciiArticle article = Damaged();
  article.showFlag = 1;
  gPrefs->removecrs = 1;
  EXPECT_TRUE(Made(article).text.starts_with(
      u"Quillet notification: this article could not be decoded. Its text is shown as it was "
      u"received.\r\nGuvf vf ab onfr64"));
}

// --- Raw text ------------------------------------------------------------------------------------

TEST_F(DecodedArticles, RawTextSwitchesBetweenWhatIsStoredAndWhatItMeans) {
  Show(Greek());
  const std::u16string decoded = Source();
  ArticleCommand(40080);
  EXPECT_EQ(Source(), Page(u"=CE=A9 caf=C3=A9&nbsp;<br>..dots&nbsp;<br>"));
  EXPECT_EQ(Shown().header[0].left, u"Subject: one \u03A9");
  ArticleCommand(40080);
  EXPECT_EQ(Source(), decoded);
}

TEST_F(DecodedArticles, RawTextHasTheHeadersAsTheyAreStored) {
  gPrefs->showheaders = 1;
  Show(Greek());
  ArticleCommand(40080);
  EXPECT_TRUE(
      Source().starts_with(u"<FONT SIZE=\"2\">Subject: one =?utf-8?q?=CE=A9?=&nbsp;<br>"
                           u"Date: 1 Jan 2001&nbsp;<br>"
                           u"From: =?utf-8?q?=CE=91nn?= &lt;ann@example.invalid&gt;"));
}

TEST_F(DecodedArticles, RawTextListsNoAttachments) {
  Show(Mixed());
  ArticleCommand(40080);
  EXPECT_EQ(CreateMessageBody(gReading.article.get(), false, FormOfCurrentArticle()),
            (MessageText{Widen(kMixedBody), {}}));
  EXPECT_EQ(Source().find(u"<a href=\"attachment:"), std::u16string::npos);
}

TEST_F(DecodedArticles, AnotherArticleBeginsDecoded) {
  Put(kGroup, Greek("<g1@x>"));
  Put(kGroup, Greek("<g2@x>"));
  OpenGroup(1);
  Open("<g1@x>");
  const std::u16string decoded = Source();
  ArticleCommand(40080);
  EXPECT_NE(Source(), decoded);
  Open("<g2@x>");
  EXPECT_EQ(Source(), decoded);
  Open("<g1@x>");
  EXPECT_EQ(Source(), decoded);
}

TEST_F(DecodedArticles, RawTextStaysThroughOtherSwitches) {
  Show(Greek());
  ArticleCommand(40080);
  ArticleCommand(40064);
  ArticleCommand(40064);
  EXPECT_EQ(Source(), Page(u"=CE=A9 caf=C3=A9&nbsp;<br>..dots&nbsp;<br>"));
}

TEST_F(DecodedArticles, RawTextWhileNothingIsDecodedShowsTheSame) {
  SetDecoding(false);
  Show(Greek());
  const std::u16string shown = Source();
  ArticleCommand(40080);
  EXPECT_EQ(Source(), shown);
  SetDecoding(true);
  DisplayCurrentArticle({});
  EXPECT_NE(Source(), shown);
}

TEST_F(DecodedArticles, HitsAreFoundInTheTextThatIsShown) {
  Show(Greek());
  const auto found = [](std::u16string_view wanted) {
    return MatchesInCurrentArticle(wanted).value_or(std::vector<MatchRange>());
  };
  EXPECT_THAT(found(u"caf\u00E9"), ElementsAre(MatchRange{2, 6}));
  EXPECT_THAT(found(u"\u03A9"), ElementsAre(MatchRange{0, 1}));
  EXPECT_THAT(found(u"=C3"), IsEmpty());
  ArticleCommand(40080);
  EXPECT_THAT(found(u"=C3"), ElementsAre(MatchRange{10, 13}));
  EXPECT_THAT(found(u"\u03A9"), IsEmpty());
}

TEST_F(DecodedArticles, ASearchTextOfAnyLanguageIsKept) {
  Show(Greek());
  MatchesInCurrentArticle(u"\u03A9\u65E5");
  EXPECT_EQ(ShownHeader(gReading.article->displayText.value_or("")), u"\u03A9\u65E5");
  MatchesInCurrentArticle(u"caf\u00E9");
  EXPECT_EQ(gReading.article->displayText, "caf\xE9");
}

// --- What shows and saves what is stored ---------------------------------------------------------

TEST_F(DecodedArticles, MessageHeadersAreShownAsTheyAreStored) {
  EXPECT_EQ(MessageHeadersText(Greek()),
            u"Subject: one =?utf-8?q?=CE=A9?=\r\n"
            u"From: =?utf-8?q?=CE=91nn?= <ann@example.invalid>\r\n"
            u"Date: 1 Jan 2001\r\n"
            u"Message-ID: <g@x>\r\n" +
                Widen(kGreekHead) +
                u"X-Quillet-ServerName: news.example.invalid\r\n"
                u"X-Quillet-ServerID: 1\r\n"
                u"X-Quillet-CompressedSavings: 0%\r\n");
}

TEST_F(DecodedArticles, SaveAsWritesWhatIsStored) {
  Show(Greek());
  fake.display.ExpectSaveFile(u"\\a.txt");
  ArticleCommand(40057);
  EXPECT_EQ(File(u"\\a.txt"),
            "Subject: one =?utf-8?q?=CE=A9?=\r\nDate: 1 Jan 2001\r\n"
            "From: =?utf-8?q?=CE=91nn?= <ann@example.invalid>\r\n"
            "Message-ID: <g@x>\r\n" +
                std::string(kGreekHead) + "\r\n" + std::string(kGreekBody));
  EXPECT_EQ(fake.display.save_dialogs().at(0).default_name, u"one__.txt");
}

TEST_F(DecodedArticles, EveryByteOfABodyIsSavedAsItIs) {
  AsciiArticle article = Greek();
  std::string bytes(255, '\0');
  std::iota(bytes.begin(), bytes.end(), '\x01');
  article.body = bytes;
  Show(article);
  fake.display.ExpectSaveFile(u"\\a.txt");
  ArticleCommand(40057);
  EXPECT_TRUE(File(u"\\a.txt").value_or("").ends_with("\r\n\r\n" + bytes));
}

TEST_F(DecodedArticles, TheNameOfTheFileComesFromTheDecodedSubject) {
  EXPECT_EQ(DefaultFileName("=?utf-8?q?Caf=C3=A9?= x"), u"Caf__x.txt");
  SetDecoding(false);
  EXPECT_EQ(DefaultFileName("=?utf-8?q?Caf=C3=A9?= x"), u"__utf_8_q_Caf_C3.txt");
}

}  // namespace
}  // namespace quillet
