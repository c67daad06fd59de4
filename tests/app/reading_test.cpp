// SPDX-License-Identifier: GPL-3.0-or-later
// Reading: from the group list to the threads to the articles and back, every command on the way.
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

// --- From view to view ---------------------------------------------------------------------------

TEST_F(ReadingTest, ActivatingAGroupShowsItsThreads) {
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Rows(), (Texts{u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"Other", u"Dan"}));
  EXPECT_EQ(BoldRows(), Rows());
  EXPECT_EQ(Caption(), u"a: 0 on server");
  EXPECT_TRUE(fake_.display.tree().focused);
  EXPECT_EQ(CurrentGroup(), GroupAt(0));
  End();
}

TEST_F(ReadingTest, ReturnInTheListOpensTheGroupToo) {
  StartAndWait();
  fake_.display.SelectRow(1);
  Key(port::kKeyReturn);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  End();
}

// The number of the row may also be that of an item.
TEST_F(ReadingTest, ActivatingAGroupOpensNoArticle) {
  SetGroups({u"c", u"d", u"e", u"f", u"g", u"b"});
  StartAndWait();
  OpenGroup(5);
  EXPECT_EQ(Caption(), u"b: 0 on server");
  EXPECT_EQ(fake_.display.tree().rows.at(1).item, 5U);
  EXPECT_FALSE(ArticleIsCurrent());
  End();
}

// The second double click came while the program was still busy with the first.
TEST_F(ReadingTest, ActivatingAGroupTwiceOpensNoArticle) {
  SetGroups({u"c", u"d", u"e", u"f", u"g", u"b"});
  StartAndWait();
  OnProgramThread([this] {
    EXPECT_TRUE(fake_.display.ActivateRow(5));
    EXPECT_TRUE(fake_.display.ActivateRow(5));
  });
  WaitIdle();
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(fake_.display.tree().rows.at(1).item, 5U);
  EXPECT_FALSE(ArticleIsCurrent());
  End();
}

TEST_F(ReadingTest, EscapeTwiceLeadsBackAndTheCountsFollow) {
  StartReading(u"Ann");
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_EQ(From(), u"From: Ann");
  EXPECT_EQ(Counts(0), u"3/4");
  Key(port::kKeyEscape);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(SelectedText(), u"Ann");
  EXPECT_EQ(Rows()[0], u"2/3 Hello");
  EXPECT_EQ(BoldRows(), (Texts{u"2/3 Hello", u"Bob", u"Cid", u"Other", u"Dan"}));
  Key(port::kKeyEscape);
  EXPECT_EQ(ShownTab(), 0);
  EXPECT_EQ(Counts(0), u"3/4");
  EXPECT_EQ(fake_.display.list().selected, 0);
  Key(port::kKeyEscape);
  EXPECT_EQ(ShownTab(), 0);
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, ComingBackSelectsTheArticleThatWasReadLast) {
  StartReading(u"Ann");
  Key(port::kKeyRight, port::kModifierControl);
  Key(port::kKeyRight, port::kModifierControl);
  EXPECT_TRUE(Shows(u"Text of Cid."));
  Key(port::kKeyF24);
  EXPECT_EQ(SelectedText(), u"Cid");
  EXPECT_EQ(Counts(0), u"1/4");
  End();
}

TEST_F(ReadingTest, TheThreadTabOpensTheSelectedGroup) {
  StartAndWait();
  fake_.display.SelectRow(1);
  Tab(1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  EXPECT_EQ(CurrentGroup(), GroupAt(1));
  End();
}

TEST_F(ReadingTest, TheThreadTabWithoutASelectedGroupShowsThatThereIsNothing) {
  StartAndWait();
  Tab(1);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Caption(), kNoThreads);
  End();
}

TEST_F(ReadingTest, TheThreadTabFromTheArticleShowsTheSameTree) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  Tab(1);
  EXPECT_EQ(SelectedText(), u"Ann");
  EXPECT_EQ(Rows()[0], u"2/3 Hello");
  EXPECT_EQ(fake_.display.tree().fills, fills);
  End();
}

TEST_F(ReadingTest, TheArticleTabFromTheThreadsOpensTheSelectedArticleOnce) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Bob."));
  EXPECT_EQ(showings_.count, 1);
  EXPECT_EQ(Counts(0), u"3/4");
  End();
}

TEST_F(ReadingTest, TheArticleTabWithASelectedThreadOpensItsFirstArticle) {
  StartAndWait();
  OpenGroup(0);
  Click(u"3/3 Hello");
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  End();
}

TEST_F(ReadingTest, TheArticleTabWithNothingSelectedSaysThatThereIsNoArticle) {
  StartAndWait();
  OpenGroup(0);
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_EQ(ShownTab(), 2);
  End();
}

TEST_F(ReadingTest, TheArticleTabFromTheGroupsShowsTheArticleReadLast) {
  StartReading(u"Ann");
  Tab(0);
  fake_.display.SelectRow(1);
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_EQ(From(), u"From: Ann");
  End();
}

TEST_F(ReadingTest, TheArticleTabOfAFreshStartSaysThatThereIsNoArticle) {
  StartAndWait();
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_TRUE(fake_.display.article().plain_text);
  End();
}

// The program is busy while the user taps on: it ends where the user does.
TEST_F(ReadingTest, TabsChangedInARowEndAtTheLastOne) {
  StartAndWait();
  OpenGroup(0);
  Tab(0);
  OnProgramThread([this] {
    fake_.display.UserSelectTab(1);
    fake_.display.UserSelectTab(2);
    fake_.display.UserSelectTab(0);
  });
  WaitIdle();
  EXPECT_EQ(ShownTab(), 0);
  OnProgramThread([this] {
    fake_.display.UserSelectTab(1);
    fake_.display.UserSelectTab(2);
  });
  WaitIdle();
  EXPECT_EQ(ShownTab(), 2);
  End();
}

TEST_F(ReadingTest, AnotherGroupShowsAnotherTreeAndTakesTheArticleAway) {
  StartReading(u"Ann");
  Tab(0);
  OpenGroup(1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  EXPECT_EQ(Caption(), u"b: 0 on server");
  EXPECT_EQ(SelectedText(), u"");
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_EQ(fake_.display.article().source, u"");
  EXPECT_EQ(From(), u"");
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(SelectedText(), u"");
  End();
}

TEST_F(ReadingTest, TheArticleTabWithNothingSelectedForgetsTheArticleOfAnotherGroup) {
  StartReading(u"Ann");
  Tab(0);
  OpenGroup(1);
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_EQ(From(), u"");
  EXPECT_FALSE(ArticleIsCurrent());
  End();
}

// --- Commands and keys ---------------------------------------------------------------------------

TEST_F(ReadingTest, CommandsGoToTheShownView) {
  StartAndWait();
  fake_.display.ToggleRow(1);
  OpenGroup(0);
  Key('M', port::kModifierControl);  // all of the shown group
  EXPECT_EQ(Rows()[0], u"0/3 Hello");
  EXPECT_TRUE(BoldRows().empty());
  EXPECT_EQ(Counts(0), u"0/4");
  EXPECT_EQ(Counts(1), u"1/1");
  Tab(0);
  Confirm(u"Mark articles in checked groups as read?");
  Key('M', port::kModifierControl);  // of the checked groups
  EXPECT_EQ(Counts(1), u"0/1");
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, TheReleaseOfAnAcceleratorsKeyScrollsNothing) {
  StartReading(u"Ann");
  Key(port::kKeyDown, port::kModifierControl);  // next thread
  EXPECT_TRUE(Shows(u"Text of Dan."));
  EXPECT_TRUE(fake_.display.article().scrolls.empty());
  Key(port::kKeyDown);
  EXPECT_EQ(fake_.display.article().scrolls,
            (std::vector<port::ScrollStep>{port::ScrollStep::kPageDown}));
  // The modifier may be released first.
  const port::WindowHandle window = fake_.display.main_window().handle;
  fake_.display.Inject(
      {window, port::MessageKind::kKeyDown, port::kKeyUp, port::kModifierControl, {}});
  fake_.display.Inject({window, port::MessageKind::kKeyUp, port::kKeyUp, 0, {}});
  WaitIdle();
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_EQ(fake_.display.article().scrolls.size(), 1U);
  End();
}

TEST_F(ReadingTest, KeysOfTheArticleViewDoNothingElsewhere) {
  StartReading(u"Ann");
  Key(port::kKeyEscape);
  Key(port::kKeyAction);  // the next article, in the article view
  Key(port::kKeyHome);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_TRUE(fake_.display.article().scrolls.empty());
  End();
}

TEST_F(ReadingTest, TheToolbarMovesOn) {
  StartReading(u"Ann");
  EXPECT_TRUE(fake_.display.PressToolbar(kCommandNextArticle));
  WaitIdle();
  EXPECT_TRUE(Shows(u"Text of Bob."));
  End();
}

TEST_F(ReadingTest, ATapOnTheHeaderBarShowsTheHeaders) {
  StartReading(u"Ann");
  fake_.display.TapHeader();
  const port::WindowHandle dialog = fake_.display.WaitForDialog(124);
  ASSERT_NE(dialog, 0U);
  fake_.display.Press(dialog, kControlOk);
  WaitIdle();
  EXPECT_EQ(ShownTab(), 2);
  End();
}

TEST_F(ReadingTest, TheMenuOfAnItemMarksIt) {
  StartAndWait();
  OpenGroup(0);
  fake_.display.ExpectPopUp(u"Mark Read");
  fake_.display.AskItemMenu(fake_.display.FindItem(u"Bob"));
  WaitIdle();
  EXPECT_EQ(Rows()[0], u"2/3 Hello");
  EXPECT_EQ(Counts(0), u"3/4");
  ExpectInStep();
  End();
}

// A menu asked for in the threads is not shown over another view.
TEST_F(ReadingTest, AMenuThatComesTooLateIsNotShown) {
  StartReading(u"Ann");
  fake_.display.Inject({fake_.display.main_window().handle,
                        port::MessageKind::kContextMenu,
                        fake_.display.FindItem(u"Bob"),
                        0,
                        {}});
  WaitIdle();
  EXPECT_TRUE(fake_.display.pop_ups().empty());
  End();
}

// --- Marking and deleting, from every place ------------------------------------------------------

TEST_F(ReadingTest, CountsStayInStepWhenTheGroupListMarksTheShownGroup) {
  StartReading(u"Ann");
  Tab(0);
  fake_.display.ToggleRow(0);
  Confirm(u"Mark articles in checked groups as read?");
  Command(kCommandMarkRead);
  ExpectInStep();
  // Straight to the article, past the threads.
  Tab(2);
  Command(kCommandMarkUnread);
  EXPECT_EQ(Counts(0), u"1/4");
  ExpectInStep();
  Tab(0);
  Confirm(u"Mark articles in checked groups as unread?");
  Command(kCommandMarkUnread);
  Tab(2);
  Command(kCommandMarkUnread);
  EXPECT_EQ(Counts(0), u"4/4");
  ExpectInStep();
  Tab(1);
  EXPECT_EQ(BoldRows(), (Texts{u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"Other", u"Dan"}));
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, AMarkingThatWasCancelledLeavesTheTreeInStep) {
  StartReading(u"Ann");
  Tab(0);
  fake_.display.ToggleRow(0);
  fake_.display.CancelProgressAfter(2);
  Confirm(u"Mark articles in checked groups as read?");
  Command(kCommandMarkRead);
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, DeletingInTheArticleViewGoesOnWithTheNextArticle) {
  StartReading(u"Ann");
  Confirm(u"Really delete this article?");
  Key('A', port::kModifierControl | port::kModifierAlt);
  EXPECT_FALSE(Stored("<1@x>"));
  EXPECT_TRUE(Shows(u"Text of Bob."));
  EXPECT_EQ(Counts(0), u"2/3");
  ExpectInStep();
  Confirm(u"Really delete this thread?");
  Key('T', port::kModifierControl | port::kModifierAlt);
  EXPECT_TRUE(Shows(u"Text of Dan."));
  EXPECT_EQ(Counts(0), u"0/1");
  Confirm(u"Really delete this article?");
  Key('A', port::kModifierControl | port::kModifierAlt);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Counts(0), u"0/0");
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, DeletingInTheThreadViewKeepsTheCountsInStep) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  Confirm(u"Really delete selected article?");
  Key('A', port::kModifierControl | port::kModifierAlt);
  EXPECT_EQ(Rows(), (Texts{u"2/2 Hello", u"Ann", u"Cid", u"Other", u"Dan"}));
  EXPECT_EQ(Counts(0), u"3/3");
  ExpectInStep();
  Confirm(u"Really delete all articles?");
  Key('D', port::kModifierControl | port::kModifierAlt);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Counts(0), u"0/0");
  EXPECT_EQ(Counts(1), u"1/1");
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, DeletingReadArticlesFromTheGroupListClearsTheArticleAndKeepsTheTreeInStep) {
  StartReading(u"Bob");
  Tab(0);
  fake_.display.ToggleRow(0);
  Confirm(u"Really delete read articles in checked groups?");
  Command(kCommandDeleteRead);
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_EQ(Counts(0), u"3/3");
  ExpectInStep();
  Tab(1);
  EXPECT_EQ(Rows(), (Texts{u"2/2 Hello", u"Ann", u"Cid", u"Other", u"Dan"}));
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, TheArticleIsClearedEvenWhenTheDeletionIsNotConfirmed) {
  StartReading(u"Bob");
  Tab(0);
  fake_.display.Expect(u"Really delete all articles in checked groups?", port::kIdNo);
  Command(kCommandDeleteAll);
  EXPECT_FALSE(ArticleIsCurrent());
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_TRUE(TreeIsThere());
  End();
}

TEST_F(ReadingTest, DeletingAllOfTheShownGroupLeavesNoTree) {
  StartReading(u"Bob");
  Tab(0);
  fake_.display.ToggleRow(0);
  Confirm(u"Really delete all articles in checked groups?");
  Command(kCommandDeleteAll);
  EXPECT_FALSE(TreeIsThere());
  EXPECT_EQ(Counts(0), u"0/0");
  Tab(1);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Caption(), kNoThreads);
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, DeletingTheFilesOfEveryGroupLeavesNoTree) {
  StartReading(u"Bob");
  Tab(0);
  fake_.display.ToggleRow(0);
  fake_.display.ToggleRow(1);
  Confirm(u"Really delete all articles in checked groups?");
  Command(kCommandDeleteAll);
  EXPECT_FALSE(TreeIsThere());
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_EQ(Counts(0), u"0/0");
  EXPECT_EQ(Counts(1), u"0/0");
  End();
}

TEST_F(ReadingTest, ADeletionThatWasCancelledShowsWhatIsLeft) {
  StartReading(u"Bob");
  Tab(0);
  fake_.display.ToggleRow(0);
  fake_.display.CancelProgressAfter(1);
  Confirm(u"Really delete the checked groups?");
  Command(kCommandRemoveGroups);
  EXPECT_EQ(fake_.display.list().rows.size(), 2U);
  EXPECT_FALSE(ArticleIsCurrent());
  OpenGroup(0);
  ExpectInStep();
  End();
}

// --- Groups that come and go ---------------------------------------------------------------------

TEST_F(ReadingTest, RemovingAGroupForgetsWhatIsReadSinceTheOthersMoveUp) {
  StartAndWait();
  OpenGroup(1);
  OpenArticle(u"Eve");
  Tab(0);
  fake_.display.ToggleRow(0);
  fake_.display.SelectRow(0);
  Confirm(u"Really delete the checked groups?");
  Command(kCommandRemoveGroups);
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_FALSE(TreeIsThere());
  EXPECT_EQ(CurrentGroup(), std::nullopt);
  EXPECT_EQ(Caption(), kNoThreads);
  Tab(1);
  EXPECT_EQ(Caption(), kNoThreads);
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"b: 0 on server");
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, AnAcceptedNewGroupClearsTheArticleAndARejectedOneDoesNot) {
  StartReading(u"Ann");
  Tab(0);
  const auto add = [this](const std::u16string& name) {
    fake_.display.WhenShown(kDialogNewGroup, [this, name](port::WindowHandle dialog) {
      fake_.display.Type(dialog, kControlGroupName, name);
      fake_.display.Press(dialog, kControlOk);
    });
    Command(kCommandNewGroup);
  };
  add(u"two words");
  EXPECT_TRUE(ArticleIsCurrent());
  add(u"c");
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_EQ(fake_.display.list().rows.size(), 3U);
  Tab(1);
  EXPECT_EQ(Caption(), u"a: 0 on server");
  End();
}

// --- Killfile entries ----------------------------------------------------------------------------

TEST_F(ReadingTest, TheGroupListAddsEntriesForTheSelectedGroup) {
  StartAndWait();
  fake_.display.SelectRow(1);
  fake_.display.WhenShown(125, [this](port::WindowHandle dialog) {
    EXPECT_EQ(fake_.display.Control(dialog, 1011)->text, u"");
    EXPECT_EQ(fake_.display.Control(dialog, 1013)->text, u"");
    EXPECT_FALSE(fake_.display.Control(dialog, 1015)->checked);
    fake_.display.Type(dialog, 1013, u"money");
    fake_.display.Press(dialog, kControlOk);
  });
  Key('K', port::kModifierControl);
  EXPECT_EQ(Dword(u"killfilecount"), 1U);
  EXPECT_EQ(Bytes(u"killfilegroups"), std::string("\2\0\0\0", 4));
  EXPECT_EQ(Bytes(u"killfileauthors"), std::string(4, '\0'));
  End();
}

TEST_F(ReadingTest, WithoutASelectedRowTheCurrentGroupIsMeant) {
  StartAndWait();
  OnProgramThread([] { gReading.group = GroupAt(1); });
  fake_.display.WhenShown(125, [this](port::WindowHandle dialog) {
    EXPECT_FALSE(fake_.display.Control(dialog, 1015)->checked);
    fake_.display.Type(dialog, 1011, u"Ann");
    fake_.display.Press(dialog, kControlOk);
  });
  Command(kCommandAddToKillfile);
  EXPECT_EQ(Bytes(u"killfilegroups"), std::string("\2\0\0\0", 4));
  End();
}

TEST_F(ReadingTest, WithNoGroupAtAllInViewEntriesGoToEveryGroup) {
  StartAndWait();
  fake_.display.WhenShown(125, [this](port::WindowHandle dialog) {
    EXPECT_TRUE(fake_.display.Control(dialog, 1015)->checked);
    fake_.display.Type(dialog, 1011, u"Ann");
    fake_.display.Press(dialog, kControlOk);
  });
  Command(kCommandAddToKillfile);
  EXPECT_EQ(Bytes(u"killfilegroups"), std::string("\1\0\0\0\2\0\0\0", 8));
  End();
}

TEST_F(ReadingTest, TheArticleViewFillsInAuthorAndSubject) {
  StartReading(u"Bob");
  fake_.display.WhenShown(125, [this](port::WindowHandle dialog) {
    EXPECT_EQ(fake_.display.Control(dialog, 1011)->text, u"Bob");
    EXPECT_EQ(fake_.display.Control(dialog, 1013)->text, u"Re: Hello");
    fake_.display.Press(dialog, kControlOk);
  });
  Key('K', port::kModifierControl);
  EXPECT_EQ(Dword(u"killfilecount"), 2U);
  EXPECT_EQ(Bytes(u"killfilegroups"), std::string("\1\0\0\0\1\0\0\0", 8));
  EXPECT_EQ(Bytes(u"killfileauthors"), std::string("\1\0\0\0\0\0\0\0", 8));
  End();
}

TEST_F(ReadingTest, TheThreadViewsMenuHasEmptyTextsAndItsItemsHaveTheirs) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Cid");
  std::vector<std::u16string> texts;
  const auto note = [&, this](port::WindowHandle dialog) {
    texts.push_back(fake_.display.Control(dialog, 1011)->text);
    texts.push_back(fake_.display.Control(dialog, 1013)->text);
    fake_.display.Press(dialog, kControlCancel);
  };
  fake_.display.WhenShown(125, note);
  Key('K', port::kModifierControl);
  fake_.display.WhenShown(125, note);
  fake_.display.ExpectPopUp(u"Add To Killfile");
  fake_.display.AskItemMenu(fake_.display.FindItem(u"Cid"));
  WaitIdle();
  EXPECT_EQ(texts, (Texts{u"", u"", u"Cid", u"Re: Hello"}));
  End();
}

}  // namespace
}  // namespace quillet
