// SPDX-License-Identifier: GPL-3.0-or-later
// What is written in any language, through both editors, and the same with that switched off.
#include "base/prefs.h"
#include "mime/shown_text.h"
#include "tests/post/editor_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr int kGroups = 1;
constexpr char kKey[] = "2026123456";

const std::u16string kOffer =
    u"An article that you were writing was not finished. Do you want to continue writing it?";
const std::u16string kBody =
    u"\u0393\u03B5\u03B9\u03AC, \u65E5\u672C \uFF80\uFF71, \xD83D\xDE00 caf\u00E9\r\n";
constexpr std::string_view kStoredBody =
    "\xCE\x93\xCE\xB5\xCE\xB9\xCE\xAC, \xE6\x97\xA5\xE6\x9C\xAC \xEF\xBE\x80\xEF\xBD\xB1, "
    "\xF0\x9F\x98\x80 caf\xC3\xA9\r\n";
const std::u16string kHead = u"From: a\r\nSubject: \u03A9\r\nNewsgroups: comp.test\r\n";
const std::u16string kText = kHead + u"--- Begin body here ---\r\n" + kBody;
constexpr std::string_view kMimeLines =
    "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
    "Content-Transfer-Encoding: 8bit\r\n";

class EveryLanguageTest : public EditorTest {
 protected:
  void WriteEveryLanguage() { fake.registry.PutDword(kExtensionsPath, u"postcharsets", 1); }
  static std::unique_ptr<AsciiArticle> Post() { return FetchPendingPost(kKey); }
  // The draft as a killed program leaves it.
  void Kill() {
    CloseEditorForQuit();
    ASSERT_TRUE(DraftThere());
  }
  void TakeUpDraft() {
    SettleDraft();
    fake.display.Expect(kOffer, port::kIdYes);
    OfferDraft();
  }
  void ExpectStoredInUtf8() {
    ASSERT_NE(Post(), nullptr);
    EXPECT_EQ(Post()->headers,
              "From: a\r\nSubject: =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: comp.test\r\n" +
                  std::string(kMimeLines));
    EXPECT_EQ(Post()->body, kStoredBody);
    EXPECT_EQ(Post()->subject, "=?UTF-8?Q?=CE=A9?=");
  }
};

TEST_F(EveryLanguageTest, FullEditorStoresUtf8) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(kText);
  Press(kControlOk);
  EXPECT_EQ(Full(), 0U);
  ExpectStoredInUtf8();
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(EveryLanguageTest, SimpleEditorStoresUtf8) {
  UseSimple();
  gPrefs->fullname = u"\u03A3\u03BF\u03C6\u03AF\u03B1";
  gPrefs->extraheaders = u"Organization: Z\u00FCrich";
  StartReply(Source(), u"comp.test");
  Type(u"Re: \u03A9", kControlPostValue);
  Type(kBody, kControlPostBody);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  ASSERT_NE(Post(), nullptr);
  EXPECT_EQ(Post()->headers,
            "From: =?UTF-8?B?zqPOv8+Gzq/OsQ==?= <ann@example.invalid>\r\n"
            "Subject: Re: =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: comp.test\r\n"
            "References: <a@x> <s@x>\r\nOrganization: =?UTF-8?Q?Z=C3=BCrich?=\r\n" +
                std::string(kMimeLines));
  EXPECT_EQ(Post()->body, kStoredBody);
  EXPECT_EQ(Post()->subject, "Re: =?UTF-8?Q?=CE=A9?=");
  EXPECT_EQ(ShownHeader(*Post()->subject), u"Re: \u03A9");
  EXPECT_THAT(Boxes(), IsEmpty());
}

TEST_F(EveryLanguageTest, PlainAsciiIsStoredTheSameWhateverTheSwitchSays) {
  gPrefs->extraheaders = u"X-A: 1\r\n\r\nX-B: 2\r\n";
  for (const bool simple : {false, true}) {
    std::vector<std::string> texts;
    for (const bool on : {true, false}) {
      on ? WriteEveryLanguage() : WriteCodePage();
      gPrefs->simplepost = simple ? 1 : 0;
      StartReply(Source(), u"comp.test");
      if (simple) Type(u"plain\r\n.\r\n", kControlPostBody);
      Press(kControlOk);
      ASSERT_NE(Post(), nullptr);
      texts.push_back(*Post()->headers + "|" + *Post()->body + "|" + *Post()->subject);
      DeletePendingPost(kKey);
    }
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(texts[0].find("MIME"), std::string::npos);
  }
}

TEST_F(EveryLanguageTest, SwitchedOffBothStoreCodePage1252) {
  WriteCodePage();
  UseFull();
  StartNewArticle(u"comp.test");
  Type(kHead + u"--- Begin body here ---\r\ncaf\u00E9 \u65E5\uFFE9\r\n");
  Press(kControlOk);
  EXPECT_EQ(Post()->headers, "From: a\r\nSubject: ?\r\nNewsgroups: comp.test\r\n");
  EXPECT_EQ(Post()->body, "caf\xE9 ?\xE9\r\n");
  EXPECT_EQ(Boxes().size(), 1U);
  DeletePendingPost(kKey);
  UseSimple();
  StartReply(Source(), u"comp.test");
  Type(u"caf\u00E9 \u65E5\uFFE9\r\n", kControlPostBody);
  Press(kControlOk);
  EXPECT_EQ(Post()->body, "caf\xE9 ?\xE9\r\n");
  EXPECT_EQ(Boxes().size(), 2U);
}

// --- what cannot be stored ---

TEST_F(EveryLanguageTest, GroupsThatAreNotAsciiAreRefusedInTheFullEditor) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(u"From: a\r\nSubject: s\r\nNewsgroups: comp.\u03A9\r\n--- Begin body here ---\r\nb\r\n");
  Press(kControlOk);
  EXPECT_NE(Full(), 0U);
  EXPECT_THAT(Boxes(), ElementsAre(u"The header 'Newsgroups:' can hold plain ASCII characters "
                                   u"only. Please take the other characters out of it."));
  EXPECT_EQ(fake.display.Control(Full(), kControlArticleText)->text_state.caret, 21U);
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(EveryLanguageTest, GroupsThatAreNotAsciiAreRefusedInTheSimpleEditorBeforeTheMail) {
  UseSimple();
  StartReply(Source(), u"comp.\u03A9");
  ChooseField(0);
  Type(u"bob@example.invalid", kControlPostValue);
  Press(kControlOk);
  EXPECT_NE(Simple(), 0U);
  EXPECT_THAT(Boxes(), ElementsAre(u"The header 'Newsgroups:' can hold plain ASCII characters "
                                   u"only. Please take the other characters out of it."));
  EXPECT_EQ(fake.display.Control(Simple(), kControlPostField)->choice, kGroups);
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_THAT(fake.mail.mails, IsEmpty());
}

TEST_F(EveryLanguageTest, AddressThatIsNotAsciiIsRefusedInTheSimpleEditor) {
  UseSimple();
  gPrefs->returnmailaddress = u"ann@b\u00FCro.example";
  StartReply(Source(), u"comp.test");
  Press(kControlOk);
  EXPECT_NE(Simple(), 0U);
  EXPECT_THAT(Boxes(),
              ElementsAre(u"The address in the header 'From:' can hold plain ASCII "
                          u"characters only. Please take the other characters out of it."));
  EXPECT_EQ(fake.display.Control(Simple(), kControlPostField)->choice, 2);
  EXPECT_THAT(Keys(), IsEmpty());
}

// Mail alone goes to no news server.
TEST_F(EveryLanguageTest, MailAloneIsNotCheckedForWhatServersTake) {
  UseSimple();
  gPrefs->extraheaders = u"Content-Type: text/plain; charset=us-ascii";
  StartReply(Source(), u"");
  ChooseField(0);
  Type(u"bob@example.invalid", kControlPostValue);
  Type(kBody, kControlPostBody);
  fake.display.Allow(u"Quillet CE cannot find any user-defined email transports", port::kIdOk);
  Press(kControlOk);
  EXPECT_EQ(Simple(), 0U);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].body, kBody);
}

TEST_F(EveryLanguageTest, SwitchThatIsChangedWhileSomebodyWritesHoldsAtOk) {
  UseFull();
  WriteCodePage();
  StartNewArticle(u"comp.test");
  Type(kText);
  WriteEveryLanguage();
  Press(kControlOk);
  ExpectStoredInUtf8();
  StartNewArticle(u"comp.test");
  Type(u"From: a\r\nSubject: s\r\nNewsgroups: g\r\n--- Begin body here ---\r\n\u00E9\uFFE9\r\n");
  WriteCodePage();
  SetUtcYear(2027);
  Press(kControlOk);
  EXPECT_EQ(FetchPendingPost("2027123456")->body, "\xE9?\r\n");
}

TEST_F(EveryLanguageTest, ReferencesThatNoServerTakesAreLeftOut) {
  for (const bool simple : {false, true}) {
    gPrefs->simplepost = simple ? 1 : 0;
    AsciiArticle source = Source();
    source.headers = "Newsgroups: comp.test\r\nReferences: <a@x> <\xE9@x>\r";
    StartReply(source, u"comp.test");
    Press(kControlOk);
    ASSERT_NE(Post(), nullptr);
    EXPECT_NE(Post()->headers->find("\r\nReferences: <a@x> <s@x>\r\n"), std::string::npos);
    EXPECT_EQ(Post()->headers->find("MIME"), std::string::npos);
    DeletePendingPost(kKey);
  }
}

// --- the queue ---

TEST_F(EveryLanguageTest, QueuedPostIsEditedAndStoredAgain) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(kText);
  Press(kControlOk);
  EditPendingPost(kKey);
  EXPECT_EQ(Text(), kText);
  Press(kControlOk);
  ExpectStoredInUtf8();
  EditPendingPost(kKey);
  Type(u"From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\n--- Begin body here ---\r\nHot.\r\n");
  Press(kControlOk);
  EXPECT_EQ(Post()->headers, "From: a\r\nSubject: Tea\r\nNewsgroups: comp.test\r\n");
  EXPECT_EQ(Post()->body, "Hot.\r\n");
}

TEST_F(EveryLanguageTest, QueuedPostOfEarlierVersionsBecomesUtf8WhenItIsEdited) {
  WriteCodePage();
  UseFull();
  StartNewArticle(u"comp.test");
  Type(
      u"From: a\r\nSubject: \u00E9\r\nNewsgroups: comp.test\r\n--- Begin body here "
      u"---\r\n\u20AC\r\n");
  Press(kControlOk);
  EXPECT_EQ(Post()->body, "\x80\r\n");
  WriteEveryLanguage();
  EditPendingPost(kKey);
  EXPECT_EQ(Text(),
            u"From: a\r\nSubject: \u00E9\r\nNewsgroups: comp.test\r\n--- Begin body here ---\r\n"
            u"\u20AC\r\n");
  Press(kControlOk);
  EXPECT_EQ(Post()->body, "\xE2\x82\xAC\r\n");
  EXPECT_EQ(Post()->subject, "=?UTF-8?Q?=C3=A9?=");
}

TEST_F(EveryLanguageTest, PostInUtf8KeepsItsBytesWhenItIsEditedSwitchedOff) {
  UseSimple();
  StartReply(Source(), u"comp.test");
  Type(kBody, kControlPostBody);
  Press(kControlOk);
  WriteCodePage();
  UseFull();
  EditPendingPost(kKey);
  Press(kControlOk);
  EXPECT_EQ(Post()->body, kStoredBody);
  EXPECT_NE(Post()->headers->find(kMimeLines.substr(0, 17)), std::string::npos);
  EXPECT_THAT(Boxes(), IsEmpty());
}

// --- drafts over a change of the switch ---

TEST_F(EveryLanguageTest, DraftIsTakenUpAsItWas) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(kText);
  Kill();
  TakeUpDraft();
  EXPECT_EQ(Text(), kText);
  Press(kControlOk);
  ExpectStoredInUtf8();
}

TEST_F(EveryLanguageTest, DraftTakenUpSwitchedOffHasCharactersAndNoQuotedBytes) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(u"From: a\r\nSubject: s\r\nNewsgroups: g\r\n--- Begin body here ---\r\n\u00E9\uFFE9\r\n");
  Kill();
  WriteCodePage();
  TakeUpDraft();
  EXPECT_TRUE(Text().ends_with(u"\u00E9\uFFE9\r\n"));
  Press(kControlOk);
  EXPECT_EQ(Post()->body, "\xE9?\r\n");
  EXPECT_TRUE(Boxes().back().starts_with(
      u"Some characters of this text cannot be used here: \uFFE9. In the article"));
}

TEST_F(EveryLanguageTest, DraftOfQuotedBytesTakenUpSwitchedOnHasTheirCharacters) {
  WriteCodePage();
  Draft draft;
  draft.info.text =
      u"From: a\r\nSubject: s\r\nNewsgroups: g\r\n--- Begin body here ---\r\n> \xFFE9\xFF80\r\n";
  ASSERT_TRUE(SaveDraft(draft));
  WriteEveryLanguage();
  TakeUpDraft();
  EXPECT_TRUE(Text().ends_with(u"> \u00E9\u20AC\r\n"));
  Press(kControlOk);
  EXPECT_EQ(Post()->body, "> \xC3\xA9\xE2\x82\xAC\r\n");
  EXPECT_THAT(Boxes(), ElementsAre(kOffer));
}

TEST_F(EveryLanguageTest, DraftOfUtf8ByteForByteTakenUpSwitchedOnHasItsCharacters) {
  UseFull();
  StartNewArticle(u"comp.test");
  Type(kText);
  Press(kControlOk);
  WriteCodePage();
  EditPendingPost(kKey);
  Type(Text() + u"more\r\n");
  Kill();
  WriteEveryLanguage();
  TakeUpDraft();
  EXPECT_TRUE(Text().ends_with(kBody + u"more\r\n"));
  Press(kControlOk);
  EXPECT_EQ(Post()->body, std::string(kStoredBody) + "more\r\n");
  EXPECT_EQ(Post()->headers, "From: a\r\nSubject: =?UTF-8?Q?=CE=A9?=\r\nNewsgroups: comp.test\r\n" +
                                 std::string(kMimeLines));
}

TEST_F(EveryLanguageTest, DraftWithCharactersThatAreNoBytesKeepsThem) {
  Draft draft;
  draft.info.text =
      u"From: a\r\nSubject: s\r\nNewsgroups: g\r\n--- Begin body here ---\r\n\u00CE\u00A9 "
      u"\u03A9\r\n";
  draft.caret = 70;
  ASSERT_TRUE(SaveDraft(draft));
  TakeUpDraft();
  EXPECT_TRUE(Text().ends_with(u"\u00CE\u00A9 \u03A9\r\n"));
}

TEST_F(EveryLanguageTest, FinishedPostIsKnownWhicheverWayItWasStored) {
  for (const bool on : {true, false}) {
    on ? WriteEveryLanguage() : WriteCodePage();
    UseFull();
    StartNewArticle(u"comp.test");
    Type(u"From: a\r\nSubject: \u00E9\r\nNewsgroups: g\r\n--- Begin body here ---\r\n\u00E9\r\n");
    Press(kControlOk);
    Draft draft;
    draft.info.text =
        u"From: a\r\nSubject: \u00E9\r\nNewsgroups: g\r\n--- Begin body here ---\r\n\u00E9\r\n";
    draft.storing_key = kKey;
    ASSERT_TRUE(SaveDraft(draft));
    on ? WriteCodePage() : WriteEveryLanguage();
    SettleDraft();
    EXPECT_FALSE(DraftThere()) << on;
    DeletePendingPost(kKey);
  }
}

// --- mail ---

TEST_F(EveryLanguageTest, MailHasSubjectAndTextAsTheyWereWritten) {
  UseFull();
  StartReply(Source(), u"comp.test");
  AnswerReaddress(u"\u03A3 <bob@example.invalid>");
  ChooseRoute(u"Reply via &email");
  Type(kText);
  fake.display.Allow(
      u"Quillet CE cannot find any user-defined email transports in the Inbox "
      u"application. Your mail will be queued, but may not be sent properly.",
      port::kIdOk);
  Press(kControlOk);
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].body, kBody);
  EXPECT_EQ(fake.mail.mails[0].Field(u"Subject"), u"\u03A9");
  EXPECT_EQ(fake.mail.mails[0].Field(u"To"), u"\u03A3 <bob@example.invalid>");
}

}  // namespace
}  // namespace quillet
