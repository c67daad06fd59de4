// SPDX-License-Identifier: GPL-3.0-or-later
// Dies at the first call of the database library or the file service, at the second, and so on, in
// the middle of everything that changes the store: the next opening makes it whole each time.
#include <algorithm>

#include "store/chain_members.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/gdbm_library.h"
#include "tests/kill/counted_calls.h"
#include "tests/kill/kill_fixture.h"

namespace quillet {
namespace {

GDBM_FILE OpenCounted(const char* name, int block, int flags, int mode,
                      void (*fatal)(const char*)) {
  CountCall();
  return gWhole.open(name, block, flags, mode, fatal);
}
int CloseCounted(GDBM_FILE file) {
  CountCall();
  return gWhole.close(file);
}
int RecoverCounted(GDBM_FILE file, gdbm_recovery* recovery, int flags) {
  CountCall();
  return gWhole.recover(file, recovery, flags);
}

class EveryCallTest : public KillTest {
 protected:
  // From now on the process dies before its nth call.
  void DieAt(int n) {
    gWhole = gGdbm;
    gCallsLeft = n;
    gGdbm.open = OpenCounted;
    gGdbm.close = CloseCounted;
    gGdbm.store = StoreCounted;
    gGdbm.remove = RemoveCounted;
    gGdbm.sync = SyncCounted;
    gGdbm.recover = RecoverCounted;
    fake.files.before_call = [](port::FileCall /*kind*/) { CountCall(); };
  }

  // Twelve articles in three groups, some of them read, and two posts.
  Kept SmallStore(const std::vector<Deed>& last = {Deed::kWhole}) {
    std::vector<Deed> deeds(12, Deed::kStore);
    deeds.insert(deeds.end(), {Deed::kMark, Deed::kMark, Deed::kMark, Deed::kMark, Deed::kMark,
                               Deed::kPost, Deed::kPost, Deed::kDelete});
    deeds.insert(deeds.end(), last.begin(), last.end());
    EXPECT_EQ(CarryOutInChild({deeds, 5, {}, true}), kChildDone) << log.complaint;
    return Keep();
  }

  // True when the deed came to its end before the nth call.
  bool DieInDeed(const Kept& start, Deed deed, int n) {
    PutBack(start);
    const int end = CarryOutInChild({{deed}, 7, [this, n] { DieAt(n); }, true});
    EXPECT_TRUE(end == kChildDone || end == -SIGKILL) << NameOf(deed) << end << log.complaint;
    return end == kChildDone;
  }
};

class DeedTest : public EveryCallTest, public ::testing::WithParamInterface<Deed> {};

TEST_P(DeedTest, LeavesAStoreThatTheNextOpeningMakesWhole) {
  const bool compressed = GetParam() == Deed::kUncompress;
  const Kept start = compressed ? SmallStore({Deed::kCompress, Deed::kWhole}) : SmallStore();
  int n = 1;
  for (; !DieInDeed(start, GetParam(), n) && !HasFailure(); ++n) {
    OpenAndLook(std::string(NameOf(GetParam())) + ", call " + std::to_string(n));
  }
  EXPECT_GT(n, 4);
}

INSTANTIATE_TEST_SUITE_P(Kill, DeedTest,
                         ::testing::Values(Deed::kStore, Deed::kDelete, Deed::kMark,
                                           Deed::kDeleteRead, Deed::kDeleteAll, Deed::kEmpty,
                                           Deed::kPost, Deed::kUnpost, Deed::kCompact,
                                           Deed::kCompress, Deed::kUncompress, Deed::kPurge,
                                           Deed::kWhole),
                         [](const auto& test) {
                           std::string name = NameOf(test.param);
                           std::erase(name, ' ');
                           return name;
                         });

TEST_F(EveryCallTest, AnOpeningThatDiesAnywhereIsMadeGoodByTheNext) {
  // Dead after the article, before its chain record: there is something to make whole.
  const Kept start = SmallStore();
  for (const Deed deed : {Deed::kStore, Deed::kDelete}) {
    ASSERT_FALSE(DieInDeed(start, deed, 4));
    const Kept killed = Keep();
    int n = 1;
    for (;; ++n) {
      PutBack(killed);
      if (Child([this, n] {
            DieAt(n);
            OpenAndClose(fake, log);
          }) == kChildDone) {
        break;
      }
      OpenAndLook(std::string("opening after ") + NameOf(deed) + ", call " + std::to_string(n));
      if (HasFailure()) return;
    }
    EXPECT_GT(n, 20);
  }
}

// As a download does with an article that another group has already.
void PutOnOneMoreChain(std::u16string_view group, const std::string& id) {
  if (!ChainMembers(group).Contains(id)) AddArticleToGroup(group, id);
  CacheCounts(group, CountGroupArticles(group, true), CountGroupArticles(group, false));
  CloseDatabases();
}

TEST_F(EveryCallTest, ACrossPostThatDiesAnywhereCostsNothingAndComesOnce) {
  const Kept start = SmallStore();
  const auto& articles = start.expected.articles();
  const auto chosen = std::ranges::find_if(articles, [](const auto& entry) {
    return entry.second.state == ExpectedStore::State::kStored && entry.second.group != 2;
  });
  ASSERT_NE(chosen, articles.end());
  const std::string id = KillIdOf(chosen->first);
  const std::string own(kKillGroups[chosen->second.group]), other(kKillGroups[2]);
  const auto times_on = [&](const FoundStore& found, const std::string& group) {
    return std::ranges::count(found.chains.at(group), id, &FoundChainRecord::message_id);
  };
  bool done = false;
  for (int n = 1; !done && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    PutBack(start);
    const int end = Child([&] {
      if (!OpenGDBMDatabases()) _exit(kChildGaveUp);
      DieAt(n);
      PutOnOneMoreChain(u"a.b", id);
    });
    ASSERT_TRUE(end == kChildDone || end == -SIGKILL);
    done = end == kChildDone;
    ASSERT_EQ(Child([this] { OpenAndClose(fake, log); }), kChildDone) << log.complaint;
    const FoundStore opened = ReadStore(folder);
    EXPECT_EQ(opened.faults, std::vector<std::string>{});
    EXPECT_EQ(times_on(opened, own), 1);
    EXPECT_LE(times_on(opened, other), 1);
    ASSERT_EQ(Child([&] {
                if (!OpenGDBMDatabases()) _exit(kChildGaveUp);
                PutOnOneMoreChain(u"a.b", id);
              }),
              kChildDone);
    const FoundStore again = ReadStore(folder);
    EXPECT_EQ(times_on(again, own), 1);
    EXPECT_EQ(times_on(again, other), 1);
    ASSERT_LT(n, 1000);
  }
}

TEST_F(EveryCallTest, AFirstStartThatDiesAnywhereIsNoDamage) {
  const Kept nothing = Keep();
  int n = 1;
  for (;; ++n) {
    PutBack(nothing);
    if (Child([this, n] {
          DieAt(n);
          OpenAndClose(fake, log);
        }) == kChildDone) {
      break;
    }
    OpenAndLook("first start, call " + std::to_string(n));
    if (HasFailure()) return;
  }
  EXPECT_GT(n, 8);
}

}  // namespace
}  // namespace quillet
