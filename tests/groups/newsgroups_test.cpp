// SPDX-License-Identifier: GPL-3.0-or-later
#include "groups/newsgroups.h"
#include "base/reset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <new>

#include "base/app_messages.h"
#include "base/prefs_damage.h"
#include "base/prefs_registry.h"
#include "groups/group_list.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"
#include "store/counts.h"
#include "store/new_group.h"
#include "tests/support/failing_new.h"
#include "thread/reading.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Newsgroups : public ::testing::Test {
 protected:
  Newsgroups() {
    ReadPreferences();
    gMainWindow = fake.display.CreateMainWindow({});
  }
  ~Newsgroups() override { ResetProgram(); }

  void SetServers(std::uint32_t count) {
    RemoveAllServers(*gPrefs);
    while (gPrefs->numservers < count) AddServer(*gPrefs, {u"s"});
  }
  void SetGroups(const std::vector<std::u16string>& groups) {
    gReadInfo.clear();
    for (const std::u16string& group : groups) {
      AddGroup(*gPrefs, group);
      gReadInfo.push_back(std::make_unique<ReadInfo>(ReadInfo{group, 1, 2}));
    }
    SetAllChecked(*gPrefs, false);
  }
  std::vector<std::u16string> CountedGroups() {
    std::vector<std::u16string> names;
    names.reserve(gReadInfo.size());
    for (const auto& info : gReadInfo) names.push_back(info->groupName);
    return names;
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }
  std::vector<std::uint32_t> PostedUserMessages() {
    std::vector<std::uint32_t> ids;
    fake.HandleWaiting([&](const port::Message& message) {
      if (message.kind == port::MessageKind::kUser) ids.push_back(message.id);
    });
    return ids;
  }

  port::FakePlatform fake;
};

// --- Adding --------------------------------------------------------------------------------------

TEST_F(Newsgroups, NewGroupIsCheckedAndCountsNothing) {
  SetGroups({u"a"});
  AddNewsgroupToPrefs(u"misc.test");
  EXPECT_EQ(gPrefs->numgroups, 2U);
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a", u"misc.test"));
  EXPECT_THAT(gPrefs->checked, ElementsAre(0U, 1U));
  EXPECT_THAT(CountedGroups(), ElementsAre(u"a", u"misc.test"));
  EXPECT_EQ(gReadInfo[1]->readCount, 0U);
  EXPECT_EQ(gReadInfo[1]->totalCount, 0U);
  EXPECT_EQ(gReadInfo[0]->totalCount, 2U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(Newsgroups, NewGroupIsWrittenAtOnce) {
  AddNewsgroupToPrefs(u"misc.test");
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"numgroups"), 1U);
  EXPECT_EQ(fake.registry.Find(kRegistryPath, u"checked")->data, std::string("\1\0\0\0", 4));
}

TEST_F(Newsgroups, AddingWithOneServerKeepsEveryNumber) {
  SetServers(1);
  SetGroups({u"a", u"b"});
  gPrefs->lastdownloaded = {1, 2};
  gPrefs->lastonserver = {3, 4};
  AddNewsgroupToPrefs(u"c");
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(1U, 2U, 0U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(3U, 4U, 0U));
}

TEST_F(Newsgroups, AddingWithTwoServersMovesTheNumbersOfTheSecond) {
  SetServers(2);
  SetGroups({u"g", u"h"});
  gPrefs->lastdownloaded = {'a', 'b', 'c', 'd'};
  gPrefs->lastonserver = {1, 2, 3, 4};
  AddNewsgroupToPrefs(u"i");
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre('a', 'b', 'c', 'd', 0U, 0U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(1U, 2U, 3U, 4U, 0U, 0U));
  EXPECT_EQ(Progress(*gPrefs, ServerAt(0), GroupAt(2))->downloaded, 'c');
  EXPECT_EQ(Progress(*gPrefs, ServerAt(1), GroupAt(0))->downloaded, 'd');
}

TEST_F(Newsgroups, AddingTheFirstGroupMakesRoomForEveryServer) {
  SetServers(3);
  AddNewsgroupToPrefs(u"a");
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(0U, 0U, 0U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(0U, 0U, 0U));
}

TEST_F(Newsgroups, CountsThatWereNeverMadeStayUnmade) {
  SetGroups({u"a", u"b"});
  gReadInfo.clear();
  AddNewsgroupToPrefs(u"c");
  EXPECT_THAT(CountedGroups(), IsEmpty());
  RemoveNewsgroupFromPrefs(GroupAt(1));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a", u"c"));
}

TEST_F(Newsgroups, AddingOutOfMemoryIsCriticalAndKeepsTheOldGroups) {
  gMainWindow = 0;
  SetServers(1);
  SetGroups({u"first.group.with.a.long.name"});
  gPrefs->lastdownloaded = {7};
  gPrefs->lastonserver = {8};
  const Prefs start = *gPrefs;
  int n = 1;
  for (; n < 50; ++n) {
    fake.display.ForgetBoxes();
    // Without the room that the last attempt has made.
    gPrefs = std::make_unique<Prefs>(start);
    gReadInfo.shrink_to_fit();
    testing::FailNthNew(n);
    AddNewsgroupToPrefs(u"second.group.with.a.long.name");
    testing::FailNthNew(0);
    if (gPrefs->numgroups == 2) break;
    EXPECT_THAT(BoxTexts(),
                ElementsAre(u"A critical error (out of memory) occurred in AddNewsgroupToPrefs."));
    EXPECT_THAT(gPrefs->groups, ElementsAre(u"first.group.with.a.long.name"));
    EXPECT_THAT(gPrefs->checked, ElementsAre(0U));
    EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(7U));
    EXPECT_THAT(CountedGroups(), ElementsAre(u"first.group.with.a.long.name"));
  }
  EXPECT_GT(n, 7);  // the lists, the names, the counts
}

TEST_F(Newsgroups, AddingWithoutMemoryForTheCountsChangesNothing) {
  gMainWindow = 0;
  SetGroups({u"a"});
  testing::FailNthNothrowNew(1);
  AddNewsgroupToPrefs(u"b");
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a"));
  EXPECT_THAT(CountedGroups(), ElementsAre(u"a"));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in NewReadInfoPtr."));
}

// --- Removing ------------------------------------------------------------------------------------

TEST_F(Newsgroups, RemovingTakesEverythingOfTheGroup) {
  SetServers(2);
  SetGroups({u"a", u"b", u"c"});
  gPrefs->checked = {0, 1, 1};
  gPrefs->lastdownloaded = {1, 2, 3, 4, 5, 6};
  gPrefs->lastonserver = {11, 12, 13, 14, 15, 16};
  gReadInfo[2]->totalCount = 9;
  RemoveNewsgroupFromPrefs(GroupAt(1));
  EXPECT_EQ(gPrefs->numgroups, 2U);
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a", u"c"));
  EXPECT_THAT(gPrefs->checked, ElementsAre(0U, 1U));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(1U, 3U, 4U, 6U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(11U, 13U, 14U, 16U));
  EXPECT_THAT(CountedGroups(), ElementsAre(u"a", u"c"));
  EXPECT_EQ(gReadInfo[1]->totalCount, 9U);
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"numgroups"), 2U);
  EXPECT_EQ(fake.registry.Find(kRegistryPath, u"lastdownloaded")->data,
            std::string("\1\0\0\0\3\0\0\0\4\0\0\0\6\0\0\0", 16));
}

TEST_F(Newsgroups, RemovingTheLastGroupLeavesEmptyLists) {
  SetServers(1);
  SetGroups({u"a"});
  gPrefs->lastdownloaded = {1};
  gPrefs->lastonserver = {2};
  RemoveNewsgroupFromPrefs(GroupAt(0));
  EXPECT_EQ(gPrefs->numgroups, 0U);
  EXPECT_THAT(gPrefs->groups, IsEmpty());
  EXPECT_THAT(gPrefs->checked, IsEmpty());
  EXPECT_THAT(gPrefs->lastdownloaded, IsEmpty());
  EXPECT_THAT(gPrefs->lastonserver, IsEmpty());
  EXPECT_THAT(CountedGroups(), IsEmpty());
}

TEST_F(Newsgroups, RemovingClearsTheCurrentGroupAndRefreshesTheList) {
  SetGroups({u"a", u"b"});
  gReading.group = GroupAt(1);
  RemoveNewsgroupFromPrefs(GroupAt(0));
  EXPECT_EQ(gReading.group, std::nullopt);
  EXPECT_THAT(PostedUserMessages(), ElementsAre(kUserRefillGroupList));
}

TEST_F(Newsgroups, RemovingForgetsTheThreadsSinceTheGroupsBehindMoveUp) {
  SetGroups({u"a", u"b"});
  gReading.tree = std::make_unique<ThreadTree>();
  gReading.tree_group = GroupAt(1);
  RemoveNewsgroupFromPrefs(GroupAt(7));
  EXPECT_NE(gReading.tree, nullptr);
  RemoveNewsgroupFromPrefs(GroupAt(0));
  EXPECT_EQ(gReading.tree, nullptr);
  EXPECT_EQ(gReading.tree_group, std::nullopt);
}

TEST_F(Newsgroups, RemovingMovesTheKillfileWithTheGroups) {
  SetGroups({u"a", u"b", u"c"});
  gPrefs->killfilecount = 3;
  gPrefs->killfilegroups = {1, 2, 3};
  gPrefs->killfiletexts = {"x", "y", "z"};
  gPrefs->killfilekills = {1, 1, 0};
  gPrefs->killfileauthors = {0, 0, 1};
  RemoveNewsgroupFromPrefs(GroupAt(1));
  EXPECT_THAT(gPrefs->killfilegroups, ElementsAre(1U, 2U));
  EXPECT_THAT(gPrefs->killfiletexts, ElementsAre("x", "z"));
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"killfilecount"), 2U);
}

TEST_F(Newsgroups, RemovingBeyondTheListDoesNothing) {
  SetGroups({u"a"});
  gReading.group = GroupAt(0);
  RemoveNewsgroupFromPrefs(GroupAt(1));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"a"));
  EXPECT_EQ(gReading.group, GroupAt(0));
  EXPECT_THAT(PostedUserMessages(), IsEmpty());
  EXPECT_FALSE(fake.registry.KeyExists(kRegistryPath));
}

TEST_F(Newsgroups, RemovingOutOfMemoryNamesTheAddingFunctionAndKeepsTheGroups) {
  SetGroups({u"a.group.with.a.long.name", u"b"});
  gPrefs->killfilecount = 1;
  gPrefs->killfilegroups = {2};
  gPrefs->killfiletexts = {"k"};
  gPrefs->killfilekills = gPrefs->killfileauthors = {1};
  gReading.group = GroupAt(0);
  for (int n = 1; n <= 3; ++n) {
    fake.display.ForgetBoxes();
    testing::FailNthNew(n);
    RemoveNewsgroupFromPrefs(GroupAt(1));
    testing::FailNthNew(0);
    EXPECT_THAT(
        BoxTexts(),
        ElementsAre(u"An unexpected error (out of memory) occurred in AddNewsgroupToPrefs."));
    EXPECT_EQ(gPrefs->numgroups, 2U);
    EXPECT_EQ(gPrefs->killfilecount, 1U);
    EXPECT_EQ(gReadInfo.size(), 2U);
    EXPECT_EQ(gReading.group, GroupAt(0));
  }
}

// Going on with the next one would leave a gap that nobody asked for.
TEST_F(Newsgroups, AGroupThatCannotBeRemovedEndsTheCommand) {
  const std::vector<std::u16string> all = {u"a.group.with.a.long.name", u"another.group.with.one",
                                           u"the.last.group.of.the.list"};
  gPrefs->skipverifications = 1;
  int stopped = 0;
  for (int n = 1; n < 300; ++n) {
    while (gPrefs->numgroups != 0) RemoveGroup(*gPrefs, GroupAt(0));
    SetGroups(all);
    for (const auto& info : gReadInfo) *info = {info->groupName, 0, 0};
    SetAllChecked(*gPrefs, true);
    fake.display.ForgetBoxes();
    testing::FailNthNew(n);
    try {
      HandleGroupCommand(kCommandRemoveGroups);
    } catch (const std::bad_alloc&) {
    }
    testing::FailNthNew(0);
    const std::vector<std::u16string>& left = gPrefs->groups;
    ASSERT_TRUE(std::equal(left.rbegin(), left.rend(), all.rbegin())) << n;
    for (const std::u16string& text : BoxTexts()) {
      if (text.ends_with(u"occurred in AddNewsgroupToPrefs.")) ++stopped;
    }
  }
  EXPECT_GE(stopped, 3);
}

// --- Judging names -------------------------------------------------------------------------------

class NewGroupName : public Newsgroups {
 protected:
  std::u16string Judge(std::u16string name) {
    name_ = std::move(name);
    return JudgeNewGroupName(name_);
  }
  std::u16string name_;
};

TEST_F(NewGroupName, IsTrimmed) {
  EXPECT_EQ(Judge(u" \t misc.test\r\n\x00A0"), u"");
  EXPECT_EQ(name_, u"misc.test");
}

TEST_F(NewGroupName, EmptyIsRejected) {
  const std::u16string complaint = u"Please enter the name of the newsgroup that you want to add.";
  EXPECT_EQ(Judge(u""), complaint);
  EXPECT_EQ(Judge(u" \t\r\n"), complaint);
}

TEST_F(NewGroupName, BlanksAreRejected) {
  EXPECT_EQ(Judge(u" misc test "),
            u"\"misc test\" is not the name of a newsgroup, because it contains a blank. Please "
            u"enter the name without blanks, for example \"misc.test\".");
  EXPECT_NE(Judge(u"a\tb"), u"");
  EXPECT_NE(Judge(u"a\r\nb"), u"");
  EXPECT_NE(Judge(u"a\x00A0"
                  u"b"),
            u"");
}

TEST_F(NewGroupName, CommasAreRejected) {
  EXPECT_EQ(Judge(u"a.b,c.d"),
            u"\"a.b,c.d\" contains a comma. Please enter the name of one newsgroup only; you can "
            u"add more of them one after another.");
}

TEST_F(NewGroupName, ControlCharactersAreRejected) {
  const std::u16string complaint =
      u"The name contains a character that cannot be part of a newsgroup's name. Please type the "
      u"name anew.";
  for (const char16_t unit :
       {u'\0', u'\1', u'\b', u'\x0E', u'\x1F', u'\x7F', u'\x80', u'\x9F', u'\xE000'}) {
    EXPECT_EQ(Judge(std::u16string(u"a") + unit + u"b"), complaint) << static_cast<int>(unit);
  }
}

TEST_F(NewGroupName, PresentOnesAreRejected) {
  SetGroups({u"misc.test", u"de.alt.caf\x00E9"});
  EXPECT_EQ(Judge(u" misc.test "), u"The newsgroup \"misc.test\" is already in your list.");
  EXPECT_EQ(Judge(u"Misc.test"), u"");
  EXPECT_EQ(Judge(u"misc.tes"), u"");
  EXPECT_NE(Judge(u"de.alt.caf\x00E9"), u"");
}

TEST_F(NewGroupName, NamesThatTheStoreCouldNotTellApartAreRejected) {
  EXPECT_EQ(Judge(u"fido.\x0416\x0417\x0416"),
            u"Some characters of this text cannot be used here: \x0416 \x0417");
  EXPECT_EQ(Judge(u"fido.\x00C6\x20AC"), u"");
}

}  // namespace
}  // namespace quillet
