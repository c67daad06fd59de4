// SPDX-License-Identifier: GPL-3.0-or-later
// A kill in the middle of a write of the library can take any record with it. So each record of
// each file is taken out in turn, of a store that was not closed: the next opening must get it back
// or put the article on the list of lost ones.
#include <gdbm.h>

#include <cstdlib>

#include "tests/kill/kill_fixture.h"

namespace quillet {
namespace {

constexpr const char* kArticlesFile = "Quillet articles.gdb";
constexpr const char* kNewsgroupsFile = "Quillet newsgroups.gdb";
constexpr const char* kPostsFile = "Quillet pending posts.gdb";

class LostRecordTest : public KillTest {
 protected:
  // Ten articles when the store was said to be whole the last time, and after that three new ones,
  // two deletions, a mark and a post; never closed.
  Kept UnclosedStore() {
    std::vector<Deed> deeds(10, Deed::kStore);
    deeds.insert(deeds.end(),
                 {Deed::kMark, Deed::kMark, Deed::kMark, Deed::kPost, Deed::kPost, Deed::kDelete,
                  Deed::kWhole, Deed::kStore, Deed::kDelete, Deed::kStore, Deed::kDelete,
                  Deed::kStore, Deed::kMark, Deed::kPost});
    EXPECT_EQ(CarryOutInChild({deeds, 3, {}, false}), kChildDone) << log.complaint;
    return Keep();
  }

  std::vector<std::string> Keys(const std::string& name) {
    std::vector<std::string> keys;
    GDBM_FILE file = gdbm_open((folder + "/" + name).c_str(), 0, GDBM_READER, 0, nullptr);
    for (datum key = gdbm_firstkey(file); key.dptr != nullptr;) {
      keys.emplace_back(key.dptr, static_cast<std::size_t>(key.dsize));
      const datum next = gdbm_nextkey(file, key);
      std::free(key.dptr);  // NOLINT: the library allocates it
      key = next;
    }
    gdbm_close(file);
    return keys;
  }

  void TakeOut(const std::string& name, std::string key) {
    GDBM_FILE file = gdbm_open((folder + "/" + name).c_str(), 0, GDBM_WRITER, 0, nullptr);
    EXPECT_EQ(gdbm_delete(file, {key.data(), static_cast<int>(key.size())}), 0);
    gdbm_close(file);
  }

  void RemoveCopy() {
    EXPECT_TRUE(std::filesystem::remove(folder + "/Quillet newsgroups.gdb.copy"));
  }

  void EachIsMadeGood(const std::string& name, std::size_t fewest) {
    const Kept start = UnclosedStore();
    const std::vector<std::string> keys = Keys(name);
    EXPECT_GE(keys.size(), fewest);
    for (std::size_t i = 0; i < keys.size() && !HasFailure(); ++i) {
      PutBack(start);
      TakeOut(name, keys[i]);
      OpenAndLook(name + " without " + ::testing::PrintToString(keys[i]));
    }
  }
};

TEST_F(LostRecordTest, OfAnArticlePutsItOnTheList) {
  EachIsMadeGood(kArticlesFile, 10);
}

TEST_F(LostRecordTest, OfAChainIsFoundAgain) {
  EachIsMadeGood(kNewsgroupsFile, 13);
}

TEST_F(LostRecordTest, OfAPostIsFoundAgain) {
  const Kept start = UnclosedStore();
  // A post that came after the store was whole the last time is nowhere else.
  for (const std::string& key : Keys(kPostsFile)) {
    if (key == KillPostIdOf(3) + '\0') continue;
    PutBack(start);
    TakeOut(kPostsFile, key);
    OpenAndLook("without the post " + key);
  }
}

TEST_F(LostRecordTest, OfAChainIsFoundAgainWithoutHeads) {
  expected = ExpectedStore(false);
  EachIsMadeGood(kNewsgroupsFile, 13);
}

TEST_F(LostRecordTest, OfAChainIsFoundAgainWithoutACopyOfTheFile) {
  const Kept start = UnclosedStore();
  for (const std::string& key : Keys(kNewsgroupsFile)) {
    PutBack(start);
    RemoveCopy();
    TakeOut(kNewsgroupsFile, key);
    OpenAndLook("no copy, without " + ::testing::PrintToString(key));
    if (HasFailure()) return;
  }
}

TEST_F(LostRecordTest, OfTwoChainsWithoutHeadsOrCopyPutsTheArticlesOnTheList) {
  expected = ExpectedStore(false);
  const Kept start = UnclosedStore();
  const std::vector<std::string> keys = Keys(kNewsgroupsFile);
  for (std::size_t i = 0; i < keys.size() && !HasFailure(); ++i) {
    for (const std::size_t step : {1, 4}) {
      const std::string& other = keys[(i + step) % keys.size()];
      PutBack(start);
      RemoveCopy();
      TakeOut(kNewsgroupsFile, keys[i]);
      TakeOut(kNewsgroupsFile, other);
      OpenAndLook("no copy, without " + ::testing::PrintToString(keys[i]) + " and " +
                  ::testing::PrintToString(other));
    }
  }
}

}  // namespace
}  // namespace quillet
