// SPDX-License-Identifier: GPL-3.0-or-later
// What is written outlives the program: the draft while somebody types, and what the next start
// makes of it.
#include <chrono>
#include <thread>

#include "tests/post/editor_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

const std::u16string kGood =
    u"From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\n--- Begin body here ---\r\nHot.\r\n";
const std::u16string kOffer =
    u"An article that you were writing was not finished. Do you want to continue writing it?";

class KeptDraftTest : public EditorTest {
 protected:
  // Nobody handles the messages of the program thread meanwhile.
  bool DraftComes(const std::function<bool(const Draft&)>& wanted) {
    for (int i = 0; i < 500; ++i) {
      const auto data = fake.files.ReadFile(kDraftPath, 1 << 20);
      const auto draft = data ? ParseDraft(*data) : std::nullopt;
      if (draft && wanted(*draft)) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
  }
  // The program is killed, and starts again.
  void Crash() {
    const auto data = fake.files.ReadFile(kDraftPath, 1 << 20);
    CloseEditorForQuit();
    if (data) {
      fake.files.WriteFile(kDraftPath, *data);
    } else {
      DeleteDraft();
    }
  }
  // As the user left it when he pressed OK and the program was killed at that moment.
  static Draft PressedOk() {
    Draft draft;
    draft.info.text = kGood;
    draft.info.reply = ReplyFlag::kReply;
    draft.storing_key = "2026123456";
    return draft;
  }
  void Queue(std::string_view body = "Hot.\r\n") {
    AsciiArticle post = ArticleWithId("2026123456", body);
    post.headers = "From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\n";
    post.subject = "Tea";
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  void PutMail(const std::u16string& id) {
    fake.mail.Open();
    fake.mail.Begin(id, u"");
    fake.mail.Put();
    fake.mail.Close();
  }
};

TEST_F(KeptDraftTest, IsWrittenWhileTheProgramThreadIsBusy) {
  UseFull();
  StartNewArticle(u"comp.test");
  EXPECT_FALSE(DraftThere());
  ASSERT_TRUE(fake.display.Type(Full(), kControlArticleText, u"first"));
  EXPECT_TRUE(DraftComes([](const Draft& draft) { return draft.info.text == u"first"; }));
  ASSERT_TRUE(fake.display.Type(Full(), kControlArticleText, u"second"));
  EXPECT_TRUE(DraftComes([](const Draft& draft) { return draft.info.text == u"second"; }));
}

TEST_F(KeptDraftTest, ValuesGoIntoTheFieldThatIsChosenWhileTheProgramThreadIsBusy) {
  UseSimple();
  StartNewArticle(u"comp.test");
  ASSERT_TRUE(fake.display.Type(Simple(), kControlPostValue, u"Tea"));
  ASSERT_TRUE(fake.display.Choose(Simple(), kControlPostField, 0));
  ASSERT_TRUE(DraftComes([](const Draft& draft) { return draft.field == 0; }));
  ASSERT_TRUE(fake.display.Type(Simple(), kControlPostValue, u"bob@x"));
  EXPECT_TRUE(DraftComes([](const Draft& draft) {
    return draft.info.subject == u"Tea" && draft.info.recipients == u"bob@x" &&
           draft.info.newsgroups == u"comp.test";
  }));
}

TEST_F(KeptDraftTest, RouteIsKept) {
  UseFull();
  StartReply(Source(), u"comp.test");
  AnswerReaddress(u"bob@x");
  ChooseRoute(u"Reply via &both");
  EXPECT_TRUE(DraftComes([](const Draft& draft) {
    return draft.info.mode == RouteMode::kBoth && draft.info.recipients == u"bob@x";
  }));
}

TEST_F(KeptDraftTest, ThatCannotBeWrittenIsToldOnce) {
  UseFull();
  fake.files.before_call = [this](port::FileCall call) {
    if (call == port::FileCall::kWriteFile) fake.files.FailNth(port::FileCall::kWriteFile, 1);
  };
  StartNewArticle(u"comp.test");
  const auto told = [this] {
    bool posted = false;
    fake.HandleWaiting(
        [&](const port::Message& message) { posted = posted || message.id == kUserDraftNotSaved; });
    return posted;
  };
  ASSERT_TRUE(fake.display.Type(Full(), kControlArticleText, u"x"));
  bool came = false;
  for (int i = 0; i < 500 && !came; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    came = told();
  }
  EXPECT_TRUE(came);
  ASSERT_TRUE(fake.display.Type(Full(), kControlArticleText, u"y"));
  std::this_thread::sleep_for(std::chrono::milliseconds(1500));
  EXPECT_FALSE(told());
  TellOfUnsavedDraft();
  EXPECT_THAT(Boxes(),
              ElementsAre(u"The article that you are writing could not be kept safe, because its "
                          u"draft could not be written to the disk. If Quillet CE or the device "
                          u"should end now, it would be lost."));
  // Its thread looks at the hook.
  CloseEditorForQuit();
  fake.files.before_call = {};
}

TEST_F(KeptDraftTest, IsOfferedAtTheNextStart) {
  UseFull();
  StartReply(Source(), u"comp.test");
  AnswerReaddress(u"bob@x");
  ChooseRoute(u"Reply via &both");
  Type(u"not finished");
  ASSERT_TRUE(DraftComes([](const Draft& draft) { return draft.info.text == u"not finished"; }));
  Crash();
  // Another editor is the preferred one meanwhile.
  UseSimple();
  SettleDraft();
  fake.display.Expect(kOffer, port::kIdYes);
  OfferDraft();
  ASSERT_NE(Full(), 0U);
  EXPECT_EQ(Text(), u"not finished");
  EXPECT_TRUE(DraftThere());
  EXPECT_EQ(fake.display.boxes().back().caption, u"Quillet confirmation");
  ChooseRoute(u"");
  EXPECT_TRUE(fake.display.pop_ups().back()[2].checked);
  // It is still to be done: Cancel asks.
  fake.display.Expect(u"Discard this article?", port::kIdYes);
  Press(kControlCancel);
  EXPECT_FALSE(DraftThere());
}

TEST_F(KeptDraftTest, SimpleOneIsOfferedWithItsFields) {
  UseSimple();
  StartNewArticle(u"comp.test");
  Type(u"Tea", kControlPostValue);
  ChooseField(1);
  Type(u"Hot.", kControlPostBody);
  ASSERT_TRUE(DraftComes([](const Draft& draft) { return draft.info.text == u"Hot."; }));
  Crash();
  fake.display.Expect(kOffer, port::kIdYes);
  OfferDraft();
  ASSERT_NE(Simple(), 0U);
  EXPECT_EQ(Text(kControlPostBody), u"Hot.");
  EXPECT_EQ(fake.display.Control(Simple(), kControlPostField)->choice, 1);
  EXPECT_EQ(Text(kControlPostValue), u"comp.test");
  ChooseField(2);
  EXPECT_EQ(Text(kControlPostValue), u"Tea");
  Press(kControlOk);
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(KeptDraftTest, NoDeletesItAndAsksNothingMore) {
  ASSERT_TRUE(SaveDraft(Draft()));
  fake.display.Expect(kOffer, port::kIdNo);
  OfferDraft();
  EXPECT_EQ(Window(), 0U);
  EXPECT_FALSE(DraftThere());
  OfferDraft();
  EXPECT_EQ(Boxes().size(), 1U);
}

TEST_F(KeptDraftTest, OfferIsNeverSkipped) {
  gPrefs->skipverifications = 1;
  ASSERT_TRUE(SaveDraft(Draft()));
  fake.display.Expect(kOffer, port::kIdNo);
  OfferDraft();
}

TEST_F(KeptDraftTest, StoredPostIsNotOfferedAgain) {
  Queue();
  ASSERT_TRUE(SaveDraft(PressedOk()));
  SettleDraft();
  EXPECT_FALSE(DraftThere());
  OfferDraft();
  EXPECT_EQ(Window(), 0U);
}

TEST_F(KeptDraftTest, PostThatWasNotStoredYetIsOfferedAndStoredOnce) {
  ASSERT_TRUE(SaveDraft(PressedOk()));
  SettleDraft();
  EXPECT_TRUE(DraftThere());
  fake.display.Expect(kOffer, port::kIdYes);
  OfferDraft();
  SetUtcYear(2027);
  Press(kControlOk);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
}

TEST_F(KeptDraftTest, EditedPostWithTheOldTextIsOffered) {
  Queue("Cold.\r\n");
  Draft draft = PressedOk();
  draft.info.key = draft.storing_key;
  ASSERT_TRUE(SaveDraft(draft));
  SettleDraft();
  EXPECT_TRUE(DraftThere());
  // Until then no connection may post the old text: the new one would come too late.
  EXPECT_TRUE(IsBeingEdited("2026123456"));
  fake.display.Expect(kOffer, port::kIdNo);
  OfferDraft();
  EXPECT_FALSE(IsBeingEdited("2026123456"));
}

TEST_F(KeptDraftTest, PlacedMailIsNotOfferedAgain) {
  Draft draft = PressedOk();
  draft.storing_key.clear();
  draft.info.mode = RouteMode::kEmail;
  draft.mail_id = u"mail-1";
  ASSERT_TRUE(SaveDraft(draft));
  SettleDraft();
  EXPECT_TRUE(DraftThere());
  PutMail(u"mail-1");
  SettleDraft();
  EXPECT_FALSE(DraftThere());
}

TEST_F(KeptDraftTest, PlacedMailIsNotSentAgainWithThePost) {
  Draft draft = PressedOk();
  draft.info.mode = RouteMode::kBoth;
  draft.info.recipients = u"bob@x";
  draft.mail_id = u"mail-1";
  ASSERT_TRUE(SaveDraft(draft));
  PutMail(u"mail-1");
  SettleDraft();
  fake.display.Expect(kOffer, port::kIdYes);
  OfferDraft();
  Press(kControlOk);
  EXPECT_EQ(Window(), 0U);
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_THAT(Keys(), ElementsAre("2026123456"));
}

TEST_F(KeptDraftTest, StoredPostWhoseMailIsMissingIsOffered) {
  Queue();
  Draft draft = PressedOk();
  draft.info.mode = RouteMode::kBoth;
  draft.info.recipients = u"bob@x";
  ASSERT_TRUE(SaveDraft(draft));
  SettleDraft();
  EXPECT_TRUE(DraftThere());
}

TEST_F(KeptDraftTest, MailOfATextThatCouldNotBePostedWasAllThereWas) {
  Draft draft = PressedOk();
  draft.storing_key.clear();
  draft.info.mode = RouteMode::kBoth;
  draft.mail_id = u"mail-1";
  ASSERT_TRUE(SaveDraft(draft));
  PutMail(u"mail-1");
  SettleDraft();
  EXPECT_FALSE(DraftThere());
}

}  // namespace
}  // namespace quillet
