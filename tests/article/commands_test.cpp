// The commands and keys of the article view, the "Message headers" dialog and saving.
#include "app/base/app_messages.h"
#include "store/gdbm_library.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ArticleCommands : public ArticleTest {
 protected:
  static std::string After(std::uint32_t command) {
    ArticleCommand(command);
    return CurrentId();
  }
  static std::vector<std::string> SeenIn(std::size_t steps, std::uint32_t command) {
    std::vector<std::string> seen(steps);
    for (std::string& id : seen) id = After(command);
    return seen;
  }
};

constexpr std::u16string_view kHit = u"<b><span style=\"background: #FFFF00\">";
constexpr std::u16string_view kHitEnd = u"</span></b>";

std::u16string Page(std::u16string_view text) {
  return u"<FONT SIZE=\"2\">" + std::u16string(text) + u"&nbsp;<br></FONT>";
}

std::u16string Hit(std::u16string_view text) {
  return std::u16string(kHit) + std::u16string(text) + std::u16string(kHitEnd);
}

// --- Without an article --------------------------------------------------------------------------

TEST_F(ArticleCommands, DoNothingWithoutAnArticle) {
  PutThreeThreads();
  gFind.text = "";
  const int calls = fake.files.calls();
  for (const std::uint32_t command :
       {40018U, 40017U, 40019U, 40016U, 40025U, 40011U, 40028U, 40055U, 40023U, 40033U, 40049U,
        40048U, 40051U, 40022U, 40056U, 40064U, 40057U, 40066U, 40067U, 40001U, 0U,     99999U}) {
    ArticleCommand(command);
  }
  HandleArticleKey(0x86);
  EXPECT_EQ(gCurrentArticle, nullptr);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(fake.display.dialogs(), IsEmpty());
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
  EXPECT_EQ(fake.files.calls(), calls);
  EXPECT_EQ(gPrefs->removecrs, 0U);
  EXPECT_FALSE(Shown().created);
  EXPECT_EQ(Shown().copies, 0);
}

// --- Moving --------------------------------------------------------------------------------------

TEST_F(ArticleCommands, NextArticleWalksTheWholeTreeAndStaysAtTheEnd) {
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_THAT(SeenIn(7, 40019),
              ElementsAre("<a2@x>", "<a3@x>", "<a4@x>", "<b1@x>", "<g1@x>", "<g2@x>", "<g2@x>"));
  EXPECT_EQ(ReadCount(), 7U);
  EXPECT_EQ(Tab(), port::kArticleTab);
}

TEST_F(ArticleCommands, PreviousArticleWalksBackAndStaysAtTheBeginning) {
  PutThreeThreads();
  Open("<g2@x>");
  EXPECT_THAT(SeenIn(7, 40017),
              ElementsAre("<g1@x>", "<b1@x>", "<a4@x>", "<a3@x>", "<a2@x>", "<a1@x>", "<a1@x>"));
}

TEST_F(ArticleCommands, NextThreadIsTheFirstArticleOfTheNext) {
  PutThreeThreads();
  Open("<a3@x>");
  EXPECT_EQ(After(40016), "<b1@x>");
  EXPECT_EQ(After(40016), "<g1@x>");
  EXPECT_EQ(After(40016), "<g1@x>");
  EXPECT_FALSE(IsArticleRead("<g2@x>"));
}

TEST_F(ArticleCommands, PreviousThreadIsTheFirstArticleOfThePrevious) {
  PutThreeThreads();
  Open("<g2@x>");
  EXPECT_EQ(After(40018), "<b1@x>");
  EXPECT_EQ(After(40018), "<a1@x>");
  EXPECT_EQ(After(40018), "<a1@x>");
}

TEST_F(ArticleCommands, AtTheEndsNothingIsShownAnew) {
  PutThreeThreads();
  Open("<g2@x>");
  gCurrentArticle->showFlag = 1;
  const int shows = fake.display.wait_cursor_shows();
  ArticleCommand(40019);
  ArticleCommand(40016);
  EXPECT_EQ(gCurrentArticle->showFlag, 1);
  EXPECT_EQ(fake.display.wait_cursor_shows(), shows);
}

TEST_F(ArticleCommands, AnArticleOutsideTheTreeIsNotMovedFromNorDeleted) {
  PutThreeThreads();
  Open("<a2@x>");
  gCurrentArticle->node = nullptr;
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
  EXPECT_EQ(gCurrentArticle->read, 0U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 0U);
  EXPECT_EQ(gThreadTree->root().readDescendantCount, 0U);
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
  EXPECT_EQ(gCurrentArticle->read, 1U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 1U);
  EXPECT_EQ(ReadCount(), 1U);
}

TEST_F(ArticleCommands, AnArticleOfAnotherGroupIsCountedThere) {
  PutThreeThreads();
  Open("<a2@x>");
  Put(u"de.test", Written("<n@x>", 1, "", "New", "n"));
  OpenGroup(2);
  SetArticleReadById("<n@x>", NodeOf("<n@x>"), true, 2);
  EXPECT_EQ(CurrentId(), "<a2@x>");
  EXPECT_EQ(gCurrentArticle->node, nullptr);
  EXPECT_EQ(ReadCount(1), 1U);
  ArticleCommand(40025);
  EXPECT_EQ(ReadCount(1), 0U);
  EXPECT_EQ(ReadCount(2), 1U);
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
}

TEST_F(ArticleCommands, AnArticleOfARemovedGroupIsCountedNowhere) {
  PutThreeThreads();
  Open("<a2@x>");
  OpenGroup(2);
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
    author = fake.display.GetText(dialog, kControlAuthorText);
    subject = fake.display.GetText(dialog, kControlSubjectText);
    fake.display.Press(dialog, kControlCancel);
  });
  ArticleCommand(40049);
  EXPECT_EQ(author, u"Ann <ann@example.invalid>");
  EXPECT_EQ(subject, u"Re: Alpha");
}

TEST_F(ArticleCommands, AddToKillfileIsForTheGroupOfTheArticle) {
  PutThreeThreads();
  Open("<a2@x>");
  OpenGroup(0);  // the article stays on the screen
  fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
    fake.display.Press(dialog, kControlOk);
  });
  ArticleCommand(40049);
  EXPECT_EQ(gPrefs->killfilegroups, (std::vector<std::uint32_t>{2, 2}));
}

// --- Finding -------------------------------------------------------------------------------------

TEST_F(ArticleCommands, FindHighlightsInTheArticleShown) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_EQ(Source(), Page(u"Th" + Hit(u"ree") + u".&nbsp;<br>"));
  EXPECT_EQ(gFind.text, "ree");
  EXPECT_EQ(gCurrentArticle->displayText, "ree");
}

TEST_F(ArticleCommands, FindTakesItsChoices) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"THREE", kControlOk, {kControlMatchCase});
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  AnswerFind(u"Thre", kControlOk, {kControlWholeWord});
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  AnswerFind(u"Three");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(Hit(u"Three") + u".&nbsp;<br>"));
}

TEST_F(ArticleCommands, FindWithoutAHitShowsTheArticleWithoutHighlights) {
  PutThreeThreads();
  Open("<a3@x>");
  DisplayCurrentArticle({{0, 1}});
  AnswerFind(u"nowhere");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ArticleCommands, AnEmptyFindShowsNoHitsAndClearsTheLastText) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  AnswerFind(u"");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_EQ(gFind.text, "");
  EXPECT_EQ(gCurrentArticle->displayText, std::nullopt);
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ArticleCommands, ACancelledFindLeavesTheHitsAndTheText) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  AnswerFind(u"other", kControlCancel);
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Th" + Hit(u"ree") + u".&nbsp;<br>"));
  EXPECT_EQ(gFind.text, "ree");
  EXPECT_EQ(gCurrentArticle->displayText, "ree");
}

TEST_F(ArticleCommands, FindWithoutMemoryKeepsWhatIsShown) {
  PutThreeThreads();
  Open("<a3@x>");
  gCurrentArticle->body = std::string(1 << 20, 'x');
  fake.display.WhenShown(kDialogFind, [this](port::WindowHandle dialog) {
    fake.display.Type(dialog, kControlFindText, u"x");
    fake.display.Press(dialog, kControlOk);
    testing::LimitNew(1 << 20);
  });
  ArticleCommand(40048);
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"DisplayCurrentArticle."));
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
}

TEST_F(ArticleCommands, FindWithoutMemoryForTheHitsKeepsWhatIsShown) {
  PutThreeThreads();
  Open("<a3@x>");
  gCurrentArticle->body = std::string(1 << 20, 'x');
  fake.display.WhenShown(kDialogFind, [this](port::WindowHandle dialog) {
    fake.display.Type(dialog, kControlFindText, u"x");
    fake.display.Press(dialog, kControlOk);
    testing::LimitNew(5 << 20);  // the text fits, a million hits do not
  });
  ArticleCommand(40048);
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"DisplayCurrentArticle."));
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
}

TEST_F(ArticleCommands, FindAgainGoesOnAfterTheCurrentArticle) {
  PutThreeThreads();
  Open("<a1@x>");
  gFind.text = "ve";
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<b1@x>");
  EXPECT_EQ(Source(), Page(u"Fi" + Hit(u"ve") + u".&nbsp;<br>"));
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<g2@x>");
  EXPECT_EQ(Source(), Page(u"Se" + Hit(u"ve") + u"n.&nbsp;<br>"));
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<g2@x>");
  EXPECT_EQ(Source(), Page(u"Se" + Hit(u"ve") + u"n.&nbsp;<br>"));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Search string not found."));
}

TEST_F(ArticleCommands, FindAgainWithoutATextDoesNothing) {
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_EQ(After(40051), "<a1@x>");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ArticleCommands, FindAgainStartsAtTheFirstArticleWithoutACurrentOne) {
  PutThreeThreads();
  gFind.text = "one";
  EXPECT_EQ(After(40051), "<a1@x>");
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

TEST_F(ArticleCommands, HitsAreFoundInTheTurnedText) {
  PutThreeThreads();
  Open("<b1@x>");
  ArticleCommand(40022);
  AnswerFind(u"svir");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(Hit(u"Svir") + u".&nbsp;<br>"));
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
      text = fake.display.GetText(dialog, 1009);
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
  gCurrentArticle->headers = std::string(1 << 20, 'h');
  testing::LimitNew(1 << 20);
  ShowMessageHeaders();
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"ShowMessageHeaders."));
  EXPECT_THAT(fake.display.dialogs(), IsEmpty());
}

// --- Saving --------------------------------------------------------------------------------------

class SavingArticles : public ArticleCommands {
 protected:
  void OpenOne() {
    Put(kGroup, Written("<s@x>", 1, "", "Re: a/b", "Caf\xe9 \x80.\r\n"));
    OpenGroup(1);
    Open("<s@x>");
  }
  std::optional<std::string> File(std::u16string_view path) {
    return fake.files.ReadFile(path, 1 << 24);
  }
  void Save(std::optional<std::u16string> path) {
    fake.display.ExpectSaveFile(std::move(path));
    ArticleCommand(40057);
  }
};

constexpr std::string_view kSavedText =
    "Subject: Re: a/b\r\n"
    "Date: 1 Jan 2001\r\n"
    "From: Ann <ann@example.invalid>\r\n"
    "Reply-To: Ann <ann@example.invalid>\r\n"
    "Message-ID: <s@x>\r\n"
    "\r\n"
    "Caf\xe9 \x80.\r\n";

TEST_F(SavingArticles, TheDialogHasItsTextsAndTheFileTheWholeArticle) {
  OpenOne();
  Save(u"\\my file.txt");
  const std::vector<port::SaveFileTraits> dialogs = fake.display.save_dialogs();
  ASSERT_EQ(dialogs.size(), 1U);
  EXPECT_EQ(dialogs[0].title, u"Save article as");
  EXPECT_EQ(dialogs[0].default_name, u"Re__a_b.txt");
  EXPECT_EQ(dialogs[0].filter_text, u"Text (*.txt)");
  EXPECT_EQ(dialogs[0].filter_pattern, u"*.txt");
  EXPECT_EQ(dialogs[0].default_extension, u"txt");
  EXPECT_EQ(File(u"\\my file.txt"), kSavedText);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingArticles, HeadersAreSavedWhateverIsShown) {
  OpenOne();
  gPrefs->showheaders = 1;
  Save(u"\\a.txt");
  EXPECT_EQ(File(u"\\a.txt"), kSavedText);
}

TEST_F(SavingArticles, WhatIsTurnedOnTheScreenIsTurnedInTheFile) {
  OpenOne();
  ArticleCommand(40022);
  Save(u"\\a.txt");
  EXPECT_TRUE(File(u"\\a.txt").value_or("").starts_with("Fhowrpg: Er: n/o\r\n"));
}

TEST_F(SavingArticles, ACancelledDialogSavesNothing) {
  OpenOne();
  const int calls = fake.files.calls(port::FileCall::kCreateNewFile);
  Save(std::nullopt);
  EXPECT_EQ(fake.files.calls(port::FileCall::kCreateNewFile), calls);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// Keeps the paths of new files and makes none.
class PathKeeper final : public port::Files {
 public:
  std::vector<std::u16string> paths;

  std::uint32_t CreateNewFile(std::u16string_view path, std::string_view /*data*/) override {
    paths.emplace_back(path);
    return 0;
  }
  std::string NativePath(std::u16string_view /*path*/) override { return {}; }
  bool FolderExists(std::u16string_view /*path*/) override { return false; }
  bool CreateFolder(std::u16string_view /*path*/) override { return false; }
  std::optional<std::uint64_t> FileSize(std::u16string_view /*path*/) override { return {}; }
  bool Delete(std::u16string_view /*path*/) override { return false; }
  bool Rename(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool Copy(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool CopyMode(std::u16string_view /*from*/, std::u16string_view /*to*/) override { return false; }
  bool WriteFile(std::u16string_view /*path*/, std::string_view /*data*/) override { return false; }
  std::optional<std::string> ReadFile(std::u16string_view /*path*/,
                                      std::uint64_t /*limit*/) override {
    return {};
  }
  std::optional<port::VolumeSpace> FreeSpace(std::u16string_view /*folder*/) override { return {}; }
  std::vector<std::u16string> Cards() override { return {}; }
};

TEST_F(SavingArticles, ThePathIsCorrectedAtItsBeginningAndItsEnd) {
  PathKeeper keeper;
  port::Platform platform{fake.display.Services(), fake.queues, fake.registry, fake.sockets,
                          fake.libraries,          keeper,      fake.clock,    fake.shell,
                          fake.scheduler,          fake.dialler};
  gPlatform = &platform;
  for (const char16_t* path :
       {u"\\\\a.txt", u"\\\\\\a.txt", u"\\a.txt", u"a.txt", u"/home/me/\\\\a.txt", u"\\name.",
        u"\\name..", u"\\\\name.", u"\\plain", u"\\a.b"}) {
    fake.display.ExpectSaveFile(path);
    SaveAsFile(u"t", u"n", "text");
  }
  gPlatform = &fake.platform;
  EXPECT_THAT(keeper.paths,
              ElementsAre(u"\\a.txt", u"\\\\a.txt", u"\\a.txt", u"a.txt", u"/home/me/\\\\a.txt",
                          u"\\name.txt", u"\\name..txt", u"\\name.txt", u"\\plain", u"\\a.b"));
}

TEST_F(SavingArticles, ACorrectedPathIsTheFilesName) {
  OpenOne();
  Save(u"\\\\name.");
  EXPECT_EQ(File(u"\\name.txt"), kSavedText);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(SavingArticles, AnExistingFileIsNeverWrittenOver) {
  OpenOne();
  ASSERT_TRUE(fake.files.WriteFile(u"\\a.txt", "mine"));
  Save(u"\\a.txt");
  EXPECT_EQ(File(u"\\a.txt"), "mine");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
}

TEST_F(SavingArticles, OtherFailuresAreToldByTheirCodes) {
  OpenOne();
  const auto boxes_after = [&](std::uint32_t code) {
    fake.display.ForgetBoxes();
    fake.files.create_error = code;
    fake.files.FailNth(port::FileCall::kCreateNewFile, 1);
    Save(u"\\a.txt");
    return BoxTexts();
  };
  EXPECT_THAT(boxes_after(183),
              ElementsAre(u"An unexpected error (already exists) occurred in SaveAsFile."));
  EXPECT_THAT(boxes_after(1222),
              ElementsAre(u"Our apologies, but you must tap the 'Options' button in the save "
                          u"dialog before saving the file."));
  EXPECT_THAT(boxes_after(112),
              ElementsAre(u"An unexpected error (unknown (112)) occurred in SaveAsFile."));
  EXPECT_THAT(boxes_after(5),
              ElementsAre(u"An unexpected error (unknown (5)) occurred in SaveAsFile."));
  EXPECT_EQ(File(u"\\a.txt"), std::nullopt);
}

TEST_F(SavingArticles, WithoutMemoryNothingIsAsked) {
  OpenOne();
  gCurrentArticle->body = std::string(1 << 20, 'b');
  testing::LimitNew(1 << 20);
  ArticleCommand(40057);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"DisplayCurrentArticle."));
  testing::LimitNew(0);
  EXPECT_THAT(fake.display.save_dialogs(), IsEmpty());
  EXPECT_EQ(Source(), Page(u"Caf\u00e9 \u20ac.&nbsp;<br>"));
}

TEST_F(SavingArticles, OtherTextsAreSavedTheSameWay) {
  fake.display.ExpectSaveFile(u"\\translog.txt");
  SaveAsFile(u"Save log", u"translog.txt", Raw("a\0b\n"));
  EXPECT_EQ(fake.display.save_dialogs().at(0).title, u"Save log");
  EXPECT_EQ(fake.display.save_dialogs().at(0).default_name, u"translog.txt");
  EXPECT_EQ(File(u"\\translog.txt"), Raw("a\0b\n"));
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
    DisplayArticle(NodeOf(id), "x");
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
