// SPDX-License-Identifier: GPL-3.0-or-later
// The thread view: building and showing, labels, the caption, opening.
#include "thread/view.h"
#include "base/changes.h"

#include <gmock/gmock.h>

#include "tests/mime/without_decoding.h"
#include "tests/thread/view_fixture.h"
#include "thread/commands.h"
#include "thread/labels.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

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
  EXPECT_EQ(gReading.tree_group, GroupAt(kGroup));
  ExpectInStep();
}

TEST_F(ViewTest, TheTitleTellsWhetherThreadsAreMade) {
  ShowNine();
  EXPECT_THAT(Titles(), ElementsAre(u"Threading..."));
  gPrefs->usethreading = 0;
  NoteChange(Change::kStore);
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
  NoteChange(Change::kStore);
  ShowThreadView();
  EXPECT_THAT(Titles(), SizeIs(2));
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
}

TEST_F(ViewTest, AnotherGroupIsBuilt) {
  ShowNine();
  Put({"<d@x>", "", "Deutsch", "zoe", 1, false}, u"de.test");
  Recount();
  gReading.group = GroupAt(2);
  ShowThreadView();
  EXPECT_THAT(Rows(), ElementsAre("*Deutsch", "  *zoe"));
  EXPECT_EQ(gReading.tree_group, GroupAt(2));
  gReading.group = GroupAt(kGroup);
  ShowThreadView();
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ViewTest, WithoutAGroupThereIsAnEmptyTree) {
  ShowNine();
  gReading.group.reset();
  ShowThreadView();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_EQ(gReading.tree, nullptr);
  EXPECT_EQ(fake.display.SelectedTab(), port::kThreadTab);
  gReading.group = GroupAt(3);  // beyond the list
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
  ForgetThreadFont();
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

TEST_F(ViewTest, AnotherFontLeavesRowsExpansionAndSelection) {
  ShowNine();
  const port::TreeItem hello = Thread("<1@x>").treeItem;
  ASSERT_TRUE(fake.display.ExpandItem(hello, true));
  Click(NodeOf("<1@x>"));
  const int fills = fake.display.tree().fills;
  ForgetThreadFont();
  gPrefs->threadfont = u"Arial";
  gPrefs->threadfontsize = 7;
  EXPECT_EQ(fake.display.tree().font_size_index, 3);
  ShowThreadView();
  EXPECT_EQ(fake.display.tree().font_face, u"Arial");
  EXPECT_EQ(fake.display.tree().font_size_index, 7);
  EXPECT_EQ(Rows(), kNineRows);
  EXPECT_EQ(fake.display.tree().expanded, (std::set<port::TreeItem>{hello}));
  EXPECT_EQ(SelectedNode(), &NodeOf("<1@x>"));
  EXPECT_EQ(fake.display.tree().fills, fills);
  ExpectInStep();
}

TEST_F(ViewTest, TheCurrentArticleIsSelectedAndFoundInTheNewTree) {
  ShowNine();
  Read("<8@x>");
  ShowThreadView();
  EXPECT_EQ(SelectedNode(), &NodeOf("<8@x>"));
  EXPECT_THAT(fake.display.tree().expanded, SizeIs(3));  // Third, fay, gus
  HandleThreadCommand(kCommandRethread);
  EXPECT_EQ(gReading.article->node, &NodeOf("<8@x>"));
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
    NoteChange(Change::kStore);
    ShowThreadView();
    ASSERT_NE(gReading.tree, nullptr);
    EXPECT_EQ(Rows().empty(), gReading.tree->root().firstChild == nullptr);
    EXPECT_FALSE(gReading.tree_state.OutOfDate());
    if (observer.steps < step) break;
    // The last steps fill the control: the tree is complete by then.
    if (gReadInfo[kGroup]->totalCount == 10) ++aborted;
    gReadInfo[kGroup]->totalCount = 10;
  }
  EXPECT_GE(aborted, 9);
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ViewTest, AfterAnAbortTheTreeIsBuiltAnewWhenItIsShownNext) {
  PutNine();
  observer.StartOver(1);
  ShowThreadView();
  observer.StartOver(0);
  ASSERT_LT(Rows().size(), kNineRows.size());
  EXPECT_TRUE(gReading.rebuild_pending);
  ShowThreadView();
  EXPECT_EQ(Rows(), kNineRows);
  EXPECT_FALSE(gReading.rebuild_pending);
  EXPECT_THAT(Titles(), SizeIs(2));
  ShowThreadView();
  EXPECT_THAT(Titles(), SizeIs(2));
}

// Who has ended a long build wants to work on what it gave, not to wait again.
TEST_F(ViewTest, WhatAnAbortedBuildGaveCanBeUsedAsItIs) {
  PutNine();
  observer.StartOver(4);
  ShowThreadView();
  observer.StartOver(0);
  const std::vector<std::string> rows = Rows();
  ASSERT_FALSE(rows.empty());
  ASSERT_LT(rows.size(), kNineRows.size());
  Click(*gReading.tree->root().firstChild);
  EXPECT_TRUE(OpenSelectedNode());
  EXPECT_THAT(opened(), SizeIs(1));
  EXPECT_EQ(Rows(), rows);
  EXPECT_THAT(Titles(), SizeIs(1));
}

TEST_F(ViewTest, AnotherGroupTakesTheArticleOfTheFormerOneAway) {
  ShowNine();
  Read("<5@x>");
  gReading.tree_state.Invalidate();
  ShowThreadView();
  EXPECT_EQ(CurrentId(), "<5@x>");
  EXPECT_EQ(clears(), 0);
  gReading.group = GroupAt(2);
  ShowThreadView();
  EXPECT_EQ(CurrentId(), "none");
  EXPECT_EQ(clears(), 1);
}

TEST_F(ViewTest, AnArticleThatIsInNoTreeGoesWithItsGroup) {
  ShowNine();
  Read("<5@x>");
  gReading.article->node = nullptr;
  gReading.article_group = kGroupName;
  gReading.tree_state.Invalidate();
  ShowThreadView();
  EXPECT_EQ(CurrentId(), "<5@x>");
  gReading.article->node = nullptr;
  gReading.group = GroupAt(2);
  ShowThreadView();
  EXPECT_EQ(CurrentId(), "none");
}

TEST_F(ViewTest, ClearingForgetsTheTreeAndItsArticle) {
  ShowNine();
  Read("<5@x>");
  ClearThreadView();
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_EQ(gReading.tree, nullptr);
  EXPECT_EQ(gReading.tree_group, std::nullopt);
  EXPECT_EQ(clears(), 1);
  EXPECT_EQ(gReading.article, nullptr);
}

TEST_F(ViewTest, ClearingLeavesAnArticleOfAnotherGroupAlone) {
  ShowNine();
  Read("<5@x>");
  gReading.article->node = nullptr;
  ClearThreadView();
  EXPECT_EQ(clears(), 0);
  EXPECT_NE(gReading.article, nullptr);
}

TEST_F(ViewTest, NothingNeedsAWindow) {
  PutNine();
  fake.display.DestroyMainWindow();
  gMainWindow = 0;
  ShowThreadView();
  EXPECT_NE(gReading.tree, nullptr);
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

TEST_F(ViewTest, LabelsAreDecoded) {
  Put({"<1@x>", "", "=?UTF-8?Q?Caf=C3=A9?=", "=?utf-8?Q?J=C3=BC?= <z@x>", 1, false});
  Put({"<2@x>", "", "Re: =?iso-8859-1?Q?Caf=E9?=", "J\xC3\xBC <z@x>", 2, false});
  Recount();
  ShowThreadView();
  EXPECT_THAT(Rows(), ElementsAre("*2/2 Caf\xE9", "  *J\xFC <z@x>", "  *J\xFC <z@x>"));
}

TEST_F(ViewTest, LabelsAreTheStoredTextsWithoutDecoding) {
  const testing::WithoutDecoding scope;
  Put({"<1@x>", "", "=?UTF-8?Q?Caf=C3=A9?=", "=?koi8-r?Q?=F6?= <z@x>", 1, false});
  Put({"<2@x>", "", "Re: =?iso-8859-1?Q?Caf=E9?=", "z", 2, false});
  Recount();
  ShowThreadView();
  EXPECT_THAT(Rows(), ElementsAre("*=?UTF-8?Q?Caf=C3=A9?=", "  *=?koi8-r?Q?=F6?= <z@x>",
                                  "*Re: =?iso-8859-1?Q?Caf=E9?=", "  *z"));
}

TEST_F(ViewTest, OnlyChangedLabelsAreHandedOver) {
  ShowNine();
  SetArticleReadById("<3@x>", &NodeOf("<3@x>"), true, kGroup);
  // Rows that are not handed over keep what they are overwritten with here.
  std::vector<port::TreeLabel> marks;
  for (const port::TreeRow& row : fake.display.tree().rows)
    marks.push_back({row.item, false, u"-"});
  gPlatform->thread_tree.SetLabels(marks);
  RefreshThreadLabels(gReading.tree->root());
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
  RefreshThreadLabels(gReading.tree->root());
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
  BuildTreeView(gReading.tree->root(), true);
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
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test: 18 on server");
  gPrefs->selectedserver = 1;
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test: 45 on server");
  EXPECT_EQ(ThreadCaption(GroupAt(2)), u"de.test: 54 on server");
}

TEST_F(CaptionTest, AllServersAreOneWhenThePreferenceSaysSo) {
  gPrefs->selectedserver = 1;
  gPrefs->allserversareone = 1;
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test: 18 on server");
}

TEST_F(CaptionTest, BelowZeroIsZero) {
  gPrefs->lastdownloaded[1] = 21;
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test: 0 on server");
  gPrefs->lastdownloaded[1] = 0;
  gPrefs->lastonserver[1] = 4294967295U;
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test: 4294967295 on server");
}

TEST_F(CaptionTest, WithoutCountersThereIsTheNameAlone) {
  gPrefs->selectedserver = 2;
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test");
  gPrefs->selectedserver = 0;
  gPrefs->lastonserver.resize(1);
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test");
  gPrefs->numservers = 0;
  gPrefs->lastonserver.clear();
  gPrefs->lastdownloaded.clear();
  EXPECT_EQ(ThreadCaption(GroupAt(1)), u"alt.test");
  EXPECT_EQ(ThreadCaption(GroupAt(3)), u"");
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
  NoteChange(Change::kStore);
  HandleThreadItemActivated(item);
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_THAT(Titles(), SizeIs(2));
  ExpectInStep();
}

}  // namespace
}  // namespace quillet
