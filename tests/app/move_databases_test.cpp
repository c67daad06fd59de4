// SPDX-License-Identifier: GPL-3.0-or-later
// Moving the databases to a card and back, with each step failing in turn.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/messages.h"
#include "base/prefs.h"
#include "port/linux/file_descriptor.h"
#include "store/chains.h"
#include "store/database_files.h"
#include "store/databases.h"
#include "store/records.h"
#include "tests/app/program_fixture.h"

namespace {

// Counts down at each file of a card that is synced; the one at which it gets to 0 fails.
std::atomic<int> gFailSyncIn = 0;

bool IsFileOfCard(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) return false;
  std::error_code error;
  const std::filesystem::path link = "/proc/self/fd/" + std::to_string(file);
  return std::filesystem::read_symlink(link, error).string().find("/cards/") != std::string::npos;
}

}  // namespace

// In place of the system's: a disk that loses what was written says so here.
extern "C" int fsync(int file) {
  if (gFailSyncIn > 0 && IsFileOfCard(file) && --gFailSyncIn == 0) {
    errno = EIO;
    return -1;
  }
  return static_cast<int>(syscall(SYS_fsync, file));
}

namespace quillet {
namespace {

using port::FileCall;

constexpr std::u16string_view kNotMoved =
    u"The databases could not be moved. They stay where they are.";
constexpr std::u16string_view kHome = u"\\Quillet CE News";
constexpr std::u16string_view kCard = u"\\Card\\Quillet CE News";
constexpr std::u16string_view kOnCard = u"Card";

class Moving : public Program {
 protected:
  Moving() { fake_.files.AddCard(u"Card"); }
  ~Moving() override { gFailSyncIn = 0; }

  void MoveTo(std::u16string_view store) {
    Apply([store](Prefs& prefs) { prefs.databasestore = store; });
  }
  void AddArticle(const std::string& id) {
    OnProgramThread([id] {
      AsciiArticle article;
      article.messageId = id;
      EXPECT_TRUE(StoreArticle(article));
    });
  }
  bool HasArticle(const std::string& id) {
    bool found = false;
    OnProgramThread([&] { found = ArticleExists(id); });
    return found;
  }
  static std::u16string In(std::u16string_view folder, std::u16string_view name) {
    return std::u16string(folder) + u"\\" + std::u16string(name);
  }
  // The names in the folder, sorted.
  std::vector<std::string> Names(std::u16string_view folder) {
    std::vector<std::string> names;
    std::error_code error;
    const std::string native = fake_.files.NativePath(folder);
    for (const auto& entry : std::filesystem::directory_iterator(native, error)) {
      names.push_back(entry.path().filename());
    }
    std::ranges::sort(names);
    return names;
  }
  // An article of another store, which lies in the folder on the card.
  void PutOtherStoreOnCard() {
    MoveTo(kOnCard);
    AddArticle("<other@card>");
    OnProgramThread([] { CloseDatabases(); });
    const std::string card = fake_.files.NativePath(kCard);
    const std::string kept = card + " kept";
    std::filesystem::copy(card, kept);
    OnProgramThread([] { EXPECT_TRUE(ReopenDatabases()); });
    MoveTo(u"");
    OnProgramThread([] { EXPECT_TRUE(DeleteDatabases(true) && ReopenDatabases()); });
    for (const auto& file : std::filesystem::directory_iterator(kept)) {
      std::filesystem::rename(file, card / file.path().filename());
    }
    std::filesystem::remove(kept);
    fake_.display.ForgetBoxes();
  }

  // The bytes of every file in the folder, by its name.
  std::map<std::string, std::string> Contents(std::u16string_view folder) {
    std::map<std::string, std::string> contents;
    for (const std::u16string& name : fake_.files.FileNames(folder)) {
      contents[ToUtf8(name)] = fake_.files.ReadFile(In(folder, name), 1 << 24).value_or("?");
    }
    return contents;
  }

  // Everything is where it was: in the record, in the registry, in the folders, and open.
  void ExpectStayed() {
    ASSERT_FALSE(fake_.display.boxes().empty());
    EXPECT_EQ(fake_.display.boxes().back().text, kNotMoved);
    ExpectInMainMemory();
  }
  void ExpectInMainMemory() {
    OnProgramThread([] {
      EXPECT_EQ(gPrefs->databasestore, u"");
      EXPECT_EQ(gPrefs->databasefolder, kHome);
      EXPECT_EQ(gDatabaseFolder, kHome);
    });
    EXPECT_EQ(Bytes(u"databasestore"), std::string(2, '\0'));
    EXPECT_TRUE(HasArticle("<1@a>"));
    AddArticle("<2@a>");
    EXPECT_TRUE(HasArticle("<2@a>"));
    EXPECT_NE(gMainWindow, 0U);
  }
  void ExpectNothingOnCard() { EXPECT_EQ(Names(kCard), std::vector<std::string>()); }
};

// --- What works ----------------------------------------------------------------------------------

TEST_F(Moving, DatabasesFollowTheirPlace) {
  StartAndWait();
  AddArticle("<1@a>");
  MoveTo(kOnCard);
  const std::vector<std::string> databases = {"Quillet articles.gdb", "Quillet newsgroups.gdb",
                                              "Quillet pending posts.gdb"};
  EXPECT_TRUE(std::ranges::includes(Names(kCard), databases));
  EXPECT_EQ(Names(kHome), std::vector<std::string>());
  EXPECT_TRUE(HasArticle("<1@a>"));
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
  EXPECT_EQ(Bytes(u"databasestore"), std::string("C\0a\0r\0d\0\0\0", 10));
}

TEST_F(Moving, WhatLiesBesideTheDatabasesGoesAlong) {
  StartAndWait();
  AddArticle("<1@a>");
  OnProgramThread([this] {
    AddArticleToGroup(u"alt.test", "<1@a>");  // one on no chain would not survive the mark
    CloseDatabases();
    for (const FolderFile& file : kFolderFiles) {
      if (!file.always_there) fake_.files.WriteFile(In(kHome, file.name), "beside");
    }
  });
  const int copies = fake_.files.calls(FileCall::kCopy);
  MoveTo(kOnCard);
  EXPECT_EQ(fake_.files.calls(FileCall::kCopy) - copies, static_cast<int>(kFolderFiles.size()));
  EXPECT_EQ(Names(kHome), std::vector<std::string>());
  EXPECT_TRUE(HasArticle("<1@a>"));
  End();
}

TEST_F(Moving, OnNoTheOldFolderStaysInUseAndThePreferenceGoesBack) {
  StartAndWait();
  PutOtherStoreOnCard();
  AddArticle("<1@a>");
  const auto before = Contents(kCard);
  const int copies = fake_.files.calls(FileCall::kCopy);
  fake_.display.Expect(u"Databases already exist in new location.  Replace with old databases?",
                       port::kIdNo);
  MoveTo(kOnCard);
  ExpectInMainMemory();
  EXPECT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.files.calls(FileCall::kCopy), copies);
  EXPECT_FALSE(HasArticle("<other@card>"));
  EXPECT_EQ(Contents(kCard), before);
  End();
}

TEST_F(Moving, DatabasesFoundThereAreReplacedOnYes) {
  StartAndWait();
  PutOtherStoreOnCard();
  const std::vector<std::string> before = Names(kCard);
  AddArticle("<1@a>");
  fake_.display.Expect(u"Databases already exist in new location.", port::kIdYes);
  MoveTo(kOnCard);
  EXPECT_TRUE(HasArticle("<1@a>"));
  EXPECT_FALSE(HasArticle("<other@card>"));
  EXPECT_EQ(Names(kHome), std::vector<std::string>());
  End();
  EXPECT_EQ(Names(kCard), before);
}

// Until the databases lie in the new place the registry names the old one: a kill finds them.
TEST_F(Moving, TheNewPlaceIsStoredBeforeTheOldFilesGo) {
  StartAndWait();
  AddArticle("<1@a>");
  std::string while_copying;
  std::string while_deleting;
  fake_.files.BeforeNth(FileCall::kCopy, 1, [&] {
    while_copying = Bytes(u"databasestore");
    fake_.files.BeforeNth(FileCall::kDelete, 1, [&] {
      const bool all = fake_.files.FileSize(In(kHome, u"Quillet articles.gdb")).has_value();
      EXPECT_TRUE(all);
      while_deleting = Bytes(u"databasestore");
    });
  });
  MoveTo(kOnCard);
  EXPECT_EQ(while_copying, std::string(2, '\0'));
  EXPECT_EQ(while_deleting, std::string("C\0a\0r\0d\0\0\0", 10));
  End();
}

// --- What fails ----------------------------------------------------------------------------------

class MovingFails : public Moving, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(AtEach, MovingFails, testing::Values(1, 2, 3));

TEST_P(MovingFails, Copy) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.files.FailNth(FileCall::kCopy, GetParam());
  MoveTo(kOnCard);
  ExpectStayed();
  ExpectNothingOnCard();
  End();
}

TEST_P(MovingFails, Sync) {
  StartAndWait();
  AddArticle("<1@a>");
  gFailSyncIn = GetParam();
  MoveTo(kOnCard);
  EXPECT_EQ(gFailSyncIn, 0);
  ExpectStayed();
  ExpectNothingOnCard();
  End();
}

TEST_P(MovingFails, TakingItsPlace) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.files.FailNth(FileCall::kRename, GetParam());
  MoveTo(kOnCard);
  ExpectStayed();
  ExpectNothingOnCard();
  End();
}

// At every step what was found in the new place is as it was.
TEST_P(MovingFails, OverOtherDatabases) {
  using Step = std::pair<FileCall, int>;
  for (const auto& [step, nth] :
       {Step{FileCall::kCopy, GetParam()}, Step{FileCall::kRename, GetParam()},
        Step{FileCall::kRename, 3 + GetParam()}}) {
    StartAndWait();
    PutOtherStoreOnCard();
    AddArticle("<1@a>");
    const auto before = Contents(kCard);
    fake_.display.Expect(u"Databases already exist in new location.", port::kIdYes);
    fake_.files.FailNth(step, nth);
    MoveTo(kOnCard);
    ExpectStayed();
    EXPECT_EQ(Contents(kCard), before);
    End();
    std::filesystem::remove_all(fake_.files.NativePath(kCard));
    fake_.registry.Erase(kRegistryPath, u"databasestore");
    fake_.display.ForgetBoxes();
  }
}

TEST_F(Moving, AFolderThatCannotBeMadeIsTold) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.files.FailNth(FileCall::kCreateFolder, 1);
  MoveTo(kOnCard);
  ExpectStayed();
  EXPECT_FALSE(fake_.files.FolderExists(kCard));
  End();
}

TEST_F(Moving, ACardThatHasGoneIsTold) {
  StartAndWait();
  AddArticle("<1@a>");
  MoveTo(u"No such\\card");
  ExpectStayed();
  End();
}

// Another program holds a copy before it is opened.
TEST_F(Moving, DatabasesThatCannotBeOpenedThereGoBack) {
  StartAndWait();
  AddArticle("<1@a>");
  port::FileDescriptor held;
  fake_.files.BeforeNth(FileCall::kRename, 1, [&] {
    const std::string copy = fake_.files.NativePath(In(kCard, u"Quillet pending posts.gdb.moved"));
    held = port::FileDescriptor(open(copy.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(flock(held.get(), LOCK_EX | LOCK_NB), 0);
  });
  MoveTo(kOnCard);
  EXPECT_TRUE(held.valid());
  ExpectStayed();
  ExpectNothingOnCard();
  End();
}

// As at a start without the card.
TEST_F(Moving, BetweenCardsMainMemoryTakesThePlaceOfOneThatHasGone) {
  StartAndWait();
  MoveTo(kOnCard);
  AddArticle("<card@a>");
  MoveTo(u"No such\\card");
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"There is no folder for the databases in the new location, and none could be made. "
            u"Quillet CE uses the databases in main memory now. Those on \"Card\" stay there.");
  EXPECT_FALSE(HasArticle("<card@a>"));
  AddArticle("<1@a>");
  ExpectInMainMemory();
  EXPECT_TRUE(fake_.files.FileSize(In(kCard, u"Quillet articles.gdb")));
  End();
}

TEST_F(Moving, WithoutMainMemoryEitherTheOldCardStaysInUse) {
  StartAndWait();
  MoveTo(kOnCard);
  AddArticle("<card@a>");
  const std::string home = fake_.files.NativePath(kHome);
  std::filesystem::remove_all(home);
  std::filesystem::create_symlink("nowhere", home);
  MoveTo(u"No such\\card");
  std::filesystem::remove(home);
  EXPECT_EQ(fake_.display.boxes().back().text, kNotMoved);
  EXPECT_TRUE(HasArticle("<card@a>"));
  OnProgramThread([] { EXPECT_EQ(gDatabaseFolder, kCard); });
  End();
  EXPECT_EQ(Bytes(u"databasestore"), std::string("C\0a\0r\0d\0\0\0", 10));
}

// Pulled out before the nth file is copied, and when the copies take their places.
TEST_P(MovingFails, ACardThatIsPulledOutInTheMiddle) {
  for (const FileCall step : {FileCall::kCopy, FileCall::kRename}) {
    StartAndWait();
    AddArticle("<1@a>");
    fake_.files.BeforeNth(step, GetParam(), [&] { fake_.files.RemoveCard(u"Card"); });
    MoveTo(kOnCard);
    ExpectStayed();
    fake_.files.before_call = nullptr;
    End();
    fake_.files.AddCard(u"Card");
    std::filesystem::remove_all(fake_.files.NativePath(kCard));
    fake_.display.ForgetBoxes();
  }
}

// On the way back the card holds what is moved.
TEST_P(MovingFails, ACardThatIsPulledOutOnTheWayBackKeepsItsDatabases) {
  StartAndWait();
  MoveTo(kOnCard);
  AddArticle("<card@a>");
  fake_.files.BeforeNth(FileCall::kCopy, GetParam(), [&] { fake_.files.RemoveCard(u"Card"); });
  fake_.queues.PostCall(id_, [] {
    auto edited = CopyPrefs(*gPrefs);
    edited->databasestore.clear();
    ApplyPrefsChanges(std::move(edited));
  });
  Join();
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"A critical error (unable to re-open databases) occurred in ApplyPrefsChanges.");
  fake_.files.before_call = nullptr;
  EXPECT_EQ(Names(kHome), std::vector<std::string>());
  fake_.files.AddCard(u"Card");
  fake_.display.ForgetBoxes();
  StartAndWait();
  EXPECT_TRUE(HasArticle("<card@a>"));
  End();
}

// A place that is not stored would be lost with the next start.
TEST_F(Moving, APlaceThatCannotBeStoredIsNotTaken) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.registry.FailBegin(2);
  MoveTo(kOnCard);
  ExpectStayed();
  ExpectNothingOnCard();
  End();
}

// The report closes the window, and the program ends.
TEST_F(Moving, ACriticalErrorOnTheWayEndsTheProgramWithEverythingInPlace) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.registry.FailCreate(2);
  fake_.queues.PostCall(id_, [] {
    auto edited = CopyPrefs(*gPrefs);
    edited->databasestore = kOnCard;
    ApplyPrefsChanges(std::move(edited));
    EXPECT_EQ(gMainWindow, 0U);
    EXPECT_FALSE(DatabasesOpen());
    EXPECT_EQ(gPrefs->databasestore, u"");
  });
  Join();
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"A critical error (unable to create registry key) occurred in WritePreferences.");
  EXPECT_EQ(Bytes(u"databasestore"), std::string(2, '\0'));
  ExpectNothingOnCard();
  EXPECT_TRUE(fake_.files.FileSize(In(kHome, u"Quillet articles.gdb")));
}

// Neither here nor there.
TEST_F(Moving, DatabasesThatCannotBeOpenedAnywhereAreACriticalError) {
  StartAndWait();
  AddArticle("<1@a>");
  fake_.files.FailNth(FileCall::kCopy, 3);
  port::FileDescriptor held;
  fake_.files.BeforeNth(FileCall::kCopy, 3, [&] {
    const std::string path = fake_.files.NativePath(In(kHome, u"Quillet articles.gdb"));
    held = port::FileDescriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(flock(held.get(), LOCK_EX | LOCK_NB), 0);
  });
  fake_.queues.PostCall(id_, [] {
    auto edited = CopyPrefs(*gPrefs);
    edited->databasestore = kOnCard;
    ApplyPrefsChanges(std::move(edited));
  });
  Join();
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"A critical error (unable to re-open databases) occurred in ApplyPrefsChanges.");
  EXPECT_TRUE(fake_.files.FileSize(In(kHome, u"Quillet articles.gdb")));
}

// Both names lead to one folder: removing the old files would remove the new ones.
TEST_F(Moving, OneFolderUnderTwoNamesLosesNothing) {
  fake_.files.CreateFolder(kCard);
  std::filesystem::remove(fake_.files.NativePath(kCard));
  fake_.files.CreateFolder(kHome);
  std::filesystem::create_directory_symlink(fake_.files.NativePath(kHome),
                                            fake_.files.NativePath(kCard));
  StartAndWait();
  AddArticle("<1@a>");
  fake_.display.Expect(u"Databases already exist in new location.", port::kIdYes);
  MoveTo(kOnCard);
  ExpectStayed();
  End();
}

}  // namespace
}  // namespace quillet
