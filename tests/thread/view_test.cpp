// The thread view: building and showing, labels, the caption, opening, marking, the menu's
// commands.
#include "thread/view.h"

#include <gmock/gmock.h>

#include "tests/thread/view_fixture.h"
#include "thread/builder.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const std::vector<std::string> kNineRows = {"*2/4 Hello", "  ann",   "    *bob",   "      *cyd",
                                            "    dan",    "*Other",  "  *eve",     "*1/4 Third",
                                            "  fay",      "    gus", "      *hal", "      ivy"};

constexpr std::u16string_view kNothing = u"No threads, or no current group selected";

using ViewTest = ThreadViewTest;

// --- showing a group -----------------------------------------------------------------------------

TEST_F(ViewTest, AGroupIsShownWithItsThreads) {
  ShowNine();
  EXPECT_EQ(fake.display.SelectedTab(), port::kThreadTab);
  EXPECT_EQ(fake.display.tree().name, u"thread tree");
  EXPECT_EQ(fake.display.tree().font_face, u"Tahoma");
  EXPECT_EQ(fake.display.tree().font_size_index, 3);
  EXPECT_TRUE(fake.display.tree().focused);
  EXPECT_EQ(Rows(), kNineRows);
  EXPECT_EQ(gThreadGroup, kGroup);
  ExpectInStep();
}

TEST_F(ViewTest, TheTitleTellsWhetherThreadsAreMade) {
  ShowNine();
  EXPECT_THAT(Titles(), ElementsAre(u"Threading..."));
  gPrefs->usethreading = 0;
  gThreadRebuildPending = true;
  ShowThreadView();
  EXPECT_THAT(Titles(), ElementsAre(u"Threading...", u"Building article list..."));
  EXPECT_EQ(Rows().size(), 18U);
  EXPECT_EQ(Rows()[0], "Hello");  // a subject of one article has no counts
  EXPECT_EQ(Rows()[2], "*Re: Hello");
}

TEST_F(ViewTest, TheProgressHasFourUnitsAnArticle) {
  PutNine();
  observer.StartOver(0);
  ShowThreadView();
  EXPECT_EQ(observer.upper, 36);
  ASSERT_FALSE(observer.positions.empty());
  EXPECT_EQ(observer.positions.back(), 36);
  EXPECT_TRUE(std::is_sorted(observer.positions.begin() + 1, observer.positions.end()));
}

TEST_F(ViewTest, AnEmptyGroupHasAProgressOfOne) {
  CountArticles();
  observer.StartOver(0);
  ShowThreadView();
  EXPECT_EQ(observer.upper, 1);
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_TRUE(fake.display.tree().created);
}

TEST_F(ViewTest, AShownTreeIsNotBuiltAgain) {
  ShowNine();
  const int fills = fake.display.tree().fills;
  ShowThreadView();
  EXPECT_THAT(Titles(), SizeIs(1));
  EXPECT_EQ(fake.display.tree().fills, fills);
  gThreadRebuildPending = true;
  ShowThreadView();
  EXPECT_THAT(Titles(), SizeIs(2));
  EXPECT_FALSE(gThreadRebuildPending);
}

TEST_F(ViewTest, AnotherGroupIsBuilt) {
  ShowNine();
  Put({"<d@x>", "", "Deutsch", "zoe", 1, false}, u"de.test");
  Recount();
  gCurrentGroup = 2;
  ShowThreadView();
  EXPECT_THAT(Rows(), ElementsAre("*Deutsch", "  *zoe"));
  EXPECT_EQ(gThreadGroup, 2);
  gCurrentGroup = kGroup;
  ShowThreadView();
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ViewTest, WithoutAGroupThereIsAnEmptyTree) {
  ShowNine();
  gCurrentGroup = -1;
  ShowThreadView();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_EQ(gThreadTree, nullptr);
  EXPECT_EQ(fake.display.SelectedTab(), port::kThreadTab);
  gCurrentGroup = 3;  // beyond the list
  ShowThreadView();
  EXPECT_EQ(Caption(), kNothing);
}

TEST_F(ViewTest, WhatIsExpandedAndSelectedSurvivesARebuild) {
  ShowNine();
  const port::TreeItem hello = Thread("<1@x>").treeItem;
  ASSERT_TRUE(fake.display.ExpandItem(hello, true));
  Click(NodeOf("<1@x>"));
  HandleThreadCommand(kCommandRethread);
  EXPECT_EQ(fake.display.tree().expanded, (std::set<port::TreeItem>{hello}));
  EXPECT_EQ(SelectedNode(), &NodeOf("<1@x>"));
  EXPECT_THAT(Titles(), SizeIs(2));
}

TEST_F(ViewTest, ANewControlIsFilledFromTheTree) {
  ShowNine();
  fake.display.CreateTabs(port::TabPlacement::kLeft);
  ForgetThreadControl();
  gPrefs->threadfontsize = 7;
  ShowThreadView();
  EXPECT_EQ(Rows(), kNineRows);
  EXPECT_EQ(Caption(), u"alt.test");
  EXPECT_EQ(fake.display.tree().font_size_index, 7);
  EXPECT_THAT(Titles(), SizeIs(1));
  SetArticleReadById("<5@x>", &NodeOf("<5@x>"), true, kGroup);
  ShowThreadView();
  ExpectInStep();
}

TEST_F(ViewTest, AForgottenControlIsCreatedAnewOnce) {
  ShowNine();
  ForgetThreadControl();
  gPrefs->threadfontsize = 7;
  EXPECT_EQ(fake.display.tree().font_size_index, 3);
  ShowThreadView();
  EXPECT_EQ(fake.display.tree().font_size_index, 7);
  EXPECT_EQ(Rows(), kNineRows);
  const port::TreeItem hello = Thread("<1@x>").treeItem;
  ASSERT_TRUE(fake.display.ExpandItem(hello, true));
  ShowThreadView();
  EXPECT_EQ(fake.display.tree().expanded, (std::set<port::TreeItem>{hello}));
}

TEST_F(ViewTest, TheCurrentArticleIsSelectedAndFoundInTheNewTree) {
  ShowNine();
  Read("<8@x>");
  ShowThreadView();
  EXPECT_EQ(SelectedNode(), &NodeOf("<8@x>"));
  EXPECT_THAT(fake.display.tree().expanded, SizeIs(3));  // Third, fay, gus
  HandleThreadCommand(kCommandRethread);
  EXPECT_EQ(gCurrentArticle->node, &NodeOf("<8@x>"));
}

TEST_F(ViewTest, AnArticleOfAnotherGroupHasNoNode) {
  ShowNine();
  Read("<8@x>");
  gCurrentGroup = 2;
  ShowThreadView();
  ASSERT_NE(gCurrentArticle, nullptr);
  EXPECT_EQ(gCurrentArticle->node, nullptr);
}

TEST_F(ViewTest, ABuildSetsWrongCountsRight) {
  ShowNine();
  gReadInfo[kGroup]->readCount = 1;
  gReadInfo[kGroup]->totalCount = 12;
  HandleThreadCommand(kCommandRethread);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 5U);
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(FetchValue(kArticles, GroupKey(kGroupName)),
            Bytes("01 00 00 00 05 00 00 00 09 00 00 00"));
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  HandleThreadCommand(kCommandRethread);
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

TEST_F(ViewTest, CountsOfAClosedStoreAreNotTaken) {
  PutNine();
  CloseDatabases();
  ShowThreadView();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
}

TEST_F(ViewTest, AnAbortAtEveryStepShowsWhatWasReadAndKeepsTheCounts) {
  PutNine();
  gReadInfo[kGroup]->totalCount = 10;  // a complete build would copy its own
  int aborted = 0;
  for (int step = 1; step < 1000; ++step) {
    observer.StartOver(step);
    gThreadRebuildPending = true;
    ShowThreadView();
    ASSERT_NE(gThreadTree, nullptr);
    EXPECT_EQ(Rows().empty(), gThreadTree->root().firstChild == nullptr);
    EXPECT_FALSE(gThreadRebuildPending);
    if (observer.steps < step) break;
    // The last steps fill the control: the tree is complete by then.
    if (gReadInfo[kGroup]->totalCount == 10) ++aborted;
    gReadInfo[kGroup]->totalCount = 10;
  }
  EXPECT_GE(aborted, 9);
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ViewTest, ClearingForgetsTheTreeAndItsArticle) {
  ShowNine();
  Read("<5@x>");
  ClearThreadView();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_EQ(gThreadTree, nullptr);
  EXPECT_EQ(gThreadGroup, -1);
  EXPECT_EQ(clears(), 1);
  EXPECT_EQ(gCurrentArticle, nullptr);
}

TEST_F(ViewTest, ClearingLeavesAnArticleOfAnotherGroupAlone) {
  ShowNine();
  Read("<5@x>");
  gCurrentArticle->node = nullptr;
  ClearThreadView();
  EXPECT_EQ(clears(), 0);
  EXPECT_NE(gCurrentArticle, nullptr);
}

TEST_F(ViewTest, NothingNeedsAWindow) {
  PutNine();
  fake.display.DestroyMainWindow();
  gMainWindow = 0;
  ShowThreadView();
  EXPECT_NE(gThreadTree, nullptr);
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
  ClearThreadView();
}

// --- labels --------------------------------------------------------------------------------------

TEST_F(ViewTest, LabelsComeFromTheKindOfNode) {
  Node root;
  Node subject;
  subject.kind = NodeKind::kSubject;
  subject.parent = &root;
  subject.subject =
      "Gr\xFC\xDF"
      "e \x80";
  EXPECT_EQ(ThreadLabel(subject), u"0/0 Gr\u00FC\u00DFe \u20AC");
  subject.descendantCount = 1;
  EXPECT_EQ(ThreadLabel(subject), u"Gr\u00FC\u00DFe \u20AC");
  subject.descendantCount = 4294967295U;
  subject.readDescendantCount = 1;
  EXPECT_EQ(ThreadLabel(subject), u"4294967294/4294967295 Gr\u00FC\u00DFe \u20AC");
  Node article;
  article.kind = NodeKind::kArticle;
  article.parent = &subject;
  article.descendantCount = 3;
  article.subject = "no";
  article.from = std::string_view("a\0\tb\x01", 5);
  EXPECT_EQ(ThreadLabel(article), std::u16string(u"a\0\tb\u0001", 5));
}

TEST_F(ViewTest, AnArticleWithoutAMessageIdIsStillAnArticle) {
  Put({"", "", "No name", "nobody", 1, false});
  Recount();
  ShowThreadView();
  EXPECT_THAT(Rows(), ElementsAre("*No name", "  *nobody"));
}

TEST_F(ViewTest, OnlyChangedLabelsAreHandedOver) {
  ShowNine();
  SetArticleReadById("<3@x>", &NodeOf("<3@x>"), true, kGroup);
  // Rows that are not handed over keep what they are overwritten with here.
  std::vector<port::TreeLabel> marks;
  for (const port::TreeRow& row : fake.display.tree().rows)
    marks.push_back({row.item, false, u"-"});
  gPlatform->thread_tree.SetLabels(marks);
  RefreshThreadLabels(gThreadTree->root());
  EXPECT_THAT(Rows(), ElementsAre("*1/4 Hello", "  -", "    -", "      cyd", "    -", "-", "  -",
                                  "-", "  -", "    -", "      -", "      -"));
}

TEST_F(ViewTest, ARefreshReachesDownAndUpButNotAside) {
  ShowNine();
  for (const char* id : {"<2@x>", "<3@x>", "<5@x>"}) {
    SetArticleReadById(id, &NodeOf(id), true, kGroup);
  }
  RefreshThreadLabels(NodeOf("<2@x>"));
  EXPECT_THAT(Rows(),
              ElementsAre("0/4 Hello", "  ann", "    bob", "      cyd", "    dan", "*Other",
                          "  *eve", "*1/4 Third", "  fay", "    gus", "      *hal", "      ivy"));
  RefreshThreadLabels(gThreadTree->root());
  ExpectInStep();
}

TEST_F(ViewTest, ASingleNodeIsPutInAnewWithEverythingBelowIt) {
  ShowNine();
  const int fills = fake.display.tree().fills;
  SetArticleReadById("<8@x>", &NodeOf("<8@x>"), true, kGroup);
  SetArticleReadById("<7@x>", &NodeOf("<7@x>"), false, kGroup);
  SetArticleReadById("<5@x>", &NodeOf("<5@x>"), true, kGroup);
  BuildTreeView(NodeOf("<7@x>"), true);
  EXPECT_THAT(Rows(),
              ElementsAre("*2/4 Hello", "  ann", "    *bob", "      *cyd", "    dan", "*Other",
                          "  *eve", "*1/4 Third", "  fay", "    *gus", "      hal", "      ivy"));
  EXPECT_EQ(fake.display.tree().fills, fills);
  BuildTreeView(gThreadTree->root(), true);
  ExpectInStep();
}

// --- the caption ---------------------------------------------------------------------------------

class CaptionTest : public ThreadViewTest {
 protected:
  CaptionTest() {
    gPrefs->numservers = 2;
    gPrefs->servers = {u"one.example.org", u"two.example.org"};
    gPrefs->lastonserver = {10, 20, 30, 40, 50, 60};
    gPrefs->lastdownloaded = {1, 2, 3, 4, 5, 6};
  }
};

TEST_F(CaptionTest, CountsWhatTheSelectedServerHasBeyondTheLastDownload) {
  EXPECT_EQ(ThreadCaption(1), u"alt.test: 18 on server");
  gPrefs->selectedserver = 1;
  EXPECT_EQ(ThreadCaption(1), u"alt.test: 45 on server");
  EXPECT_EQ(ThreadCaption(2), u"de.test: 54 on server");
}

TEST_F(CaptionTest, AllServersAreOneWhenThePreferenceSaysSo) {
  gPrefs->selectedserver = 1;
  gPrefs->allserversareone = 1;
  EXPECT_EQ(ThreadCaption(1), u"alt.test: 18 on server");
}

TEST_F(CaptionTest, BelowZeroIsZero) {
  gPrefs->lastdownloaded[1] = 21;
  EXPECT_EQ(ThreadCaption(1), u"alt.test: 0 on server");
  gPrefs->lastdownloaded[1] = 0;
  gPrefs->lastonserver[1] = 4294967295U;
  EXPECT_EQ(ThreadCaption(1), u"alt.test: 4294967295 on server");
}

TEST_F(CaptionTest, WithoutCountersThereIsTheNameAlone) {
  gPrefs->selectedserver = 2;
  EXPECT_EQ(ThreadCaption(1), u"alt.test");
  gPrefs->selectedserver = 0;
  gPrefs->lastonserver.resize(1);
  EXPECT_EQ(ThreadCaption(1), u"alt.test");
  gPrefs->numservers = 0;
  gPrefs->lastonserver.clear();
  gPrefs->lastdownloaded.clear();
  EXPECT_EQ(ThreadCaption(1), u"alt.test");
  EXPECT_EQ(ThreadCaption(3), u"");
  EXPECT_EQ(ThreadCaption(-1), u"");
}

TEST_F(CaptionTest, IsShownAfterABuild) {
  ShowNine();
  EXPECT_EQ(Caption(), u"alt.test: 18 on server");
}

struct ServerMark {
  std::uint32_t command;
  int answer;
  bool all_are_one;
  std::vector<std::uint32_t> lastdownloaded;
  std::u16string caption;
};

TEST_F(CaptionTest, MarkingTheServerChangesTheGroupsDownloadPositions) {
  ShowNine();
  gPrefs->selectedserver = 1;
  for (const ServerMark& mark : std::vector<ServerMark>{
           {kCommandServerRead,
            port::kIdYes,
            false,
            {1, 20, 3, 4, 50, 6},
            u"alt.test: 0 on server"},
           {kCommandServerRead, port::kIdNo, false, {1, 2, 3, 4, 50, 6}, u"alt.test: 0 on server"},
           {kCommandServerRead, port::kIdNo, true, {1, 20, 3, 4, 5, 6}, u"alt.test: 0 on server"},
           {kCommandServerRead,
            port::kIdCancel,
            false,
            {1, 2, 3, 4, 5, 6},
            u"alt.test: 45 on server"},
           {kCommandServerUnread,
            port::kIdYes,
            false,
            {1, 0, 3, 4, 0, 6},
            u"alt.test: 50 on server"},
           {kCommandServerUnread,
            port::kIdNo,
            false,
            {1, 2, 3, 4, 0, 6},
            u"alt.test: 50 on server"},
           {kCommandServerUnread, port::kIdNo, true, {1, 0, 3, 4, 5, 6}, u"alt.test: 20 on server"},
           {kCommandServerUnread,
            port::kIdCancel,
            true,
            {1, 2, 3, 4, 5, 6},
            u"alt.test: 18 on server"}}) {
    gPrefs->lastdownloaded = {1, 2, 3, 4, 5, 6};
    gPrefs->allserversareone = mark.all_are_one ? 1 : 0;
    const bool read = mark.command == kCommandServerRead;
    fake.display.Expect(read ? u"Catch up to all news servers for this group?"
                             : u"Reset all news server counts for this group?",
                        mark.answer);
    HandleThreadCommand(mark.command);
    EXPECT_EQ(gPrefs->lastdownloaded, mark.lastdownloaded);
    EXPECT_EQ(gPrefs->lastonserver, (std::vector<std::uint32_t>{10, 20, 30, 40, 50, 60}));
    EXPECT_EQ(Caption(), mark.caption);
    const port::ShownBox box = fake.display.boxes().back();
    EXPECT_EQ(box.caption, read ? u"Mark Server Read" : u"Mark Server Unread");
    EXPECT_EQ(box.style.buttons, port::BoxButtons::kYesNoCancel);
    EXPECT_EQ(box.owner, gMainWindow.load());
  }
}

TEST_F(CaptionTest, MarkingTheServerWithoutCountersChangesNothing) {
  ShowNine();
  gPrefs->lastdownloaded.clear();
  gPrefs->lastonserver.clear();
  fake.display.Expect(u"Catch up to all news servers", port::kIdYes);
  HandleThreadCommand(kCommandServerRead);
  EXPECT_THAT(gPrefs->lastdownloaded, IsEmpty());
  EXPECT_EQ(Caption(), u"alt.test");
}

// --- opening -------------------------------------------------------------------------------------

TEST_F(ViewTest, AnActivatedItemOpensItsArticle) {
  ShowNine();
  HandleThreadItemActivated(NodeOf("<3@x>").treeItem);
  HandleThreadItemActivated(Thread("<6@x>").treeItem);  // its first article
  HandleThreadItemActivated(0);
  HandleThreadItemActivated(12345);
  EXPECT_THAT(opened(), ElementsAre("<3@x>", "<6@x>"));
}

TEST_F(ViewTest, TheSelectedNodeIsOpened) {
  ShowNine();
  EXPECT_FALSE(OpenSelectedNode());
  Click(Thread("<5@x>"));
  EXPECT_TRUE(OpenSelectedNode());
  EXPECT_THAT(opened(), ElementsAre("<5@x>"));
  ClearThreadView();
  EXPECT_FALSE(OpenSelectedNode());
}

TEST_F(ViewTest, AnOutdatedTreeIsReplacedBeforeAnythingIsDoneWithIt) {
  ShowNine();
  const port::TreeItem item = NodeOf("<3@x>").treeItem;
  Click(NodeOf("<3@x>"));
  DeleteArticle("<3@x>");
  gThreadRebuildPending = true;
  HandleThreadItemActivated(item);
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_THAT(Titles(), SizeIs(2));
  ExpectInStep();
}

// --- the context menu ----------------------------------------------------------------------------

std::vector<std::u16string> Texts(const std::vector<port::PopUpEntry>& entries) {
  std::vector<std::u16string> texts;
  texts.reserve(entries.size());
  for (const port::PopUpEntry& entry : entries) texts.push_back(entry.text);
  return texts;
}

class ContextMenuTest : public ThreadViewTest {
 protected:
  void ChooseFor(const Node& node, std::u16string entry) {
    fake.display.ExpectPopUp(std::move(entry));
    HandleThreadContextMenu(node.treeItem);
  }
};

TEST_F(ContextMenuTest, AnArticleHasFiveEntries) {
  ShowNine();
  ChooseFor(NodeOf("<2@x>"), u"");
  EXPECT_THAT(Texts(fake.display.pop_ups().back()),
              ElementsAre(u"Delete Article", u"Delete Thread", u"Mark Read", u"Mark Unread",
                          u"Add To Killfile"));
  EXPECT_EQ(SelectedNode(), &NodeOf("<2@x>"));
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ContextMenuTest, AThreadHasFourEntries) {
  ShowNine();
  ChooseFor(Thread("<2@x>"), u"");
  EXPECT_THAT(
      Texts(fake.display.pop_ups().back()),
      ElementsAre(u"Delete Article", u"Delete Thread", u"Mark Thread Read", u"Mark Thread Unread"));
}

TEST_F(ContextMenuTest, NoItemHasNone) {
  ShowNine();
  HandleThreadContextMenu(0);
  HandleThreadContextMenu(12345);
  ClearThreadView();
  HandleThreadContextMenu(1);
  EXPECT_THAT(fake.display.pop_ups(), IsEmpty());
}

TEST_F(ContextMenuTest, TheEntriesThatMarkAreNoCommandsOfTheMenu) {
  ShowNine();
  ChooseFor(NodeOf("<2@x>"), u"");
  ChooseFor(Thread("<2@x>"), u"");
  for (const auto& menu : fake.display.pop_ups()) {
    for (const std::size_t i : {2U, 3U}) HandleThreadCommand(menu[i].command);
  }
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ContextMenuTest, MarksAnArticle) {
  ShowNine();
  ChooseFor(NodeOf("<2@x>"), u"Mark Read");
  EXPECT_TRUE(IsArticleRead("<2@x>"));
  EXPECT_EQ(Rows()[0], "*1/4 Hello");
  EXPECT_EQ(Rows()[2], "    bob");
  EXPECT_EQ(Rows()[3], "      *cyd");
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  EXPECT_THAT(Titles(), SizeIs(1));  // without a progress dialog
  ExpectInStep();
  ChooseFor(NodeOf("<1@x>"), u"Mark Unread");
  EXPECT_EQ(Rows()[0], "*2/4 Hello");
  EXPECT_EQ(Rows()[1], "  *ann");
  ExpectInStep();
  ExpectCacheInStep();
}

TEST_F(ContextMenuTest, MarksAThread) {
  ShowNine();
  observer.StartOver(0);
  ChooseFor(Thread("<2@x>"), u"Mark Thread Read");
  EXPECT_EQ(Rows()[0], "0/4 Hello");
  EXPECT_EQ(Rows()[5], "*Other");
  EXPECT_THAT(Titles(), ElementsAre(u"Threading...", u"Marking articles read..."));
  // What lies below the thread's first article, and a position for each of the four.
  EXPECT_EQ(observer.upper, 3);
  EXPECT_THAT(observer.positions, ElementsAre(0, 0, 1, 2, 3, 3));
  ExpectInStep();
  ExpectCacheInStep();
  ChooseFor(Thread("<2@x>"), u"Mark Thread Unread");
  EXPECT_EQ(Rows()[0], "*4/4 Hello");
  EXPECT_EQ(Titles().back(), u"Marking articles unread...");
  ExpectInStep();
}

TEST_F(ContextMenuTest, OpensTheKillfileDialogWithTheArticlesTexts) {
  ShowNine();
  std::u16string author;
  std::u16string subject;
  fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
    author = fake.display.Control(dialog, kControlAuthorText)->text;
    subject = fake.display.Control(dialog, kControlSubjectText)->text;
    fake.display.Press(dialog, kControlCancel);
  });
  ChooseFor(NodeOf("<2@x>"), u"Add To Killfile");
  EXPECT_EQ(author, u"bob");
  EXPECT_EQ(subject, u"Re: Hello");
}

TEST_F(ContextMenuTest, OpensTheMenuOfTheNewTreeWhenTheOldOneIsOutdated) {
  ShowNine();
  gThreadRebuildPending = true;
  ChooseFor(NodeOf("<2@x>"), u"Mark Read");
  ExpectInStep();
}

// --- the menu's commands -------------------------------------------------------------------------

TEST_F(ViewTest, AllArticlesAreMarked) {
  ShowNine();
  Click(NodeOf("<2@x>"));
  observer.StartOver(0);
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
  EXPECT_EQ(gThreadTree->root().read, 1U);
  EXPECT_EQ(observer.upper, 9);
  EXPECT_THAT(observer.positions, ElementsAre(0, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
  EXPECT_EQ(Titles().back(), u"Marking articles read...");
  ExpectInStep();
  HandleThreadCommand(kCommandMarkUnread);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 0U);
  EXPECT_EQ(Titles().back(), u"Marking articles unread...");
  ExpectInStep();
  ExpectCacheInStep();
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefreshCounts));
}

TEST_F(ViewTest, AnEmptyTreeIsMarkedWithARangeOfOne) {
  CountArticles();
  ShowThreadView();
  observer.StartOver(0);
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(observer.upper, 1);
  EXPECT_EQ(Titles().back(), u"Marking articles read...");
}

TEST_F(ViewTest, TheCurrentArticlesFlagFollows) {
  ShowNine();
  Read("<3@x>");
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gCurrentArticle->read, 1U);
  HandleThreadCommand(kCommandMarkUnread);
  EXPECT_EQ(gCurrentArticle->read, 0U);
}

TEST_F(ViewTest, ArticlesWithoutAMessageIdAreNotMarked) {
  Put({"", "", "No name", "nobody", 1, false});
  Put({"<1@x>", "", "Name", "ann", 2, false});
  Recount();
  ShowThreadView();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_THAT(Rows(), ElementsAre("*No name", "  *nobody", "Name", "  ann"));
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 1U);
}

TEST_F(ViewTest, ADuplicateIsMarkedWithItsTwin) {
  PutNine();
  ASSERT_TRUE(AddArticleToGroup(kGroupName, "<5@x>"));
  Recount();
  ShowThreadView();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 10U);
  ExpectInStep();
}

TEST_F(ViewTest, MarkingPassesOverArticlesThatHaveGone) {
  ShowNine();
  DeleteArticle("<2@x>");
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(Rows()[0], "*1/4 Hello");
  EXPECT_EQ(Rows()[2], "    *bob");
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 8U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ViewTest, AFlagThatTheTreeDoesNotKnowOfIsSetAllTheSame) {
  ShowNine();
  SetArticleReadById("<1@x>", nullptr, false, 7);  // as another group's tree would
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_TRUE(IsArticleRead("<1@x>"));
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
  ExpectInStep();
}

TEST_F(ViewTest, AnAbortAtEveryStepOfMarkingLeavesEverythingInStep) {
  for (int step = 1; step < 1000; ++step) {
    StartAfresh();
    ShowNine();
    observer.StartOver(step);
    HandleThreadCommand(kCommandMarkRead);
    ExpectInStep();
    ExpectCacheInStep();
    if (observer.steps < step) break;
    const int marked = std::max(step - 2, 0);
    EXPECT_EQ(observer.positions.back(), marked);
    gAbortRequested = 0;
    HandleThreadCommand(kCommandMarkRead);
    EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
    ExpectInStep();
  }
  EXPECT_EQ(observer.steps, 11);
}

TEST_F(ViewTest, AStoreThatFailsInTheMiddleOfMarkingLeavesEverythingInStep) {
  int failures = 0;
  for (int n = 1; n < 1000; ++n) {
    StartAfresh();
    ShowNine();
    {
      const FailNthWrite faulty(n);
      HandleThreadCommand(kCommandMarkRead);
      if (!FailNthWrite::Met()) break;
    }
    ++failures;
    ASSERT_THAT(BoxTexts(), SizeIs(testing::Le(1))) << n;
    ExpectInStep();
    HandleThreadCommand(kCommandMarkRead);
    EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U) << n;
    ExpectInStep();
  }
  EXPECT_GE(failures, 8);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ViewTest, AStoreThatRefusesAnArticleIsToldOnce) {
  ShowNine();
  {
    const FailNthWrite faulty(1);
    HandleThreadCommand(kCommandMarkRead);
  }
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ViewTest, TheKillfileDialogOfTheGroupIsEmpty) {
  ShowNine();
  Click(NodeOf("<2@x>"));
  for (const int group : {kGroup, -1}) {
    gCurrentGroup = group;
    std::u16string author = u"?";
    std::u16string subject = u"?";
    fake.display.WhenShown(kDialogKillfileEntry, [&](port::WindowHandle dialog) {
      author = fake.display.Control(dialog, kControlAuthorText)->text;
      subject = fake.display.Control(dialog, kControlSubjectText)->text;
      fake.display.Press(dialog, kControlCancel);
    });
    HandleThreadCommand(kCommandAddToKillfile);
    EXPECT_EQ(author, u"");
    EXPECT_EQ(subject, u"");
  }
}

TEST_F(ViewTest, CommandsThatNeedATreeDoNothingWithoutOne) {
  PutNine();
  const std::vector<std::uint32_t> commands = {
      kCommandDeleteRead, kCommandDeleteAll,    kCommandMarkRead,     kCommandMarkUnread,
      kCommandServerRead, kCommandServerUnread, kCommandDeleteThread, kCommandDeleteSelectedArticle,
      kCommandFind,       kCommandRethread,     kCommandNewArticle};
  for (const int group : {-1, 3}) {
    gCurrentGroup = group;
    ShowThreadView();
    for (const std::uint32_t command : commands) HandleThreadCommand(command);
  }
  EXPECT_EQ(Chain(kGroupName).size(), 9U);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 5U);
  EXPECT_THAT(Titles(), IsEmpty());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ViewTest, OtherCommandsAreIgnored) {
  ShowNine();
  for (const std::uint32_t command : {0U, 1U, 2U, 3U, kCommandNewArticle, kCommandRot13, 65535U}) {
    HandleThreadCommand(command);
  }
  EXPECT_EQ(Rows(), kNineRows);
}

// --- large threads -------------------------------------------------------------------------------

TEST_F(ViewTest, ALongChainOfRepliesIsMarkedAtEveryDepth) {
  constexpr int kArticles = 3000;
  std::string parent;
  for (int i = 0; i < kArticles; ++i) {
    const std::string id = "<" + std::to_string(i) + "@x>";
    Put({id, parent, "Deep", "ann", static_cast<std::uint32_t>(i), false, ""});
    parent = id;
  }
  Recount();
  ShowThreadView();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 3000U);
  EXPECT_EQ(fake.display.tree().rows[0].text, u"0/3000 Deep");
  EXPECT_EQ(NodeOf("<0@x>").readDescendantCount, 2999U);
  EXPECT_EQ(NodeOf("<2998@x>").readDescendantCount, 1U);
  EXPECT_EQ(NodeOf("<2999@x>").readDescendantCount, 0U);
}

}  // namespace
}  // namespace quillet
