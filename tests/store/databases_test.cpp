// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/databases.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "store/gdbm_library.h"
#include "store/pending_posts.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::StartsWith;

constexpr auto kNames = {"gdbm_open",   "gdbm_close",    "gdbm_store",   "gdbm_fetch",
                         "gdbm_delete", "gdbm_firstkey", "gdbm_nextkey", "gdbm_reorganize",
                         "gdbm_sync",   "gdbm_exists",   "gdbm_setopt",  "gdbm_errno",
                         "gdbm_version"};

class BindingTest : public StoreTest {
 protected:
  BindingTest() : bound(gGdbm) { gGdbm = {}; }
  ~BindingTest() override {
    CloseDatabases();
    gGdbm = bound;
  }
  GdbmLibrary bound;
};

TEST_F(BindingTest, ALibraryThatLacksAnyOneNameIsRefused) {
  for (const char* name : kNames) {
    fake.libraries.show_all();
    fake.libraries.hide(name);
    EXPECT_FALSE(LoadDatabaseLibrary()) << name;
    EXPECT_EQ(gGdbm.handle, nullptr) << name;
    EXPECT_EQ(fake.libraries.loaded(), 0) << name;
  }
}

TEST_F(BindingTest, NoLibraryIsRefused) {
  fake.libraries.hide_library(u"gdbmce.dll");
  EXPECT_FALSE(LoadDatabaseLibrary());
  EXPECT_EQ(DatabaseLibraryVersion(), u"");
  EXPECT_FALSE(OpenGDBMDatabases());
}

TEST_F(BindingTest, ABoundLibraryStaysBound) {
  EXPECT_TRUE(LoadDatabaseLibrary());
  fake.libraries.hide_library(u"gdbmce.dll");
  EXPECT_TRUE(LoadDatabaseLibrary());
  EXPECT_EQ(fake.libraries.loaded(), 1);
  EXPECT_THAT(Narrow(DatabaseLibraryVersion()), HasSubstr("GDBM"));
}

TEST_F(BindingTest, WhatNewerLibrariesAddMayBeMissing) {
  for (const char* name : {"gdbm_needs_recovery", "gdbm_recover", "gdbm_strerror"}) {
    fake.libraries.hide(name);
  }
  OpenStore();
  Add(u"alt.test", "<1@x>");
  CloseDatabases();
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_TRUE(ArticleExists("<1@x>"));
}

// --- opening, closing, deleting ---

class DatabasesTest : public StoreTest {
 protected:
  std::string Native(DatabaseIndex index) { return fake.files.NativePath(DatabasePath(index)); }
  std::filesystem::path Folder() { return std::filesystem::path(Native(kArticles)).parent_path(); }
  // Names in the folder, sorted.
  std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Folder())) {
      names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  std::string Contents(DatabaseIndex index) {
    std::ifstream file(Native(index), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void Overwrite(DatabaseIndex index, const std::string& bytes) {
    std::ofstream(Native(index), std::ios::binary | std::ios::trunc) << bytes;
  }
  // A store with 300 articles in one group, closed.
  void FillStore() {
    OpenStore();
    for (int i = 1; i <= 300; ++i) Add(u"alt.test", FormatNarrow("<%d@x>", i));
    CloseDatabases();
  }
  static int ArticlesReadable() {
    int count = 0;
    for (int i = 1; i <= 300; ++i) {
      const auto article = FetchArticle(FormatNarrow("<%d@x>", i));
      if (article && article->body == "text\r\n") ++count;
    }
    return count;
  }
};

TEST_F(DatabasesTest, TheFirstOpeningCreatesThreeEmptyFiles) {
  gPrefs->groups.clear();
  gPrefs->numgroups = 0;
  OpenStore();
  EXPECT_THAT(Names(), ElementsAre("Quillet articles.gdb", "Quillet newsgroups.gdb",
                                   "Quillet pending posts.gdb"));
  EXPECT_TRUE(DatabasesOpen());
  EXPECT_EQ(FirstKey(kArticles), std::nullopt);
  EXPECT_EQ(FirstKey(kNewsgroups), std::nullopt);
  EXPECT_EQ(FirstKey(kPosts), std::nullopt);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(DatabasesTest, PathsAreFolderAndName) {
  EXPECT_EQ(DatabasePath(kArticles), u"\\Quillet CE News\\Quillet articles.gdb");
  EXPECT_EQ(DatabasePath(kNewsgroups), u"\\Quillet CE News\\Quillet newsgroups.gdb");
  EXPECT_EQ(DatabasePath(kPosts), u"\\Quillet CE News\\Quillet pending posts.gdb");
}

TEST_F(DatabasesTest, ClosingKeepsTheRecordsAndLeavesNothingElse) {
  FillStore();
  EXPECT_FALSE(DatabasesOpen());
  EXPECT_THAT(Names(), ElementsAre("Quillet articles.gdb", "Quillet newsgroups.gdb",
                                   "Quillet pending posts.gdb"));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_EQ(CountGroupArticles(u"alt.test", false), 300U);
}

TEST_F(DatabasesTest, ClosedFilesAreAbsentRecordsAndFailedStores) {
  EXPECT_FALSE(StoreValue(kArticles, "k", "v", StoreMode::kReplace));
  EXPECT_FALSE(InsertOrReplaceValue(kArticles, "k", "v"));
  EXPECT_EQ(FetchValue(kArticles, "k"), std::nullopt);
  EXPECT_FALSE(ValueExists(kArticles, "k"));
  EXPECT_FALSE(DeleteValue(kArticles, "k"));
  EXPECT_EQ(FirstKey(kArticles), std::nullopt);
  EXPECT_EQ(NextKey(kArticles, "k"), std::nullopt);
  EXPECT_EQ(CountPendingPosts(), 0U);
  EXPECT_EQ(DatabaseFileSize(kArticles), 0U);
  CloseDatabases();
}

TEST_F(DatabasesTest, InsertingAnExistingKeyFailsAndReplacingIsTheSecondTry) {
  OpenStore();
  EXPECT_TRUE(StoreValue(kArticles, "k", "1", StoreMode::kInsert));
  EXPECT_FALSE(StoreValue(kArticles, "k", "2", StoreMode::kInsert));
  EXPECT_EQ(FetchValue(kArticles, "k"), "1");
  EXPECT_TRUE(InsertOrReplaceValue(kArticles, "k", "3"));
  EXPECT_EQ(FetchValue(kArticles, "k"), "3");
  EXPECT_TRUE(StoreValue(kArticles, "empty", std::string(), StoreMode::kInsert));
  EXPECT_EQ(FetchValue(kArticles, "empty"), "");
}

TEST_F(DatabasesTest, DeletingWithoutPendingKeepsTheQueue) {
  OpenStore();
  EXPECT_TRUE(DeleteDatabases(false));
  EXPECT_FALSE(DatabasesOpen());
  EXPECT_THAT(Names(), ElementsAre("Quillet pending posts.gdb"));
  EXPECT_FALSE(DeleteDatabases(false));  // nothing was there to delete
  EXPECT_FALSE(DeleteDatabases(true));
  EXPECT_THAT(Names(), IsEmpty());
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_TRUE(DeleteDatabases(true));
}

TEST_F(DatabasesTest, ReopeningTellsTheMainWindow) {
  OpenStore();
  CreateWindow();
  PostedToMainWindow();
  EXPECT_TRUE(ReopenDatabases());
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
}

TEST_F(DatabasesTest, AFailedReopeningIsReported) {
  OpenStore();
  CreateWindow();
  PostedToMainWindow();
  gDatabaseFolder = u"\\No such folder";
  EXPECT_FALSE(ReopenDatabases());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"(unknown error)",
                                      u"An unexpected error (unable to reopen GDBM databases) "
                                      u"occurred in ReopenDatabases."));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"OpenGDBMDatabases");
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

TEST_F(DatabasesTest, OneFileThatCannotBeOpenedFailsTheOpeningAndKeepsTheOthers) {
  std::filesystem::create_directory(Native(kNewsgroups));
  ASSERT_TRUE(LoadDatabaseLibrary());
  EXPECT_FALSE(OpenGDBMDatabases());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"(unknown error)"));
  EXPECT_TRUE(DatabaseFile(kArticles));
  EXPECT_FALSE(DatabaseFile(kNewsgroups));
  EXPECT_TRUE(DatabaseFile(kPosts));
}

TEST_F(DatabasesTest, SizesAreThoseOfTheFiles) {
  OpenStore();
  EXPECT_EQ(DatabaseFileSize(kArticles), std::filesystem::file_size(Native(kArticles)));
  EXPECT_GT(DatabaseFileSize(kPosts), 0U);
}

TEST_F(DatabasesTest, TheFilesAreNotInheritedByOtherPrograms) {
  OpenStore();
  EXPECT_EQ(std::system("ls -l /proc/self/fd | grep -c 'Quillet .*gdb' > /dev/null") == 0, false);
}

// --- damage ---

constexpr std::u16string_view kAsideName = u"Quillet articles.gdb 2024-01-02 120000";

TEST_F(DatabasesTest, ForeignFilesAreSetAsideAndSaidOnce) {
  FillStore();
  const std::string foreign = "SQLite format 3" + std::string(8000, 'q');
  for (const std::string& bytes : {foreign, std::string("x"), std::string(4096, '\0')}) {
    fake.display.ForgetBoxes();
    Overwrite(kArticles, bytes);
    ASSERT_TRUE(OpenGDBMDatabases());
    EXPECT_THAT(
        BoxTexts(),
        ElementsAre(u"The database file \"Quillet articles.gdb\" is damaged. It has been set aside "
                    u"as \"Quillet articles.gdb 2024-01-02 120000\". A new, empty one takes its "
                    u"place."));
    const auto aside =
        fake.files.ReadFile(gDatabaseFolder + u"\\" + std::u16string(kAsideName), 1 << 20);
    EXPECT_EQ(aside, bytes);
    EXPECT_EQ(CountGroupArticles(u"alt.test", false), 300U);  // the other files are as they were
    Add(u"alt.test", "<new@x>");
    RemoveFromGroupChain(u"alt.test", NextChainNumber() - 1);
    CloseDatabases();
    fake.files.Delete(gDatabaseFolder + u"\\" + std::u16string(kAsideName));
    ASSERT_TRUE(OpenGDBMDatabases());
    EXPECT_THAT(BoxTexts(), SizeIs(1));  // and not again
    CloseDatabases();
  }
}

TEST_F(DatabasesTest, ASecondFileOfTheSameSecondGetsItsOwnName) {
  ASSERT_TRUE(LoadDatabaseLibrary());
  for (int i = 0; i < 2; ++i) {
    Overwrite(kArticles, "garbage" + std::to_string(i));
    ASSERT_TRUE(OpenGDBMDatabases());
    CloseDatabases();
  }
  EXPECT_TRUE(FileThere(kAsideName));
  EXPECT_TRUE(FileThere(std::u16string(kAsideName) + u"-2"));
}

TEST_F(DatabasesTest, AnEmptyFileIsAnEmptyDatabase) {
  ASSERT_TRUE(LoadDatabaseLibrary());
  Overwrite(kArticles, "");
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_THAT(BoxTexts(), IsEmpty());
  Add(u"alt.test", "<1@x>");
}

TEST_F(DatabasesTest, WhateverRemainsOfATruncatedFileStaysReadable) {
  FillStore();
  const std::string whole = Contents(kArticles);
  for (const std::size_t length :
       {whole.size() - 1, whole.size() / 2, whole.size() / 8, std::size_t{5000}, std::size_t{60},
        std::size_t{56}, std::size_t{8}}) {
    Overwrite(kArticles, whole.substr(0, length));
    fake.display.ForgetBoxes();
    ASSERT_TRUE(OpenGDBMDatabases()) << length;
    for (const auto& text : BoxTexts()) {
      EXPECT_THAT(Narrow(text), StartsWith("The database file \"Quillet articles.gdb\"")) << length;
    }
    Add(u"de.test", "<after@x>");
    EXPECT_TRUE(ArticleExists("<after@x>"));
    CloseDatabases();
  }
}

TEST_F(DatabasesTest, RandomBytesAnywhereNeverCrashAndNeverHang) {
  FillStore();
  const std::string whole = Contents(kArticles);
  fake.display.Allow(u"A critical error occurred while accessing", port::kIdNo);
  unsigned random = 1;
  const auto next = [&random] { return (random = random * 1103515245 + 12345) >> 8; };
  for (int round = 0; round < 60; ++round) {
    std::string damaged = whole;
    const std::size_t start = round % 3 == 0 ? 0 : next() % damaged.size();
    const std::size_t length = 1 + next() % (round % 2 == 0 ? 64 : 8192);
    for (std::size_t i = start; i < std::min(start + length, damaged.size()); ++i) {
      damaged[i] = static_cast<char>(next());
    }
    Overwrite(kArticles, damaged);
    gDatabaseErrorFlag = false;
    if (!OpenGDBMDatabases()) continue;
    ArticlesReadable();
    int keys = 0;
    for (auto key = FirstKey(kArticles); key; key = NextKey(kArticles, *key)) ++keys;
    EXPECT_LT(keys, 20000);
    CloseDatabases();
  }
}

TEST_F(DatabasesTest, DamageInsideIsRepairedByTheStartAfterIt) {
  FillStore();
  std::string damaged = Contents(kArticles);
  // The first bucket.
  const std::size_t bucket = 2 * 4096;
  damaged.replace(bucket, 2000, std::string(2000, '\x7F'));
  Overwrite(kArticles, damaged);
  fake.display.Allow(u"A critical error occurred while accessing", port::kIdNo);
  OpenGDBMDatabases();
  const int first = ArticlesReadable();
  CloseDatabases();
  gDatabaseErrorFlag = false;
  fake.display.ForgetBoxes();
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_GE(ArticlesReadable(), first);
  Add(u"de.test", "<after@x>");
  for (const auto& text : BoxTexts()) {
    EXPECT_THAT(Narrow(text), StartsWith("The database file \"Quillet articles.gdb\""));
  }
}

TEST_F(DatabasesTest, AFileOfAnotherLengthThanItsHeaderSaysIsRecoveredWhole) {
  FillStore();
  // As a writer leaves it that was killed after the file had grown.
  Overwrite(kArticles, Contents(kArticles) + std::string(8192, '\0'));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  CloseDatabases();
  EXPECT_THAT(Names(), ElementsAre("Quillet articles.gdb", "Quillet newsgroups.gdb",
                                   "Quillet pending posts.gdb"));
}

// A closed store with 300 articles whose last 200 the header does not know: everything but it was
// written.
class OldHeaderTest : public DatabasesTest {
 protected:
  OldHeaderTest() {
    OpenStore();
    for (int i = 1; i <= 100; ++i) Add(u"alt.test", FormatNarrow("<%d@x>", i));
    CloseDatabases();
    const std::string header = Contents(kArticles).substr(0, 4096);
    EXPECT_TRUE(OpenGDBMDatabases());
    for (int i = 101; i <= 300; ++i) Add(u"alt.test", FormatNarrow("<%d@x>", i));
    CloseDatabases();
    file = header + Contents(kArticles).substr(4096);
    Overwrite(kArticles, file);
    bound = gGdbm;
  }
  ~OldHeaderTest() override {
    CloseDatabases();
    gGdbm = bound;
  }
  // The recovery went by the old header: what it lost is beside, and the user knows.
  void ExpectSetAsideWhole() {
    EXPECT_LT(ArticlesReadable(), 100);
    EXPECT_THAT(
        BoxTexts(),
        ElementsAre(u"The database file \"Quillet articles.gdb\" is damaged. It has been set aside "
                    u"as \"Quillet articles.gdb 2024-01-02 120000\". What could be read has been "
                    u"kept."));
    EXPECT_EQ(fake.files.ReadFile(gDatabaseFolder + u"\\" + std::u16string(kAsideName), 1 << 24),
              file);
  }

  std::string file;
  GdbmLibrary bound;
};

TEST_F(OldHeaderTest, LosesNoRecords) {
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_GE(ArticlesReadable(), 100);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(OldHeaderTest, IsFoundWhereTheLibraryItselfDoesNotTell) {
  gGdbm.needs_recovery = nullptr;
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_GE(ArticlesReadable(), 100);
}

TEST_F(OldHeaderTest, IsNotFoundThereWhenItCannotBeRead) {
  gGdbm.needs_recovery = nullptr;
  fake.files.FailNth(port::FileCall::kReadAt, 1);
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(Contents(kArticles), file);
  EXPECT_FALSE(FileThere(kAsideName));
}

TEST_F(OldHeaderTest, WhenItCannotBeReadTheRecoverySetsTheWholeFileAside) {
  fake.files.FailNth(port::FileCall::kReadAt, 3);  // after a look at the other two files
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(fake.files.calls(port::FileCall::kOverwrite), 0);
  ExpectSetAsideWhole();
}

TEST_F(OldHeaderTest, WhenItCannotBeWrittenTheRecoverySetsTheWholeFileAside) {
  fake.files.FailNth(port::FileCall::kOverwrite, 1);
  ASSERT_TRUE(OpenGDBMDatabases());
  ExpectSetAsideWhole();
}

TEST_F(DatabasesTest, AnUnfinishedSessionIsRecoveredSilently) {
  FillStore();
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_EQ(CountGroupArticles(u"alt.test", false), 300U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  CloseDatabases();
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));  // nothing was written
  Add(u"alt.test", "<more@x>");
  EXPECT_TRUE(FileThere(u"Quillet databases in use"));
  CloseDatabases();
  EXPECT_THAT(Names(), ElementsAre("Quillet articles.gdb", "Quillet newsgroups.gdb",
                                   "Quillet pending posts.gdb"));
}

TEST_F(DatabasesTest, ARecoveryKilledBetweenItsRenamingsLosesNothing) {
  FillStore();
  ASSERT_TRUE(fake.files.Rename(DatabasePath(kArticles), DatabasePath(kArticles) + u".~1~"));
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  CloseDatabases();
  // Killed after them: what is left of it goes with the next recovery.
  ASSERT_TRUE(fake.files.WriteFile(DatabasePath(kArticles) + u".~1~", "old"));
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  CloseDatabases();
  EXPECT_THAT(Names(), ElementsAre("Quillet articles.gdb", "Quillet newsgroups.gdb",
                                   "Quillet pending posts.gdb"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(DatabasesTest, WithoutRoomForARecoveryWhatCanBeReadIsUsedAndTheNextStartRecovers) {
  FillStore();
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use", ""));
  Overwrite(kArticles, Contents(kArticles) + std::string(8192, '\0'));
  fake.files.SetFreeSpace({1000, 1'000'000'000});
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_EQ(CountGroupArticles(u"alt.test", false), 300U);
  // What takes room is refused, what does not is done.
  EXPECT_FALSE(StoreValue(kArticles, "k", "v", StoreMode::kReplace));
  EXPECT_TRUE(StoreLacksRoom());
  SetArticleReadById("<1@x>", nullptr, true, 1);
  EXPECT_TRUE(IsArticleRead("<1@x>"));
  CloseDatabases();
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_TRUE(FileThere(u"Quillet databases in use"));
  fake.files.SetFreeSpace({900'000'000, 1'000'000'000});
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_FALSE(FileThere(u"Quillet databases in use"));
}

TEST_F(DatabasesTest, WithoutRoomForARecoveryAnUnusableFileStaysAsItIs) {
  FillStore();
  const std::string cut = Contents(kArticles).substr(0, 5000);
  Overwrite(kArticles, cut);
  fake.files.SetFreeSpace({1000, 1'000'000'000});
  EXPECT_FALSE(OpenGDBMDatabases());
  EXPECT_EQ(OpeningTrouble(), OpenTrouble::kNoRoom);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"There is not enough free space to open the Quillet CE databases. "
                          u"Please free some space and start Quillet CE again."));
  CloseDatabases();
  EXPECT_EQ(Contents(kArticles), cut);
  EXPECT_FALSE(FileThere(kAsideName));
}

TEST_F(DatabasesTest, ALockedFileIsNotTouched) {
  FillStore();
  const std::string before = Contents(kArticles);
  int ready[2];
  int done[2];
  ASSERT_EQ(pipe(ready), 0);
  ASSERT_EQ(pipe(done), 0);
  const pid_t child = fork();
  if (child == 0) {
    GDBM_FILE file = gGdbm.open(Native(kArticles).c_str(), 0, GDBM_WRITER, 0, nullptr);
    char byte = file != nullptr ? 'y' : 'n';
    if (write(ready[1], &byte, 1) != 1 || read(done[0], &byte, 1) != 1) _exit(1);
    _exit(0);
  }
  char byte = 0;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);
  ASSERT_EQ(byte, 'y');
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet databases in use",
                                   "Quillet newsgroups.gdb.copy\n"));
  ASSERT_TRUE(fake.files.WriteFile(gDatabaseFolder + u"\\Quillet newsgroups.gdb.copy", "copy"));
  EXPECT_FALSE(OpenGDBMDatabases());
  EXPECT_EQ(OpeningTrouble(), OpenTrouble::kInUse);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The Quillet CE databases are in use by another program. Please close "
                          u"it and start Quillet CE again."));
  EXPECT_EQ(Contents(kArticles), before);
  EXPECT_FALSE(FileThere(kAsideName));
  CloseDatabases();
  // They are the other program's.
  EXPECT_TRUE(FileThere(u"Quillet databases in use"));
  EXPECT_TRUE(FileThere(u"Quillet newsgroups.gdb.copy"));
  ASSERT_EQ(write(done[1], &byte, 1), 1);
  waitpid(child, nullptr, 0);
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  for (const int end : {ready[0], ready[1], done[0], done[1]}) close(end);
}

TEST_F(DatabasesTest, AFileThatCannotBeSetAsideIsLeft) {
  ASSERT_TRUE(LoadDatabaseLibrary());
  Overwrite(kArticles, "garbage");
  fake.files.FailNth(port::FileCall::kRename, 1);
  EXPECT_FALSE(OpenGDBMDatabases());
  EXPECT_EQ(Contents(kArticles), "garbage");
  EXPECT_THAT(BoxTexts(), ElementsAre(u"(unknown error)"));
}

// Opens as a user without rights to `protected_path`; true when the child saw what it should.
template <class Body>
bool AsNobody(const Body& body) {
  const pid_t child = fork();
  if (child == 0) _exit(setegid(65534) == 0 && seteuid(65534) == 0 && body() ? 0 : 1);
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

const std::u16string kMayNotWrite =
    u"Quillet CE may not write its databases in the folder \"\\Quillet CE News\". Please check the "
    u"permissions of the folder and its files and start Quillet CE again.";

TEST_F(DatabasesTest, AFolderThatCannotBeWrittenFailsTheOpening) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to become somebody else";
  ASSERT_TRUE(LoadDatabaseLibrary());
  for (auto path = Folder(); path != "/tmp" && path.has_relative_path();
       path = path.parent_path()) {
    chmod(path.c_str(), 0755);
  }
  EXPECT_TRUE(AsNobody([&] {
    return !OpenGDBMDatabases() && OpeningTrouble() == OpenTrouble::kNoAccess &&
           BoxTexts() == std::vector<std::u16string>{kMayNotWrite};
  }));
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(DatabasesTest, AFolderThatCannotBeWrittenFailsTheOpeningOfFilesThatCan) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to become somebody else";
  FillStore();
  for (auto path = Folder(); path != "/tmp" && path.has_relative_path();
       path = path.parent_path()) {
    chmod(path.c_str(), 0755);
  }
  for (const DatabaseIndex index : {kArticles, kNewsgroups, kPosts}) {
    chmod(Native(index).c_str(), 0666);
  }
  EXPECT_TRUE(AsNobody([&] {
    return !OpenGDBMDatabases() && BoxTexts() == std::vector<std::u16string>{kMayNotWrite};
  }));
}

TEST_F(DatabasesTest, AFileThatCannotBeWrittenFailsTheOpeningAndStays) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to become somebody else";
  FillStore();
  const std::string before = Contents(kArticles);
  for (auto path = Folder(); path != "/tmp" && path.has_relative_path();
       path = path.parent_path()) {
    chmod(path.c_str(), 0755);
  }
  chmod(Folder().c_str(), 0777);
  for (const DatabaseIndex index : {kNewsgroups, kPosts}) chmod(Native(index).c_str(), 0666);
  chmod(Native(kArticles).c_str(), 0400);
  EXPECT_TRUE(AsNobody([&] {
    return !OpenGDBMDatabases() && OpeningTrouble() == OpenTrouble::kNoAccess &&
           BoxTexts() == std::vector<std::u16string>{kMayNotWrite};
  }));
  EXPECT_EQ(Contents(kArticles), before);
  EXPECT_FALSE(FileThere(kAsideName));
}

// --- the fatal error ---

class FatalErrorTest : public DatabasesTest {
 protected:
  FatalErrorTest() {
    OpenStore();
    CreateWindow();
    Add(u"alt.test", "<1@x>");
    fake.display.ForgetBoxes();
  }
  static inline const std::u16string kQuestion =
      u"A critical error occurred while accessing the Quillet CE databases. Delete them?";
};

TEST_F(FatalErrorTest, NoReportsTheLibrarysMessage) {
  fake.display.Expect(kQuestion, port::kIdNo);
  DatabaseFatalError("lseek error");
  EXPECT_TRUE(gDatabaseErrorFlag);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(kQuestion, u"A critical error (lseek error) occurred in GDBMce."));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet confirmation");
  EXPECT_TRUE(FileThere(u"Quillet articles.gdb"));
  EXPECT_EQ(gMainWindow, 0U);
}

TEST_F(FatalErrorTest, YesDeletesAllThree) {
  fake.display.Expect(kQuestion, port::kIdYes);
  DatabaseFatalError("lseek error");
  EXPECT_THAT(BoxTexts(),
              ElementsAre(kQuestion,
                          u"A critical error (The databases have been deleted. You will need to "
                          u"restart Quillet CE now.) occurred in GDBMce."));
  EXPECT_FALSE(DatabasesOpen());
  EXPECT_FALSE(FileThere(u"Quillet articles.gdb"));
  EXPECT_FALSE(FileThere(u"Quillet newsgroups.gdb"));
  EXPECT_FALSE(FileThere(u"Quillet pending posts.gdb"));
}

TEST_F(FatalErrorTest, EveryStoreFailsFromThenOn) {
  fake.display.Expect(kQuestion, port::kIdNo);
  DatabaseFatalError("x");
  EXPECT_FALSE(StoreValue(kArticles, "k", "v", StoreMode::kReplace));
  EXPECT_EQ(FetchValue(kArticles, "k"), "v");  // although the library stored it
  EXPECT_TRUE(ReopenDatabases());
  EXPECT_FALSE(StoreValue(kArticles, "k", "w", StoreMode::kReplace));
}

int gNeedsRecovery = 0;
int NeedsRecovery(GDBM_FILE) {
  return gNeedsRecovery;
}
datum FailingFetch(GDBM_FILE, datum) {
  return {nullptr, 0};
}

TEST_F(FatalErrorTest, AFailedCallThatLeavesAFileInNeedOfRecoveryIsFatalOnce) {
  const GdbmLibrary library = gGdbm;
  gGdbm.needs_recovery = NeedsRecovery;
  gGdbm.fetch = FailingFetch;
  gNeedsRecovery = 0;
  EXPECT_EQ(FetchValue(kArticles, "k"), std::nullopt);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  gNeedsRecovery = 1;
  fake.display.Expect(kQuestion, port::kIdNo);
  EXPECT_EQ(FetchValue(kArticles, "k"), std::nullopt);
  EXPECT_EQ(FetchValue(kArticles, "k"), std::nullopt);
  EXPECT_THAT(BoxTexts(), SizeIs(2));
  EXPECT_TRUE(gDatabaseErrorFlag);
  gNeedsRecovery = 0;
  gGdbm = library;
}

TEST_F(FatalErrorTest, SuccessfulCallsAreNotLookedAt) {
  const GdbmLibrary library = gGdbm;
  gGdbm.needs_recovery = NeedsRecovery;
  gNeedsRecovery = 1;
  EXPECT_TRUE(ValueExists(kArticles, Raw("<1@x>\0")));
  EXPECT_THAT(BoxTexts(), IsEmpty());
  gNeedsRecovery = 0;
  gGdbm = library;
}

}  // namespace
}  // namespace quillet
