// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/subscriptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "base/prefs_writer.h"
#include "tests/base/prefs_test_device.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Longer than what a string holds without memory of its own.
constexpr std::u16string_view kLongName = u"a.group.with.a.long.name";
constexpr std::u16string_view kLongServer = u"news.server.with.a.long.name.example";

NewsServer Server(std::u16string_view name) {
  return {std::u16string(name)};
}

// Two servers, two groups; 1, 2 and 3, 4 downloaded, ten more of each on the server.
Prefs TwoByTwo() {
  Prefs prefs;
  AddServer(prefs, Server(u"s"));
  AddServer(prefs, Server(u"t"));
  AddGroup(prefs, u"g");
  AddGroup(prefs, u"h");
  prefs.lastdownloaded = {1, 2, 3, 4};
  prefs.lastonserver = {11, 12, 13, 14};
  return prefs;
}

void ExpectParallel(const Prefs& prefs) {
  for (const std::size_t size :
       {prefs.servers.size(), prefs.authusers.size(), prefs.authpasses.size(), prefs.port.size(),
        prefs.useauths.size(), prefs.usentlms.size()}) {
    EXPECT_EQ(size, prefs.numservers);
  }
  EXPECT_EQ(prefs.groups.size(), prefs.numgroups);
  EXPECT_EQ(prefs.checked.size(), prefs.numgroups);
  EXPECT_EQ(prefs.lastdownloaded.size(), std::size_t{prefs.numservers} * prefs.numgroups);
  EXPECT_EQ(prefs.lastonserver.size(), std::size_t{prefs.numservers} * prefs.numgroups);
  EXPECT_EQ(prefs.prevnames.size(), prefs.numrecips);
  EXPECT_EQ(prefs.prevemail.size(), prefs.numrecips);
}

// The change fails at each of its allocations in turn, until it goes through; a failed one leaves
// the record as it was. How many there were.
int FailAtEachAllocation(const Prefs& start, const std::function<void(Prefs&)>& change) {
  for (int n = 1; n < 100; ++n) {
    Prefs prefs = start;
    bool failed = false;
    testing::FailNthNew(n);
    try {
      change(prefs);
    } catch (const std::bad_alloc&) {
      failed = true;
    }
    testing::FailNthNew(0);
    ExpectParallel(prefs);
    if (!failed) return n - 1;
    EXPECT_EQ(prefs.servers, start.servers);
    EXPECT_EQ(prefs.authusers, start.authusers);
    EXPECT_EQ(prefs.groups, start.groups);
    EXPECT_EQ(prefs.checked, start.checked);
    EXPECT_EQ(prefs.lastdownloaded, start.lastdownloaded);
    EXPECT_EQ(prefs.lastonserver, start.lastonserver);
    EXPECT_EQ(prefs.prevnames, start.prevnames);
    EXPECT_EQ(prefs.prevemail, start.prevemail);
  }
  ADD_FAILURE() << "the change never goes through";
  return 0;
}

// --- Servers -------------------------------------------------------------------------------------

TEST(Servers, NewOneStandsLastWithItsLoginAndNothingFetched) {
  Prefs prefs = TwoByTwo();
  AddServer(prefs, {u"u", 1119, true, true, u"me", u"secret"});
  EXPECT_THAT(prefs.servers, ElementsAre(u"s", u"t", u"u"));
  EXPECT_THAT(prefs.port, ElementsAre(119U, 119U, 1119U));
  EXPECT_THAT(prefs.useauths, ElementsAre(0U, 0U, 1U));
  EXPECT_THAT(prefs.usentlms, ElementsAre(0U, 0U, 1U));
  EXPECT_THAT(prefs.authusers, ElementsAre(u"", u"", u"me"));
  EXPECT_THAT(prefs.authpasses, ElementsAre(u"", u"", u"secret"));
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(1U, 2U, 3U, 4U, 0U, 0U));
  EXPECT_THAT(prefs.lastonserver, ElementsAre(11U, 12U, 13U, 14U, 0U, 0U));
  ExpectParallel(prefs);
}

TEST(Servers, RemovedOneTakesItsNumbersAlong) {
  Prefs prefs = TwoByTwo();
  RemoveServer(prefs, ServerAt(0));
  EXPECT_THAT(prefs.servers, ElementsAre(u"t"));
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(3U, 4U));
  EXPECT_THAT(prefs.lastonserver, ElementsAre(13U, 14U));
  RemoveServer(prefs, ServerAt(1));
  ExpectParallel(prefs);
  EXPECT_EQ(prefs.numservers, 1U);
  RemoveServer(prefs, ServerAt(0));
  ExpectParallel(prefs);
  EXPECT_EQ(prefs.numservers, 0U);
}

TEST(Servers, SelectedOneStaysSelectedUntilItIsRemoved) {
  Prefs prefs = TwoByTwo();
  AddServer(prefs, Server(u"u"));
  prefs.selectedserver = 1;
  RemoveServer(prefs, ServerAt(2));
  EXPECT_EQ(prefs.selectedserver, 1U);
  RemoveServer(prefs, ServerAt(0));
  EXPECT_EQ(prefs.selectedserver, 0U);
  AddServer(prefs, Server(u"v"));
  prefs.selectedserver = 1;
  RemoveServer(prefs, ServerAt(1));
  EXPECT_EQ(prefs.selectedserver, 0U);
}

TEST(Servers, BehindTheSelectedOneThatGoesTheNextIsSelected) {
  Prefs prefs = TwoByTwo();
  AddServer(prefs, Server(u"u"));
  prefs.selectedserver = 1;
  RemoveServer(prefs, ServerAt(1));
  EXPECT_EQ(prefs.selectedserver, 1U);
  EXPECT_EQ(prefs.servers[1], u"u");
}

TEST(Servers, RemovingAllKeepsTheGroups) {
  Prefs prefs = TwoByTwo();
  RemoveAllServers(prefs);
  EXPECT_EQ(prefs.numservers, 0U);
  EXPECT_THAT(prefs.groups, ElementsAre(u"g", u"h"));
  ExpectParallel(prefs);
}

TEST(Servers, LoginsAreAsManyAsServers) {
  Prefs prefs = TwoByTwo();
  SetLogins(prefs, {{u"a"}, {u"b", u"c", u"d"}, {1, 1, 1}, {}});
  EXPECT_THAT(prefs.authusers, ElementsAre(u"a", u""));
  EXPECT_THAT(prefs.authpasses, ElementsAre(u"b", u"c"));
  EXPECT_THAT(prefs.useauths, ElementsAre(1U, 1U));
  EXPECT_THAT(prefs.usentlms, ElementsAre(0U, 0U));
}

TEST(Servers, AddingOneWithoutMemoryChangesNothing) {
  EXPECT_GT(FailAtEachAllocation(TwoByTwo(), [](Prefs& prefs) { AddServer(prefs, Server(u"u")); }),
            7);  // the lists
}

// --- Groups --------------------------------------------------------------------------------------

TEST(Groups, NewOneStandsLastAndIsChecked) {
  Prefs prefs;
  AddServer(prefs, Server(kLongServer));
  AddGroup(prefs, u"g");
  SetChecked(prefs, GroupAt(0), false);
  prefs.lastdownloaded = {7};
  AddGroup(prefs, u"h");
  EXPECT_THAT(prefs.groups, ElementsAre(u"g", u"h"));
  EXPECT_THAT(prefs.checked, ElementsAre(0U, 1U));
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(7U, 0U));
  ExpectParallel(prefs);
}

TEST(Groups, NewOneMovesTheNumbersOfTheSecondServer) {
  Prefs prefs = TwoByTwo();
  AddGroup(prefs, u"i");
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(1U, 2U, 3U, 4U, 0U, 0U));
  EXPECT_THAT(prefs.lastonserver, ElementsAre(11U, 12U, 13U, 14U, 0U, 0U));
  ExpectParallel(prefs);
}

TEST(Groups, RemovedOneTakesItsNumbersOfEveryServerAlong) {
  Prefs prefs = TwoByTwo();
  prefs.checked = {0, 1};
  RemoveGroup(prefs, GroupAt(0));
  EXPECT_THAT(prefs.groups, ElementsAre(u"h"));
  EXPECT_THAT(prefs.checked, ElementsAre(1U));
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(2U, 4U));
  EXPECT_THAT(prefs.lastonserver, ElementsAre(12U, 14U));
  RemoveGroup(prefs, GroupAt(1));
  EXPECT_EQ(prefs.numgroups, 1U);
  RemoveGroup(prefs, GroupAt(0));
  EXPECT_EQ(prefs.numgroups, 0U);
  ExpectParallel(prefs);
}

TEST(Groups, AddingOneWithoutMemoryChangesNothing) {
  EXPECT_GT(FailAtEachAllocation(TwoByTwo(), [](Prefs& prefs) { AddGroup(prefs, kLongName); }),
            4);  // the name and the lists
}

TEST(Groups, RemovingOneWithoutMemoryChangesNothing) {
  EXPECT_GT(FailAtEachAllocation(TwoByTwo(), [](Prefs& prefs) { RemoveGroup(prefs, GroupAt(1)); }),
            3);  // the lists
}

TEST(Groups, ProgressIsThatOfTheServerAndTheGroup) {
  Prefs prefs = TwoByTwo();
  const auto progress = Progress(prefs, ServerAt(1), GroupAt(0));
  ASSERT_TRUE(progress);
  EXPECT_EQ(progress->downloaded, 3U);
  EXPECT_EQ(progress->on_server, 13U);
  progress->downloaded = 13;
  EXPECT_THAT(prefs.lastdownloaded, ElementsAre(1U, 2U, 13U, 4U));
  EXPECT_FALSE(Progress(prefs, ServerAt(2), GroupAt(0)));
  EXPECT_FALSE(Progress(prefs, ServerAt(0), GroupAt(2))) << "that is the next server's number";
}

TEST(Groups, NumbersCountOfTheSelectedServerOrOfTheFirstForAll) {
  Prefs prefs = TwoByTwo();
  prefs.selectedserver = 1;
  EXPECT_EQ(CountingServer(prefs), ServerAt(1));
  prefs.allserversareone = 1;
  EXPECT_EQ(CountingServer(prefs), ServerAt(0));
}

// --- Check marks ---------------------------------------------------------------------------------

TEST(CheckMarks, AreGivenAndTakenOneByOneOrTogether) {
  Prefs prefs = TwoByTwo();
  SetChecked(prefs, GroupAt(0), false);
  EXPECT_THAT(prefs.checked, ElementsAre(0U, 1U));
  EXPECT_THAT(CheckedGroups(prefs), ElementsAre(GroupAt(1)));
  SetChecked(prefs, GroupAt(2), true);  // there is none
  SetAllChecked(prefs, false);
  EXPECT_THAT(CheckedGroups(prefs), IsEmpty());
  SetAllChecked(prefs, true);
  EXPECT_THAT(prefs.checked, ElementsAre(1U, 1U));
  EXPECT_THAT(CheckedGroups(prefs), ElementsAre(GroupAt(0), GroupAt(1)));
}

TEST(CheckMarks, AreWhateverIsStoredButZero) {
  Prefs prefs = TwoByTwo();
  prefs.checked = {7, 0};
  EXPECT_TRUE(IsChecked(prefs, GroupAt(0)));
  EXPECT_FALSE(IsChecked(prefs, GroupAt(1)));
  EXPECT_FALSE(IsChecked(prefs, GroupAt(2)));
  EXPECT_THAT(CheckedGroups(prefs), ElementsAre(GroupAt(0)));
}

// --- Recipients ----------------------------------------------------------------------------------

Prefs WithRecipients(std::initializer_list<std::u16string_view> recipients) {
  Prefs prefs;
  for (const std::u16string_view text : recipients) RememberRecipient(prefs, text);
  return prefs;
}

TEST(Recipients, AreRememberedAsNameAndAddressTheLastOneLast) {
  const Prefs prefs = WithRecipients({u"a@x", u"b@x"});
  EXPECT_EQ(prefs.numrecips, 2U);
  EXPECT_THAT(prefs.prevemail, ElementsAre(u"a@x", u"b@x"));
  EXPECT_THAT(prefs.prevnames, ElementsAre(u"a@x", u"b@x"));
}

TEST(Recipients, TheSixthDropsTheOldest) {
  const Prefs prefs = WithRecipients({u"a", u"b", u"c", u"d", u"e", u"f"});
  EXPECT_THAT(prefs.prevemail, ElementsAre(u"b", u"c", u"d", u"e", u"f"));
  EXPECT_THAT(prefs.prevnames, ElementsAre(u"b", u"c", u"d", u"e", u"f"));
  EXPECT_EQ(prefs.numrecips, 5U);
}

TEST(Recipients, UsedAgainMoveToTheEndWithTheirName) {
  Prefs prefs = WithRecipients({u"a", u"b", u"c"});
  prefs.prevnames = {u"Ada", u"Bob", u"Cyd"};
  RememberRecipient(prefs, u"a");
  EXPECT_THAT(prefs.prevemail, ElementsAre(u"b", u"c", u"a"));
  EXPECT_THAT(prefs.prevnames, ElementsAre(u"Bob", u"Cyd", u"Ada"));
  EXPECT_EQ(prefs.numrecips, 3U);
}

TEST(Recipients, DifferInUpperAndLowerCase) {
  EXPECT_THAT(WithRecipients({u"a@x", u"A@x"}).prevemail, ElementsAre(u"a@x", u"A@x"));
}

TEST(Recipients, MoreThanAreRememberedNowAreCutToTheLatest) {
  Prefs prefs;
  prefs.numrecips = 7;
  prefs.prevemail = {u"1", u"2", u"3", u"4", u"5", u"6", u"7"};
  prefs.prevnames = prefs.prevemail;
  RememberRecipient(prefs, u"8");
  EXPECT_THAT(prefs.prevemail, ElementsAre(u"4", u"5", u"6", u"7", u"8"));
  ExpectParallel(prefs);
}

TEST(Recipients, NewOnesWithoutMemoryChangeNothing) {
  EXPECT_GT(FailAtEachAllocation(WithRecipients({u"a"}),
                                 [](Prefs& prefs) { RememberRecipient(prefs, kLongServer); }),
            3);  // name, address and the lists
}

// --- Storing -------------------------------------------------------------------------------------

class StoredSubscriptions : public PrefsTest {};

TEST_F(StoredSubscriptions, ReplaceNothingElse) {
  gPrefs = NewPrefs();
  gPrefs->signature = u"mine";
  gPrefs->maxarticles = 77;
  ASSERT_TRUE(WritePreferences());
  const auto key = fake.registry.Create(kTestKey);
  ASSERT_EQ(WriteSubscriptions(*key, TwoByTwo()), WriteResult::kDone);
  ReadPreferences();
  EXPECT_EQ(gPrefs->signature, u"mine");
  EXPECT_EQ(gPrefs->maxarticles, 77U);
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"s", u"t"));
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 119U));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"g", u"h"));
  EXPECT_THAT(gPrefs->checked, ElementsAre(1U, 1U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(11U, 12U, 13U, 14U));
}

TEST_F(StoredSubscriptions, AreAllThatIsWritten) {
  const auto key = fake.registry.Create(kTestKey);
  ASSERT_EQ(WriteSubscriptions(*key, TwoByTwo()), WriteResult::kDone);
  std::vector<std::u16string> names;
  for (const port::NamedRegistryValue& value : key->Values()) names.push_back(value.name);
  EXPECT_THAT(names, ::testing::UnorderedElementsAre(
                         u"version", u"servers", u"authusers", u"authpasses", u"port", u"useauths",
                         u"usentlms", u"groups", u"checked", u"lastdownloaded", u"lastonserver",
                         u"numservers", u"selectedserver", u"numgroups", u"killfilecount",
                         u"killfilesize", u"killfiletexts"));
}

}  // namespace
}  // namespace quillet
