// SPDX-License-Identifier: GPL-3.0-or-later
// The preferences on the registry file of a real profile.
#include <sys/resource.h>

#include <csignal>

#include "base/extensions.h"
#include "base/subscriptions.h"
#include "port/linux/linux_registry.h"
#include "tests/base/prefs_test_device.h"
#include "tests/port/linux_test_tools.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PrefsOnLinux : public PrefsTest {
 protected:
  // A new start of the program: a registry opened anew, the record read from it.
  void Start() {
    gPrefs.reset();
    other_.reset();
    registry_ = std::make_unique<port::LinuxRegistry>(file_);
    other_ = std::make_unique<OtherRegistry>(*registry_);
    ReadPreferences();
    ASSERT_TRUE(gPrefs);
  }

  static void SetGroups(std::uint32_t count, const std::u16string& mark) {
    gPrefs->numgroups = count;
    gPrefs->groups.assign(count, mark);
    gPrefs->checked.assign(count, count);
    gPrefs->fullname = mark;
    gPrefs->attribution = mark;
    gPrefs->transport = mark;
    gPrefs->maxarticles = count;
  }
  static void ExpectGroups(std::uint32_t count, const std::u16string& mark) {
    EXPECT_EQ(gPrefs->numgroups, count);
    EXPECT_EQ(gPrefs->groups, std::vector<std::u16string>(count, mark));
    EXPECT_EQ(gPrefs->checked, std::vector<std::uint32_t>(count, count));
    EXPECT_EQ(gPrefs->fullname, mark);
    EXPECT_EQ(gPrefs->attribution, mark);
    EXPECT_EQ(gPrefs->transport, mark);
    EXPECT_EQ(gPrefs->maxarticles, count);
  }

  port::TempFolder folder_;
  std::string file_ = folder_ / "profile/registry.db";
  std::unique_ptr<port::LinuxRegistry> registry_;
  std::unique_ptr<OtherRegistry> other_;
};

TEST_F(PrefsOnLinux, EverySettingSurvivesARestart) {
  Start();
  EXPECT_FALSE(std::filesystem::exists(file_));  // reading makes no file
  SetGroups(3, u"de.alt.caf\x00E9 \x20AC \xD83D\xDE00");
  gPrefs->groups[1] = u"";
  gPrefs->columnWidths = {171, -5};
  gCommandBars[1].found = true;
  gCommandBars[1].bytes.fill('\x7F');
  ASSERT_TRUE(WritePreferences());
  gCommandBars = {};
  Start();
  EXPECT_EQ(gPrefs->groups[0], u"de.alt.caf\x00E9 \x20AC \xD83D\xDE00");
  EXPECT_EQ(gPrefs->groups[1], u"");
  EXPECT_THAT(gPrefs->checked, ElementsAre(3U, 3U, 3U));
  EXPECT_EQ(gPrefs->columnWidths, (std::array<std::int32_t, 2>{171, -5}));
  EXPECT_TRUE(gCommandBars[1].found);
  EXPECT_EQ(gCommandBars[1].bytes[39], '\x7F');
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// What was deleted from a table may still lie in its file.
TEST_F(PrefsOnLinux, PasswordThatHasGoneIntoTheStoreIsNowhereInTheFile) {
  const std::string bytes = Bytes16(u"topsecretpassword");
  const auto in_files = [&] {
    bool found = false;
    for (const auto& entry : std::filesystem::directory_iterator(folder_ / "profile")) {
      found = found || port::ReadAll(entry.path()).find(bytes) != std::string::npos;
    }
    return found;
  };
  Start();
  AddServer(*gPrefs, {u"news.example.org", 119, true, false, u"ann", u"topsecretpassword"});
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_TRUE(in_files());
  Extensions on;
  on.passwordstore = 1;
  ASSERT_TRUE(WriteExtensions({}, on));
  ASSERT_TRUE(WritePreferences());
  Start();
  EXPECT_EQ(gPrefs->authpasses.at(0), u"topsecretpassword");
  gPrefs.reset();
  other_.reset();
  registry_.reset();
  EXPECT_FALSE(in_files());
  EXPECT_EQ(port::ModeOf(file_), 0600U);
}

TEST_F(PrefsOnLinux, FullDiskIsOneBoxAndKeepsTheOldSettings) {
  Start();
  SetGroups(2, u"old");
  ASSERT_TRUE(WritePreferences());
  SetGroups(20000, u"a.new.group.with.a.long.name");
  {
    rlimit before{};
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{200000, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(WritePreferences());
    setrlimit(RLIMIT_FSIZE, &before);
  }
  EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave));
  Start();
  ExpectGroups(2, u"old");
  SetGroups(20000, u"a.new.group.with.a.long.name");
  ASSERT_TRUE(WritePreferences());  // there is room again
  Start();
  ExpectGroups(20000, u"a.new.group.with.a.long.name");
}

TEST_F(PrefsOnLinux, ReadOnlyProfileIsReadAndSaysThatItCannotBeWritten) {
  Start();
  SetGroups(2, u"old");
  ASSERT_TRUE(WritePreferences());
  other_.reset();
  registry_.reset();  // the log is folded into the file
  chmod(folder_.path().c_str(), 0755);
  chmod(file_.c_str(), 0444);
  chmod((folder_ / "profile").c_str(), 0555);
  {
    const port::PlainUser user;
    Start();
    ExpectGroups(2, u"old");
    SetGroups(1, u"new");
    EXPECT_FALSE(WritePreferences());
    const auto key = registry_->Open(kTestKey);
    ASSERT_TRUE(key);
    gPrefs->numservers = 1;
    gPrefs->lastdownloaded = {5};
    EXPECT_FALSE(WriteLastDownloaded(*key, *gPrefs));
  }
  chmod((folder_ / "profile").c_str(), 0755);
  EXPECT_THAT(BoxTexts(), ElementsAre(kCannotSave));
  Start();
  ExpectGroups(2, u"old");
}

TEST_F(PrefsOnLinux, ProfileThatCannotBeMadeIsACriticalReport) {
  port::WriteAll(folder_ / "profile", "a file in place of the folder");
  Start();
  EXPECT_FALSE(WritePreferences());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"A critical error (unable to create registry key) occurred "
                                      u"in WritePreferences."));
}

TEST_F(PrefsOnLinux, KillInTheMiddleLeavesOneWholeRecord) {
  Start();
  SetGroups(1, u"generation 1");
  ASSERT_TRUE(WritePreferences());
  std::uint32_t last = 0;
  for (int round = 0; round < 20; ++round) {
    other_.reset();
    registry_.reset();
    port::Child child([&] {
      Start();
      for (std::uint32_t generation = 1;; ++generation) {
        std::string digits = std::to_string(generation);
        SetGroups(1 + generation % 300,
                  u"generation " + std::u16string(digits.begin(), digits.end()));
        if (!WritePreferences()) _exit(1);
      }
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + 7 * round));
    child.Kill();
    Start();
    const std::u16string mark = gPrefs->fullname;
    ASSERT_TRUE(mark.starts_with(u"generation "));
    ExpectGroups(gPrefs->numgroups, mark);
    last = std::max(last, gPrefs->numgroups);
  }
  EXPECT_GT(last, 1U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(PrefsOnLinux, DamagedSettingsAreCopiedBesideTheKey) {
  Start();
  SetGroups(2, u"g");
  ASSERT_TRUE(WritePreferences());
  registry_->Open(kTestKey)->Set(u"numgroups", RegistryType::kDword, "\xFF\xFF\xFF\xFF");
  Start();
  EXPECT_EQ(gPrefs->numgroups, 2U);
  EXPECT_EQ(BoxTexts().size(), 1U);
  ASSERT_TRUE(WritePreferences());
  const auto copy = registry_->Open(kDamagedKey);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->Get(u"numgroups")->data, "\xFF\xFF\xFF\xFF");
  EXPECT_EQ(Hex(copy->Get(u"groups")->data),
            "670000006700000000"
            "00");
  Start();
  EXPECT_EQ(BoxTexts().size(), 1U);
}

}  // namespace
}  // namespace quillet
