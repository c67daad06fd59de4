// SPDX-License-Identifier: GPL-3.0-or-later
// The space bar and N, through the whole program: within an article, a group, and from group to
// group.
#include <gmock/gmock.h>

#include "base/extensions.h"
#include "store/counts.h"
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint32_t kN = 'N';

class ReadOn : public ReadingTest {
 protected:
  void Switch(bool on) {
    std::string data;
    AppendU32(data, on ? 1 : 0);
    fake_.registry.Create(kExtensionsPath)->Set(u"readon", port::RegistryType::kDword, data);
  }
  void Tick(const std::vector<std::uint32_t>& checked) { SetNumbers(u"checked", checked); }
  // Another article into the store, before the program runs.
  void Add(std::u16string_view group, AsciiArticle article) {
    OpenStoreAgain();
    Put(group, std::move(article));
    CloseDatabases();
  }
  static AsciiArticle WithoutBody(int number, std::string_view parent, std::string_view from,
                                  std::string_view subject) {
    AsciiArticle article = Written(number, parent, from, subject);
    article.body = "";
    return article;
  }
  void Space() { Key(port::kKeySpace); }
  void ShiftSpace() { Key(port::kKeySpace, port::kModifierShift); }
  void N() { Key(kN); }
  std::u16string Notice() { return fake_.display.article().notice; }
  // The author of the article that is shown, after each press.
  template <class Press>
  Texts Walk(int steps, const Press& press) {
    Texts authors;
    for (int i = 0; i < steps; ++i) {
      press();
      authors.push_back(ShownTab() == port::kArticleTab ? From() : u"-");
    }
    return authors;
  }
};

TEST_F(ReadOn, SpaceOpensTheNextUnreadArticleAtTheEndOfEach) {
  StartReading(u"Ann");
  EXPECT_THAT(Walk(3, [&] { Space(); }), ElementsAre(u"From: Bob", u"From: Cid", u"From: Dan"));
  ExpectInStep();
}

TEST_F(ReadOn, SpaceTurnsThePagesFirst) {
  AsciiArticle lines = Written(6, "<4@x>", "Fay", "Re: Other");
  std::string text;
  for (int i = 1; i <= 50; ++i) text += "line\r\n";
  lines.body = text;
  Add(u"a", lines);
  StartReading(u"Dan");
  Space();
  ASSERT_EQ(From(), u"From: Fay");
  const auto line = [&] { return fake_.display.article().line; };
  Space();
  EXPECT_EQ(line(), 19) << "one line of the page before stays";
  Space();
  EXPECT_EQ(line(), 32) << "the last page";
  EXPECT_EQ(From(), u"From: Fay");
  ShiftSpace();
  EXPECT_EQ(line(), 13);
  ShiftSpace();
  EXPECT_EQ(line(), 0);
  ShiftSpace();
  EXPECT_EQ(line(), 0);
  EXPECT_EQ(From(), u"From: Fay") << "back never leaves the article";
  Space();
  Space();
  Space();
  EXPECT_EQ(From(), u"From: Ann") << "then the unread ones from the top";
}

TEST_F(ReadOn, NOpensTheNextUnreadOneAtOnceAndPassesOverReadOnes) {
  StartReading(u"Bob");
  OnProgramThread([] { SetArticleReadById("<3@x>", nullptr, true, 0); });
  Tab(port::kThreadTab);
  Command(kCommandRethread);
  OpenArticle(u"Bob");
  EXPECT_THAT(Walk(2, [&] { N(); }), ElementsAre(u"From: Dan", u"From: Ann"));
}

TEST_F(ReadOn, TheMenuCommandDoesTheSame) {
  StartReading(u"Ann");
  EXPECT_TRUE(fake_.display.ChooseCommand(40081));
  WaitIdle();
  EXPECT_EQ(From(), u"From: Bob");
}

TEST_F(ReadOn, BehindTheLastOneItGoesOnFromTheTop) {
  StartReading(u"Dan");
  EXPECT_THAT(Walk(3, [&] { N(); }), ElementsAre(u"From: Ann", u"From: Bob", u"From: Cid"));
}

TEST_F(ReadOn, ThenTheNextTickedGroupIsOpened) {
  Tick({0, 1});
  StartReading(u"Ann");
  EXPECT_THAT(Walk(4, [&] { Space(); }),
              ElementsAre(u"From: Bob", u"From: Cid", u"From: Dan", u"From: Eve"));
  EXPECT_EQ(CurrentGroup(), GroupAt(1));
  EXPECT_THAT(Rows(), ElementsAre(u"Elsewhere", u"Eve"));
  EXPECT_EQ(SelectedText(), u"");
  Key(port::kKeyEscape);
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_EQ(SelectedText(), u"Eve");
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.list().selected, 1);
  ExpectInStep();
}

TEST_F(ReadOn, AGroupThatIsNotTickedIsPassedOver) {
  StartReading(u"Ann");
  EXPECT_THAT(Walk(4, [&] { N(); }),
              ElementsAre(u"From: Bob", u"From: Cid", u"From: Dan", u"From: Dan"));
  EXPECT_EQ(CurrentGroup(), GroupAt(0));
  EXPECT_EQ(Notice(), u"All articles are read.");
}

TEST_F(ReadOn, TheGroupsGoRoundFromTheLastToTheFirst) {
  Tick({1, 1});
  StartAndWait();
  OpenGroup(1);
  OpenArticle(u"Eve");
  EXPECT_THAT(Walk(2, [&] { N(); }), ElementsAre(u"From: Ann", u"From: Bob"));
  EXPECT_EQ(CurrentGroup(), GroupAt(0));
}

TEST_F(ReadOn, TheEndIsSaidAndStaysSaidUntilSomethingElseIsDone) {
  Tick({1, 1});
  StartReading(u"Ann");
  Walk(4, [&] { Space(); });
  EXPECT_EQ(Notice(), u"");
  Space();
  EXPECT_EQ(Notice(), u"All articles are read.");
  EXPECT_EQ(From(), u"From: Eve");
  Space();
  EXPECT_EQ(Notice(), u"All articles are read.");
  ShiftSpace();
  EXPECT_EQ(Notice(), u"");
  Space();
  EXPECT_EQ(Notice(), u"All articles are read.");
  Key(port::kKeyHome);
  EXPECT_EQ(Notice(), u"");
  Space();
  Command(kCommandRot13);
  EXPECT_EQ(Notice(), u"") << "the text was made anew";
}

TEST_F(ReadOn, ArticlesWithoutABodyAreShownOnceAndNeverAgain) {
  Add(u"a", WithoutBody(6, "", "Gus", "Empty"));
  Add(u"a", WithoutBody(7, "", "Hal", "Void"));
  Tick({0, 1});
  StartReading(u"Dan");
  EXPECT_THAT(Walk(7, [&] { N(); }),
              ElementsAre(u"From: Gus", u"From: Hal", u"From: Ann", u"From: Bob", u"From: Cid",
                          u"From: Eve", u"From: Eve"));
  EXPECT_EQ(Notice(), u"All articles are read.") << "the group of those two is not ticked";
  Key(port::kKeyEscape);
  Key(port::kKeyEscape);
  EXPECT_EQ(Counts(0), u"2/6");
}

TEST_F(ReadOn, WhatIsLeftUnreadInATickedGroupIsNotSaidToBeRead) {
  Add(u"a", WithoutBody(6, "", "Gus", "Empty"));
  Tick({1, 1});
  StartReading(u"Dan");
  EXPECT_THAT(Walk(6, [&] { N(); }), ElementsAre(u"From: Gus", u"From: Ann", u"From: Bob",
                                                 u"From: Cid", u"From: Eve", u"From: Eve"));
  EXPECT_EQ(Notice(), u"All other articles are read.");
  EXPECT_EQ(CurrentGroup(), GroupAt(1)) << "no group is built again in vain";
}

TEST_F(ReadOn, AnArticleMarkedUnreadByTheUserIsKeptForLater) {
  StartReading(u"Ann");
  Command(kCommandMarkUnread);
  EXPECT_THAT(Walk(4, [&] { N(); }),
              ElementsAre(u"From: Bob", u"From: Cid", u"From: Dan", u"From: Dan"));
  EXPECT_EQ(Notice(), u"All other articles are read.");
  EXPECT_THAT(BoldRows(), ElementsAre(u"1/3 Hello", u"Ann"));
}

TEST_F(ReadOn, AfterTheStoreHasChangedWhatWasLeftIsOpenedAgain) {
  StartReading(u"Ann");
  Command(kCommandMarkUnread);
  Walk(3, [&] { N(); });
  OnProgramThread([] { NoteChange(Change::kStore); });
  N();
  EXPECT_EQ(From(), u"From: Ann");
}

TEST_F(ReadOn, ATreeThatIsOutOfDateIsBuiltBeforeItIsWalked) {
  StartReading(u"Dan");
  OnProgramThread([] {
    Put(u"a", Written(8, "<4@x>", "Ivy", "Re: Other"));
    gReadInfo[0]->totalCount += 1;
    NoteChange(Change::kStore);
  });
  N();
  EXPECT_EQ(From(), u"From: Ivy");
  ExpectInStep();
}

TEST_F(ReadOn, AnArticleThatHasGoneFromTheStoreIsPassed) {
  StartReading(u"Ann");
  OnProgramThread([] { DeleteArticle("<2@x>"); });
  fake_.display.Expect(u"Our apologies, but this article can no longer be read from the database.",
                       port::kIdOk);
  N();
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_THAT(Walk(3, [&] { N(); }), ElementsAre(u"From: Cid", u"From: Dan", u"From: Dan"));
}

TEST_F(ReadOn, InTheThreadViewNOpensTheOneBehindTheSelectedRow) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  N();
  EXPECT_EQ(From(), u"From: Cid");
  Key(port::kKeyEscape);
  Click(u"Other");
  N();
  EXPECT_EQ(From(), u"From: Dan");
  Key(port::kKeyEscape);
  Click(u"Bob");
  EXPECT_THAT(Walk(2, [&] { N(); }), ElementsAre(u"From: Ann", u"From: Bob"))
      << "the selected one itself comes last";
}

TEST_F(ReadOn, WithoutASelectionNBeginsAtTheTop) {
  StartAndWait();
  OpenGroup(0);
  N();
  EXPECT_EQ(From(), u"From: Ann");
}

TEST_F(ReadOn, InTheThreadViewTheCaptionSaysThatAllIsRead) {
  StartAndWait();
  OpenGroup(0);
  Command(kCommandMarkRead);
  N();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_EQ(Caption(), u"All articles are read.");
  Tab(port::kGroupTab);
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"a: 0 on server");
}

TEST_F(ReadOn, SpaceInTheThreadViewAndKeysInTheGroupListStayTheirOwn) {
  StartAndWait();
  N();
  Space();
  EXPECT_EQ(ShownTab(), port::kGroupTab);
  EXPECT_FALSE(TreeIsThere());
  OpenGroup(0);
  Space();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_FALSE(ArticleIsCurrent());
}

TEST_F(ReadOn, OtherModifiersAreNotItsKeys) {
  StartReading(u"Ann");
  for (const std::uint32_t modifiers :
       {port::kModifierControl, port::kModifierAlt, port::kModifierShift}) {
    Key(kN, modifiers);
    EXPECT_EQ(From(), u"From: Ann") << modifiers;
  }
  Key(port::kKeySpace, port::kModifierControl);
  EXPECT_EQ(From(), u"From: Ann");
  EXPECT_THAT(fake_.display.article().scrolls, IsEmpty());
}

TEST_F(ReadOn, AKeyHeldDownActsOnceAndByTheModifiersOfItsPress) {
  StartReading(u"Ann");
  const port::WindowHandle window = fake_.display.main_window().handle;
  const auto tell = [&](port::MessageKind kind, std::uint32_t modifiers) {
    fake_.display.Inject({window, kind, port::kKeySpace, modifiers, {}});
  };
  for (int i = 0; i < 20; ++i) tell(port::MessageKind::kKeyDown, 0);
  WaitIdle();
  EXPECT_EQ(From(), u"From: Ann");
  tell(port::MessageKind::kKeyUp, 0);
  WaitIdle();
  EXPECT_EQ(From(), u"From: Bob");
  tell(port::MessageKind::kKeyDown, port::kModifierShift);
  tell(port::MessageKind::kKeyUp, 0);
  WaitIdle();
  EXPECT_EQ(From(), u"From: Bob") << "Shift was released first";
  tell(port::MessageKind::kKeyUp, 0);
  WaitIdle();
  EXPECT_EQ(From(), u"From: Bob") << "the press belonged to another window";
}

TEST_F(ReadOn, OffTheKeysAndTheCommandDoNothing) {
  Switch(false);
  Tick({1, 1});
  StartReading(u"Ann");
  Space();
  ShiftSpace();
  N();
  Command(40081);
  EXPECT_EQ(From(), u"From: Ann");
  EXPECT_THAT(fake_.display.article().scrolls, IsEmpty());
  EXPECT_EQ(Notice(), u"");
  Key(port::kKeyEscape);
  N();
  EXPECT_EQ(ShownTab(), port::kThreadTab);
  EXPECT_EQ(fake_.display.tree().traits.letters, u"");
}

TEST_F(ReadOn, OnTheTreeKnowsWhichLetterIsTheProgramsOwn) {
  StartReading(u"Ann");
  EXPECT_EQ(fake_.display.tree().traits.letters, u"N");
}

}  // namespace
}  // namespace quillet
