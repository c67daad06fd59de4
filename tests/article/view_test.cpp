// SPDX-License-Identifier: GPL-3.0-or-later
// Showing articles: what becomes current, what is marked, what the panes show.
#include "article/commands.h"
#include "article/panes.h"
#include "base/app_messages.h"
#include "base/extensions.h"
#include "base/upward_calls.h"
#include "mime/decoding.h"
#include "store/gdbm_library.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ArticleView : public ArticleTest {};

// --- Opening -------------------------------------------------------------------------------------

TEST_F(ArticleView, ShowsTheArticleOfANode) {
  PutThreeThreads();
  Open("<a3@x>");
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_EQ(gReading.article->node, NodeOf("<a3@x>"));
  EXPECT_EQ(Tab(), port::kArticleTab);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_TRUE(Shown().ended);
  EXPECT_FALSE(Shown().plain_text);
  EXPECT_TRUE(Shown().focused);
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"Subject: Re: Alpha", u"Thread 1/3",
                                         u"From: Ann <ann@example.invalid>", u"Article 2/4"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ArticleView, LeavesRoomForItsToolbar) {
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_EQ(fake.display.main_window().inside, (port::Size{240, 294}));
  EXPECT_EQ(fake.display.main_window().tabs, (port::Size{240, 268}));
}

TEST_F(ArticleView, ShowsTheWaitCursorMeanwhile) {
  PutThreeThreads();
  const int shows = fake.display.wait_cursor_shows();
  DisplayCurrentArticle({});
  EXPECT_EQ(fake.display.wait_cursor_shows(), shows + 1);
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(ArticleView, ShowsHeadersWhenThePreferencesSaySo) {
  PutThreeThreads();
  gPrefs->showheaders = 1;
  Open("<b1@x>");
  EXPECT_EQ(Source(), Page(u"Subject: Beta&nbsp;<br>"
                           u"Date: 1 Jan 2001&nbsp;<br>"
                           u"From: Ann &lt;ann@example.invalid&gt;&nbsp;<br>"
                           u"Reply-To: Ann &lt;ann@example.invalid&gt;&nbsp;<br>"
                           u"Message-ID: &lt;b1@x&gt;&nbsp;<br>"
                           u"&nbsp;<br>"
                           u"Five.&nbsp;<br>"));
}

TEST_F(ArticleView, AnotherArticleTakesThePlaceOfTheFirst) {
  PutThreeThreads();
  Open("<a1@x>");
  Open("<g2@x>");
  EXPECT_EQ(CurrentId(), "<g2@x>");
  EXPECT_EQ(Source(), Page(u"Seven.&nbsp;<br>"));
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"Subject: Re: Gamma", u"Thread 3/3",
                                         u"From: Ann <ann@example.invalid>", u"Article 1/2"));
}

TEST_F(ArticleView, NoNodeClearsAndReturnsToTheThreadList) {
  PutThreeThreads();
  Open("<a1@x>");
  DisplayArticle(nullptr, u"");
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(Tab(), port::kThreadTab);
  EXPECT_EQ(Source(), u"");
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"", u"", u"", u""));
}

TEST_F(ArticleView, ANodeWithoutAMessageIdLeavesTheViewEmpty) {
  PutThreeThreads();
  Open("<a1@x>");
  DisplayArticle(gReading.tree->root().firstChild, u"");
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(Source(), kNoArticle);
  EXPECT_EQ(Tab(), port::kArticleTab);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ArticleView, AnArticleThatHasGoneFromTheStoreIsTold) {
  PutThreeThreads();
  Open("<a1@x>");
  DeleteArticle("<a2@x>");
  Open("<a2@x>");
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(Source(), kNoArticle);
  EXPECT_TRUE(Shown().plain_text);
  EXPECT_TRUE(Shown().ended);
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"", u"", u"", u""));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"Our apologies, but this article can no longer be read from the "
                          u"database."));
  EXPECT_EQ(NodeOf("<a2@x>")->read, 0U);
}

TEST_F(ArticleView, AnUnreadableRecordIsToldToo) {
  PutThreeThreads();
  ASSERT_TRUE(StoreValue(kArticles, Raw("<a2@x>\0"), "\x03 something else", StoreMode::kReplace));
  Open("<a2@x>");
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(BoxTexts().size(), 1U);
}

TEST_F(ArticleView, ClearingDropsTheArticleButNotTheTab) {
  PutThreeThreads();
  Open("<a1@x>");
  ClearArticleView();
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(Source(), u"");
  EXPECT_TRUE(Shown().ended);
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"", u"", u"", u""));
  EXPECT_EQ(Tab(), port::kArticleTab);
}

TEST_F(ArticleView, TheThreadViewReachesItThroughItsHooks) {
  PutThreeThreads();
  up::DisplayArticle(NodeOf("<b1@x>"), u"Five");
  EXPECT_EQ(CurrentId(), "<b1@x>");
  up::ClearArticleView();
  EXPECT_EQ(gReading.article, nullptr);
}

// --- Marking -------------------------------------------------------------------------------------

TEST_F(ArticleView, MarksWhatItShowsReadEverywhere) {
  PutThreeThreads();
  EXPECT_EQ(ReadCount(), 0U);
  Open("<a2@x>");
  EXPECT_TRUE(IsArticleRead("<a2@x>"));
  EXPECT_EQ(gReading.article->read, 1U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 1U);
  EXPECT_EQ(NodeOf("<a1@x>")->readDescendantCount, 1U);
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 1U);
  EXPECT_EQ(ReadCount(), 1U);
  EXPECT_EQ(TotalCount(), 7U);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  CountArticles();  // from the cache
  EXPECT_EQ(ReadCount(), 1U);
}

TEST_F(ArticleView, TheLabelsOfTheTreeFollow) {
  PutThreeThreads();
  ASSERT_NE(fake.display.FindItem(u"4/4 Alpha"), 0U);
  Open("<a2@x>");
  EXPECT_NE(fake.display.FindItem(u"3/4 Alpha"), 0U);
  for (const port::TreeRow& row : fake.display.tree().rows) {
    EXPECT_EQ(row.bold, row.item != NodeOf("<a2@x>")->treeItem) << ToUtf8(row.text);
  }
}

TEST_F(ArticleView, AReadArticleIsNotMarkedAgain) {
  PutThreeThreads();
  Open("<a2@x>");
  PostedToMainWindow();
  Open("<a2@x>");
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
  EXPECT_EQ(ReadCount(), 1U);
}

TEST_F(ArticleView, AnArticleWithoutABodyStaysUnreadAndSaysSo) {
  Put(kGroup, Written("<h@x>", 1, "", "Headers only", ""));
  OpenGroup(1);
  Open("<h@x>");
  EXPECT_EQ(Source(), Page(u"Quillet notification: body not downloaded.&nbsp;<br>"));
  EXPECT_FALSE(IsArticleRead("<h@x>"));
  EXPECT_EQ(gReading.article->read, 0U);
  EXPECT_EQ(NodeOf("<h@x>")->read, 0U);
  EXPECT_EQ(ReadCount(), 0U);
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

TEST_F(ArticleView, EachOfTwoNodesOfOneArticleIsMarkedWhenItIsOpened) {
  Put(kGroup, Written("<d@x>", 1, "", "Twice", "Text.\r\n"));
  ASSERT_TRUE(AddArticleToGroup(kGroup, "<d@x>"));
  OpenGroup(1);
  ASSERT_EQ(gReading.tree->root().descendantCount, 2U);
  Node* const second = NodeOf("<d@x>");
  DisplayArticle(second, u"");
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 1U);
  ArticleCommand(kCommandPreviousArticle);
  if (gReading.article->node == second) ArticleCommand(kCommandNextArticle);
  EXPECT_NE(gReading.article->node, second);
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 2U);
  EXPECT_EQ(ReadCount(), 2U);
  EXPECT_EQ(CountGroupArticles(kGroup, true), 2U);
}

TEST_F(ArticleView, AStoreThatFailsWhileMarkingLeavesEveryCountAndShowsTheArticle) {
  PutThreeThreads();
  const auto store = gGdbm.store;
  gGdbm.store = [](GDBM_FILE, datum, datum, int) { return -1; };
  Open("<a2@x>");
  gGdbm.store = store;
  EXPECT_EQ(Source(), Page(u"Two.&nbsp;<br>"));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_FALSE(IsArticleRead("<a2@x>"));
  EXPECT_EQ(NodeOf("<a2@x>")->read, 0U);
  EXPECT_EQ(ReadCount(), 0U);
}

TEST_F(ArticleView, AStoreThatBreaksDownWhileMarkingEndsTheProgramNotTheProcess) {
  PutThreeThreads();
  const GdbmLibrary sound = gGdbm;
  gGdbm.store = [](GDBM_FILE, datum, datum, int) { return -1; };
  gGdbm.needs_recovery = [](GDBM_FILE) { return 1; };
  fake.display.Expect(u"A critical error occurred while accessing the Quillet CE databases.",
                      port::kIdNo);
  Open("<a2@x>");
  gGdbm = sound;
  EXPECT_EQ(gMainWindow, 0U);
  EXPECT_EQ(NodeOf("<a2@x>")->read, 0U);
  EXPECT_EQ(ReadCount(), 0U);
}

// --- The viewer ----------------------------------------------------------------------------------

TEST_F(ArticleView, WithoutAnArticleThereIsAText) {
  DisplayCurrentArticle({});
  EXPECT_EQ(Tab(), port::kArticleTab);
  EXPECT_EQ(Source(), u"Quillet error: there is no current article");
  EXPECT_TRUE(Shown().plain_text);
  EXPECT_TRUE(Shown().ended);
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"", u"", u"", u""));
}

TEST_F(ArticleView, TheHeaderFontHasItsPixelsByTheStoredSize) {
  const std::vector<int> kPixels = {8, 9, 10, 12, 14, 16, 18, 24};
  gPrefs->articleheaderfont = u"Courier";
  for (std::uint32_t size = 1; size <= 8; ++size) {
    gPrefs->articleheaderfontsize = size;
    ForgetArticlePanes();
    DisplayCurrentArticle({});
    EXPECT_EQ(Shown().header_font_pixels, kPixels[size - 1]);
    EXPECT_EQ(Shown().header_font_face, u"Courier");
  }
  for (const std::uint32_t size : {0U, 9U, 0xffffffffU}) {
    gPrefs->articleheaderfontsize = size;
    ForgetArticlePanes();
    DisplayCurrentArticle({});
    EXPECT_EQ(Shown().header_font_pixels, 10) << size;
  }
}

TEST_F(ArticleView, ThePanesAreMadeOnFirstUseAndWhenTheyHaveGone) {
  EXPECT_FALSE(Shown().created);
  DisplayCurrentArticle({});
  EXPECT_TRUE(Shown().created);
  gPrefs->articleheaderfont = u"Courier";
  DisplayCurrentArticle({});
  EXPECT_EQ(Shown().header_font_face, u"Tahoma");
  fake.display.CreateTabs(port::TabPlacement::kLeft);
  ForgetArticlePanes();
  DisplayCurrentArticle({});
  EXPECT_EQ(Shown().header_font_face, u"Courier");
  EXPECT_EQ(Shown().toolbar.size(), 9U);
  EXPECT_EQ(Source(), kNoArticle);
}

TEST_F(ArticleView, TheToolbarHasItsButtonsInOrder) {
  DisplayCurrentArticle({});
  const std::vector<port::ToolbarButton> buttons = Shown().toolbar;
  const auto is = [&](std::size_t at, std::uint32_t command, std::uint32_t image,
                      std::u16string_view tooltip) {
    EXPECT_EQ(buttons[at].command, command) << at;
    EXPECT_EQ(buttons[at].image, image) << at;
    EXPECT_EQ(buttons[at].tooltip, tooltip) << at;
  };
  ASSERT_EQ(buttons.size(), 9U);
  is(0, 40018, 0, u"Previous Thread");
  is(1, 40017, 1, u"Previous Article");
  is(2, 40019, 2, u"Next Article");
  is(3, 40016, 3, u"Next Thread");
  EXPECT_EQ(buttons[4].command, 0U);
  is(5, 40048, 4, u"Find");
  EXPECT_EQ(buttons[6].command, 0U);
  is(7, 40011, 5, u"Delete Article");
  is(8, 40028, 6, u"Delete Thread");
}

TEST_F(ArticleView, AMissingToolbarIsReportedOnceAndTheArticleShown) {
  PutThreeThreads();
  fake.display.FailNextToolbar();
  Open("<a1@x>");
  Open("<a2@x>");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (No g_hArticleTB) occurred in DebugLoc."));
  EXPECT_EQ(Source(), Page(u"Two.&nbsp;<br>"));
  EXPECT_THAT(Shown().toolbar, IsEmpty());
}

TEST_F(ArticleView, MatchesAreHighlighted) {
  PutThreeThreads();
  Open("<a1@x>");
  DisplayCurrentArticle({{0, 2}});
  EXPECT_EQ(Source(), Page(u"<b><span style=\"background: #FFFF00\">On</span></b>e.&nbsp;<br>"));
  DisplayCurrentArticle({});
  EXPECT_EQ(Source(), Page(u"One.&nbsp;<br>"));
}

TEST_F(ArticleView, OutOfMemoryForTheTextKeepsWhatIsShown) {
  PutThreeThreads();
  Open("<a1@x>");
  gReading.article->body = std::string(1 << 20, 'x');
  for (const std::uint32_t removecrs : {0U, 1U}) {
    fake.display.ForgetBoxes();
    gPrefs->removecrs = removecrs;
    testing::LimitNew(1 << 20);
    DisplayCurrentArticle({});
    testing::LimitNew(0);
    EXPECT_THAT(BoxTexts(),
                ElementsAre(removecrs != 0 ? u"An unexpected error (out of memory) occurred in "
                                             u"CreateMessageBody."
                                           : u"An unexpected error (out of memory) occurred in "
                                             u"DisplayCurrentArticle.",
                            u"An unexpected error (out of memory) occurred in "
                            u"DisplayCurrentArticle."));
    EXPECT_EQ(Source(), Page(u"One.&nbsp;<br>"));
    EXPECT_TRUE(Shown().ended);
    EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
  }
}

TEST_F(ArticleView, OutOfMemoryForTheFragmentKeepsWhatIsShown) {
  PutThreeThreads();
  Open("<a1@x>");
  gReading.article->body = std::string(1 << 20, '&');
  testing::LimitNew(1 << 22);  // the text fits, the five times longer fragment does not
  DisplayCurrentArticle({});
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                      u"DisplayCurrentArticle."));
  EXPECT_EQ(Source(), Page(u"One.&nbsp;<br>"));
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

// --- The header bar ------------------------------------------------------------------------------

TEST_F(ArticleView, TheFirstArticleOfAThreadIsNumberNought) {
  PutThreeThreads();
  const std::vector<std::pair<std::string, std::pair<std::u16string, std::u16string>>> kPlaces = {
      {"<a1@x>", {u"Thread 1/3", u"Article 0/4"}}, {"<a2@x>", {u"Thread 1/3", u"Article 1/4"}},
      {"<a3@x>", {u"Thread 1/3", u"Article 2/4"}}, {"<a4@x>", {u"Thread 1/3", u"Article 3/4"}},
      {"<b1@x>", {u"Thread 2/3", u"Article 0/1"}}, {"<g1@x>", {u"Thread 3/3", u"Article 0/2"}},
      {"<g2@x>", {u"Thread 3/3", u"Article 1/2"}}};
  for (const auto& [id, texts] : kPlaces) {
    Open(id);
    EXPECT_EQ(HeaderTexts()[1], texts.first) << id;
    EXPECT_EQ(HeaderTexts()[3], texts.second) << id;
  }
}

TEST_F(ArticleView, AnArticleOutsideTheTreeHasNoPlace) {
  PutThreeThreads();
  Open("<a1@x>");
  gReading.article->node = nullptr;
  DisplayCurrentArticle({});
  EXPECT_THAT(HeaderTexts(),
              ElementsAre(u"Subject: Alpha", u"", u"From: Ann <ann@example.invalid>", u""));
  EXPECT_EQ(Source(), Page(u"One.&nbsp;<br>"));
}

TEST_F(ArticleView, TheHeaderBarTakesAnyText) {
  AsciiArticle article = Written("<o@x>", 1, "", std::string(100000, 's') + "\xe9", "b");
  article.from = "\x01\x1b\x80";
  Put(kGroup, article);
  OpenGroup(1);
  Open("<o@x>");
  EXPECT_EQ(HeaderTexts()[0], u"Subject: " + std::u16string(100000, u's') + u"é");
  EXPECT_EQ(HeaderTexts()[2], u"From: \uFFFD\uFFFD€");
  SetDecoding(false);
  DisplayCurrentArticle({});
  EXPECT_EQ(HeaderTexts()[2], u"From: \x01\x1b€");
}

// --- Hits of a search ----------------------------------------------------------------------------

TEST_F(ArticleView, ASearchTextIsHighlightedAndKept) {
  PutThreeThreads();
  DisplayArticle(NodeOf("<a3@x>"), u"E");
  EXPECT_EQ(Source(), Page(u"Thr<b><span style=\"background: #FFFF00\">e</span></b>"
                           u"<b><span style=\"background: #FFFF00\">e</span></b>.&nbsp;<br>"));
  EXPECT_EQ(gReading.article->displayText, "E");
}

TEST_F(ArticleView, ASearchHonoursTheChoices) {
  PutThreeThreads();
  gReading.find.match_case = true;
  DisplayArticle(NodeOf("<a3@x>"), u"E");
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  gReading.find.match_case = false;
  gReading.find.whole_word = true;
  DisplayArticle(NodeOf("<a3@x>"), u"thre");
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  DisplayArticle(NodeOf("<a3@x>"), u"three");
  EXPECT_EQ(Source(), Page(u"<b><span style=\"background: #FFFF00\">Three</span></b>.&nbsp;<br>"));
}

TEST_F(ArticleView, HitsAreFoundInTheTextAsItIsShown) {
  PutThreeThreads();
  DisplayArticle(NodeOf("<b1@x>"), u"beta");
  EXPECT_EQ(Source(), Page(u"Five.&nbsp;<br>"));
  gPrefs->showheaders = 1;
  DisplayArticle(NodeOf("<b1@x>"), u"beta");
  EXPECT_TRUE(
      Source().starts_with(u"<FONT SIZE=\"2\">Subject: <b><span style=\"background: "
                           u"#FFFF00\">Beta</span></b>&nbsp;<br>"));
}

TEST_F(ArticleView, AnArticleOpensAgainWithTheTextItKept) {
  PutThreeThreads();
  DisplayArticle(NodeOf("<a3@x>"), u"ee");
  DisplayArticle(NodeOf("<a3@x>"), Widen(*gReading.article->displayText));
  EXPECT_EQ(gReading.article->displayText, "ee");
  EXPECT_EQ(Source(), Page(u"Thr<b><span style=\"background: #FFFF00\">ee</span></b>.&nbsp;<br>"));
}

TEST_F(ArticleView, OneByteIsOneCharacterForTheHits) {
  Put(kGroup, Written("<u@x>", 1, "", "u", "\x80\x80 caf\xe9 \xe9t\xe9\r\n"));
  OpenGroup(1);
  DisplayArticle(NodeOf("<u@x>"), u"\u00E9t");
  EXPECT_EQ(Source(),
            Page(u"€€ café <b><span style=\"background: #FFFF00\">ét</span></b>é&nbsp;<br>"));
}

// --- The date in the header bar ------------------------------------------------------------------

TEST_F(ArticleView, TheDateStandsBesideTheAuthorInLocalTime) {
  AsciiArticle article = Written("<a1@x>", 1, "", "Alpha", "One.\r\n");
  article.date = "Sat, 21 Nov 2026 07:05:00 -0000 (UTC)";
  Put(kGroup, article);
  OpenGroup(1);
  Open("<a1@x>");
  EXPECT_EQ(Shown().header[1].aside, u"Sat 21 Nov 2026 09:05");
  EXPECT_EQ(Shown().header[0].aside, u"");
  EXPECT_THAT(HeaderTexts(), ElementsAre(u"Subject: Alpha", u"Thread 1/1",
                                         u"From: Ann <ann@example.invalid>", u"Article 0/1"));
}

TEST_F(ArticleView, ADateThatIsNoneStandsAsItIs) {
  AsciiArticle article = Written("<a1@x>", 1, "", "Alpha", "One.\r\n");
  article.date = "yesterday, I =?utf-8?q?th=C3=ADnk?=";
  Put(kGroup, article);
  OpenGroup(1);
  Open("<a1@x>");
  EXPECT_EQ(Shown().header[1].aside, u"yesterday, I th\u00EDnk");
}

TEST_F(ArticleView, WithoutRowDetailsThereIsNoDate) {
  fake.registry.PutDword(kExtensionsPath, u"rowdetails", 0);
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_EQ(Shown().header[1].aside, u"");
  EXPECT_FALSE(fake.display.tree().traits.columns);
}

// --- The columns of the thread rows --------------------------------------------------------------

TEST_F(ArticleView, EachRowHasItsDateAndAThreadThatOfItsNewestArticle) {
  const std::pair<const char*, const char*> dates[] = {{"<a1@x>", "1 Jan 2026 00:00 GMT"},
                                                       {"<a2@x>", "3 Jan 2026 00:00 GMT"},
                                                       {"<a3@x>", "2 Jan 2026 00:00 GMT"},
                                                       {"<b1@x>", "never"}};
  std::uint32_t number = 0;
  for (const auto& [id, date] : dates) {
    ++number;
    const bool beta = number == 4;
    AsciiArticle article = Written(id, number, number == 1 || beta ? "" : "<a1@x>",
                                   beta ? "Beta" : "Alpha", "Text.\r\n");
    article.date = date;
    Put(kGroup, article);
  }
  OpenGroup(1);
  constexpr port::Seconds kFirst = 1767225600;  // 1 January 2026
  constexpr port::Seconds kDay = 86400;
  std::vector<port::Seconds> shown;
  for (const port::TreeRow& row : fake.display.tree().rows) shown.push_back(row.date);
  EXPECT_THAT(shown, ElementsAre(kFirst + 2 * kDay, kFirst, kFirst + 2 * kDay, kFirst + kDay,
                                 port::kNoDate, port::kNoDate));
  EXPECT_TRUE(fake.display.tree().traits.columns);
}

}  // namespace
}  // namespace quillet
