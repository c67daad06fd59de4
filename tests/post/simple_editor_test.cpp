// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/post/editor_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kEmail = 0;
constexpr int kGroups = 1;
constexpr int kSubject = 2;

class SimpleEditorTest : public EditorTest {
 protected:
  SimpleEditorTest() {
    UseSimple();
    gPrefs->signature = u"-- \r\nAnn\r\n";
    gPrefs->numrecips = 2;
    gPrefs->prevemail = {u"old@example.invalid", u"new@example.invalid"};
    gPrefs->prevnames = gPrefs->prevemail;
  }

  std::u16string Value() { return Text(kControlPostValue); }
  std::vector<std::u16string> Offered() {
    return fake.display.Control(Simple(), kControlPostValue)->choices;
  }
  int Field() { return fake.display.Control(Simple(), kControlPostField)->choice; }
  void Fill(int field, std::u16string_view value) {
    ChooseField(field);
    Type(value, kControlPostValue);
  }
  std::unique_ptr<AsciiArticle> Post() { return FetchPendingPost("2026123456"); }
};

TEST_F(SimpleEditorTest, BeginsWithTheSubjectAndTheSignature) {
  StartNewArticle(u"comp.test,alt.test");
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(Text(kControlPostBody), u"-- \r\nAnn\r\n");
  EXPECT_THAT(fake.display.Control(Simple(), kControlPostField)->choices,
              ElementsAre(u"Email to:", u"Newsgroups:", u"Subject:"));
  EXPECT_EQ(Field(), kSubject);
  EXPECT_EQ(Value(), u"");
  EXPECT_TRUE(fake.display.Control(Simple(), kControlPostValue)->focused);
  EXPECT_EQ(fake.display.FindDialog(Simple())->caption, u"Post Message");
  EXPECT_EQ(fake.display.FindDialog(Simple())->kind, port::DialogKind::kWindow);
  EXPECT_EQ(fake.display.Control(Simple(), kControlPostBody)->font.face, u"Tahoma");
}

TEST_F(SimpleEditorTest, F1OpensTheGuideAndTheEditorStays) {
  StartNewArticle(u"comp.test");
  fake.display.PressKey(port::kKeyF1, 0);
  fake.HandleWaiting([](const port::Message& message) { Dispatch(message); });
  EXPECT_EQ(fake.shell.guides, 1);
  EXPECT_NE(Simple(), 0U);
}

TEST_F(SimpleEditorTest, ValueBoxFollowsTheSelector) {
  StartReply(Source(), u"comp.test");
  EXPECT_EQ(Value(), u"Re: Hello");
  EXPECT_THAT(Offered(), IsEmpty());
  Type(u"Milk", kControlPostValue);
  ChooseField(kEmail);
  EXPECT_EQ(Value(), u"");
  EXPECT_THAT(Offered(), ElementsAre(u"old@example.invalid", u"new@example.invalid"));
  ChooseField(kGroups);
  EXPECT_EQ(Value(), u"comp.test");
  EXPECT_THAT(Offered(), ElementsAre(u"comp.lang.misc", u"alt.test", u"de.test"));
  ChooseField(kSubject);
  EXPECT_EQ(Value(), u"Milk");
}

TEST_F(SimpleEditorTest, OkStoresThePost) {
  WriteCodePage();
  gPrefs->extraheaders = u"X-A: 1";
  StartReply(Source(), u"comp.test");
  Fill(kGroups, u"comp.test, alt.test ");
  Type(u"Hot \u00E9\r\n", kControlPostBody);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  ASSERT_NE(Post(), nullptr);
  EXPECT_EQ(Post()->headers,
            "From: \"Ann Example\" <ann@example.invalid>\r\nSubject: Re: Hello\r\n"
            "Newsgroups: comp.test,alt.test\r\nReferences: <a@x> <s@x>\r\nX-A: 1\r\n");
  EXPECT_EQ(Post()->body, "Hot \xE9\r\n");
  EXPECT_EQ(Post()->subject, "Re: Hello");
  EXPECT_THAT(Boxes(), IsEmpty());
  EXPECT_THAT(fake.mail.mails, IsEmpty());
  EXPECT_FALSE(DraftThere());
}

TEST_F(SimpleEditorTest, ExtraHeadersThatEndTheirLineGetNoOtherEnd) {
  gPrefs->extraheaders = u"X-A: 1\r\n";
  StartNewArticle(u"g");
  Type(u"s", kControlPostValue);
  Press(kControlOk);
  EXPECT_TRUE(Post()->headers->ends_with("Newsgroups: g\r\nX-A: 1\r\n"));
  gPrefs->extraheaders = u"";
  SetUtcYear(2027);
  StartNewArticle(u"g");
  Type(u"s", kControlPostValue);
  Press(kControlOk);
  EXPECT_TRUE(FetchPendingPost("2027123456")->headers->ends_with("Newsgroups: g\r\n"));
}

TEST_F(SimpleEditorTest, WithRecipientsItIsMailedFirst) {
  StartReply(Source(), u"comp.test");
  Fill(kEmail, u"bob@example.invalid");
  Type(u"Hot.", kControlPostBody);
  Press(kControlOk);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].Field(u"To"), u"bob@example.invalid");
  EXPECT_EQ(fake.mail.mails[0].Field(u"Subject"), u"Re: Hello");
  EXPECT_EQ(fake.mail.mails[0].body, u"Hot.");
  EXPECT_NE(Post(), nullptr);
}

TEST_F(SimpleEditorTest, WithoutGroupsItIsMailedOnly) {
  StartForward(Source(), u"comp.test");
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(SimpleEditorTest, EmptyBodyIsAskedAbout) {
  StartReply(Source(), u"comp.test");
  Type(u"", kControlPostBody);
  fake.display.Expect(u"The article has no body. Do you want to cancel this post?", port::kIdYes);
  Press(kControlOk);
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet CE");
  fake.display.Expect(u"The article has no body. Do you want to cancel this post?", port::kIdNo);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_EQ(Post()->body, "");
}

TEST_F(SimpleEditorTest, EmptySubjectIsAskedAboutInItsField) {
  StartNewArticle(u"g");
  ChooseField(kGroups);
  fake.display.Expect(u"The article has no subject. Do you want to cancel this post?",
                      port::kIdYes);
  Press(kControlOk);
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(Field(), kSubject);
  EXPECT_EQ(Value(), u"");
  fake.display.Expect(u"The article has no subject. Do you want to cancel this post?", port::kIdNo);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_EQ(Post()->subject, "");
}

TEST_F(SimpleEditorTest, NobodyToSendItToIsAskedAboutInTheField) {
  StartNewArticle(u"");
  Type(u"s", kControlPostValue);
  fake.display.Expect(u"The article has no valid recipients. Do you want to cancel this post?",
                      port::kIdYes);
  Press(kControlOk);
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(Field(), kGroups);
  // Blanks are no groups.
  Type(u"  ", kControlPostValue);
  fake.display.Expect(u"The article has no valid recipients. Do you want to cancel this post?",
                      port::kIdNo);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_THAT(fake.mail.mails, IsEmpty());
}

TEST_F(SimpleEditorTest, QuestionsAreAskedInTheirOrderAndNeverSkipped) {
  gPrefs->skipverifications = 1;
  gPrefs->signature = u"";
  StartNewArticle(u"");
  fake.display.Expect(u"The article has no body.", port::kIdNo);
  fake.display.Expect(u"The article has no subject.", port::kIdNo);
  fake.display.Expect(u"The article has no valid recipients.", port::kIdNo);
  Press(kControlOk);
  EXPECT_THAT(
      Boxes(),
      ElementsAre(u"The article has no body. Do you want to cancel this post?",
                  u"The article has no subject. Do you want to cancel this post?",
                  u"The article has no valid recipients. Do you want to cancel this post?"));
}

TEST_F(SimpleEditorTest, FailedStoreIsTold) {
  StartReply(Source(), u"comp.test");
  PressWhileStoresFail(kControlOk);
  EXPECT_EQ(fake.display.boxes().back().text, u"Unable to store post.");
  ASSERT_NE(Simple(), 0U);
  Fill(kEmail, u"bob@example.invalid");
  PressWhileStoresFail(kControlOk);
  EXPECT_EQ(fake.display.boxes().back().text,
            u"Unable to store post. The email version of this article has been queued.");
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(SimpleEditorTest, MailThatFailsIsLeftToBeDoneAlone) {
  StartReply(Source(), u"comp.test");
  Fill(kEmail, u"bob@example.invalid");
  fake.mail.FailNth(1);
  Press(kControlOk);
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(Keys().size(), 1U);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_EQ(Keys().size(), 1U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
}

TEST_F(SimpleEditorTest, WhatIsPostedAfterAMailThatFailedIsAnotherArticle) {
  StartReply(Source(), u"comp.test");
  Fill(kEmail, u"bob@example.invalid");
  fake.mail.FailNth(1);
  Press(kControlOk);
  ASSERT_NE(Simple(), 0U);
  // Posted meanwhile: under the same key a server would take the new text for the old one.
  DeletePendingPost("2026123456");
  SetUtcYear(2027);
  Fill(kGroups, u"alt.test");
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  EXPECT_THAT(Keys(), ElementsAre("2027123456"));
}

TEST_F(SimpleEditorTest, FieldsBringNoHeaderLines) {
  gPrefs->fullname = u"Ann\r\nX-A: 1";
  StartNewArticle(u"g\r\nX-B: 1");
  Type(u"s\r\nX-C: 1", kControlPostValue);
  Press(kControlOk);
  EXPECT_EQ(Post()->headers,
            "From: \"Ann  X-A: 1\" <ann@example.invalid>\r\nSubject: s  X-C: 1\r\n"
            "Newsgroups: gX-B:1\r\n");
}

TEST_F(SimpleEditorTest, ChangedFieldIsAChange) {
  StartReply(Source(), u"comp.test");
  Press(kControlCancel);
  EXPECT_EQ(Simple(), 0U);
  StartReply(Source(), u"comp.test");
  Fill(kGroups, u"alt.test");
  ChooseField(kSubject);
  fake.display.Expect(u"Discard this article?", port::kIdYes);
  Press(kControlCancel);
  EXPECT_EQ(Simple(), 0U);
}

TEST_F(SimpleEditorTest, PickedRecipientsReplaceTheOldOnes) {
  fake.contacts.contacts =
      std::vector<port::Contact>{{u"Example", u"Bob", {u"bob@example.invalid"}},
                                 {u"Example", u"Eve", {u"eve@example.invalid"}}};
  StartReply(Source(), u"comp.test");
  Fill(kEmail, u"old@example.invalid");
  ChooseField(kSubject);
  fake.display.WhenShown(kDialogChooseRecipients, [&](port::WindowHandle dialog) {
    fake.display.TickListRow(dialog, kControlContacts, 0, true);
    fake.display.TickListRow(dialog, kControlContacts, 1, true);
    fake.display.Press(dialog, kControlOk);
  });
  Press(kControlPickRecipients);
  EXPECT_EQ(Field(), kEmail);
  EXPECT_EQ(Value(), u"bob@example.invalid, eve@example.invalid");
  ChooseField(kSubject);
  EXPECT_EQ(Value(), u"Re: Hello");
  ChooseField(kEmail);
  EXPECT_EQ(Value(), u"bob@example.invalid, eve@example.invalid");
}

TEST_F(SimpleEditorTest, QueuedPostIsEditedByItsBody) {
  StartReply(Source(), u"comp.test");
  Press(kControlOk);
  SetUtcYear(2027);
  EditPendingPost("2026123456");
  EXPECT_EQ(Text(kControlPostBody), Widen(*FetchPendingPost("2026123456")->body));
  EXPECT_EQ(Value(), u"Re: Hello");
  Type(u"New.", kControlPostBody);
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
  EXPECT_EQ(Post()->body, "New.");
  EXPECT_NE(Post()->headers->find("References: <a@x> <s@x>\r\n"), std::string::npos);
}

}  // namespace
}  // namespace quillet
