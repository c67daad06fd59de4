// SPDX-License-Identifier: GPL-3.0-or-later
// Passwords of news servers in the registry and in the desktop's password store.
#include "base/stored_passwords.h"

#include <functional>
#include <memory>

#include "base/extensions.h"
#include "base/multi_string.h"
#include "base/subscriptions.h"
#include "tests/base/prefs_test_device.h"

namespace quillet {
namespace {

using port::Secret;
using port::SecretsResult;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

using Passwords = std::vector<std::u16string>;

constexpr std::u16string_view kSilent =
    u"The desktop's password store does not answer. Until Quillet CE is started again, passwords "
    u"that are kept there cannot be used, and others are kept in the preferences.";
constexpr std::u16string_view kLocked =
    u"The desktop's password store stays locked. Until Quillet CE is started again, passwords that "
    u"are kept there cannot be used, and others are kept in the preferences.";

// What survives a process.
struct Disk {
  std::vector<std::pair<std::u16string, port::NamedRegistryValue>> registry;
  std::vector<Secret> secrets;
};

class StoredPasswordsTest : public PrefsTest {
 protected:
  StoredPasswordsTest() { Start(); }

  // A run of the program begins.
  void Start() {
    ResetProgram();
    ReadPreferences();
  }

  void Switch(bool on) { fake.registry.PutDword(kExtensionsPath, u"passwordstore", on ? 1 : 0); }

  void Add(const std::u16string& server, const std::u16string& user,
           const std::u16string& password) {
    AddServer(*gPrefs, {server, 119, true, false, user, password});
  }
  // Two servers whose passwords are in the store.
  void KeepTwo() {
    Switch(true);
    Add(u"news.example.org", u"ann", u"one");
    Add(u"other.example.org", u"bob", u"two");
    ASSERT_TRUE(WritePreferences());
    fake.secrets.calls.clear();
  }

  Passwords InRegistry() {
    const auto key = fake.registry.Open(kTestKey);
    return ReadMultiString(*key, u"authpasses", gPrefs->numservers);
  }
  std::optional<std::uint32_t> NamedSet() {
    return fake.registry.FindDword(kTestKey, u"passwordset");
  }
  Passwords InStore() {
    Passwords passwords;
    for (const Secret& secret : fake.secrets.secrets) passwords.push_back(secret.text);
    return passwords;
  }

  Disk Copy() {
    Disk disk;
    for (const std::u16string& path : fake.registry.Keys()) {
      for (auto& value : fake.registry.Open(path)->Values())
        disk.registry.emplace_back(path, value);
    }
    disk.secrets = fake.secrets.secrets;
    return disk;
  }
  void Restore(const Disk& disk) {
    fake.registry = {};
    for (const auto& [path, value] : disk.registry) {
      fake.registry.Put(path, value.name, value.value.type, value.value.data);
    }
    fake.secrets.secrets = disk.secrets;
    fake.secrets.labels.assign(disk.secrets.size(), u"");
  }

  // Does a change, then looks at what a run finds after a kill before and after each call of the
  // store and at the end: `is_whole` gets what that run reads. Such a run also ends well: its own
  // write loses nothing.
  void KillAnywhere(const std::function<void()>& change, const std::function<void()>& is_whole) {
    std::vector<Disk> moments;
    fake.secrets.on_call = [&](const std::string&) { moments.push_back(Copy()); };
    fake.secrets.on_return = [&] { moments.push_back(Copy()); };
    change();
    moments.push_back(Copy());
    fake.secrets.on_call = {};
    fake.secrets.on_return = {};
    ASSERT_GE(moments.size(), 3U);
    for (std::size_t i = 0; i < moments.size(); ++i) {
      SCOPED_TRACE(i);
      Restore(moments[i]);
      Start();
      is_whole();
      EXPECT_TRUE(WritePreferences());
      Start();
      is_whole();
    }
  }
};

TEST_F(StoredPasswordsTest, WithoutTheExtensionTheyAreInTheRegistryAndNobodyIsAsked) {
  Add(u"news.example.org", u"ann", u"one");
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(WritePreferences());
    EXPECT_EQ(Stored(u"authpasses"), Bytes16(std::u16string_view(u"one\0\0", 5)));
    EXPECT_EQ(NamedSet(), std::nullopt);
    Start();
    EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one"));
    Switch(false);
  }
  EXPECT_THAT(fake.secrets.calls, IsEmpty());
}

TEST_F(StoredPasswordsTest, WithoutPasswordsNobodyIsAsked) {
  Switch(true);
  Add(u"news.example.org", u"ann", u"");
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(fake.secrets.calls, IsEmpty());
  EXPECT_EQ(NamedSet(), std::nullopt);
}

TEST_F(StoredPasswordsTest, StoreKeepsThemAndTheRegistryHasEmptyTexts) {
  Switch(true);
  Add(u"news.example.org", u"ann", u"one");
  Add(u"open.example.org", u"", u"");
  Add(u"other.example.org", u"bob", u"two");
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(Stored(u"authpasses"), Bytes16(std::u16string_view(u"\uE000\0\uE000\0\uE000\0\0", 7)));
  EXPECT_EQ(NamedSet(), 1U);
  ASSERT_THAT(fake.secrets.secrets, SizeIs(2));
  EXPECT_EQ(
      fake.secrets.secrets[0].attributes,
      (port::SecretAttributes{
          {"set", u"1"}, {"server", u"news.example.org"}, {"user", u"ann"}, {"entry", u"0"}}));
  EXPECT_EQ(fake.secrets.secrets[0].text, u"one");
  EXPECT_THAT(fake.secrets.labels, ElementsAre(u"Quillet CE: ann at news.example.org",
                                               u"Quillet CE: bob at other.example.org"));
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"", u"two"));
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"", u"two"));
}

TEST_F(StoredPasswordsTest, WriteThatChangesNoPasswordAsksNobody) {
  KeepTwo();
  gPrefs->maxarticles = 77;
  AddGroup(*gPrefs, u"alt.test");
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.calls, IsEmpty());
  EXPECT_EQ(NamedSet(), 1U);
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u""));
}

TEST_F(StoredPasswordsTest, ChangeMakesANewSetBeforeTheRegistryNamesIt) {
  KeepTwo();
  gPrefs->authpasses[1] = u"three";
  std::vector<std::optional<std::uint32_t>> named;
  fake.secrets.on_call = [&](const std::string&) { named.push_back(NamedSet()); };
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.calls,
              ElementsAre("Clear set=2", "Store entry=0 server=news.example.org set=2 user=ann",
                          "Store entry=0 server=other.example.org set=2 user=bob", "Clear set=1"));
  EXPECT_THAT(named, ElementsAre(1U, 1U, 1U, 2U));
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"one", u"three"));
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"three"));
}

TEST_F(StoredPasswordsTest, SwitchedOffTheyComeBackAndLeaveTheStore) {
  KeepTwo();
  Switch(false);
  std::vector<Passwords> registry;
  std::vector<std::optional<std::uint32_t>> named;
  fake.secrets.on_call = [&](const std::string&) {
    registry.push_back(InRegistry());
    named.push_back(NamedSet());
  };
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.calls, ElementsAre("Clear"));
  // They are in the registry before they leave the store.
  EXPECT_THAT(registry, ElementsAre(ElementsAre(u"one", u"two")));
  EXPECT_THAT(named, ElementsAre(1U));
  EXPECT_EQ(NamedSet(), 0U);
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
  fake.secrets.calls.clear();
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.calls, IsEmpty());
}

TEST_F(StoredPasswordsTest, SwitchedOffBehindTheProgramsBackTheyComeBackToo) {
  KeepTwo();
  Switch(false);
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"one", u"two"));
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
}

TEST_F(StoredPasswordsTest, OnAndOffAndOnAgain) {
  KeepTwo();
  for (const bool on : {false, true, false, true}) {
    Switch(on);
    ASSERT_TRUE(WritePreferences());
    EXPECT_THAT(InStore(), SizeIs(on ? 2 : 0));
    EXPECT_EQ(InRegistry(), on ? Passwords({u"", u""}) : Passwords({u"one", u"two"}));
    EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
  }
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
}

// --- what a server may be ---

TEST_F(StoredPasswordsTest, OneServerWithSeveralUsersAndOneUserTwice) {
  Switch(true);
  Add(u"news.example.org", u"ann", u"one");
  Add(u"news.example.org", u"bob", u"two");
  Add(u"news.example.org", u"ann", u"three");
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two", u"three"));
  RemoveServer(*gPrefs, ServerAt(0));
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"two", u"three"));
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"two", u"three"));
}

TEST_F(StoredPasswordsTest, RenamedServerAndRenamedUserKeepTheirs) {
  KeepTwo();
  gPrefs->servers[0] = u"new.example.org";
  gPrefs->authusers[1] = u"carl";
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
  EXPECT_THAT(fake.secrets.secrets, SizeIs(2));
}

TEST_F(StoredPasswordsTest, ServersInAnotherOrderKeepTheirs) {
  KeepTwo();
  std::swap(gPrefs->servers[0], gPrefs->servers[1]);
  std::swap(gPrefs->authusers[0], gPrefs->authusers[1]);
  std::swap(gPrefs->authpasses[0], gPrefs->authpasses[1]);
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"two", u"one"));
}

TEST_F(StoredPasswordsTest, PasswordIsNotGivenToAnotherServer) {
  KeepTwo();
  const auto put = [this](std::u16string_view name, const Passwords& list) {
    Put(name, RegistryType::kMultiString, CreateMultiString(list));
  };
  put(u"servers", {u"foreign.example.org", u"other.example.org"});
  put(u"authusers", {u"ann", u"someone"});
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"", u""));
}

TEST_F(StoredPasswordsTest, DeletedServersAndEmptiedPasswordsLeaveTheStore) {
  KeepTwo();
  gPrefs->authpasses[0].clear();
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InStore(), ElementsAre(u"two"));
  RemoveServer(*gPrefs, ServerAt(1));
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
  EXPECT_EQ(NamedSet(), 0U);
}

TEST_F(StoredPasswordsTest, ResetToTheFactorySettingsEmptiesTheStore) {
  KeepTwo();
  SetDefaultPrefs(*gPrefs, false);
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
  EXPECT_EQ(NamedSet(), 0U);
}

TEST_F(StoredPasswordsTest, LettersOfEveryKind) {
  const Passwords passwords = {u"p\u00E4ss\u20AC", u"\U0001F511", u" ", u"\uE000x",
                               u"a=b;c\\d\"'%"};
  Switch(true);
  for (const std::u16string& password : passwords) Add(u"n\u00E9ws.example", password, password);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(InRegistry(), Passwords(5));
  Start();
  EXPECT_EQ(gPrefs->authpasses, passwords);
}

TEST_F(StoredPasswordsTest, WhatTheStoreWouldChangeStaysInTheRegistry) {
  const std::u16string half = {u'a', static_cast<char16_t>(0xD800)};
  Switch(true);
  Add(u"news.example.org", u"ann", half);
  Add(u"news.example.org", half, u"two");
  Add(u"news.example.org", u"bob", u"three");
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(WritePreferences());
    EXPECT_THAT(InRegistry(), ElementsAre(half, u"two", u""));
    EXPECT_THAT(InStore(), ElementsAre(u"three"));
    Start();
    EXPECT_THAT(gPrefs->authpasses, ElementsAre(half, u"two", u"three"));
  }
}

// --- a store that does not work ---

TEST_F(StoredPasswordsTest, WithoutAServiceTheyStayAndTheUserIsToldOnce) {
  for (const auto& [result, said] : {std::pair(SecretsResult::kNoService, kSilent),
                                     std::pair(SecretsResult::kRefused, kLocked)}) {
    ResetProgram();
    fake.registry = {};
    Start();
    fake.secrets.calls.clear();
    const std::size_t told = fake.display.boxes().size();
    fake.secrets.result = result;
    Switch(true);
    Add(u"news.example.org", u"ann", u"one");
    Add(u"other.example.org", u"bob", u"two");
    for (int i = 0; i < 3; ++i) {
      gPrefs->authpasses[1] += u"x";
      ASSERT_TRUE(WritePreferences());
    }
    EXPECT_THAT(InRegistry(), ElementsAre(u"one", u"twoxxx"));
    EXPECT_EQ(NamedSet(), std::nullopt);
    ASSERT_THAT(fake.display.boxes(), SizeIs(told + 1));
    EXPECT_EQ(fake.display.boxes()[told].text, said);
    EXPECT_THAT(fake.secrets.calls, SizeIs(1));
  }
}

TEST_F(StoredPasswordsTest, SilentAtTheStartNothingIsLost) {
  KeepTwo();
  fake.secrets.result = SecretsResult::kNoService;
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"", u""));
  EXPECT_EQ(TakePasswordTrouble(), kSilent);
  EXPECT_EQ(TakePasswordTrouble(), u"");
  gPrefs->authpasses[1] = u"typed";
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u"typed"));
  EXPECT_EQ(NamedSet(), 1U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(fake.secrets.calls, ElementsAre("Lookup"));
  // What was typed meanwhile is the newer one.
  fake.secrets.result = SecretsResult::kDone;
  Start();
  EXPECT_EQ(TakePasswordTrouble(), u"");
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"typed"));
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u""));
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"one", u"typed"));
}

TEST_F(StoredPasswordsTest, SilentWhenSwitchedOffTheyComeBackLater) {
  KeepTwo();
  fake.secrets.result = SecretsResult::kNoService;
  Start();
  Switch(false);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(NamedSet(), 1U);
  EXPECT_THAT(fake.secrets.secrets, SizeIs(2));
  fake.secrets.result = SecretsResult::kDone;
  Start();
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"one", u"two"));
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
  EXPECT_EQ(NamedSet(), 0U);
}

TEST_F(StoredPasswordsTest, StoreThatCannotBeEmptiedAfterwardsIsNotWorthABox) {
  KeepTwo();
  Switch(false);
  fake.secrets.result = SecretsResult::kNoService;
  ASSERT_TRUE(WritePreferences());
  EXPECT_THAT(InRegistry(), ElementsAre(u"one", u"two"));
  EXPECT_EQ(NamedSet(), 1U);
  Start();
  // Nothing is missing without it.
  EXPECT_EQ(TakePasswordTrouble(), u"");
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
}

TEST_F(StoredPasswordsTest, StoreIsNotAskedAgainWhenTheRecordIsReadAgain) {
  KeepTwo();
  fake.secrets.result = SecretsResult::kRefused;
  Start();
  ReadPreferences();
  EXPECT_THAT(fake.secrets.calls, ElementsAre("Lookup"));
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(NamedSet(), 1U);
}

TEST_F(StoredPasswordsTest, StoreThatStopsAnsweringAtAnyCallLosesNothing) {
  for (int call = 1; call <= 4; ++call) {
    SCOPED_TRACE(call);
    ResetProgram();
    fake.registry = {};
    fake.secrets.secrets.clear();
    fake.secrets.labels.clear();
    Start();
    KeepTwo();
    gPrefs->authpasses[0] = u"new";
    fake.secrets.fail_in = call;
    ASSERT_TRUE(WritePreferences());
    EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"two"));
    fake.secrets.fail_in = 0;
    for (int i = 0; i < 2; ++i) {
      Start();
      EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"two"));
      ASSERT_TRUE(WritePreferences());
    }
    EXPECT_THAT(InRegistry(), ElementsAre(u"", u""));
    EXPECT_THAT(InStore(), UnorderedElementsAre(u"new", u"two"));
  }
}

TEST_F(StoredPasswordsTest, RegistryThatCannotBeWrittenLeavesTheOldSet) {
  KeepTwo();
  gPrefs->authpasses[0] = u"new";
  fake.registry.FailCommit(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"one", u"two"));
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"two"));
}

TEST_F(StoredPasswordsTest, RegistryThatCannotBeWrittenKeepsThemInTheStoreWhenSwitchedOff) {
  KeepTwo();
  Switch(false);
  fake.registry.FailCommit(1);
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"one", u"two"));
  EXPECT_THAT(fake.secrets.calls, IsEmpty());
}

TEST_F(StoredPasswordsTest, RegistryBroughtBackFromACopyFindsTheSetThatIsThere) {
  KeepTwo();
  const Disk copy = Copy();
  gPrefs->authpasses[0] = u"new";
  ASSERT_TRUE(WritePreferences());
  Disk mixed = copy;
  mixed.secrets = fake.secrets.secrets;
  Restore(mixed);
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"two"));
  gPrefs->authpasses[1] = u"newer";
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"new", u"newer"));
}

TEST_F(StoredPasswordsTest, SecretsWithoutTheirAttributesAreNoPasswords) {
  KeepTwo();
  fake.secrets.secrets.push_back({{{"set", u"1"}}, u"odd"});
  fake.secrets.secrets.push_back({{{"set", u"99999999999999999999x"}}, u"odd"});
  fake.secrets.secrets.push_back({{}, u"odd"});
  fake.secrets.labels.resize(5);
  Start();
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
}

// --- a process that is killed ---

TEST_F(StoredPasswordsTest, KilledWhileTheyGoIntoTheStore) {
  Add(u"news.example.org", u"ann", u"one");
  Add(u"news.example.org", u"ann", u"two");
  ASSERT_TRUE(WritePreferences());
  Switch(true);
  KillAnywhere([] { ASSERT_TRUE(WritePreferences()); },
               [this] {
                 EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two"));
                 EXPECT_EQ(TakePasswordTrouble(), u"");
               });
  EXPECT_THAT(InRegistry(), ElementsAre(u"", u""));
  EXPECT_THAT(InStore(), UnorderedElementsAre(u"one", u"two"));
}

TEST_F(StoredPasswordsTest, KilledWhileTheyComeBack) {
  KeepTwo();
  Switch(false);
  KillAnywhere([] { ASSERT_TRUE(WritePreferences()); },
               [] { EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two")); });
  EXPECT_THAT(fake.secrets.secrets, IsEmpty());
}

TEST_F(StoredPasswordsTest, KilledWhileOneIsChanged) {
  KeepTwo();
  KillAnywhere(
      [] {
        gPrefs->authpasses[1] = u"new";
        ASSERT_TRUE(WritePreferences());
      },
      [] {
        EXPECT_EQ(gPrefs->authpasses[0], u"one");
        EXPECT_TRUE(gPrefs->authpasses[1] == u"two" || gPrefs->authpasses[1] == u"new");
      });
  EXPECT_THAT(fake.secrets.secrets, SizeIs(2));
}

// The one behind it moves to its place, in the store too.
TEST_F(StoredPasswordsTest, KilledWhileTheFirstOfTwoThatAreAlikeIsDeleted) {
  Switch(true);
  Add(u"news.example.org", u"ann", u"one");
  Add(u"news.example.org", u"ann", u"two");
  ASSERT_TRUE(WritePreferences());
  KillAnywhere(
      [] {
        RemoveServer(*gPrefs, ServerAt(0));
        ASSERT_TRUE(WritePreferences());
      },
      [] {
        const Passwords before = {u"one", u"two"};
        const Passwords after = {u"two"};
        EXPECT_EQ(gPrefs->authpasses, gPrefs->numservers == 2 ? before : after);
      });
}

TEST_F(StoredPasswordsTest, KilledWhileAServerIsRenamed) {
  KeepTwo();
  KillAnywhere(
      [] {
        gPrefs->servers[0] = u"new.example.org";
        ASSERT_TRUE(WritePreferences());
      },
      [] { EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"one", u"two")); });
}

}  // namespace
}  // namespace quillet
