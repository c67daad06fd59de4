// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/post/editor_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::u16string kGood =
    u"From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\n--- Begin body here ---\r\nHot.\r\n";

class FullEditorTest : public EditorTest {
 protected:
  FullEditorTest() { UseFull(); }

  void Reply() { StartReply(Source(), u"comp.test"); }
  // A reply whose text is good, by that route.
  void ReplyBy(const std::u16string& route, const std::u16string& text = kGood) {
    Reply();
    AnswerReaddress(u"bob@example.invalid");
    ChooseRoute(route);
    Type(text);
  }
};

TEST_F(FullEditorTest, NewArticleHasNoRoute) {
  StartNewArticle(u"comp.test");
  ASSERT_NE(Full(), 0U);
  EXPECT_EQ(Text(), CreateBlankHeader(u"comp.test"));
  EXPECT_FALSE(fake.display.Control(Full(), kControlRoute)->visible);
  EXPECT_EQ(fake.display.FindDialog(Full())->kind, port::DialogKind::kWindow);
  EXPECT_EQ(fake.display.FindDialog(Full())->caption, u"Post Message");
}

TEST_F(FullEditorTest, TextHasTheArticlesFont) {
  StartNewArticle(u"comp.test");
  const port::FontChoice font = fake.display.Control(Full(), kControlArticleText)->font;
  EXPECT_EQ(font.face, u"Tahoma");
  EXPECT_EQ(font.size_index, 3);
}

TEST_F(FullEditorTest, ReplyHasARouteAndShowsQuotedCharacters) {
  AsciiArticle source = Source();
  source.body = "caf\xE9\r\n";
  StartReply(source, u"comp.test");
  EXPECT_TRUE(fake.display.Control(Full(), kControlRoute)->visible);
  EXPECT_NE(Text().find(u"> caf\u00E9\r\n"), std::u16string::npos);
}

TEST_F(FullEditorTest, OkStoresThePost) {
  WriteCodePage();
  StartNewArticle(u"comp.test");
  Type(
      u"From: a\r\n\r\nSubject: Tea \u20AC\r\nNewsgroups: comp.test\r\n\r\n"
      u"--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
  const auto post = FetchPendingPost("2026123456");
  EXPECT_EQ(post->messageId, "2026123456");
  EXPECT_EQ(post->headers, "From: a\r\nSubject: Tea \x80\r\nNewsgroups: comp.test\r\n");
  EXPECT_EQ(post->body, "Hot.\r\n");
  EXPECT_EQ(post->subject, "Tea \x80");
  EXPECT_EQ(post->read, 0U);
  EXPECT_EQ(gPendingPostCount, 1U);
  EXPECT_FALSE(DraftThere());
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(FullEditorTest, TwoPostsOfOneMillisecondHaveTwoKeys) {
  for (int i = 0; i < 3; ++i) {
    StartNewArticle(u"comp.test");
    Type(kGood);
    Press(kControlOk);
  }
  EXPECT_THAT(Keys(), ::testing::UnorderedElementsAre("2026123456", "2026123457", "2026123458"));
}

TEST_F(FullEditorTest, ReplyKeepsItsReferences) {
  Reply();
  Type(kGood);
  Press(kControlOk);
  EXPECT_EQ(FetchPendingPost("2026123456")->headers,
            "From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\nReferences: <a@x> <s@x>\r\n");
}

TEST_F(FullEditorTest, RefusedTextStaysWithTheCaretAtItsLine) {
  StartNewArticle(u"comp.test");
  Type(u"From: a\r\nSubject Tea\r\n--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_THAT(Boxes(), ElementsAre(u"One or more headers contain spaces before a colon."));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet");
  EXPECT_EQ(fake.display.boxes()[0].owner, Full());
  ASSERT_NE(Full(), 0U);
  EXPECT_EQ(Text(), u"From: a\r\nSubject Tea\r\n--- Begin body here ---\r\nHot.\r\n");
  EXPECT_EQ(fake.display.Control(Full(), kControlArticleText)->text_state.caret, 9U);
  EXPECT_TRUE(fake.display.Control(Full(), kControlArticleText)->text_state.changed);
  EXPECT_THAT(Keys(), IsEmpty());
  Type(kGood);
  Press(kControlOk);
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(FullEditorTest, FailedStoreLeavesTheTextAndItsKey) {
  StartNewArticle(u"comp.test");
  Type(kGood);
  PressWhileStoresFail(kControlOk);
  EXPECT_THAT(Boxes(), ElementsAre(u"An unexpected error (Error inserting GDBM post.) occurred in "
                                   u"StoreAsciiGDBMPost.",
                                   u"An error occurred while trying to store the post. Perhaps "
                                   u"your storage card is full."));
  ASSERT_NE(Full(), 0U);
  EXPECT_TRUE(DraftThere());
  fake.clock.Advance(5000);
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
}

TEST_F(FullEditorTest, CharactersThatBecomeQuestionMarksAreTold) {
  WriteCodePage();
  StartNewArticle(u"comp.test");
  Type(kGood + u"\u4E2D\u6587");
  Press(kControlOk);
  EXPECT_EQ(FetchPendingPost("2026123456")->body, "Hot.\r\n??");
  EXPECT_THAT(Boxes(), ElementsAre(u"Some characters of this text cannot be used here: \u4E2D "
                                   u"\u6587. In the article that waits to be posted each of them "
                                   u"is a \"?\"."));
}

// --- Routes
// ----------------------------------------------------------------------------------------

TEST_F(FullEditorTest, RouteMenuChecksThePresentRoute) {
  Reply();
  ChooseRoute(u"");
  const auto menu = fake.display.pop_ups().back();
  ASSERT_EQ(menu.size(), 5U);
  EXPECT_EQ(menu[0].text, u"Reply via &post");
  EXPECT_EQ(menu[0].command, 40034U);
  EXPECT_TRUE(menu[0].checked);
  EXPECT_EQ(menu[1].text, u"Reply via &email");
  EXPECT_EQ(menu[1].command, 40035U);
  EXPECT_FALSE(menu[1].checked);
  EXPECT_EQ(menu[2].text, u"Reply via &both");
  EXPECT_EQ(menu[2].command, 40036U);
  EXPECT_EQ(menu[3].command, 0U);
  EXPECT_EQ(menu[4].text, u"&Forward via email");
  EXPECT_EQ(menu[4].command, 40038U);
}

TEST_F(FullEditorTest, OtherRoutesCanBeReaddressed) {
  Reply();
  AnswerReaddress(u"bob@example.invalid");
  ChooseRoute(u"Reply via &both");
  EXPECT_EQ(asked_recipients, u"");
  ChooseRoute(u"");
  const auto menu = fake.display.pop_ups().back();
  ASSERT_EQ(menu.size(), 7U);
  EXPECT_FALSE(menu[0].checked);
  EXPECT_TRUE(menu[2].checked);
  EXPECT_EQ(menu[5].command, 0U);
  EXPECT_EQ(menu[6].text, u"&Readdress email");
  EXPECT_EQ(menu[6].command, 40037U);
  AnswerReaddress(u"eve@example.invalid");
  ChooseRoute(u"&Readdress email");
  EXPECT_EQ(asked_recipients, u"bob@example.invalid");
  // With recipients nobody asks again.
  ChooseRoute(u"Reply via &email");
  EXPECT_EQ(asked_recipients, u"bob@example.invalid");
}

TEST_F(FullEditorTest, ForwardBeginsWithItsRouteAndRecipients) {
  StartForward(Source(), u"comp.test");
  EXPECT_TRUE(fake.display.Control(Full(), kControlRoute)->visible);
  ChooseRoute(u"");
  EXPECT_TRUE(fake.display.pop_ups().back()[4].checked);
  Type(kGood);
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].Field(u"To"), u"bob@example.invalid");
  EXPECT_EQ(fake.mail.mails[0].Field(u"Subject"), u"Tea");
  EXPECT_EQ(fake.mail.mails[0].body, u"Hot.\r\n");
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(FullEditorTest, EmailOnlyLooksAtNoOtherHeader) {
  ReplyBy(u"Reply via &email", u"no colon\r\nSubject: Tea\r\n--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].body, u"Hot.\r\n");
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(FullEditorTest, EmailWithoutSubjectStays) {
  ReplyBy(u"Reply via &email", u"From: a\r\n--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_NE(Full(), 0U);
  EXPECT_EQ(fake.display.boxes().back().text, u"The 'Subject:' header could not be found.");
  EXPECT_EQ(fake.display.boxes().back().caption, u"Quillet: header error");
  EXPECT_THAT(fake.mail.mails, IsEmpty());
}

TEST_F(FullEditorTest, EmailWithoutSeparatorStaysAndIsNotSent) {
  ReplyBy(u"Reply via &email", u"Subject: Tea\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_NE(Full(), 0U);
  EXPECT_EQ(fake.display.boxes().back().text, u"The '--- Begin body here ---' line is missing.");
  EXPECT_EQ(fake.display.boxes().back().caption, u"Quillet: header error");
  EXPECT_THAT(fake.mail.mails, IsEmpty());
}

TEST_F(FullEditorTest, BothMailsTheWholeTextOnceAndStores) {
  ReplyBy(u"Reply via &both");
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].Field(u"Subject"), u"Re: Hello");
  EXPECT_EQ(fake.mail.mails[0].body, kGood);
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(FullEditorTest, BothMailsAndClosesWhenTheTextCannotBePosted) {
  ReplyBy(u"Reply via &both", u"Subject: Tea\r\n--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].body, u"Hot.\r\n");
  EXPECT_EQ(fake.mail.mails[0].Field(u"Subject"), u"Tea");
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_EQ(fake.display.boxes()[0].text, u"The 'Newsgroups:' header is missing or invalid.");
  EXPECT_FALSE(DraftThere());
}

TEST_F(FullEditorTest, BothWhoseStoreFailsIsNotMailedAgain) {
  ReplyBy(u"Reply via &both");
  PressWhileStoresFail(kControlOk);
  EXPECT_NE(Full(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(FullEditorTest, BothWhoseMailFailsIsStoredAndLeavesTheMailToBeDone) {
  ReplyBy(u"Reply via &both");
  fake.mail.FailNth(1);
  // The second step tries it again, as ever.
  Press(kControlOk);
  EXPECT_EQ(Keys().size(), 1U);
  EXPECT_EQ(Full(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
}

TEST_F(FullEditorTest, MailThatCannotBePlacedKeepsItsText) {
  ReplyBy(u"Reply via &email");
  fake.mail.FailNth(1);
  Press(kControlOk);
  ASSERT_NE(Full(), 0U);
  EXPECT_EQ(Text(), kGood);
  EXPECT_EQ(fake.display.boxes().back().text,
            u"An unexpected error (112 while trying to open mail) occurred in MailMessage.");
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
}

// --- Cancel, quitting, another article
// -------------------------------------------------------------

TEST_F(FullEditorTest, UnchangedTextIsCancelledWithoutAWord) {
  Reply();
  Press(kControlCancel);
  EXPECT_EQ(Full(), 0U);
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(FullEditorTest, ChangedTextIsDiscardedAfterAQuestion) {
  Reply();
  Type(u"x");
  fake.display.Expect(u"Discard this article?", port::kIdNo);
  Press(kControlCancel);
  ASSERT_NE(Full(), 0U);
  EXPECT_EQ(Text(), u"x");
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet confirmation");
  fake.display.Expect(u"Discard this article?", port::kIdYes);
  Press(kControlCancel);
  EXPECT_EQ(Full(), 0U);
  EXPECT_FALSE(DraftThere());
}

TEST_F(FullEditorTest, ChangedRouteIsAChange) {
  Reply();
  AnswerReaddress(u"", false);
  ChooseRoute(u"Reply via &email");
  fake.display.Expect(u"Discard this article?", port::kIdYes);
  Press(kControlCancel);
  EXPECT_EQ(Full(), 0U);
}

TEST_F(FullEditorTest, SkippedVerificationsDiscardAtOnce) {
  gPrefs->skipverifications = 1;
  Reply();
  Type(u"x");
  Press(kControlCancel);
  EXPECT_EQ(Full(), 0U);
}

TEST_F(FullEditorTest, OneArticleIsWrittenAtATime) {
  Reply();
  Type(u"x");
  StartNewArticle(u"comp.test");
  StartForward(Source(), u"comp.test");
  EXPECT_EQ(Text(), u"x");
  EXPECT_THAT(Boxes(),
              ElementsAre(u"You are already writing an article. Please finish it, or cancel it, "
                          u"before you begin another one.",
                          u"You are already writing an article. Please finish it, or cancel it, "
                          u"before you begin another one."));
}

TEST_F(FullEditorTest, QuittingAsksWhileAnArticleIsWritten) {
  EXPECT_TRUE(EditorLetsQuit());
  Reply();
  EXPECT_TRUE(EditorLetsQuit());
  Type(u"x");
  fake.display.Expect(u"The article that you are writing is not finished.", port::kIdNo);
  EXPECT_FALSE(EditorLetsQuit());
  fake.display.Expect(u"The article that you are writing is not finished.", port::kIdYes);
  EXPECT_TRUE(EditorLetsQuit());
  CloseEditorForQuit();
  EXPECT_EQ(Full(), 0U);
  EXPECT_EQ(LoadDraft()->info.text, u"x");
}

TEST_F(FullEditorTest, UnchangedArticleIsNotKeptWhenQuitting) {
  Reply();
  CloseEditorForQuit();
  EXPECT_EQ(Full(), 0U);
  EXPECT_FALSE(DraftThere());
  CloseEditorForQuit();
}

// --- The queue
// -------------------------------------------------------------------------------------

TEST_F(FullEditorTest, EditedPostKeepsItsKeyAndReferences) {
  Reply();
  Type(kGood);
  Press(kControlOk);
  fake.clock.Advance(60000);
  EditPendingPost("2026123456");
  EXPECT_TRUE(IsBeingEdited("2026123456"));
  EXPECT_FALSE(IsBeingEdited("1"));
  EXPECT_FALSE(IsBeingEdited(""));
  EXPECT_EQ(Text(), kGood);
  EXPECT_FALSE(fake.display.Control(Full(), kControlRoute)->visible);
  Type(u"From: a\r\nSubject: Milk\r\nNewsgroups: comp.test\r\n--- Begin body here ---\r\nCold.");
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
  EXPECT_EQ(gPendingPostCount, 1U);
  const auto post = FetchPendingPost("2026123456");
  EXPECT_EQ(post->subject, "Milk");
  EXPECT_EQ(post->headers,
            "From: a\r\nSubject: Milk\r\nNewsgroups: comp.test\r\nReferences: <a@x> <s@x>\r\n");
  EXPECT_FALSE(IsBeingEdited("2026123456"));
}

TEST_F(FullEditorTest, EditedPostThatHasGoneMeanwhileIsANewOne) {
  Reply();
  Type(kGood);
  Press(kControlOk);
  EditPendingPost("2026123456");
  DeletePendingPost("2026123456");
  SetUtcYear(2027);
  Type(kGood + u"More.");
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("2027123456"));
}

TEST_F(FullEditorTest, StoringAgainTakesTheMarkAway) {
  AsciiArticle post = ArticleWithId("77");
  post.headers = "Subject: s\r\nNewsgroups: g\r\n";
  post.read = 1;
  ASSERT_TRUE(StoreAsciiGDBMPost(post));
  EditPendingPost("77");
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("77"));
  EXPECT_EQ(FetchPendingPost("77")->read, 0U);
}

TEST_F(FullEditorTest, PostThatCannotBeFetchedIsPassedOver) {
  EditPendingPost("nothing");
  EXPECT_EQ(Window(), 0U);
}

}  // namespace
}  // namespace quillet
