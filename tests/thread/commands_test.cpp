// SPDX-License-Identifier: GPL-3.0-or-later
// The thread view's context menu and the commands of its menu.
#include <gmock/gmock.h>

#include "base/changes.h"
#include "tests/thread/view_fixture.h"
#include "thread/commands.h"
#include "thread/view.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using ThreadCommandTest = ThreadViewTest;

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
  NoteChange(Change::kStore);
  ChooseFor(NodeOf("<2@x>"), u"Mark Read");
  ExpectInStep();
}

// --- the menu's commands -------------------------------------------------------------------------

TEST_F(ThreadCommandTest, AllArticlesAreMarked) {
  ShowNine();
  Click(NodeOf("<2@x>"));
  observer.StartOver(0);
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
  EXPECT_EQ(gReading.tree->root().read, 1U);
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

TEST_F(ThreadCommandTest, AnEmptyTreeIsMarkedWithARangeOfOne) {
  CountArticles();
  ShowThreadView();
  observer.StartOver(0);
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(observer.upper, 1);
  EXPECT_EQ(Titles().back(), u"Marking articles read...");
}

TEST_F(ThreadCommandTest, TheCurrentArticlesFlagFollows) {
  ShowNine();
  Read("<3@x>");
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReading.article->read, 1U);
  HandleThreadCommand(kCommandMarkUnread);
  EXPECT_EQ(gReading.article->read, 0U);
}

TEST_F(ThreadCommandTest, ArticlesWithoutAMessageIdAreNotMarked) {
  Put({"", "", "No name", "nobody", 1, false});
  Put({"<1@x>", "", "Name", "ann", 2, false});
  Recount();
  ShowThreadView();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_THAT(Rows(), ElementsAre("*No name", "  *nobody", "Name", "  ann"));
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 1U);
}

TEST_F(ThreadCommandTest, ADuplicateIsMarkedWithItsTwin) {
  PutNine();
  ASSERT_TRUE(AddArticleToGroup(kGroupName, "<5@x>"));
  Recount();
  ShowThreadView();
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 10U);
  ExpectInStep();
}

TEST_F(ThreadCommandTest, MarkingPassesOverArticlesThatHaveGone) {
  ShowNine();
  DeleteArticle("<2@x>");
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_EQ(Rows()[0], "*1/4 Hello");
  EXPECT_EQ(Rows()[2], "    *bob");
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 8U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ThreadCommandTest, AFlagThatTheTreeDoesNotKnowOfIsSetAllTheSame) {
  ShowNine();
  SetArticleReadById("<1@x>", nullptr, false, 7);  // as another group's tree would
  HandleThreadCommand(kCommandMarkRead);
  EXPECT_TRUE(IsArticleRead("<1@x>"));
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 9U);
  ExpectInStep();
}

TEST_F(ThreadCommandTest, AnAbortAtEveryStepOfMarkingLeavesEverythingInStep) {
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

TEST_F(ThreadCommandTest, AStoreThatFailsInTheMiddleOfMarkingLeavesEverythingInStep) {
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

TEST_F(ThreadCommandTest, AStoreThatRefusesAnArticleIsToldOnce) {
  ShowNine();
  {
    const FailNthWrite faulty(1);
    HandleThreadCommand(kCommandMarkRead);
  }
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_EQ(Rows(), kNineRows);
}

TEST_F(ThreadCommandTest, TheKillfileDialogOfTheGroupIsEmpty) {
  ShowNine();
  Click(NodeOf("<2@x>"));
  for (const std::optional<GroupIndex> group : {std::optional(GroupAt(kGroup)), {}}) {
    gReading.group = group;
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

TEST_F(ThreadCommandTest, CommandsThatNeedATreeDoNothingWithoutOne) {
  PutNine();
  const std::vector<std::uint32_t> commands = {
      kCommandDeleteRead, kCommandDeleteAll,    kCommandMarkRead,     kCommandMarkUnread,
      kCommandServerRead, kCommandServerUnread, kCommandDeleteThread, kCommandDeleteSelectedArticle,
      kCommandFind,       kCommandRethread,     kCommandNewArticle};
  for (const std::optional<GroupIndex> group : {{}, std::optional(GroupAt(3))}) {
    gReading.group = group;
    ShowThreadView();
    for (const std::uint32_t command : commands) HandleThreadCommand(command);
  }
  EXPECT_EQ(Chain(kGroupName).size(), 9U);
  EXPECT_EQ(gReadInfo[kGroup]->readCount, 5U);
  EXPECT_THAT(Titles(), IsEmpty());
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ThreadCommandTest, OtherCommandsAreIgnored) {
  ShowNine();
  for (const std::uint32_t command : {0U, 1U, 2U, 3U, kCommandNewArticle, kCommandRot13, 65535U}) {
    HandleThreadCommand(command);
  }
  EXPECT_EQ(Rows(), kNineRows);
}

// --- large threads -------------------------------------------------------------------------------

TEST_F(ThreadCommandTest, ALongChainOfRepliesIsMarkedAtEveryDepth) {
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
