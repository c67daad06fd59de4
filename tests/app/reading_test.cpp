// The whole program as its user reads with it: from the group list to the threads to the articles
// and back, and what else may happen in between.
#include <gtest/gtest.h>

#include <array>
#include <map>
#include <optional>
#include <set>

#include "app/base/messages.h"
#include "app/base/views.h"
#include "res/resource.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/records.h"
#include "tests/app/program_fixture.h"
#include "thread/current.h"

namespace quillet {
namespace {

using Texts = std::vector<std::u16string>;

// Counts how often the viewer was given a complete source.
class Showings final : public port::DisplayObserver {
 public:
  explicit Showings(port::FakeDisplay& display) : display_(display) {}
  void OnArticleChanged() override {
    const bool ended = display_.article().ended;
    if (ended && !ended_ && !display_.article().source.empty()) ++count;
    ended_ = ended;
  }
  int count = 0;

 private:
  port::FakeDisplay& display_;
  bool ended_ = false;
};

// Group "a" holds the thread "Hello" of Ann (1), Bob's reply (2) and Cid's reply to that (3), and
// Dan's "Other" (4); group "b" Eve's "Elsewhere" (5). All unread.
class Reading : public Program {
 protected:
  Reading() {
    fake_.display.SetObserver(&showings_);
    SetGroups({u"a", u"b"});
    SetNumbers(u"checked", {0, 0});
    StoreArticles();
  }

  static AsciiArticle Written(int number, std::string_view parent, std::string_view from,
                              std::string_view subject) {
    AsciiArticle article;
    article.messageId = "<" + std::to_string(number) + "@x>";
    article.parentId = parent;
    article.from = from;
    article.subject = subject;
    article.body = "Text of " + std::string(from) + ".\r\n";
    article.source = "news";
    article.articleNumber = static_cast<std::uint32_t>(number);
    return article;
  }
  static void Put(std::u16string_view group, AsciiArticle article) {
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(group, *article.messageId));
  }
  // The store as an earlier run left it.
  void StoreArticles() {
    gDatabaseFolder = u"\\Quillet CE News";
    fake_.files.CreateFolder(gDatabaseFolder);
    ASSERT_TRUE(LoadDatabaseLibrary());
    ASSERT_TRUE(OpenGDBMDatabases());
    Put(u"a", Written(1, "", "Ann", "Hello"));
    Put(u"a", Written(2, "<1@x>", "Bob", "Re: Hello"));
    Put(u"a", Written(3, "<2@x>", "Cid", "Re: Hello"));
    Put(u"a", Written(4, "", "Dan", "Other"));
    Put(u"b", Written(5, "", "Eve", "Elsewhere"));
    CloseDatabases();
  }

  int ShownTab() { return fake_.display.main_window().tab; }
  Texts Rows() {
    Texts texts;
    for (const port::TreeRow& row : fake_.display.tree().rows) texts.push_back(row.text);
    return texts;
  }
  Texts BoldRows() {
    Texts texts;
    for (const port::TreeRow& row : fake_.display.tree().rows) {
      if (row.bold) texts.push_back(row.text);
    }
    return texts;
  }
  std::u16string SelectedText() {
    const port::ShownTree tree = fake_.display.tree();
    for (const port::TreeRow& row : tree.rows) {
      if (row.item == tree.selected) return row.text;
    }
    return u"";
  }
  std::u16string Caption() { return fake_.display.tree().caption; }
  std::u16string Counts(std::size_t row) { return fake_.display.list().rows.at(row).counts; }
  bool Shows(std::u16string_view text) {
    return fake_.display.article().source.find(text) != std::u16string::npos;
  }
  std::u16string From() { return fake_.display.article().header[1].left; }

  void OpenGroup(int row) {
    EXPECT_TRUE(fake_.display.ActivateRow(row));
    WaitIdle();
    EXPECT_EQ(ShownTab(), 1);
  }
  void OpenArticle(std::u16string_view from) {
    EXPECT_TRUE(fake_.display.ActivateItem(fake_.display.FindItem(from)));
    WaitIdle();
    EXPECT_EQ(ShownTab(), 2);
  }
  // Starts, opens the first group and an article of it.
  void StartReading(std::u16string_view from) {
    StartAndWait();
    OpenGroup(0);
    OpenArticle(from);
  }
  void Click(std::u16string_view text) {
    EXPECT_TRUE(fake_.display.ClickItem(fake_.display.FindItem(text)));
  }
  void Confirm(std::u16string text) { fake_.display.Expect(std::move(text), port::kIdYes); }

  // What the program thread holds, read there.
  template <class Read>
  auto OnProgram(const Read& read) {
    std::optional<decltype(read())> value;
    OnProgramThread([&] { value = read(); });
    return *value;
  }
  bool ArticleIsCurrent() {
    return OnProgram([] { return gCurrentArticle != nullptr; });
  }
  bool TreeIsThere() {
    return OnProgram([] { return gThreadTree != nullptr; });
  }
  int CurrentGroup() {
    return OnProgram([] { return gCurrentGroup; });
  }
  bool Stored(std::string_view id) {
    return OnProgram([id] { return ArticleExists(id); });
  }

  // The group's counts in memory, in the store's cache, in its chain and in the shown list agree,
  // and so do those of the tree when it is the shown group's.
  void ExpectInStep() {
    OnProgramThread([] {
      for (std::size_t i = 0; i < gReadInfo.size(); ++i) {
        const ReadInfo& info = *gReadInfo[i];
        ReadInfo cached;
        PopulateReadArticlesInfo(cached, info.groupName);
        EXPECT_EQ(cached.readCount, info.readCount);
        EXPECT_EQ(cached.totalCount, info.totalCount);
        EXPECT_EQ(CountGroupArticles(info.groupName, true), info.readCount);
        EXPECT_EQ(CountGroupArticles(info.groupName, false), info.totalCount);
        if (gThreadTree && static_cast<std::size_t>(gThreadGroup) == i) {
          EXPECT_EQ(gThreadTree->root().readDescendantCount, info.readCount);
          EXPECT_EQ(gThreadTree->root().descendantCount, info.totalCount);
        }
      }
    });
    const auto rows = fake_.display.list().rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::u16string wanted = OnProgram([i] {
        return Widen(std::to_string(gReadInfo[i]->totalCount - gReadInfo[i]->readCount) + "/" +
                     std::to_string(gReadInfo[i]->totalCount));
      });
      EXPECT_EQ(rows[i].counts, wanted);
    }
  }

  Showings showings_{fake_.display};
};

constexpr std::u16string_view kNoArticle = u"Quillet error: there is no current article";
constexpr std::u16string_view kNoThreads = u"No threads, or no current group selected";

// --- From view to view ---------------------------------------------------------------------------

TEST_F(Reading, ActivatingAGroupShowsItsThreads) {
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Rows(), (Texts{u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"Other", u"Dan"}));
  EXPECT_EQ(BoldRows(), Rows());
  EXPECT_EQ(Caption(), u"a");
  EXPECT_TRUE(fake_.display.tree().focused);
  EXPECT_EQ(CurrentGroup(), 0);
  End();
}

TEST_F(Reading, ReturnInTheListOpensTheGroupToo) {
  StartAndWait();
  fake_.display.SelectRow(1);
  Key(port::kKeyReturn);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  End();
}

// The number of the row may also be that of an item.
TEST_F(Reading, ActivatingAGroupOpensNoArticle) {
  SetGroups({u"c", u"d", u"e", u"f", u"g", u"b"});
  StartAndWait();
  OpenGroup(5);
  EXPECT_EQ(Caption(), u"b");
  EXPECT_EQ(fake_.display.tree().rows.at(1).item, 5U);
  EXPECT_FALSE(ArticleIsCurrent());
  End();
}

// The second double click came while the program was still busy with the first.
TEST_F(Reading, ActivatingAGroupTwiceOpensNoArticle) {
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

TEST_F(Reading, EscapeTwiceLeadsBackAndTheCountsFollow) {
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

TEST_F(Reading, ComingBackSelectsTheArticleThatWasReadLast) {
  StartReading(u"Ann");
  Key(port::kKeyRight, port::kModifierControl);
  Key(port::kKeyRight, port::kModifierControl);
  EXPECT_TRUE(Shows(u"Text of Cid."));
  Key(port::kKeyF24);
  EXPECT_EQ(SelectedText(), u"Cid");
  EXPECT_EQ(Counts(0), u"1/4");
  End();
}

TEST_F(Reading, TheThreadTabOpensTheSelectedGroup) {
  StartAndWait();
  fake_.display.SelectRow(1);
  Tab(1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  EXPECT_EQ(CurrentGroup(), 1);
  End();
}

TEST_F(Reading, TheThreadTabWithoutASelectedGroupShowsThatThereIsNothing) {
  StartAndWait();
  Tab(1);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Caption(), kNoThreads);
  End();
}

TEST_F(Reading, TheThreadTabFromTheArticleShowsTheSameTree) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  Tab(1);
  EXPECT_EQ(SelectedText(), u"Ann");
  EXPECT_EQ(Rows()[0], u"2/3 Hello");
  EXPECT_EQ(fake_.display.tree().fills, fills);
  End();
}

TEST_F(Reading, TheArticleTabFromTheThreadsOpensTheSelectedArticleOnce) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Bob."));
  EXPECT_EQ(showings_.count, 1);
  EXPECT_EQ(Counts(0), u"3/4");
  End();
}

TEST_F(Reading, TheArticleTabWithASelectedThreadOpensItsFirstArticle) {
  StartAndWait();
  OpenGroup(0);
  Click(u"3/3 Hello");
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  End();
}

TEST_F(Reading, TheArticleTabWithNothingSelectedSaysThatThereIsNoArticle) {
  StartAndWait();
  OpenGroup(0);
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_EQ(ShownTab(), 2);
  End();
}

TEST_F(Reading, TheArticleTabFromTheGroupsShowsTheArticleReadLast) {
  StartReading(u"Ann");
  Tab(0);
  fake_.display.SelectRow(1);
  Tab(2);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_EQ(From(), u"From: Ann");
  End();
}

TEST_F(Reading, TheArticleTabOfAFreshStartSaysThatThereIsNoArticle) {
  StartAndWait();
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  EXPECT_TRUE(fake_.display.article().plain_text);
  End();
}

// The program is busy while the user taps on: it ends where the user does.
TEST_F(Reading, TabsChangedInARowEndAtTheLastOne) {
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

TEST_F(Reading, AnotherGroupShowsAnotherTree) {
  StartReading(u"Ann");
  Tab(0);
  OpenGroup(1);
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  EXPECT_EQ(Caption(), u"b");
  EXPECT_EQ(SelectedText(), u"");
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(SelectedText(), u"Ann");
  End();
}

TEST_F(Reading, TheArticleTabWithNothingSelectedForgetsTheArticleOfAnotherGroup) {
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

TEST_F(Reading, CommandsGoToTheShownView) {
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

TEST_F(Reading, TheReleaseOfAnAcceleratorsKeyScrollsNothing) {
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

TEST_F(Reading, KeysOfTheArticleViewDoNothingElsewhere) {
  StartReading(u"Ann");
  Key(port::kKeyEscape);
  Key(port::kKeyAction);  // the next article, in the article view
  Key(port::kKeyHome);
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_TRUE(fake_.display.article().scrolls.empty());
  End();
}

TEST_F(Reading, TheToolbarMovesOn) {
  StartReading(u"Ann");
  EXPECT_TRUE(fake_.display.PressToolbar(kCommandNextArticle));
  WaitIdle();
  EXPECT_TRUE(Shows(u"Text of Bob."));
  End();
}

TEST_F(Reading, ATapOnTheHeaderBarShowsTheHeaders) {
  StartReading(u"Ann");
  fake_.display.TapHeader();
  const port::WindowHandle dialog = fake_.display.WaitForDialog(124);
  ASSERT_NE(dialog, 0U);
  fake_.display.Press(dialog, kControlOk);
  WaitIdle();
  EXPECT_EQ(ShownTab(), 2);
  End();
}

TEST_F(Reading, TheMenuOfAnItemMarksIt) {
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
TEST_F(Reading, AMenuThatComesTooLateIsNotShown) {
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

TEST_F(Reading, CountsStayInStepWhenTheGroupListMarksTheShownGroup) {
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

TEST_F(Reading, AMarkingThatWasCancelledLeavesTheTreeInStep) {
  StartReading(u"Ann");
  Tab(0);
  fake_.display.ToggleRow(0);
  fake_.display.CancelProgressAfter(2);
  Confirm(u"Mark articles in checked groups as read?");
  Command(kCommandMarkRead);
  ExpectInStep();
  End();
}

TEST_F(Reading, DeletingInTheArticleViewGoesOnWithTheNextArticle) {
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

TEST_F(Reading, DeletingInTheThreadViewKeepsTheCountsInStep) {
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

TEST_F(Reading, DeletingReadArticlesFromTheGroupListClearsTheArticleAndKeepsTheTreeInStep) {
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

TEST_F(Reading, TheArticleIsClearedEvenWhenTheDeletionIsNotConfirmed) {
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

TEST_F(Reading, DeletingAllOfTheShownGroupLeavesNoTree) {
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

TEST_F(Reading, DeletingTheFilesOfEveryGroupLeavesNoTree) {
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

TEST_F(Reading, ADeletionThatWasCancelledShowsWhatIsLeft) {
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

TEST_F(Reading, RemovingAGroupForgetsWhatIsReadSinceTheOthersMoveUp) {
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
  EXPECT_EQ(CurrentGroup(), -1);
  EXPECT_EQ(Caption(), kNoThreads);
  Tab(1);
  EXPECT_EQ(Caption(), kNoThreads);
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"b");
  EXPECT_EQ(Rows(), (Texts{u"Elsewhere", u"Eve"}));
  ExpectInStep();
  End();
}

TEST_F(Reading, AnAcceptedNewGroupClearsTheArticleAndARejectedOneDoesNot) {
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
  EXPECT_EQ(Caption(), u"a");
  End();
}

// --- Killfile entries ----------------------------------------------------------------------------

TEST_F(Reading, TheGroupListAddsEntriesForTheSelectedGroup) {
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

TEST_F(Reading, WithoutASelectedRowTheCurrentGroupIsMeant) {
  StartAndWait();
  OnProgramThread([] { gCurrentGroup = 1; });
  fake_.display.WhenShown(125, [this](port::WindowHandle dialog) {
    EXPECT_FALSE(fake_.display.Control(dialog, 1015)->checked);
    fake_.display.Type(dialog, 1011, u"Ann");
    fake_.display.Press(dialog, kControlOk);
  });
  Command(kCommandAddToKillfile);
  EXPECT_EQ(Bytes(u"killfilegroups"), std::string("\2\0\0\0", 4));
  End();
}

TEST_F(Reading, WithNoGroupAtAllInViewEntriesGoToEveryGroup) {
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

TEST_F(Reading, TheArticleViewFillsInAuthorAndSubject) {
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

TEST_F(Reading, TheThreadViewsMenuHasEmptyTextsAndItsItemsHaveTheirs) {
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

// --- The tree is built anew ----------------------------------------------------------------------

class Connected : public Reading {
 protected:
  Connected() {
    SetNumbers(u"checked", {1, 0});
    SetDword(u"numservers", 1);
    SetList(u"servers", {u"news.example.org"});
    SetNumbers(u"port", {119});
    SetNumbers(u"lastdownloaded", {4, 0});
    SetNumbers(u"lastonserver", {5, 9});
    SetDword(u"beepafter", 0);
    fake_.sockets.SetHost("news.example.org", {192, 0, 2, 7});
    fake_.files.SetFreeSpace({1'000'000'000, 1'000'000'000});
  }

  void Exchange(const std::string& line, const std::string& reply) {
    fake_.sockets.Client(line + "\r\n");
    fake_.sockets.Server(reply + "\r\n");
  }
  // Fay's reply to Dan is number 5 there.
  void ServesOneMore() {
    fake_.sockets.Server("200 welcome\r\n");
    Exchange("GROUP a", "211 5 1 5 a");
    Exchange("STAT 5", "223 5 <6@x>");
    Exchange("HEAD",
             "221 5 <6@x>\r\nMessage-ID: <6@x>\r\nSubject: Re: Other\r\nFrom: Fay\r\n"
             "References: <4@x>\r\n.");
    Exchange("BODY", "222 5 <6@x>\r\nText of Fay.\r\n.");
    fake_.sockets.Client("QUIT\r\n");
  }
  void ScheduledDownload() {
    fake_.shell.ScheduledStartElsewhere();
    WaitIdle();
  }
};

TEST_F(Connected, TheCaptionTellsWhatIsLeftOnTheServer) {
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"a: 1 on server");
  End();
}

TEST_F(Connected, ServerMarksOfTheGroupListShowInTheCaptionNextTime) {
  StartReading(u"Ann");
  Tab(0);
  Confirm(u"This may cause Quillet CE to download duplicates");
  Command(kCommandServerUnread);
  Tab(1);
  EXPECT_EQ(Caption(), u"a: 5 on server");
  Tab(0);
  Confirm(u"This may cause Quillet CE to skip articles on the server.");
  Command(kCommandServerRead);
  Tab(1);
  EXPECT_EQ(Caption(), u"a: 0 on server");
  End();
}

TEST_F(Connected, NewArticlesAppearAtOnceToWhoLooksAtTheThreads) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  fake_.display.ExpandItem(fake_.display.FindItem(u"3/3 Hello"), true);
  ServesOneMore();
  ScheduledDownload();
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(Rows(), (Texts{u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"2/2 Other", u"Dan", u"Fay"}));
  EXPECT_EQ(SelectedText(), u"Bob");
  EXPECT_TRUE(fake_.display.tree().expanded.contains(fake_.display.FindItem(u"3/3 Hello")));
  EXPECT_EQ(Caption(), u"a: 0 on server");
  EXPECT_EQ(Counts(0), u"5/5");
  ExpectInStep();
  End();
}

TEST_F(Connected, WhoReadsAnArticleMeanwhileSeesThemOnTheWayBack) {
  StartReading(u"Dan");
  ServesOneMore();
  ScheduledDownload();
  EXPECT_EQ(ShownTab(), 2);
  EXPECT_TRUE(Shows(u"Text of Dan."));
  EXPECT_EQ(Counts(0), u"4/5");
  Key('M', port::kModifierControl);  // no command here: nothing happens
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows()[4], u"1/2 Other");
  EXPECT_EQ(SelectedText(), u"Dan");
  ExpectInStep();
  End();
}

TEST_F(Connected, WhoLooksAtTheGroupsSeesThemInTheThreads) {
  StartReading(u"Dan");
  Tab(0);
  ServesOneMore();
  Command(kCommandConnect);
  EXPECT_EQ(ShownTab(), 0);
  EXPECT_EQ(Counts(0), u"4/5");
  OpenGroup(0);
  EXPECT_EQ(Rows().back(), u"Fay");
  EXPECT_EQ(SelectedText(), u"Dan");
  End();
}

TEST_F(Connected, AConnectionThatBreaksAfterTheFirstArticleShowsIt) {
  StartAndWait();
  OpenGroup(0);
  fake_.sockets.Server("200 welcome\r\n");
  Exchange("GROUP a", "211 6 1 6 a");
  Exchange("STAT 5", "223 5 <6@x>");
  Exchange("HEAD", "221 5 <6@x>\r\nMessage-ID: <6@x>\r\nSubject: New\r\nFrom: Fay\r\n.");
  Exchange("BODY", "222 5 <6@x>\r\nText of Fay.\r\n.");
  fake_.sockets.ClientLineStarting("");
  fake_.sockets.Closes();
  ScheduledDownload();
  EXPECT_EQ(Rows().back(), u"Fay");
  ExpectInStep();
  End();
}

TEST_F(Connected, AConnectionThatNeverStandsBuildsNothing) {
  StartAndWait();
  OpenGroup(0);
  const int fills = fake_.display.tree().fills;
  fake_.sockets.FailConnect(10061);
  ScheduledDownload();
  EXPECT_EQ(fake_.display.tree().fills, fills);
  End();
}

TEST_F(Reading, ReopenedDatabasesAreReadAnew) {
  StartAndWait();
  OpenGroup(0);
  OnProgramThread([] {
    Put(u"a", Written(7, "", "Gil", "More"));
    DeleteValue(DatabaseIndex::kArticles, "a");
    ReopenDatabases();
  });
  WaitIdle();
  EXPECT_EQ(Rows().back(), u"Gil");
  End();
}

// --- Changed preferences -------------------------------------------------------------------------

TEST_F(Reading, ChangedThreadingIsSeenAtOnceByWhoLooksAtTheThreads) {
  StartAndWait();
  OpenGroup(0);
  Apply([](Prefs& prefs) { prefs.usethreading = 0; });
  EXPECT_EQ(Rows(), (Texts{u"Hello", u"Ann", u"Re: Hello", u"Bob", u"Re: Hello", u"Cid", u"Other",
                           u"Dan"}));
  Apply([](Prefs& prefs) { prefs.reversethread = 1; });
  EXPECT_EQ(Rows()[0], u"Other");
  End();
}

TEST_F(Reading, ChangedThreadingIsSeenAtTheNextShowing) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  Apply([](Prefs& prefs) { prefs.reversethread = 1; });
  EXPECT_EQ(ShownTab(), 2);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows(), (Texts{u"Other", u"Dan", u"2/3 Hello", u"Ann", u"Bob", u"Cid"}));
  EXPECT_EQ(SelectedText(), u"Ann");
  End();
}

TEST_F(Reading, OtherPreferencesLeaveTheViewsAlone) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  const int showings = showings_.count;
  Apply([](Prefs& prefs) { prefs.maxstore = 50; });
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  EXPECT_EQ(showings_.count, showings);
  End();
}

TEST_F(Reading, AChangedThreadFontRemakesTheTreeWithItsThreads) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) {
    prefs.threadfont = u"Arial";
    prefs.threadfontsize = 6;
  });
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.tree().font_face, u"Arial");
  EXPECT_EQ(fake_.display.tree().font_size_index, 6);
  EXPECT_EQ(Rows().size(), 6U);
  EXPECT_EQ(SelectedText(), u"Bob");
  Apply([](Prefs& prefs) { prefs.threadfontsize = 2; });
  EXPECT_EQ(fake_.display.tree().font_size_index, 2);
  EXPECT_EQ(Rows().size(), 6U);
  EXPECT_EQ(SelectedText(), u"Bob");
  End();
}

TEST_F(Reading, AThreadFontChangedBeforeTheFirstTreeCreatesNone) {
  StartAndWait();
  Apply([](Prefs& prefs) { prefs.threadfontsize = 6; });
  EXPECT_FALSE(fake_.display.tree().created);
  OpenGroup(0);
  EXPECT_EQ(fake_.display.tree().font_size_index, 6);
  End();
}

TEST_F(Reading, AChangedHeaderFontRemakesThePanesWithTheArticle) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.articleheaderfontsize = 8; });
  EXPECT_EQ(fake_.display.article().header_font_pixels, 24);
  EXPECT_TRUE(Shows(u"Text of Bob."));
  EXPECT_EQ(From(), u"From: Bob");
  Key(port::kKeyEscape);
  Apply([](Prefs& prefs) { prefs.articleheaderfont = u"Arial"; });
  EXPECT_EQ(ShownTab(), 1);
  OpenArticle(u"Cid");
  EXPECT_EQ(fake_.display.article().header_font_face, u"Arial");
  EXPECT_TRUE(Shows(u"Text of Cid."));
  End();
}

TEST_F(Reading, WhatTheArticleLooksLikeIsShownAnew) {
  StartReading(u"Bob");
  EXPECT_FALSE(Shows(u"Message-ID:"));
  Apply([](Prefs& prefs) { prefs.showheaders = 1; });
  EXPECT_TRUE(Shows(u"Message-ID:"));
  const std::vector<std::function<void(Prefs&)>> changes = {
      [](Prefs& prefs) { prefs.font = u"Courier"; }, [](Prefs& prefs) { prefs.fontsize = 5; },
      [](Prefs& prefs) { prefs.colorquoted = 0; }, [](Prefs& prefs) { prefs.removecrs = 1; }};
  for (const auto& change : changes) {
    const int showings = showings_.count;
    Apply(change);
    EXPECT_EQ(showings_.count, showings + 1);
  }
  Tab(1);
  const int showings = showings_.count;
  Apply([](Prefs& prefs) { prefs.showheaders = 0; });
  EXPECT_EQ(showings_.count, showings);
  EXPECT_EQ(ShownTab(), 1);
  End();
}

TEST_F(Connected, AnotherServerShowsInTheCaption) {
  SetDword(u"numservers", 2);
  SetList(u"servers", {u"one", u"two"});
  SetNumbers(u"port", {119, 119});
  SetNumbers(u"lastdownloaded", {4, 0, 10, 0});
  SetNumbers(u"lastonserver", {6, 9, 17, 0});
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"a: 2 on server");
  Apply([](Prefs& prefs) { prefs.selectedserver = 1; });
  EXPECT_EQ(Caption(), u"a: 7 on server");
  Apply([](Prefs& prefs) { prefs.allserversareone = 1; });
  EXPECT_EQ(Caption(), u"a: 2 on server");
  End();
}

TEST_F(Reading, ChangedTabPlacementStartsAtTheGroupsWithNothingOpen) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.sidetabs = 2; });
  EXPECT_EQ(ShownTab(), 0);
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_FALSE(TreeIsThere());
  EXPECT_EQ(CurrentGroup(), -1);
  EXPECT_FALSE(fake_.display.tree().created);
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(Rows().size(), 6U);
  OpenArticle(u"Cid");
  EXPECT_TRUE(Shows(u"Text of Cid."));
  EXPECT_FALSE(fake_.display.article().toolbar.empty());
  ExpectInStep();
  End();
}

TEST_F(Reading, ChangedTabPlacementTakesTheOtherChangesAlong) {
  StartAndWait();
  OpenGroup(0);
  Apply([](Prefs& prefs) {
    prefs.sidetabs = 1;
    prefs.reversethread = 1;
    prefs.threadfontsize = 7;
    prefs.groupfontsize = 6;
  });
  EXPECT_EQ(fake_.display.list().font_size_index, 6);
  OpenGroup(0);
  EXPECT_EQ(Rows()[0], u"Other");
  EXPECT_EQ(fake_.display.tree().font_size_index, 7);
  End();
}

TEST_F(Reading, AStoreFoundInTheNewPlaceReplacesWhatIsRead) {
  fake_.files.AddCard(u"Card");
  const std::u16string folder = u"\\Card\\Quillet CE News";
  fake_.files.CreateFolder(folder);
  StartReading(u"Bob");
  for (const char16_t* name : {u"\\Quillet articles.gdb", u"\\Quillet newsgroups.gdb"}) {
    fake_.files.Copy(u"\\Quillet CE News\\Quillet pending posts.gdb", folder + name);
  }
  fake_.display.Expect(u"Databases already exist in new location.", port::kIdNo);
  Apply([](Prefs& prefs) { prefs.databasestore = u"Card"; });
  WaitIdle();
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_TRUE(Rows().empty());
  EXPECT_EQ(Counts(0), u"0/0");
  ExpectInStep();
  End();
}

TEST_F(Reading, AStoreThatMovedIsReadOn) {
  fake_.files.AddCard(u"Card");
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.databasestore = u"Card"; });
  WaitIdle();
  EXPECT_EQ(ShownTab(), 2);
  Key(port::kKeyRight, port::kModifierControl);
  EXPECT_TRUE(Shows(u"Text of Cid."));
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows()[0], u"1/3 Hello");
  ExpectInStep();
  End();
}

// --- The end -------------------------------------------------------------------------------------

class Ending : public Reading {
 protected:
  ~Ending() override {
    EXPECT_EQ(gThreadTree, nullptr);
    EXPECT_EQ(gCurrentArticle, nullptr);
    EXPECT_EQ(gThreadGroup, -1);
  }
};

TEST_F(Ending, ClosingWithAnOpenArticleLeavesNothing) {
  StartReading(u"Bob");
  End();
}

TEST_F(Ending, ClosingWithAShownTreeDeletesReadArticles) {
  SetDword(u"autodelete", 10);  // read articles, when the program ends
  StartReading(u"Bob");
  End();
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_TRUE(ArticleExists("<1@x>"));
  EXPECT_TRUE(ArticleExists("<5@x>"));
  EXPECT_EQ(CountGroupArticles(u"a", false), 3U);
  CloseDatabases();
}

TEST_F(Ending, ClosingWithAShownTreeDeletesAllArticles) {
  SetDword(u"autodelete", 8);
  StartReading(u"Bob");
  End();
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(CountGroupArticles(u"a", false), 0U);
  EXPECT_EQ(CountGroupArticles(u"b", false), 0U);
  CloseDatabases();
}

TEST_F(Ending, TheSessionEndsInEachViewAndDialog) {
  StartReading(u"Bob");
  fake_.display.EndSession();
  Join();
}

TEST_F(Ending, TheSessionEndsInTheKillfileDialog) {
  StartReading(u"Bob");
  fake_.display.SendCommand(kCommandAddToKillfile);
  ASSERT_NE(fake_.display.WaitForDialog(125), 0U);
  fake_.display.EndSession();
  Join();
  EXPECT_EQ(Dword(u"killfilecount"), 0U);
}

TEST_F(Ending, TheSessionEndsWhileTheThreadsAreShown) {
  StartAndWait();
  OpenGroup(0);
  fake_.display.EndSession();
  Join();
}

// The error closes the window at once, while whoever met it still holds on to the tree.
TEST_F(Ending, ACriticalErrorLeavesTheTreeToWhoWorksOnIt) {
  SetDword(u"autodelete", 8);
  StartReading(u"Bob");
  std::string ids;
  fake_.queues.PostCall(id_, [&ids] {
    ReportCriticalError(u"out of memory", u"NewNode");
    EXPECT_EQ(gMainWindow, 0U);
    for (const Node* node = gThreadTree->root().firstChild; node != nullptr;
         node = node->firstChild) {
      ids += node->messageId;
    }
    EXPECT_EQ(gCurrentArticle->messageId, "<2@x>");
  });
  Join();
  EXPECT_EQ(ids, "<1@x><2@x><3@x>");
}

}  // namespace
}  // namespace quillet
