// A writer that is killed at any moment, in the middle of a store too: whatever it had finished
// stays, and the files open without a word.
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

#include "store/pending_posts.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::IsEmpty;

constexpr int kRounds = 80;
constexpr std::u16string_view kGroup = u"alt.test";

// What the writer tells while it lives. Numbers below `stored` were stored and chained; numbers
// below `deleted` were deleted again, and everything was deleted as far as `deleting` may reach.
struct Progress {
  volatile int started;
  volatile int stored;
  volatile int deleting;
  volatile int deleted;
  volatile int posts;
};

std::string IdOf(int number) {
  return FormatNarrow("<%d@kill.example>", number);
}
std::string BodyOf(int number) {
  const auto n = static_cast<unsigned>(number);
  return std::string(50 + n * 7919U % 5000, static_cast<char>('a' + number % 26));
}

class KillTest : public StoreTest {
 protected:
  KillTest()
      : progress(static_cast<Progress*>(mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE,
                                             MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  ~KillTest() override { munmap(progress, sizeof(Progress)); }

  // Every article costs a store, a chain record, and now and then a deletion, a mark and a post.
  void WriteForever() {
    if (!OpenGDBMDatabases()) _exit(2);
    progress->started = 1;
    for (int number = progress->stored;; ++number) {
      AsciiArticle article = ArticleWithId(IdOf(number), BodyOf(number));
      if (!StoreArticle(article) || !AddArticleToGroup(kGroup, IdOf(number))) _exit(3);
      progress->stored = number + 1;
      if (number % 3 == 0) DeleteOldest();
      if (number % 7 == 0) SetArticleReadById(IdOf(number), nullptr, true, 1);
      if (number % 50 == 0) {
        AsciiArticle post = ArticleWithId(IdOf(number));
        if (!StoreAsciiGDBMPost(post)) _exit(4);
        progress->posts = progress->posts + 1;
      }
    }
  }

  void DeleteOldest() {
    std::uint32_t number = oldest;
    if (number == 0) number = FindOldest();
    oldest = StoredChain32(number).previous;
    const int which = progress->deleting;
    progress->deleting = which + 1;
    DeleteArticle(IdOf(which));
    RemoveFromGroupChain(kGroup, number);
    progress->deleted = which + 1;
  }
  static std::uint32_t FindOldest() {
    std::uint32_t number = 0;
    for (auto record = GroupChainFirst(kGroup); record; record = GroupChainNext()) {
      number = record->number;
    }
    return number;
  }
  static GDBMGroup StoredChain32(std::uint32_t number) {
    std::string key;
    for (int i = 0; i < 4; ++i) key.push_back(static_cast<char>(number >> (8 * i)));
    return Stored(key);
  }

  // Starts a writer and kills it after that many microseconds of writing.
  void KillAfter(unsigned microseconds) {
    progress->started = 0;
    const pid_t child = fork();
    if (child == 0) WriteForever();
    int status = 0;
    while (progress->started == 0 && waitpid(child, &status, WNOHANG) == 0) usleep(100);
    usleep(microseconds);
    kill(child, SIGKILL);
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the writer gave up with " << WEXITSTATUS(status);
  }

  void ExpectEverythingThere(int round) {
    ASSERT_TRUE(OpenGDBMDatabases()) << round;
    EXPECT_THAT(BoxTexts(), IsEmpty()) << round;
    for (int i = progress->deleting; i < progress->stored; ++i) {
      const auto article = FetchArticle(IdOf(i));
      ASSERT_NE(article, nullptr) << "round " << round << " lost " << i;
      ASSERT_EQ(article->body, BodyOf(i)) << round;
    }
    ExpectWholeChain(round);
    EXPECT_GE(gPendingPostCount, static_cast<std::uint32_t>(progress->posts));
    EXPECT_LE(gPendingPostCount, static_cast<std::uint32_t>(progress->posts) + 1);
    EXPECT_EQ(gPendingPostCount, CountPendingPosts());
    EXPECT_EQ(gReadInfo[1]->totalCount, Chain(kGroup).size()) << round;
    EXPECT_EQ(gReadInfo[1]->readCount, CountGroupArticles(kGroup, true)) << round;
    CloseDatabases();
  }

  void ExpectWholeChain(int round) {
    const std::vector<std::string> chain = Chain(kGroup);
    const auto newest = std::find(chain.begin(), chain.end(), IdOf(progress->stored - 1));
    ASSERT_LE(newest - chain.begin(), 1)
        << round;  // at most the one that was being added before it
    const int expected = progress->stored - progress->deleting;
    ASSERT_GE(chain.end() - newest, expected) << round;
    for (int i = 0; i < expected; ++i) ASSERT_EQ(newest[i], IdOf(progress->stored - 1 - i));
  }

  // The next writer goes on behind what this one had begun.
  void Settle() {
    ASSERT_TRUE(OpenGDBMDatabases());
    DeleteArticle(IdOf(progress->stored));
    auto record = GroupChainFirst(kGroup);
    if (record && record->messageId == IdOf(progress->stored)) {
      RemoveFromGroupChain(kGroup, record->number);
    }
    if (progress->deleted != progress->deleting) FinishDeletion();
    progress->posts = static_cast<int>(gPendingPostCount);
    DropCountCaches();
    CloseDatabases();
  }
  void FinishDeletion() {
    const std::string id = IdOf(progress->deleted);
    DeleteArticle(id);
    std::uint32_t number = 0;
    for (auto record = GroupChainFirst(kGroup); record; record = GroupChainNext()) {
      if (record->messageId == id) number = record->number;
    }
    if (number != 0) RemoveFromGroupChain(kGroup, number);
    progress->deleted = progress->deleting;
  }

  Progress* progress;
  std::uint32_t oldest = 0;
};

TEST_F(KillTest, WhatWasFinishedStaysAndTheFilesOpen) {
  ASSERT_TRUE(LoadDatabaseLibrary());
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < kRounds && !HasFatalFailure(); ++round) {
    KillAfter(static_cast<unsigned>(random() % 6000));
    if (HasFatalFailure()) return;
    ExpectEverythingThere(round);
    if (HasFatalFailure()) return;
    Settle();
  }
  EXPECT_GT(progress->stored, kRounds);
}

TEST_F(KillTest, AWriterKilledWhileItRecoversLosesNothingEither) {
  ASSERT_TRUE(LoadDatabaseLibrary());
  KillAfter(300000);
  for (int round = 0; round < 15; ++round) {
    const pid_t child = fork();
    if (child == 0) _exit(OpenGDBMDatabases() ? 0 : 1);
    usleep(static_cast<unsigned>(round) * 700);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
  }
  ExpectEverythingThere(0);
}

}  // namespace
}  // namespace quillet
