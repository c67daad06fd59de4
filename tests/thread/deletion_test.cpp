// SPDX-License-Identifier: GPL-3.0-or-later
// Deleting through the shown tree: what becomes of the replies, of the counts, of what is shown,
// and which article is current afterwards.
#include "thread/deletion.h"
#include "base/changes.h"

#include <gmock/gmock.h>

#include "store/deletion.h"
#include "store/gdbm_library.h"
#include "tests/thread/view_fixture.h"
#include "thread/commands.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::u16string_view kRefused =
    u"An unexpected error (unable to delete article) occurred in DeleteArticleNode.";

std::string IdOf(const Node* node) {
  return node == nullptr ? "none" : std::string(node->messageId);
}

class TreeDeletionTest : public ThreadViewTest {
 protected:
  // A thread of that many articles: a chain, or all replies to the first one.
  static void PutLongThread(int articles, bool chain, int every_nth_read = 0) {
    for (int i = 0; i < articles; ++i) {
      const bool read = every_nth_read != 0 && i % every_nth_read == 0;
      Put({Id(i), i == 0 ? "" : Id(chain ? i - 1 : 0), "Long", "ann",
           static_cast<std::uint32_t>(i + 100), read, ""});
    }
    Recount();
  }
  static std::string Id(int number) { return "<" + std::to_string(number) + "@long>"; }
};

// --- one article ---------------------------------------------------------------------------------

TEST_F(TreeDeletionTest, TheRepliesTakeThePlaceOfTheirParent) {
  ShowNine();
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<7@x>"))), "<8@x>");
  EXPECT_THAT(Rows(),
              ElementsAre("*2/4 Hello", "  ann", "    *bob", "      *cyd", "    dan", "*Other",
                          "  *eve", "*1/3 Third", "  fay", "    *hal", "    ivy"));
  EXPECT_FALSE(ArticleExists("<7@x>"));
  EXPECT_EQ(gReading.tree->FindNodeByMessageId("<7@x>"), nullptr);
  EXPECT_THAT(Chain(kGroupName),
              ElementsAre("<9@x>", "<8@x>", "<6@x>", "<5@x>", "<4@x>", "<3@x>", "<2@x>", "<1@x>"));
  EXPECT_EQ(FetchValue(kArticles, GroupKey(kGroupName)),
            Bytes("01 00 00 00 04 00 00 00 08 00 00 00"));
  ExpectInStep();
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  EXPECT_THAT(Titles(), SizeIs(1));  // without a progress dialog
}

TEST_F(TreeDeletionTest, TheThreadLivesOnWithoutItsFirstArticle) {
  ShowNine();
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<1@x>"))), "<2@x>");
  EXPECT_THAT(Rows(), ElementsAre("*2/3 Hello", "  *bob", "    *cyd", "  dan", "*Other", "  *eve",
                                  "*1/4 Third", "  fay", "    gus", "      *hal", "      ivy"));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AThreadOfOneGoesWithIt) {
  ShowNine();
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<5@x>"))), "<6@x>");
  EXPECT_EQ(fake.display.FindItem(u"Other"), 0U);
  EXPECT_THAT(Rows(), SizeIs(10));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, TheFollowingArticleIsTheNextInTheOrderOfTheTree) {
  ShowNine();
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<3@x>"))), "<4@x>");
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<4@x>"))), "<5@x>");
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<9@x>"))), "none");
  ExpectInStep();
}

TEST_F(TreeDeletionTest, TheLastArticleLeavesNothing) {
  Put({"<1@x>", "", "Only", "ann", 1, false});
  Recount();
  ShowThreadView();
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<1@x>"))), "none");
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  ExpectInStep();
}

TEST_F(TreeDeletionTest, OfTwoArticlesWithoutAMessageIdOnlyTheChainRecordGoes) {
  Put({"", "", "One", "nobody", 1, false});
  Put({"", "", "Two", "nobody", 2, false});
  Put({"<3@x>", "", "Three", "cyd", 3, false});
  Recount();
  ShowThreadView();
  Node& nameless = *NextArticle(gReading.tree->root());
  ASSERT_EQ(nameless.messageId, "");
  EXPECT_EQ(IdOf(DeleteArticleNode(nameless)), "");
  EXPECT_TRUE(ArticleExists(""));
  EXPECT_THAT(Chain(kGroupName), SizeIs(2));
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 2U);
  EXPECT_EQ(gReading.tree->root().descendantCount, 2U);
}

TEST_F(TreeDeletionTest, ATwinOfADuplicateStaysInTheTree) {
  PutNine();
  ASSERT_TRUE(AddArticleToGroup(kGroupName, "<5@x>"));
  Recount();
  ShowThreadView();
  DeleteArticleNode(NodeOf("<5@x>"));
  ASSERT_NE(gReading.tree->FindNodeByMessageId("<5@x>"), nullptr);
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(gReading.tree->root().descendantCount, 9U);
  DeleteArticleNode(NodeOf("<5@x>"));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, CountsThatWereWrongStopAtZero) {
  ShowNine();
  gReadInfo[kGroup]->readCount = 0;
  gReadInfo[kGroup]->totalCount = 1;
  DeleteArticleNode(NodeOf("<1@x>"));
  DeleteArticleNode(NodeOf("<4@x>"));
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 0U);
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 0U);
}

TEST_F(TreeDeletionTest, TheCurrentArticleIsClearedWithItsNode) {
  ShowNine();
  Read("<7@x>");
  DeleteArticleNode(NodeOf("<8@x>"));
  EXPECT_EQ(clears(), 0);
  EXPECT_EQ(CurrentId(), "<7@x>");
  DeleteArticleNode(NodeOf("<7@x>"));
  EXPECT_EQ(clears(), 1);
  EXPECT_EQ(CurrentId(), "none");
}

TEST_F(TreeDeletionTest, AnArticleThatHasGoneAlreadyOnlyLosesItsChainRecord) {
  ShowNine();
  DeleteArticle("<2@x>");
  DeleteArticleNode(NodeOf("<2@x>"));
  EXPECT_THAT(Chain(kGroupName), SizeIs(8));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AChainNumberThatNowNamesAnotherArticleIsLeftAlone) {
  ShowNine();
  const std::uint32_t number = NodeOf("<2@x>").chainNumber;
  GDBMGroup record = StoredChain(number);
  record.messageId = "<other@x>";
  std::string key;
  AppendU32(key, number);
  ASSERT_TRUE(StoreGroupRecord(key, record, StoreMode::kReplace));
  EXPECT_EQ(IdOf(DeleteArticleNode(NodeOf("<2@x>"))), "<3@x>");
  EXPECT_THAT(Chain(kGroupName), SizeIs(9));
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(gReading.tree->FindNodeByMessageId("<2@x>"), nullptr);
  EXPECT_TRUE(gReading.tree_state.OutOfDate());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(TreeDeletionTest, AClosedStoreRefuses) {
  ShowNine();
  CloseDatabases();
  Node& node = NodeOf("<2@x>");
  EXPECT_EQ(DeleteArticleNode(node), &node);
  EXPECT_THAT(BoxTexts(), ElementsAre(kRefused));
  EXPECT_THAT(Rows(), SizeIs(12));
  EXPECT_EQ(gReadInfo[kGroup]->totalCount, 9U);
  EXPECT_EQ(IdOf(DeleteThreadNode(node)), "<1@x>");
  EXPECT_THAT(Rows(), SizeIs(12));
}

// What cannot be read then may well be there.
TEST_F(TreeDeletionTest, AStoreThatHasFailedRefuses) {
  ShowNine();
  const auto fetch = gGdbm.fetch;
  gGdbm.fetch = [](GDBM_FILE, datum) { return datum{nullptr, 0}; };
  gDatabaseErrorFlag = true;
  Node& node = NodeOf("<2@x>");
  EXPECT_EQ(DeleteArticleNode(node), &node);
  gGdbm.fetch = fetch;
  gDatabaseErrorFlag = false;
  EXPECT_THAT(BoxTexts(), ElementsAre(kRefused));
  EXPECT_THAT(Rows(), SizeIs(12));
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
}

TEST_F(TreeDeletionTest, TheRootIsNotDeleted) {
  ShowNine();
  EXPECT_EQ(DeleteArticleNode(gReading.tree->root()), nullptr);
  EXPECT_EQ(DeleteThreadNode(gReading.tree->root()), nullptr);
  EXPECT_THAT(Rows(), SizeIs(12));
}

// --- threads -------------------------------------------------------------------------------------

TEST_F(TreeDeletionTest, AThreadGoesWhole) {
  ShowNine();
  EXPECT_EQ(IdOf(DeleteThreadNode(NodeOf("<3@x>"))), "<5@x>");
  EXPECT_THAT(Rows(), ElementsAre("*Other", "  *eve", "*1/4 Third", "  fay", "    gus",
                                  "      *hal", "      ivy"));
  EXPECT_THAT(Chain(kGroupName), ElementsAre("<9@x>", "<8@x>", "<7@x>", "<6@x>", "<5@x>"));
  EXPECT_FALSE(ArticleExists("<1@x>"));
  EXPECT_EQ(FetchValue(kArticles, GroupKey(kGroupName)),
            Bytes("01 00 00 00 03 00 00 00 05 00 00 00"));
  ExpectInStep();
  EXPECT_EQ(IdOf(DeleteThreadNode(Thread("<6@x>"))), "none");
  EXPECT_EQ(IdOf(DeleteArticleNode(Thread("<5@x>"))), "none");  // a thread as well
  EXPECT_EQ(Caption(), kNothing);
  ExpectInStep();
}

TEST_F(TreeDeletionTest, TheCurrentArticleGoesWithItsThread) {
  ShowNine();
  Read("<3@x>");
  DeleteThreadNode(NodeOf("<4@x>"));
  EXPECT_EQ(clears(), 1);
}

TEST_F(TreeDeletionTest, ALongThreadGoesUnderAProgressDialog) {
  PutNine();
  PutLongThread(101, false);
  ShowThreadView();
  observer.StartOver(0);
  EXPECT_EQ(IdOf(DeleteThreadNode(NodeOf(Id(50)))), "none");
  EXPECT_THAT(Titles(), ElementsAre(u"Threading...", u"Deleting thread..."));
  EXPECT_EQ(observer.upper, 101);
  EXPECT_EQ(observer.positions.back(), 101);
  EXPECT_THAT(Chain(kGroupName), SizeIs(9));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AnAbortOfALongThreadLeavesTheRestOfIt) {
  for (const bool chain : {true, false}) {
    for (const int step : {1, 2, 3, 60, 102, 103}) {
      StartAfresh();
      PutNine();
      PutLongThread(101, chain);
      ShowThreadView();
      Read(Id(40));
      observer.StartOver(step);
      Node* next = DeleteThreadNode(NodeOf(Id(50)));
      const int deleted = std::max(step - 2, 0);
      EXPECT_EQ(IdOf(next), deleted == 101 ? "none" : Id(deleted)) << step;
      EXPECT_THAT(Chain(kGroupName), SizeIs(static_cast<std::size_t>(110 - deleted)));
      EXPECT_EQ(clears(), deleted > 40 ? 1 : 0);
      ExpectInStep();
      ExpectCacheInStep();
    }
  }
}

TEST_F(TreeDeletionTest, AnEarlierAbortDoesNotStopAShortThread) {
  ShowNine();
  gAbortRequested = 1;
  DeleteThreadNode(NodeOf("<1@x>"));
  EXPECT_THAT(Chain(kGroupName), SizeIs(5));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AfterAStoreThatFailsInTheMiddleTheNextBuildHeals) {
  int refusals = 0;
  for (int n = 1; n < 1000; ++n) {
    StartAfresh();
    ShowNine();
    bool met = false;
    {
      const FailNthWrite faulty(n);
      DeleteThreadNode(NodeOf("<3@x>"));
      met = FailNthWrite::Met();
    }
    EXPECT_EQ(gReadInfo[kGroup]->totalCount, CountGroupArticles(kGroupName, false)) << n;
    EXPECT_EQ(gReadInfo[kGroup]->readCount, CountGroupArticles(kGroupName, true)) << n;
    if (!met) break;
    ASSERT_THAT(BoxTexts(), SizeIs(testing::Le(1))) << n;
    const bool refused = BoxTexts() == std::vector<std::u16string>{std::u16string(kRefused)};
    EXPECT_EQ(refused, Chain(kGroupName).size() > 5U) << n;
    refusals += refused ? 1 : 0;
    // The chain record of an article that has gone is left: it goes with the next build.
    EXPECT_EQ(gReading.tree_state.OutOfDate(), refused) << n;
    ShowThreadView();
    ExpectInStep();
    if (Chain(kGroupName).size() > 5) DeleteThreadNode(*NextArticle(gReading.tree->root()));
    EXPECT_THAT(Chain(kGroupName), SizeIs(5)) << n;
    ExpectInStep();
  }
  EXPECT_EQ(refusals, 4);
}

TEST_F(TreeDeletionTest, AnArticleLeftOnTheChainGoesWithTheNextBuild) {
  ShowNine();
  Read("<9@x>");
  Node& node = NodeOf("<9@x>");
  {
    // The newest article: the first write is that of the next one's backward link.
    const FailNthWrite faulty(2);
    EXPECT_EQ(DeleteArticleNode(node), &node);
  }
  EXPECT_THAT(BoxTexts(), ElementsAre(kRefused));
  EXPECT_FALSE(ArticleExists("<9@x>"));
  EXPECT_THAT(Chain(kGroupName), SizeIs(9));
  EXPECT_TRUE(gReading.tree_state.OutOfDate());
  ShowThreadView();
  EXPECT_THAT(Chain(kGroupName), SizeIs(8));
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AnArticleThatTheStoreKeepsStaysInTheTree) {
  ShowNine();
  Read("<9@x>");
  Node& node = NodeOf("<9@x>");
  const auto sound = gGdbm;
  gGdbm.remove = [](GDBM_FILE, datum) { return -1; };
  EXPECT_EQ(DeleteArticleNode(node), &node);
  gGdbm = sound;
  EXPECT_THAT(BoxTexts(), ElementsAre(kRefused));
  EXPECT_EQ(CurrentId(), "<9@x>");
  EXPECT_TRUE(ArticleExists("<9@x>"));
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
  ExpectInStep();
}

// --- read articles of the shown group ------------------------------------------------------------

TEST_F(TreeDeletionTest, ReadArticlesGoThroughTheTree) {
  ShowNine();
  Read("<7@x>");
  const int fills = fake.display.tree().fills;
  observer.StartOver(0);
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
  EXPECT_THAT(Rows(), ElementsAre("*2/2 Hello", "  *bob", "    *cyd", "*Other", "  *eve", "*Third",
                                  "  *hal"));
  EXPECT_EQ(fake.display.tree().fills, fills + 1);
  EXPECT_EQ(clears(), 1);
  EXPECT_EQ(Titles().back(), u"Deleting read articles in alt.test...");
  EXPECT_EQ(observer.upper, 5);
  EXPECT_THAT(observer.positions, ElementsAre(0, 0, 1, 2, 3, 4, 5));
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
  ExpectInStep();
  ExpectCacheInStep();
}

TEST_F(TreeDeletionTest, ThreadsThatWereReadWholeGo) {
  ShowNine();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AnAbortAtEveryStepLeavesEverythingInStep) {
  for (int step = 1; step < 1000; ++step) {
    StartAfresh();
    ShowNine();
    observer.StartOver(step);
    const RunEnd end = DeleteArticlesOf(true, GroupAt(kGroup));
    ExpectInStep();
    ExpectCacheInStep();
    if (observer.steps < step) {
      EXPECT_EQ(end, RunEnd::kGoOn);
      break;
    }
    EXPECT_EQ(end, RunEnd::kCancelled);
    EXPECT_THAT(Chain(kGroupName), SizeIs(static_cast<std::size_t>(9 - std::max(step - 2, 0))));
  }
  EXPECT_EQ(observer.steps, 7);
}

TEST_F(TreeDeletionTest, ReadArticlesOfALongChainGoFromEveryDepth) {
  PutLongThread(400, true, 2);
  ShowThreadView();
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(kGroupName), SizeIs(200));
  EXPECT_EQ(fake.display.tree().rows.back().depth, 200U);
  ExpectInStep();
}

TEST_F(TreeDeletionTest, AFailingStoreStopsTheDeletionOfReadArticles) {
  int refusals = 0;
  for (int n = 1; n < 1000; ++n) {
    StartAfresh();
    ShowNine();
    bool met = false;
    RunEnd end = RunEnd::kGoOn;
    {
      const FailNthWrite faulty(n);
      end = DeleteArticlesOf(true, GroupAt(kGroup));
      met = FailNthWrite::Met();
    }
    EXPECT_EQ(gReading.tree_state.OutOfDate(), end == RunEnd::kStoreFailed) << n;
    EXPECT_FALSE(AbortRequested()) << n;
    ShowThreadView();
    ExpectInStep();
    if (!met) break;
    if (end != RunEnd::kGoOn) ++refusals;
    EXPECT_EQ(end != RunEnd::kGoOn,
              BoxTexts() == std::vector<std::u16string>{std::u16string(kRefused)});
    EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
    EXPECT_THAT(Chain(kGroupName), SizeIs(4)) << n;
    ExpectInStep();
  }
  EXPECT_EQ(refusals, 5);
}

TEST_F(TreeDeletionTest, AnOutdatedTreeIsNotTrusted) {
  ShowNine();
  Put({"<10@x>", "", "New", "joe", 10, true});
  ++gReadInfo[kGroup]->totalCount;
  ++gReadInfo[kGroup]->readCount;
  NoteChange(Change::kStore);
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(kGroupName), SizeIs(4));
  EXPECT_TRUE(gReading.tree_state.OutOfDate());
  ShowThreadView();
  ExpectInStep();
}

// The index would lead to a node that is in the tree no more.
TEST_F(TreeDeletionTest, WhatWasDeletedIsFoundByNoMessageId) {
  ShowNine();
  DeleteThreadNode(NodeOf("<6@x>"));
  for (const char* id : {"<6@x>", "<7@x>", "<8@x>", "<9@x>"}) {
    EXPECT_EQ(gReading.tree->FindNodeByMessageId(id), nullptr) << id;
  }
  DeleteArticleNode(NodeOf("<3@x>"));
  EXPECT_EQ(gReading.tree->FindNodeByMessageId("<3@x>"), nullptr);
  ASSERT_TRUE(DeleteReadOfShownTree());
  for (const char* id : {"<1@x>", "<4@x>"}) {
    EXPECT_EQ(gReading.tree->FindNodeByMessageId(id), nullptr) << id;
  }
  EXPECT_NE(gReading.tree->FindNodeByMessageId("<2@x>"), nullptr);
  EXPECT_NE(gReading.tree->FindNodeByMessageId("<5@x>"), nullptr);
}

// It lacks articles that are to go.
TEST_F(TreeDeletionTest, TheTreeOfAnAbortedBuildIsNotTrusted) {
  PutNine();
  observer.StartOver(3);
  ShowThreadView();
  observer.StartOver(0);
  ASSERT_NE(gReading.tree->root().descendantCount, 9U);
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(kGroup)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(kGroupName), SizeIs(4));
  ShowThreadView();
  ExpectInStep();
}

TEST_F(TreeDeletionTest, OtherGroupsGoByTheirChain) {
  ShowNine();
  Put({"<d@x>", "", "Deutsch", "zoe", 1, true}, u"de.test");
  Recount();
  EXPECT_EQ(DeleteArticlesOf(true, GroupAt(2)), RunEnd::kGoOn);
  EXPECT_THAT(Chain(u"de.test"), IsEmpty());
  EXPECT_EQ(DeleteArticlesOf(false, GroupAt(2)), RunEnd::kGoOn);
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
  ExpectInStep();
}

// --- the commands --------------------------------------------------------------------------------

class DeleteCommandTest : public TreeDeletionTest {
 protected:
  void Delete(std::uint32_t command, std::u16string question, int answer = port::kIdYes) {
    fake.display.Expect(std::move(question), answer);
    HandleThreadCommand(command);
  }
  void DeleteArticleCommand(int answer = port::kIdYes) {
    Delete(kCommandDeleteSelectedArticle, u"Really delete selected article?", answer);
  }
  void DeleteThreadCommand(int answer = port::kIdYes) {
    Delete(kCommandDeleteThread, u"Really delete selected thread?", answer);
  }
};

TEST_F(DeleteCommandTest, TheFollowingArticleBecomesCurrentAndSelected) {
  ShowNine();
  Click(NodeOf("<4@x>"));
  DeleteArticleCommand();
  EXPECT_EQ(CurrentId(), "<5@x>");
  EXPECT_EQ(gReading.article->node, &NodeOf("<5@x>"));
  EXPECT_EQ(gReading.article->body, "text\r\n");
  EXPECT_EQ(gReading.article->read, 0U);  // it is not displayed, so it stays unread
  EXPECT_EQ(SelectedNode(), &NodeOf("<5@x>"));
  EXPECT_TRUE(fake.display.tree().focused);
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_EQ(fake.display.SelectedTab(), port::kThreadTab);
  ExpectInStep();
}

TEST_F(DeleteCommandTest, AnotherCurrentArticleGivesWay) {
  ShowNine();
  Read("<1@x>");
  Click(NodeOf("<8@x>"));
  DeleteArticleCommand();
  EXPECT_EQ(CurrentId(), "<9@x>");
  EXPECT_EQ(clears(), 1);
}

TEST_F(DeleteCommandTest, AThreadIsFollowedByTheFirstArticleOfTheNext) {
  ShowNine();
  Click(NodeOf("<3@x>"));
  DeleteThreadCommand();
  EXPECT_EQ(CurrentId(), "<5@x>");
  EXPECT_EQ(SelectedNode(), &NodeOf("<5@x>"));
  ExpectInStep();
}

TEST_F(DeleteCommandTest, ASelectedSubjectStandsForItsThread) {
  ShowNine();
  Click(Thread("<6@x>"));
  DeleteArticleCommand();
  EXPECT_THAT(Chain(kGroupName), SizeIs(5));
  EXPECT_EQ(CurrentId(), "none");
  EXPECT_EQ(clears(), 1);
  EXPECT_EQ(SelectedNode(), nullptr);
  ExpectInStep();
}

TEST_F(DeleteCommandTest, AFollowingArticleThatHasGoneIsSkipped) {
  ShowNine();
  DeleteArticle("<2@x>");
  DeleteArticle("<3@x>");
  Click(NodeOf("<1@x>"));
  DeleteArticleCommand();
  EXPECT_EQ(CurrentId(), "<4@x>");
}

TEST_F(DeleteCommandTest, TheLastArticleIsFollowedByNone) {
  ShowNine();
  Read("<9@x>");
  Click(NodeOf("<9@x>"));
  DeleteArticleCommand();
  EXPECT_EQ(CurrentId(), "none");
  EXPECT_GE(clears(), 1);
  ExpectInStep();
}

TEST_F(DeleteCommandTest, ANoKeepsEverything) {
  ShowNine();
  Read("<1@x>");
  Click(NodeOf("<4@x>"));
  DeleteArticleCommand(port::kIdNo);
  DeleteThreadCommand(port::kIdNo);
  Delete(kCommandDeleteRead, u"Really delete all read articles?", port::kIdNo);
  Delete(kCommandDeleteAll, u"Really delete all articles?", port::kIdNo);
  EXPECT_EQ(CurrentId(), "<1@x>");
  EXPECT_THAT(Chain(kGroupName), SizeIs(9));
  ExpectInStep();
}

TEST_F(DeleteCommandTest, ConfirmationsCanBeSwitchedOff) {
  gPrefs->skipverifications = 1;
  ShowNine();
  Click(NodeOf("<4@x>"));
  HandleThreadCommand(kCommandDeleteSelectedArticle);
  HandleThreadCommand(kCommandDeleteThread);  // that of the article now selected
  EXPECT_THAT(Chain(kGroupName), SizeIs(7));
  HandleThreadCommand(kCommandDeleteRead);
  EXPECT_THAT(Chain(kGroupName), SizeIs(3));
  HandleThreadCommand(kCommandDeleteAll);
  EXPECT_THAT(Chain(kGroupName), IsEmpty());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(DeleteCommandTest, WithoutASelectionNothingIsAsked) {
  ShowNine();
  HandleThreadCommand(kCommandDeleteSelectedArticle);
  HandleThreadCommand(kCommandDeleteThread);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(Chain(kGroupName), SizeIs(9));
}

TEST_F(DeleteCommandTest, TheContextMenuDeletesToo) {
  ShowNine();
  for (const auto& [entry, question, left] :
       {std::tuple{u"Delete Article", u"Really delete selected article?", 8U},
        std::tuple{u"Delete Thread", u"Really delete selected thread?", 5U}}) {
    fake.display.ExpectPopUp(entry);
    fake.display.Expect(question, port::kIdYes);
    HandleThreadContextMenu(NextArticle(gReading.tree->root())->treeItem);
    EXPECT_THAT(Chain(kGroupName), SizeIs(left));
    ExpectInStep();
  }
}

TEST_F(DeleteCommandTest, ARefusedDeletionKeepsTheArticleCurrent) {
  ShowNine();
  Click(NodeOf("<4@x>"));
  fake.display.Expect(u"Really delete selected article?", port::kIdYes);
  const auto sound = gGdbm;
  gGdbm.remove = [](GDBM_FILE, datum) { return -1; };
  HandleThreadCommand(kCommandDeleteSelectedArticle);
  gGdbm = sound;
  EXPECT_EQ(CurrentId(), "<4@x>");
  EXPECT_EQ(SelectedNode(), &NodeOf("<4@x>"));
  EXPECT_EQ(BoxTexts().back(), kRefused);
  ExpectInStep();
}

TEST_F(DeleteCommandTest, ReadArticlesOfTheGroup) {
  ShowNine();
  PostedToMainWindow();
  Delete(kCommandDeleteRead, u"Really delete all read articles?");
  EXPECT_THAT(Chain(kGroupName), SizeIs(4));
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  ExpectInStep();
}

TEST_F(DeleteCommandTest, AllArticlesOfTheGroup) {
  ShowNine();
  Read("<1@x>");
  PostedToMainWindow();
  Delete(kCommandDeleteAll, u"Really delete all articles?");
  EXPECT_THAT(Chain(kGroupName), IsEmpty());
  EXPECT_THAT(Rows(), IsEmpty());
  EXPECT_EQ(Caption(), kNothing);
  EXPECT_EQ(gReading.tree, nullptr);
  EXPECT_EQ(CurrentId(), "none");
  EXPECT_EQ(clears(), 1);
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts));
  EXPECT_EQ(Titles().back(), u"Deleting all articles in alt.test...");
}

TEST_F(DeleteCommandTest, AnAbortedDeletionOfAllShowsWhatIsLeft) {
  for (int step = 1; step < 1000; ++step) {
    StartAfresh();
    ShowNine();
    Read("<9@x>");
    observer.StartOver(step);
    Delete(kCommandDeleteAll, u"Really delete all articles?");
    if (!gReading.tree) break;  // it came to its end
    EXPECT_FALSE(gReading.tree_state.OutOfDate());
    ExpectInStep();
    if (step <= 10) {
      EXPECT_THAT(Chain(kGroupName), SizeIs(static_cast<std::size_t>(9 - std::max(step - 2, 0))));
    }
  }
  EXPECT_THAT(Chain(kGroupName), IsEmpty());
}

TEST_F(DeleteCommandTest, AFailingStoreShowsWhatIsLeft) {
  int refusals = 0;
  for (int n = 1; n < 1000; ++n) {
    StartAfresh();
    ShowNine();
    fake.display.Expect(u"Really delete all articles?", port::kIdYes);
    {
      const FailNthWrite faulty(n);
      HandleThreadCommand(kCommandDeleteAll);
      if (!FailNthWrite::Met()) break;
    }
    if (!gReading.tree) continue;  // it came to its end
    ++refusals;
    EXPECT_EQ(BoxTexts().back(),
              u"An unexpected error (unable to delete article) occurred in DeleteArticles.");
    EXPECT_THAT(BoxTexts(), SizeIs(2)) << n;
    ExpectInStep();
  }
  EXPECT_EQ(refusals, 9);
  EXPECT_THAT(Chain(kGroupName), IsEmpty());
}

}  // namespace
}  // namespace quillet
