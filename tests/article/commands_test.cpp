// SPDX-License-Identifier: GPL-3.0-or-later
// The commands and keys of the article view, the "Message headers" dialog.
#include "article/commands.h"
#include "article/headers_dialog.h"
#include "base/app_messages.h"
#include "killfile/killfile.h"
#include "store/gdbm_library.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ArticleCommands : public ArticleTest {
 protected:
  // The article is on the screen and in no tree, and the user has chosen another group.
  static void LeaveTreeOfArticle(std::size_t chosen_group) {
    gReading.ForgetTree();
    gReading.group = GroupAt(chosen_group);
  }
  static std::vector<std::string> SeenIn(std::size_t steps, std::uint32_t command) {
    std::vector<std::string> seen(steps);
    for (std::string& id : seen) id = After(command);
    return seen;
  }
};

// --- Without an article --------------------------------------------------------------------------

TEST_F(ArticleCommands, DoNothingWithoutAnArticle) {
  PutThreeThreads();
  gReading.find.text = u"";
  const int calls = fake.files.calls();
  for (const std::uint32_t command :
       {40018U, 40017U, 40019U, 40016U, 40025U, 40011U, 40028U, 40055U,
        40023U, 40033U, 40049U, 40048U, 40051U, 40022U, 40056U, 40064U,
        40080U, 40057U, 40066U, 40067U, 40001U, 0U,     99999U}) {
    ArticleCommand(command);
  }
  HandleArticleKey(0x86);
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(fake.display.dialogs(), IsEmpty());
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
  EXPECT_EQ(fake.files.calls(), calls);
  EXPECT_EQ(gPrefs->removecrs, 0U);
  EXPECT_FALSE(Shown().created);
  EXPECT_EQ(Shown().copies, 0);
  Open("<a1@x>");
  EXPECT_FALSE(Shown().plain_text);
}

// --- Moving --------------------------------------------------------------------------------------

TEST_F(ArticleCommands, NextArticleWalksTheWholeTreeAndLeavesAtTheEnd) {
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_THAT(SeenIn(7, 40019),
              ElementsAre("<a2@x>", "<a3@x>", "<a4@x>", "<b1@x>", "<g1@x>", "<g2@x>", "none"));
  EXPECT_EQ(ReadCount(), 7U);
  EXPECT_EQ(Tab(), port::kThreadTab);
}

TEST_F(ArticleCommands, PreviousArticleWalksBackAndLeavesAtTheBeginning) {
  PutThreeThreads();
  Open("<g2@x>");
  EXPECT_THAT(SeenIn(7, 40017),
              ElementsAre("<g1@x>", "<b1@x>", "<a4@x>", "<a3@x>", "<a2@x>", "<a1@x>", "none"));
  EXPECT_EQ(Tab(), port::kThreadTab);
}

TEST_F(ArticleCommands, NextThreadIsTheFirstArticleOfTheNext) {
  PutThreeThreads();
  Open("<a3@x>");
  EXPECT_EQ(After(40016), "<b1@x>");
  EXPECT_EQ(After(40016), "<g1@x>");
  EXPECT_EQ(Tab(), port::kArticleTab);
  EXPECT_EQ(After(40016), "none");
  EXPECT_EQ(Tab(), port::kThreadTab);
  EXPECT_FALSE(IsArticleRead("<g2@x>"));
}

TEST_F(ArticleCommands, PreviousThreadIsTheFirstArticleOfThePrevious) {
  PutThreeThreads();
  Open("<g2@x>");
  EXPECT_EQ(After(40018), "<b1@x>");
  EXPECT_EQ(After(40018), "<a1@x>");
  EXPECT_EQ(Tab(), port::kArticleTab);
  EXPECT_EQ(After(40018), "none");
  EXPECT_EQ(Tab(), port::kThreadTab);
}

TEST_F(ArticleCommands, BeyondTheEndsTheViewIsClearedAndTheTreeIsShown) {
  for (const auto& [id, command] :
       std::vector<std::pair<std::string, std::uint32_t>>{{"<g2@x>", kCommandNextArticle},
                                                          {"<g2@x>", kCommandNextThread},
                                                          {"<a1@x>", kCommandPreviousArticle},
                                                          {"<a1@x>", kCommandPreviousThread}}) {
    if (!gReading.tree) PutThreeThreads();
    Open(id);
    EXPECT_EQ(After(command), "none") << command;
    EXPECT_EQ(Source(), u"") << command;
    EXPECT_THAT(HeaderTexts(), Each(u"")) << command;
    EXPECT_EQ(Tab(), port::kThreadTab) << command;
    EXPECT_EQ(gReading.tree->root().descendantCount, 7U) << command;
  }
}

TEST_F(ArticleCommands, TheActionKeyLeavesAtTheEndToo) {
  PutThreeThreads();
  Open("<g2@x>");
  HandleArticleKey(port::kKeyAction);
  EXPECT_EQ(CurrentId(), "none");
  EXPECT_EQ(Tab(), port::kThreadTab);
}

TEST_F(ArticleCommands, AnArticleOutsideTheTreeIsNotMovedFromNorDeleted) {
  PutThreeThreads();
  Open("<a2@x>");
  gReading.article->node = nullptr;
  for (const std::uint32_t command : {40018U, 40017U, 40019U, 40016U, 40011U, 40028U}) {
    EXPECT_EQ(After(command), "<a2@x>") << command;
  }
  EXPECT_TRUE(ArticleExists("<a2@x>"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- Marking -------------------------------------------------------------------------------------

TEST_F(ArticleCommands, MarkUnreadKeepsItShownAndEverythingInStep) {
  PutThreeThreads();
  Open("<a2@x>");
  PostedToMainWindow();
  EXPECT_EQ(After(40025), "<a2@x>");
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
  EXPECT_EQ(gReading.article->read, 0U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 0U);
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 0U);
  EXPECT_EQ(ReadCount(), 0U);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  EXPECT_NE(fake.display.FindItem(u"4/4 Alpha"), 0U);
  EXPECT_EQ(Source(), Page(u"Two.&nbsp;<br>"));
  ArticleCommand(40025);
  EXPECT_EQ(ReadCount(), 0U);
}

TEST_F(ArticleCommands, WhatWasMarkedElsewhereMeanwhileIsMarkedUnreadAllTheSame) {
  PutThreeThreads();
  Open("<a2@x>");
  SetArticleReadById("<a2@x>", NodeOf("<a2@x>"), false, 1);
  SetArticleReadById("<a2@x>", NodeOf("<a2@x>"), true, 1);
  EXPECT_EQ(ReadCount(), 1U);
  ArticleCommand(40025);
  EXPECT_EQ(ReadCount(), 0U);
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
}

TEST_F(ArticleCommands, MarkingUnreadNeverBringsAnArticleBack) {
  PutThreeThreads();
  Open("<a2@x>");
  DeleteArticle("<a2@x>");
  ArticleCommand(40025);
  EXPECT_FALSE(ArticleExists("<a2@x>"));
}

TEST_F(ArticleCommands, AStoreThatFailsWhileMarkingUnreadLeavesEveryCount) {
  PutThreeThreads();
  Open("<a2@x>");
  const auto store = gGdbm.store;
  gGdbm.store = [](GDBM_FILE, datum, datum, int) { return -1; };
  ArticleCommand(40025);
  gGdbm.store = store;
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_TRUE(IsArticleRead("<a2@x>"));
  EXPECT_EQ(gReading.article->read, 1U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 1U);
  EXPECT_EQ(ReadCount(), 1U);
}

TEST_F(ArticleCommands, AnArticleThatIsInNoTreeIsCountedInItsOwnGroup) {
  PutThreeThreads();
  Put(u"de.test", Written("<n@x>", 1, "", "New", "n"));
  OpenGroup(2);
  SetArticleReadById("<n@x>", NodeOf("<n@x>"), true, 2);
  OpenGroup(1);
  Open("<a2@x>");
  LeaveTreeOfArticle(2);
  EXPECT_EQ(ReadCount(1), 1U);
  ArticleCommand(40025);
  EXPECT_EQ(ReadCount(1), 0U);
  EXPECT_EQ(ReadCount(2), 1U);
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
}

TEST_F(ArticleCommands, AnArticleOfARemovedGroupIsCountedNowhere) {
  PutThreeThreads();
  Open("<a2@x>");
  LeaveTreeOfArticle(2);
  gPrefs->groups[1] = u"another.group";
  ArticleCommand(40025);
  EXPECT_EQ(ReadCount(1), 1U);
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
}

// --- Deleting ------------------------------------------------------------------------------------

TEST_F(ArticleCommands, DeleteArticleAsksAndShowsTheOneThatFollows) {
  PutThreeThreads();
  Open("<a2@x>");
  fake.display.Expect(u"Really delete this article?", port::kIdYes);
  EXPECT_EQ(After(40011), "<a3@x>");
  EXPECT_FALSE(ArticleExists("<a2@x>"));
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"Subject: Re: Alpha", u"Thread 1/3",
                                         u"From: Ann <ann@example.invalid>", u"Article 1/3"));
  EXPECT_EQ(TotalCount(), 6U);
  EXPECT_EQ(ReadCount(), 1U);
  const port::ShownBox box = fake.display.boxes().at(0);
  EXPECT_EQ(box.text, u"Really delete this article?");
  EXPECT_EQ(box.caption, u"Quillet confirmation");
  EXPECT_EQ(box.style.icon, port::BoxIcon::kExclamation);
}

TEST_F(ArticleCommands, DeleteIsNotDoneWhenItIsNotConfirmed) {
  PutThreeThreads();
  Open("<a2@x>");
  fake.display.Expect(u"Really delete this article?", port::kIdNo);
  EXPECT_EQ(After(40011), "<a2@x>");
  fake.display.Expect(u"Really delete this thread?", port::kIdNo);
  EXPECT_EQ(After(40028), "<a2@x>");
  EXPECT_EQ(TotalCount(), 7U);
  EXPECT_TRUE(ArticleExists("<a2@x>"));
}

TEST_F(ArticleCommands, DeletingTheLastArticleLeavesTheView) {
  PutThreeThreads();
  Open("<g2@x>");
  PostedToMainWindow();
  fake.display.Expect(u"Really delete this article?", port::kIdYes);
  EXPECT_EQ(After(40011), "none");
  EXPECT_EQ(Tab(), port::kThreadTab);
  EXPECT_EQ(Source(), u"");
  EXPECT_THAT(PostedToMainWindow(), ::testing::Contains(kUserRefreshCounts));
  EXPECT_EQ(TotalCount(), 6U);
}

TEST_F(ArticleCommands, DeleteThreadShowsTheFirstArticleOfTheNext) {
  PutThreeThreads();
  Open("<a3@x>");
  fake.display.Expect(u"Really delete this thread?", port::kIdYes);
  EXPECT_EQ(After(40028), "<b1@x>");
  for (const char* id : {"<a1@x>", "<a2@x>", "<a3@x>", "<a4@x>"}) EXPECT_FALSE(ArticleExists(id));
  EXPECT_EQ(TotalCount(), 3U);
  EXPECT_EQ(ReadCount(), 1U);
  EXPECT_EQ(HeaderTexts()[1], u"Thread 1/2");
}

TEST_F(ArticleCommands, DeletingTheLastThreadLeavesTheView) {
  PutThreeThreads();
  Open("<g1@x>");
  PostedToMainWindow();
  fake.display.Expect(u"Really delete this thread?", port::kIdYes);
  EXPECT_EQ(After(40028), "none");
  EXPECT_EQ(Tab(), port::kThreadTab);
  EXPECT_THAT(PostedToMainWindow(), ::testing::Contains(kUserRefreshCounts));
  EXPECT_EQ(TotalCount(), 5U);
}

TEST_F(ArticleCommands, WhatTheStoreRefusesToDeleteStaysShown) {
  PutThreeThreads();
  Open("<a2@x>");
  const auto remove = gGdbm.remove;
  const auto store = gGdbm.store;
  gGdbm.remove = [](GDBM_FILE, datum) { return -1; };
  gGdbm.store = [](GDBM_FILE, datum, datum, int) { return -1; };
  fake.display.Expect(u"Really delete this article?", port::kIdYes);
  ArticleCommand(40011);
  gGdbm.remove = remove;
  gGdbm.store = store;
  EXPECT_EQ(CurrentId(), "<a2@x>");
  EXPECT_EQ(Source(), Page(u"Two.&nbsp;<br>"));
  EXPECT_EQ(TotalCount(), 7U);
  EXPECT_GE(BoxTexts().size(), 2U);  // the question, and why not
}

TEST_F(ArticleCommands, WithoutVerificationsDeletionActsAtOnce) {
  PutThreeThreads();
  gPrefs->skipverifications = 1;
  Open("<a1@x>");
  EXPECT_EQ(After(40011), "<a2@x>");
  EXPECT_EQ(After(40028), "<b1@x>");
  EXPECT_EQ(TotalCount(), 3U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- Killfile ------------------------------------------------------------------------------------

TEST_F(ArticleCommands, AddToKillfileOpensWithAuthorAndSubject) {
  PutThreeThreads();
  Open("<a2@x>");
  std::u16string author;
  std::u16string subject;
  fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
    author = fake.display.Read(dialog, kControlAuthorText).text;
    subject = fake.display.Read(dialog, kControlSubjectText).text;
    fake.display.Press(dialog, kControlCancel);
  });
  ArticleCommand(40049);
  EXPECT_EQ(author, u"Ann <ann@example.invalid>");
  EXPECT_EQ(subject, u"Re: Alpha");
}

TEST_F(ArticleCommands, AddToKillfileProposesTheJoinedSubjectAsItIsShown) {
  PutThreeThreads();
  Open("<a2@x>");
  gReading.article->from = "=?utf-8?Q?J=C3=BC?= <j@x>";
  gReading.article->subject = "=?utf-8?Q?Une_=C3=A9?=";
  gReading.article->headers = "Path: a\r\n =?utf-8?Q?tude?=\r\nLines: 1";
  std::u16string author, subject;
  fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
    author = fake.display.Read(dialog, kControlAuthorText).text;
    subject = fake.display.Read(dialog, kControlSubjectText).text;
    fake.display.Press(dialog, kControlOk);
  });
  ArticleCommand(40049);
  EXPECT_EQ(author, u"J\u00FC <j@x>");
  EXPECT_EQ(subject, u"Une \u00E9tude");
  const GroupIndex group = GroupAt(gPrefs->killfilegroups.at(0) - 1);
  AsciiArticle next;
  next.subject = gReading.article->subject;
  next.headers = gReading.article->headers;
  EXPECT_TRUE(ArticleIsKilled(*gPrefs, group, next));
  next.headers.reset();
  EXPECT_FALSE(ArticleIsKilled(*gPrefs, group, next));
}

TEST_F(ArticleCommands, AddToKillfileIsForTheGroupOfTheArticle) {
  PutThreeThreads();
  Open("<a2@x>");
  LeaveTreeOfArticle(0);
  fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
    fake.display.Press(dialog, kControlOk);
  });
  ArticleCommand(40049);
  EXPECT_EQ(gPrefs->killfilegroups, (std::vector<std::uint32_t>{2, 2}));
}

// --- Shown otherwise -----------------------------------------------------------------------------

TEST_F(ArticleCommands, Rot13TurnsThisArticleBackAndForth) {
  PutThreeThreads();
  gPrefs->showheaders = 1;
  Open("<b1@x>");
  ArticleCommand(40022);
  EXPECT_TRUE(Source().starts_with(u"<FONT SIZE=\"2\">Fhowrpg: Orgn&nbsp;<br>"));
  EXPECT_TRUE(Source().ends_with(u"Svir.&nbsp;<br>&nbsp;<br></FONT>"));
  EXPECT_EQ(HeaderTexts()[0], u"Subject: Beta");
  ArticleCommand(40022);
  EXPECT_TRUE(Source().starts_with(u"<FONT SIZE=\"2\">Subject: Beta&nbsp;<br>"));
  ArticleCommand(40022);
  EXPECT_EQ(After(40019), "<g1@x>");
  EXPECT_TRUE(Source().starts_with(u"<FONT SIZE=\"2\">Subject: Gamma&nbsp;<br>"));
  Open("<b1@x>");
  EXPECT_TRUE(Source().starts_with(u"<FONT SIZE=\"2\">Subject: Beta&nbsp;<br>"));
}

TEST_F(ArticleCommands, ToggleRemoveCrsChangesThePreferenceInMemory) {
  Put(kGroup, Written("<w@x>", 1, "", "Wrapped", "first line\r\nsecond line\r\n"));
  OpenGroup(1);
  Open("<w@x>");
  ArticleCommand(40064);
  EXPECT_EQ(gPrefs->removecrs, 1U);
  EXPECT_EQ(Source(), Page(u"first line  second line&nbsp;<br>"));
  ArticleCommand(40064);
  EXPECT_EQ(gPrefs->removecrs, 0U);
  EXPECT_EQ(Source(), Page(u"first line&nbsp;<br>second line&nbsp;<br>"));
}

TEST_F(ArticleCommands, ThePlainTextFlagGoesToTheViewerWithEveryArticle) {
  PutThreeThreads();
  Open("<a1@x>");
  ArticleCommand(40067);
  EXPECT_TRUE(Shown().plain_text);
  EXPECT_EQ(Source(), Page(u"One.&nbsp;<br>"));
  Open("<a2@x>");
  EXPECT_TRUE(Shown().plain_text);
  ArticleCommand(40067);
  EXPECT_FALSE(Shown().plain_text);
}

TEST_F(ArticleCommands, CopyIsTheViewers) {
  PutThreeThreads();
  Open("<a1@x>");
  ArticleCommand(40066);
  EXPECT_EQ(Shown().copies, 1);
}

TEST_F(ArticleCommands, WritingIsNotStartedFromHereYet) {
  PutThreeThreads();
  Open("<a1@x>");
  for (const std::uint32_t command : {40055U, 40023U, 40033U}) {
    EXPECT_EQ(After(command), "<a1@x>");
  }
  EXPECT_THAT(fake.display.dialogs(), IsEmpty());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- "Message headers" ---------------------------------------------------------------------------

TEST_F(ArticleCommands, ShowHeadersOpensTheDialogUntilOkOrCancel) {
  PutThreeThreads();
  Open("<a2@x>");
  for (const std::uint32_t button : {kControlOk, kControlCancel}) {
    std::u16string text;
    std::u16string caption;
    fake.display.WhenShown(124, [&](port::WindowHandle dialog) {
      text = fake.display.Read(dialog, 1009).text;
      caption = fake.display.FindDialog(dialog)->caption;
      fake.display.Press(dialog, button);
    });
    ArticleCommand(40056);
    EXPECT_EQ(caption, u"Message headers");
    EXPECT_EQ(text,
              u"Subject: Re: Alpha\r\n"
              u"From: Ann <ann@example.invalid>\r\n"
              u"Date: 1 Jan 2001\r\n"
              u"Reply-To: Ann <ann@example.invalid>\r\n"
              u"Message-ID: <a2@x>\r\n"
              u"X-Quillet-ParentID: <a1@x>\r\n"
              u"X-Quillet-ServerName: news.example.invalid\r\n"
              u"X-Quillet-ServerID: 2\r\n"
              u"X-Quillet-CompressedSavings: 0%\r\n");
    EXPECT_THAT(fake.display.dialogs(), IsEmpty());
  }
  EXPECT_EQ(CurrentId(), "<a2@x>");
}

TEST_F(ArticleCommands, TheDialogThatCannotBeMadeIsPassedOver) {
  PutThreeThreads();
  Open("<a2@x>");
  fake.display.FailNextDialog();
  ShowMessageHeaders();
  EXPECT_EQ(CurrentId(), "<a2@x>");
}

TEST_F(ArticleCommands, TheDialogWithoutMemoryIsReported) {
  PutThreeThreads();
  Open("<a2@x>");
  gReading.article->headers = std::string(1 << 20, 'h');
  testing::LimitNew(1 << 20);
  ShowMessageHeaders();
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"ShowMessageHeaders."));
  EXPECT_THAT(fake.display.dialogs(), IsEmpty());
}

// --- Keys ----------------------------------------------------------------------------------------

TEST_F(ArticleCommands, KeysScrollTheViewer) {
  PutThreeThreads();
  Open("<a1@x>");
  using port::ScrollStep;
  for (const std::uint32_t key : {0x21U, 0x26U, 0x22U, 0x28U, 0x24U, 0x23U}) HandleArticleKey(key);
  EXPECT_THAT(Shown().scrolls,
              ElementsAre(ScrollStep::kPageUp, ScrollStep::kPageUp, ScrollStep::kPageDown,
                          ScrollStep::kPageDown, ScrollStep::kTop, ScrollStep::kBottom));
  EXPECT_EQ(CurrentId(), "<a1@x>");
}

TEST_F(ArticleCommands, TheActionKeyIsNextArticle) {
  PutThreeThreads();
  Open("<a1@x>");
  HandleArticleKey(0x86);
  EXPECT_EQ(CurrentId(), "<a2@x>");
}

TEST_F(ArticleCommands, OtherKeysDoNothing) {
  PutThreeThreads();
  Open("<a1@x>");
  for (std::uint32_t key = 0; key < 0x100; ++key) {
    if ((key >= 0x21 && key <= 0x28 && key != 0x25 && key != 0x27) || key == 0x86) continue;
    HandleArticleKey(key);
  }
  EXPECT_THAT(Shown().scrolls, IsEmpty());
  EXPECT_EQ(CurrentId(), "<a1@x>");
  EXPECT_EQ(Tab(), port::kArticleTab);
}

// --- Hostile articles ----------------------------------------------------------------------------

TEST_F(ArticleCommands, HostileArticlesAreShownFoundAndSaved) {
  AsciiArticle empty;
  empty.messageId = "<e@x>";
  empty.body = "b";
  Put(kGroup, empty);
  AsciiArticle huge =
      Written("<h@x>", 2, "<h@x>", std::string(100000, 'r'), std::string(1 << 20, 'x'));
  huge.headers = std::string(100000, '\r');
  Put(kGroup, huge);
  AsciiArticle circle = Written("<c@x>", 3, "<d@x>", "re:re: re:", "http://http://http://\"<>");
  Put(kGroup, circle);
  Put(kGroup, Written("<d@x>", 4, "<c@x>", "\x01\x1b", "\r\n\n\r\r<b><script>&&"));
  OpenGroup(1);
  gPrefs->showheaders = 1;
  gPrefs->removecrs = 1;
  gPrefs->colorquoted = 1;
  int file = 0;
  for (const char* id : {"<e@x>", "<h@x>", "<c@x>", "<d@x>"}) {
    DisplayArticle(NodeOf(id), u"x");
    EXPECT_EQ(CurrentId(), id);
    EXPECT_EQ(Source().find(u"<script"), std::u16string::npos);
    fake.display.ExpectSaveFile(FormatWide(u"\\%d.txt", ++file));
    ArticleCommand(40057);
    fake.display.WhenShown(kDialogMessageHeaders, [&](port::WindowHandle dialog) {
      fake.display.Press(dialog, kControlOk);
    });
    ShowMessageHeaders();
  }
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

}  // namespace
}  // namespace quillet
