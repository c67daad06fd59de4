// SPDX-License-Identifier: GPL-3.0-or-later
// Dies at each call of the database library and the file service while an archive is imported: what
// is in the store then is on the chains that it names, and a second import completes the set.
#include <algorithm>
#include <map>

#include "base/prefs.h"
#include "nntp/mbox_import.h"
#include "nntp/mbox_lines.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/gdbm_library.h"
#include "store/records.h"
#include "tests/kill/counted_calls.h"
#include "tests/kill/kill_fixture.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kFile = u"\\archive";
constexpr int kMessages = 8;

class ImportKillTest : public KillTest {
 protected:
  ImportKillTest() {
    std::string text;
    for (int i = 0; i < kMessages; ++i) {
      text += FormatNarrow("From a\nMessage-ID: <%d@kill.example>\nNewsgroups: %s\n\n%s\n", i,
                           GroupsOf(i), std::string(2000, 'x'));
    }
    EXPECT_TRUE(fake.files.WriteFile(kFile, text));
  }

  static std::string GroupsOf(int message) {
    const std::string first(kKillGroups[static_cast<std::size_t>(message) % kKillGroupCount]);
    return message % 2 == 0 ? first : first + ",not.listed";
  }
  static std::string IdOf(int message) { return FormatNarrow("<%d@kill.example>", message); }

  static void Import() {
    if (!OpenGDBMDatabases()) _exit(kChildGaveUp);
    DetermineReturnCharacters(kFile);
    if (!ImportMbox(kFile)) _exit(kChildGaveUp);
  }
  void DieAt(int n) {
    gWhole = gGdbm;
    gCallsLeft = n;
    gGdbm.store = StoreCounted;
    gGdbm.remove = RemoveCounted;
    gGdbm.sync = SyncCounted;
    fake.files.before_call = [](port::FileCall /*kind*/) { CountCall(); };
  }

  // Of an opened store; how many of the messages are there.
  int LookAtStore(const std::string& when) {
    std::map<std::string, int> on_chains;
    std::vector<std::u16string> groups = gPrefs->groups;
    groups.emplace_back(u"not.listed");
    for (std::size_t i = 0; i < groups.size(); ++i) {
      std::uint32_t total = 0;
      for (auto record = GroupChainFirst(groups[i]); record; record = GroupChainNext()) {
        EXPECT_TRUE(ArticleExists(record->messageId)) << when;
        ++on_chains[record->messageId];
        ++total;
      }
      if (i < gReadInfo.size()) {
        EXPECT_EQ(gReadInfo[i]->totalCount, total) << when;
      }
    }
    int stored = 0;
    for (int i = 0; i < kMessages; ++i) {
      const bool there = ArticleExists(IdOf(i));
      // The chain of a group that is not on the list may lack the very last one.
      EXPECT_EQ(there, on_chains[IdOf(i)] > 0) << when << ", message " << i;
      if (there) ++stored;
    }
    return stored;
  }
};

TEST_F(ImportKillTest, LeavesAStoreThatASecondImportCompletes) {
  ASSERT_EQ(Child([this] { OpenAndClose(fake, log); }), kChildDone);
  const Kept start = Keep();
  int n = 1;
  for (;; ++n) {
    PutBack(start);
    const int end = Child([this, n] {
      DieAt(n);
      Import();
      CloseDatabases();
    });
    const std::string when = "call " + std::to_string(n);
    ASSERT_TRUE(end == kChildDone || end == -SIGKILL) << when << ": " << end;
    ASSERT_TRUE(OpenGDBMDatabases()) << when;
    const int stored = LookAtStore(when);
    DetermineReturnCharacters(kFile);
    ASSERT_TRUE(ImportMbox(kFile));
    EXPECT_EQ(LookAtStore(when + ", imported again"), kMessages);
    EXPECT_TRUE(fake.display.boxes().empty()) << when;
    CloseDatabases();
    if (end == kChildDone) {
      EXPECT_EQ(stored, kMessages);
      break;
    }
    if (HasFailure()) return;
  }
  EXPECT_GT(n, 40);
}

}  // namespace
}  // namespace quillet
