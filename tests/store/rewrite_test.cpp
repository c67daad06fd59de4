// SPDX-License-Identifier: GPL-3.0-or-later
// The order in which a rewritten file takes the place of the old one, and the file until then.
#include <sys/stat.h>

#include <filesystem>

#include "store/maintenance.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

// What was there when the copy was synced.
struct SeenAtSync {
  int calls = 0;
  ino_t database = 0;
  mode_t copy_mode = 0;
};
SeenAtSync gSeen;
std::string gDatabase;
std::string gCopy;
GdbmLibrary gWhole;

int SyncSeen(GDBM_FILE file) {
  struct stat status {};
  const bool copying = stat(gCopy.c_str(), &status) == 0;
  if (copying) {
    ++gSeen.calls;
    gSeen.copy_mode = status.st_mode & 07777;
    gSeen.database = stat(gDatabase.c_str(), &status) == 0 ? status.st_ino : 0;
  }
  return gWhole.sync(file);
}

int SyncFails(GDBM_FILE /*file*/) {
  return -1;
}

class RewriteOrderTest : public StoreTest {
 protected:
  RewriteOrderTest() {
    OpenStore();
    CreateWindow();
    Add(u"alt.test", "<1@x>");
    Add(u"alt.test", "<2@x>");
    gWhole = gGdbm;
    gSeen = {};
    gDatabase = fake.files.NativePath(DatabasePath(kArticles));
    gCopy = fake.files.NativePath(gDatabaseFolder + u"\\#Quillet articles.gdb#");
  }
  ~RewriteOrderTest() override {
    CloseDatabases();
    gGdbm = gWhole;
  }
  static ino_t Inode() {
    struct stat status {};
    return stat(gDatabase.c_str(), &status) == 0 ? status.st_ino : 0;
  }
};

TEST_F(RewriteOrderTest, TheCopyIsSyncedBeforeItTakesThePlace) {
  const ino_t before = Inode();
  gGdbm.sync = SyncSeen;
  CompactDatabases();
  EXPECT_GE(gSeen.calls, 1);
  EXPECT_EQ(gSeen.database, before);
  EXPECT_NE(Inode(), before);
}

TEST_F(RewriteOrderTest, ACopyThatCannotBeSyncedDoesNotTakeThePlace) {
  const ino_t before = Inode();
  gGdbm.sync = SyncFails;
  CompactDatabases();
  EXPECT_EQ(Inode(), before);
  EXPECT_TRUE(ArticleExists("<1@x>"));
}

TEST_F(RewriteOrderTest, UntilThenItHasTheModeOfNoDatabase) {
  const mode_t mask = umask(022);
  gGdbm.sync = SyncSeen;
  CompactDatabases();
  umask(mask);
  // Meant: 600 in decimal.
  EXPECT_EQ(gSeen.copy_mode, 600U & ~022U);
}

}  // namespace
}  // namespace quillet
