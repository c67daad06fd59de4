// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/group_list.h"
#include "base/changes.h"
#include "base/reset.h"

#include <gtest/gtest.h>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/subscriptions.h"
#include "base/views.h"
#include "groups/newsgroups.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/gdbm_library.h"
#include "store/records.h"
#include "thread/view.h"
#include "util/text.h"

namespace quillet {
namespace {

using port::CheckState;
using Boxes = std::vector<CheckState>;

class GroupList : public testing::Test {
 protected:
  GroupList() {
    const port::WindowHandle window =
        fake_.display.CreateMainWindow({u"Quillet CE", u"title", kIconMain, {240, 294}});
    fake_.display.ShowMainWindow();
    fake_.display.CreateTabs(port::TabPlacement::kBottom);
    gMainWindow = window;
    ReadPreferences();
    EXPECT_TRUE(LoadDatabaseLibrary());
    EXPECT_TRUE(OpenGDBMDatabases());
  }
  ~GroupList() override {
    CloseDatabases();
    fake_.display.Verify();
    ResetProgram();
  }

  // Groups with that many articles each, the first `read` of them read; all boxes ticked.
  struct Group {
    std::u16string name;
    int articles = 0;
    int read = 0;
  };
  void SetUpGroups(const std::vector<Group>& groups, std::uint32_t servers = 0) {
    while (gPrefs->numservers < servers) AddServer(*gPrefs, {u"server"});
    for (const Group& group : groups) {
      AddGroup(*gPrefs, group.name);
      for (int i = 0; i < group.articles; ++i) AddArticle(group.name, i, i < group.read);
    }
    gPrefs->lastdownloaded.assign(groups.size() * servers, 5);
    gPrefs->lastonserver.assign(groups.size() * servers, 9);
    CountArticles();
    CreateGroupList();
  }
  static std::string IdOf(const std::u16string& group, int number) {
    return "<" + std::to_string(number) + "@" + Narrow(group) + ">";
  }
  static void AddArticle(const std::u16string& group, int number, bool read) {
    AsciiArticle article;
    article.messageId = IdOf(group, number);
    article.read = read ? 1 : 0;
    EXPECT_TRUE(StoreArticle(article));
    EXPECT_TRUE(AddArticleToGroup(group, *article.messageId));
  }

  Boxes States() {
    Boxes states;
    for (const port::ListRow& row : fake_.display.list().rows) states.push_back(row.check);
    return states;
  }
  // What the display tells of the list reaches the program.
  void HandleListMessages() {
    fake_.HandleWaiting([](const port::Message& message) {
      if (message.kind == port::MessageKind::kRowChecked) {
        HandleRowChecked(message.id, message.detail != 0, message.text);
      } else if (message.kind == port::MessageKind::kColumnSized) {
        HandleColumnSized(message.id, message.detail);
      }
    });
  }
  void Toggle(int row) {
    EXPECT_TRUE(fake_.display.ToggleRow(row));
    HandleListMessages();
  }
  std::u16string Counts(std::size_t row) { return fake_.display.list().rows.at(row).counts; }
  void TypeGroupName(std::u16string_view name, std::uint32_t button = kControlOk) {
    fake_.display.WhenShown(kDialogNewGroup,
                            [this, name = std::u16string(name), button](port::WindowHandle dialog) {
                              fake_.display.Type(dialog, kControlGroupName, name);
                              fake_.display.Press(dialog, button);
                            });
  }

  port::FakePlatform fake_;
};

TEST_F(GroupList, CountsAreNeverBelowZero) {
  SetUpGroups({{u"a"}, {u"b"}, {u"c"}});
  gReadInfo[0]->readCount = 1;
  gReadInfo[1]->totalCount = 3;
  gReadInfo[1]->readCount = 0xFFFFFFFF;
  gReadInfo[2]->totalCount = 0x80000001;
  gReadInfo[2]->readCount = 1;
  FillGroupList();
  EXPECT_EQ(Counts(0), u"0/0");
  EXPECT_EQ(Counts(1), u"0/3");
  EXPECT_EQ(Counts(2), u"2147483648/2147483649");
}

TEST_F(GroupList, HasTheTwoColumns) {
  SetUpGroups({});
  const port::ShownList list = fake_.display.list();
  EXPECT_EQ(list.columns[0].title, u"Newsgroup");
  EXPECT_FALSE(list.columns[0].centred);
  EXPECT_EQ(list.columns[0].width, 0);
  EXPECT_EQ(list.columns[1].title, u"Unread");
  EXPECT_TRUE(list.columns[1].centred);
}

TEST_F(GroupList, SavedWidthsAndFontAreUsed) {
  gPrefs->columnWidths = {150, 60};
  gPrefs->groupfont = u"Arial";
  gPrefs->groupfontsize = 5;
  SetUpGroups({});
  EXPECT_EQ(fake_.display.list().columns[0].width, 150);
  EXPECT_EQ(fake_.display.list().columns[1].width, 60);
  EXPECT_EQ(fake_.display.list().font_face, u"Arial");
  EXPECT_EQ(fake_.display.list().font_size_index, 5);
}

TEST_F(GroupList, RowsShowUnreadAndTotal) {
  SetUpGroups({{u"a.one", 5, 2}, {u"a.two"}});
  EXPECT_EQ(fake_.display.list().rows[0].name, u"a.one");
  EXPECT_EQ(Counts(0), u"3/5");
  EXPECT_EQ(Counts(1), u"0/0");
  EXPECT_EQ(fake_.display.wait_cursor_depth(), 0);
  EXPECT_GT(fake_.display.wait_cursor_shows(), 0);
}

TEST_F(GroupList, StatusTextCountsQueuedPosts) {
  SetUpGroups({});
  EXPECT_EQ(fake_.display.main_window().status, u"0 articles queued for posting");
  gPendingPostCount = 1;
  RefreshGroupCounts();
  EXPECT_EQ(fake_.display.main_window().status, u"1 article queued for posting");
  gPendingPostCount = 2;
  FillGroupList();
  EXPECT_EQ(fake_.display.main_window().status, u"2 articles queued for posting");
}

TEST_F(GroupList, ResultOfAConnectionIsTheStatusTextFromTheNextRefreshOn) {
  SetUpGroups({{u"a.one", 5, 2}});
  TellResultOfRun(u"412 new articles in 5 groups, 3 posted, 0:31.");
  EXPECT_EQ(fake_.display.main_window().status, u"0 articles queued for posting");
  RefreshGroupCounts();
  EXPECT_EQ(fake_.display.main_window().status, u"412 new articles in 5 groups, 3 posted, 0:31.");
  FillGroupList();
  EXPECT_EQ(fake_.display.main_window().status, u"412 new articles in 5 groups, 3 posted, 0:31.");
}

TEST_F(GroupList, PostsThatAreStillQueuedAreSaidBesideTheResult) {
  SetUpGroups({});
  gPendingPostCount = 2;
  TellResultOfRun(u"No new articles, 1 posted, 0:05.");
  RefreshGroupCounts();
  EXPECT_EQ(fake_.display.main_window().status,
            u"No new articles, 1 posted, 0:05. 2 articles queued for posting");
}

TEST_F(GroupList, ResultIsToldUntilThereIsSomethingElseToCount) {
  SetUpGroups({{u"a.one", 5, 2}, {u"a.two", 9, 9}});
  const std::vector<std::function<void()>> changes = {
      [] { ++gReadInfo[0]->readCount; }, [] { --gReadInfo[1]->totalCount; },
      [] { ++gPendingPostCount; }, [] { RemoveNewsgroupFromPrefs(GroupAt(1)); }};
  for (const auto& change : changes) {
    TellResultOfRun(u"result");
    RefreshGroupCounts();
    EXPECT_EQ(fake_.display.main_window().status.substr(0, 6), u"result");
    change();
    RefreshGroupCounts();
    EXPECT_EQ(fake_.display.main_window().status, QueuedPostsText());
  }
}

TEST_F(GroupList, ResultThatIsGoneDoesNotComeBackWithItsCounts) {
  SetUpGroups({{u"a.one", 5, 2}});
  TellResultOfRun(u"result");
  ++gReadInfo[0]->readCount;
  RefreshGroupCounts();
  --gReadInfo[0]->readCount;
  RefreshGroupCounts();
  EXPECT_EQ(fake_.display.main_window().status, u"0 articles queued for posting");
}

TEST_F(GroupList, EmptyResultTakesTheLastOneBack) {
  SetUpGroups({{u"a.one", 5, 2}});
  TellResultOfRun(u"result");
  RefreshGroupCounts();
  TellResultOfRun(u"");
  RefreshGroupCounts();
  EXPECT_EQ(fake_.display.main_window().status, u"0 articles queued for posting");
}

TEST_F(GroupList, CountsAloneChangeNothingElse) {
  SetUpGroups({{u"a.one", 5, 2}, {u"a.two"}});
  gPendingPostCount = 4;
  gReadInfo[0]->totalCount = 7;
  ShowGroupCounts();
  EXPECT_EQ(Counts(0), u"5/7");
  EXPECT_EQ(Counts(1), u"0/0");
  EXPECT_EQ(fake_.display.main_window().status, u"0 articles queued for posting");
}

using Marks = std::vector<std::uint32_t>;

TEST_F(GroupList, ATickIsAMarkOfTheGroupAtOnce) {
  SetUpGroups({{u"a"}, {u"b"}});
  Toggle(1);
  EXPECT_EQ(gPrefs->checked, (Marks{1, 0}));
  Toggle(0);
  EXPECT_EQ(gPrefs->checked, (Marks{0, 0}));
  Toggle(1);
  EXPECT_EQ(gPrefs->checked, (Marks{0, 1}));
}

TEST_F(GroupList, ARefillKeepsTheUsersBoxes) {
  SetUpGroups({{u"a"}, {u"b"}});
  Toggle(1);
  FillGroupList();
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kUnchecked}));
}

// The list was filled between the click and its message.
TEST_F(GroupList, ATickThatARefillWentOverIsShownAgain) {
  SetUpGroups({{u"a"}, {u"b"}});
  fake_.display.ToggleRow(1);
  FillGroupList();
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kChecked}));
  HandleListMessages();
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kUnchecked}));
  EXPECT_EQ(gPrefs->checked, (Marks{1, 0}));
}

TEST_F(GroupList, ATickNeverMovesToAnotherGroup) {
  SetUpGroups({{u"a"}, {u"b"}, {u"c"}});
  fake_.display.ToggleRow(1);
  fake_.display.ToggleRow(2);
  RemoveNewsgroupFromPrefs(GroupAt(0));
  FillGroupList();
  HandleListMessages();
  EXPECT_EQ(gPrefs->checked, (Marks{1, 1}));
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kChecked}));
}

TEST_F(GroupList, AMarkThatIsNoOneBecomesOneWhenItIsShown) {
  SetUpGroups({{u"a"}, {u"b"}});
  gPrefs->checked = {7, 0};
  FillGroupList();
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kUnchecked}));
  EXPECT_EQ(gPrefs->checked, (Marks{1, 0}));
}

TEST_F(GroupList, WidthsOfTheDisplaysOwnAndOfTheUsersAreRemembered) {
  fake_.display.LayOut({240, 294}, {240, 268});
  SetUpGroups({{u"a"}});
  HandleListMessages();
  EXPECT_EQ(gPrefs->columnWidths, (std::array<std::int32_t, 2>{200, 40}));
  fake_.display.DragColumn(0, 123);
  fake_.display.DragColumn(1, 45);
  HandleListMessages();
  EXPECT_EQ(gPrefs->columnWidths, (std::array<std::int32_t, 2>{123, 45}));
  HandleColumnSized(2, 99);  // there is none
}

TEST_F(GroupList, ANewListShowsTheCurrentGroupAndRefillsKeepTheSelection) {
  gReading.group = GroupAt(1);
  SetUpGroups({{u"a"}, {u"b"}});
  EXPECT_EQ(fake_.display.list().selected, 1);
  fake_.display.SelectRow(0);
  FillGroupList();
  EXPECT_EQ(fake_.display.list().selected, 0);
}

TEST_F(GroupList, SelectAllAndNone) {
  SetUpGroups({{u"a"}, {u"b"}});
  HandleGroupCommand(40013);
  EXPECT_EQ(States(), (Boxes{CheckState::kUnchecked, CheckState::kUnchecked}));
  EXPECT_EQ(gPrefs->checked, (Marks{0, 0}));
  HandleGroupCommand(40012);
  EXPECT_EQ(gPrefs->checked, (Marks{1, 1}));
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kChecked}));
}

TEST_F(GroupList, CheckUncheckAllChecksAllUnlessAllAreChecked) {
  SetUpGroups({{u"a"}, {u"b"}});
  HandleGroupCommand(40050);
  EXPECT_EQ(States(), (Boxes{CheckState::kUnchecked, CheckState::kUnchecked}));
  Toggle(0);
  HandleGroupCommand(40050);
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kChecked}));
}

TEST_F(GroupList, DeleteReadAsksAndDeletesReadArticlesOfCheckedGroups) {
  SetUpGroups({{u"a", 3, 2}, {u"b", 2, 2}});
  Toggle(1);
  fake_.display.Expect(u"Really delete read articles in checked groups?", port::kIdYes);
  HandleGroupCommand(40014);
  EXPECT_EQ(Counts(0), u"1/1");
  EXPECT_EQ(Counts(1), u"0/2");
}

TEST_F(GroupList, DeleteAllOnNoDeletesNothing) {
  SetUpGroups({{u"a", 3, 2}});
  fake_.display.Expect(u"Really delete all articles in checked groups?", port::kIdNo);
  HandleGroupCommand(40015);
  EXPECT_EQ(Counts(0), u"1/3");
  fake_.display.Expect(u"Really delete all articles in checked groups?", port::kIdYes);
  HandleGroupCommand(40015);
  EXPECT_EQ(Counts(0), u"0/0");
}

TEST_F(GroupList, ANewGroupAppearsCheckedWithNoArticles) {
  SetUpGroups({{u"a"}});
  TypeGroupName(u"  comp.lang.c++ ");
  HandleGroupCommand(40020);
  ASSERT_EQ(fake_.display.list().rows.size(), 2U);
  EXPECT_EQ(fake_.display.list().rows[1].name, u"comp.lang.c++");
  EXPECT_EQ(fake_.display.list().rows[1].check, CheckState::kChecked);
  EXPECT_EQ(Counts(1), u"0/0");
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(GroupList, ARejectedNameIsNamedAndDropped) {
  SetUpGroups({{u"a"}});
  for (const char16_t* name : {u"", u"  ", u"a b", u"a,b", u"a\tb", u"a"}) {
    fake_.display.ForgetBoxes();
    TypeGroupName(name);
    HandleGroupCommand(40020);
    EXPECT_EQ(fake_.display.list().rows.size(), 1U);
    EXPECT_EQ(fake_.display.boxes().size(), 1U) << Narrow(name);
  }
}

TEST_F(GroupList, CancelOfTheNewGroupDialogAddsNothing) {
  SetUpGroups({{u"a"}});
  TypeGroupName(u"b", kControlCancel);
  HandleGroupCommand(40020);
  EXPECT_EQ(fake_.display.list().rows.size(), 1U);
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(GroupList, RemovingTwoAdjacentCheckedGroupsRemovesBoth) {
  SetUpGroups({{u"a", 1}, {u"b", 2}, {u"c", 3}, {u"d", 4}}, 1);
  Toggle(0);
  Toggle(3);
  fake_.display.SelectRow(2);
  gReading.group = GroupAt(2);
  fake_.display.Expect(u"Really delete the checked groups?", port::kIdYes);
  HandleGroupCommand(40021);
  ASSERT_EQ(gPrefs->groups, (std::vector<std::u16string>{u"a", u"d"}));
  EXPECT_EQ(States(), (Boxes{CheckState::kUnchecked, CheckState::kUnchecked}));
  EXPECT_EQ(Counts(0), u"1/1");
  EXPECT_EQ(Counts(1), u"4/4");
  EXPECT_EQ(gReading.group, std::nullopt);
  EXPECT_EQ(fake_.display.list().selected, -1);
  EXPECT_FALSE(GroupChainFirst(u"b"));
  EXPECT_FALSE(ArticleExists(IdOf(u"c", 0)));
  EXPECT_TRUE(ArticleExists(IdOf(u"d", 3)));
}

TEST_F(GroupList, RemovingGroupsOnNoChangesNothing) {
  SetUpGroups({{u"a", 1}});
  fake_.display.Expect(u"Really delete the checked groups?", port::kIdNo);
  HandleGroupCommand(40021);
  EXPECT_EQ(gPrefs->numgroups, 1U);
}

TEST_F(GroupList, RemovingStopsWhenTheDeletionIsCancelled) {
  SetUpGroups({{u"a", 3}, {u"b", 3}});
  fake_.display.CancelProgressAfter(0);
  fake_.display.Expect(u"Really delete the checked groups?", port::kIdYes);
  HandleGroupCommand(40021);
  EXPECT_EQ(gPrefs->numgroups, 2U);
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked, CheckState::kChecked}));
}

TEST_F(GroupList, MarkReadMarksCheckedGroupsOnly) {
  SetUpGroups({{u"a", 3, 1}, {u"b", 2}});
  Toggle(1);
  fake_.display.Expect(u"Mark articles in checked groups as read?", port::kIdYes);
  HandleGroupCommand(40024);
  EXPECT_EQ(Counts(0), u"0/3");
  EXPECT_EQ(Counts(1), u"2/2");
  EXPECT_TRUE(IsArticleRead(IdOf(u"a", 2)));
  EXPECT_FALSE(IsArticleRead(IdOf(u"b", 0)));
  const auto texts = fake_.display.progress_texts();
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[0].text, u"Marking articles in checked groups as read...");
  EXPECT_EQ(texts[1].control, 1022U);
  EXPECT_EQ(texts[1].text, u"a");
}

TEST_F(GroupList, MarkUnreadMarksBackAndSkipsGroupsWithNothingToDo) {
  SetUpGroups({{u"a", 2, 2}, {u"b", 2, 0}});
  fake_.display.Expect(u"Mark articles in checked groups as unread?", port::kIdYes);
  HandleGroupCommand(40025);
  EXPECT_EQ(Counts(0), u"2/2");
  const auto texts = fake_.display.progress_texts();
  ASSERT_EQ(texts.size(), 2U);
  EXPECT_EQ(texts[0].text, u"Marking articles in checked groups as unread...");
  EXPECT_EQ(texts[1].text, u"a");
}

TEST_F(GroupList, MarkingStopsAtOnceWhenCancelled) {
  SetUpGroups({{u"a", 4}, {u"b", 4}});
  fake_.display.CancelProgressAfter(2);
  fake_.display.Expect(u"Mark articles in checked groups as read?", port::kIdYes);
  HandleGroupCommand(40024);
  EXPECT_EQ(gReadInfo[0]->readCount, CountGroupArticles(u"a", true));
  EXPECT_LT(gReadInfo[0]->readCount, 4U);
  EXPECT_EQ(Counts(1), u"4/4");
}

TEST_F(GroupList, ServerReadSkipsWhatIsOnEveryServer) {
  SetUpGroups({{u"a"}, {u"b"}}, 2);
  Toggle(0);
  fake_.display.Expect(u"This may cause Quillet CE to skip articles on the server. Are you sure?",
                       port::kIdYes);
  HandleGroupCommand(40026);
  EXPECT_EQ(gPrefs->lastdownloaded, (std::vector<std::uint32_t>{5, 9, 5, 9}));
  const port::ShownBox box = fake_.display.boxes().back();
  EXPECT_EQ(box.caption, u"Finished marking server(s) read/unread");
  EXPECT_EQ(box.text, u"Processed 1 group.");
  EXPECT_EQ(box.style.icon, port::BoxIcon::kNone);
  EXPECT_EQ(box.owner, gMainWindow);
}

TEST_F(GroupList, ServerUnreadFetchesEverythingAgainAndWritesNothing) {
  SetUpGroups({{u"a"}, {u"b"}}, 1);
  const auto before = fake_.registry.Create(kRegistryPath)->Values().size();
  fake_.display.Expect(
      u"This may cause Quillet CE to download duplicates of articles that it "
      u"already has. Are you sure?",
      port::kIdYes);
  HandleGroupCommand(40027);
  EXPECT_EQ(gPrefs->lastdownloaded, (std::vector<std::uint32_t>{0, 0}));
  EXPECT_EQ(fake_.display.boxes().back().text, u"Processed 2 groups.");
  EXPECT_EQ(fake_.registry.Create(kRegistryPath)->Values().size(), before);
}

TEST_F(GroupList, ServerMarksWithNoCheckedGroupSayZeroGroups) {
  SetUpGroups({{u"a"}}, 1);
  Toggle(0);
  fake_.display.Expect(u"This may cause Quillet CE to skip", port::kIdYes);
  HandleGroupCommand(40026);
  EXPECT_EQ(fake_.display.boxes().back().text, u"Processed 0 groups.");
}

TEST_F(GroupList, OtherCommandsAreIgnored) {
  SetUpGroups({{u"a"}});
  for (std::uint32_t id : {0U, 40000U, 40011U, 40029U, 40030U, 40048U, 40051U, 0xFFFFFFFFU}) {
    HandleGroupCommand(id);
  }
  EXPECT_TRUE(fake_.display.boxes().empty());
  EXPECT_EQ(States(), (Boxes{CheckState::kChecked}));
}

TEST_F(GroupList, OpeningShowsTheThreadsOfTheSelectedRow) {
  SetUpGroups({{u"a", 1}, {u"b", 2}});
  EXPECT_FALSE(OpenSelectedGroup());
  EXPECT_EQ(gReading.group, std::nullopt);
  EXPECT_EQ(fake_.display.main_window().tab, 0);
  fake_.display.SelectRow(1);
  EXPECT_TRUE(OpenSelectedGroup());
  EXPECT_EQ(fake_.display.main_window().tab, 1);
  EXPECT_EQ(gReading.group, GroupAt(1));
  EXPECT_EQ(gReading.tree_group, GroupAt(1));
  ASSERT_NE(gReading.tree, nullptr);
  EXPECT_EQ(gReading.tree->root().descendantCount, 2U);
}

// The commands on checked groups, with the shown group checked or not.
class ShownGroup : public GroupList {
 protected:
  void Show(int group) {
    SetUpGroups({{u"a", 2, 1}, {u"b", 2, 1}});
    fake_.display.SelectRow(group);
    ASSERT_TRUE(OpenSelectedGroup());
    fake_.display.SelectTab(0);
    Toggle(1);  // only "a" is checked
    ASSERT_FALSE(gReading.tree_state.OutOfDate());
  }
  void Run(std::uint32_t command, std::u16string question, int answer = port::kIdYes) {
    fake_.display.Expect(std::move(question), answer);
    HandleGroupCommand(command);
  }
};

struct TouchingCommand {
  std::uint32_t id;
  const char16_t* question;
};
constexpr TouchingCommand kTouchingCommands[] = {
    {40014, u"Really delete read articles in checked groups?"},
    {40024, u"Mark articles in checked groups as read?"},
    {40025, u"Mark articles in checked groups as unread?"},
};

TEST_F(ShownGroup, IsBuiltAnewAfterCommandsThatTouchedIt) {
  Show(0);
  for (const TouchingCommand& command : kTouchingCommands) {
    gReading.tree_state.BringUpToDate();
    Run(command.id, command.question, port::kIdNo);
    EXPECT_FALSE(gReading.tree_state.OutOfDate()) << command.id;
    Run(command.id, command.question);
    EXPECT_TRUE(gReading.tree_state.OutOfDate()) << command.id;
  }
}

TEST_F(ShownGroup, IsLeftAloneByCommandsOnOtherGroups) {
  Show(1);
  for (const TouchingCommand& command : kTouchingCommands) {
    Run(command.id, command.question);
    EXPECT_FALSE(gReading.tree_state.OutOfDate()) << command.id;
  }
}

TEST_F(ShownGroup, IsLeftAloneByServerMarks) {
  Show(0);
  Run(40026, u"This may cause Quillet CE to skip articles on the server.");
  Run(40027, u"This may cause Quillet CE to download duplicates of articles");
  EXPECT_FALSE(gReading.tree_state.OutOfDate());
}

TEST_F(ShownGroup, HasItsNodesMarkedWithItsArticles) {
  Show(0);
  gReading.article = FetchArticle(IdOf(u"a", 1));
  ASSERT_NE(gReading.article, nullptr);
  gReading.article->node = gReading.tree->FindNodeByMessageId(IdOf(u"a", 1));
  Run(40024, u"Mark articles in checked groups as read?");
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 2U);
  EXPECT_EQ(gReading.tree->root().read, 1U);
  EXPECT_EQ(gReading.article->node->read, 1U);
  EXPECT_EQ(gReading.article->read, 1U);
  Run(40025, u"Mark articles in checked groups as unread?");
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 0U);
  EXPECT_EQ(gReading.tree->root().read, 0U);
  EXPECT_EQ(gReading.article->read, 0U);
  gReading.article.reset();
}

// It would refuse every article after it, each with a box of its own.
TEST_F(ShownGroup, IsMarkedNoFurtherWhenTheStoreRefuses) {
  Show(0);
  Run(40025, u"Mark articles in checked groups as unread?");
  ShowThreadView();
  fake_.display.SelectTab(0);
  ASSERT_EQ(gReading.tree->root().readDescendantCount, 0U);
  fake_.display.ForgetBoxes();
  const auto store = gGdbm.store;
  gGdbm.store = [](GDBM_FILE, datum, datum, int) { return -1; };
  Run(40024, u"Mark articles in checked groups as read?");
  gGdbm.store = store;
  int refusals = 0;
  for (const port::ShownBox& box : fake_.display.boxes()) {
    if (box.text == u"Error inserting GDBM article.") ++refusals;
  }
  EXPECT_EQ(refusals, 1);
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 0U);
}

// An article of two groups was marked read in the other one: here it still counts as unread.
TEST_F(ShownGroup, CountsAnArticleOfTwoGroupsOnceInEach) {
  Show(0);
  AsciiArticle shared;
  shared.messageId = "<shared@x>";
  ASSERT_TRUE(StoreArticle(shared));
  for (const char16_t* group : {u"a", u"b"}) ASSERT_TRUE(AddArticleToGroup(group, "<shared@x>"));
  for (std::size_t i = 0; i < 2; ++i) {
    ++gReadInfo[i]->totalCount;
    UpdateGlobalGDBMArticleCountCache(i);
  }
  NoteChange(Change::kStore);
  ASSERT_TRUE(OpenSelectedGroup());
  SetArticleReadById("<shared@x>", nullptr, true, 1);
  Run(40024, u"Mark articles in checked groups as read?");
  EXPECT_EQ(gReadInfo[0]->readCount, 3U);
  EXPECT_EQ(gReading.tree->root().readDescendantCount, 3U);
}

TEST_F(ShownGroup, OfOneLongChainOfRepliesIsMarkedThroughout) {
  constexpr int kReplies = 3000;
  std::string parent;
  for (int i = 0; i < kReplies; ++i) {
    AsciiArticle article;
    article.messageId = "<" + std::to_string(i) + "@chain>";
    article.parentId = parent;
    article.subject = "s";
    article.articleNumber = static_cast<std::uint32_t>(i);
    parent = *article.messageId;
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(u"chain", parent));
  }
  SetUpGroups({{u"chain"}});
  fake_.display.SelectRow(0);
  ASSERT_TRUE(OpenSelectedGroup());
  Run(40024, u"Mark articles in checked groups as read?");
  EXPECT_EQ(gReading.tree->root().readDescendantCount, static_cast<std::uint32_t>(kReplies));
  EXPECT_EQ(gReading.tree->root().firstChild->firstChild->readDescendantCount, kReplies - 1U);
}

}  // namespace
}  // namespace quillet
