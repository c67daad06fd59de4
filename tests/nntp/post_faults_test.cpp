// SPDX-License-Identifier: GPL-3.0-or-later
// What posting promises however it is disturbed: when the queue is empty at last, the server has
// every article once, as it was written; and until then none is missing.
#include <algorithm>
#include <map>

#include "store/pending_posts.h"
#include "tests/nntp/faulty_libraries.h"
#include "tests/nntp/model_sockets.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class PostFaultsTest : public NntpTest {
 protected:
  PostFaultsTest() {
    gPlatform = &platform_;
    gFaultyStore = gFaultyDelete = {};
    gPrefs->returnmailaddress = u"ann@example.org";
    ChooseGroups({});
    OpenStore();
  }
  ~PostFaultsTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  void StartAfresh() {
    Heal();
    while (const auto key = NextPendingPostKey({})) DeletePendingPost(*key);
    model_.posts.clear();
    for (const char* key : {"1", "2", "3"}) {
      AsciiArticle post;
      post.messageId = key;
      post.headers = "Newsgroups: a.b\r\n";
      post.body = std::string("text ") + key + "\r\n.\r\n";
      ASSERT_TRUE(StoreAsciiGDBMPost(post));
    }
    fake.display.ForgetBoxes();
    fake.display.ForgetProgressTexts();
  }

  void Heal() {
    sockets_.chunk = 0;
    sockets_.fail_send = sockets_.fail_receive = 0;
    sockets_.failed_send_delivers = 0;
    sockets_.close_after.reset();
    sockets_.on_reply = nullptr;
    sockets_.on_call = nullptr;
    sockets_.calls = sockets_.replies = 0;
    sockets_.delivered = 0;
    gFaultyStore = gFaultyDelete = {};
    gAbortRequested = 0;
  }

  void Run() {
    gAbortRequested = 0;
    RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(sockets_.open, 0);
    ExpectNoneMissing();
  }

  bool ServerHas(const std::string& key) const {
    return std::any_of(model_.posts.begin(), model_.posts.end(), [&](const ModelPost& post) {
      return post.text.find("text " + key + "\r\n") != std::string::npos;
    });
  }
  void ExpectNoneMissing() {
    for (const char* key : {"1", "2", "3"}) {
      EXPECT_TRUE(ServerHas(key) || FetchPendingPost(key) != nullptr) << key;
    }
  }

  // Runs until nothing is left, and looks at what the server has then.
  void ExpectAllOnceInTheEnd() {
    Heal();
    for (int i = 0; i < 3 && CountPendingPosts() > 0; ++i) Run();
    EXPECT_EQ(CountPendingPosts(), 0U);
    EXPECT_EQ(gPendingPostCount, 0U);
    std::map<std::string, int> taken;
    for (const ModelPost& post : model_.posts) {
      ++taken[post.text];
      const std::string key = post.id.substr(1, 1);
      EXPECT_EQ(post.text, "Newsgroups: a.b\r\nMessage-ID: " + post.id +
                               "\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext " + key +
                               "\r\n..\r\n\r\n");
    }
    EXPECT_EQ(taken.size(), 3U);
    for (const auto& [text, times] : taken) EXPECT_EQ(times, 1) << text;
  }

  NewsModel model_;
  ModelSockets sockets_{model_};
  FaultyLibraries libraries_;
  port::Platform platform_{fake.display.Services(),
                           fake.queues,
                           fake.registry,
                           sockets_,
                           libraries_,
                           fake.files,
                           fake.clock,
                           fake.shell,
                           fake.scheduler,
                           fake.dialler,
                           fake.mail,
                           fake.contacts,
                           fake.security,
                           fake.secrets};
};

TEST_F(PostFaultsTest, UndisturbedRunPostsAll) {
  StartAfresh();
  Run();
  EXPECT_EQ(CountPendingPosts(), 0U);
  EXPECT_EQ(ErrorLog(), u"");
  ExpectAllOnceInTheEnd();
}

TEST_F(PostFaultsTest, ServerThatClosesAtAnyByte) {
  StartAfresh();
  Run();
  const std::uint64_t all = sockets_.delivered;
  ASSERT_GT(all, 80U);
  for (std::uint64_t bytes = 0; bytes < all && !HasFailure(); ++bytes) {
    SCOPED_TRACE(bytes);
    StartAfresh();
    sockets_.close_after = bytes;
    sockets_.chunk = bytes % 3;
    Run();
    ExpectAllOnceInTheEnd();
  }
}

// What fails to be sent may have arrived all the same, in part or as a whole.
TEST_F(PostFaultsTest, AnySendThatFailsWhateverArrived) {
  for (const std::size_t delivered : {0U, 1U, 5U, 60U, 119U, 120U, 121U, 122U, 123U, 10000U}) {
    bool failed = true;
    for (int n = 1; failed && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("send %d, %d bytes arrive", n, delivered));
      StartAfresh();
      sockets_.fail_send = n;
      sockets_.failed_send_delivers = delivered;
      Run();
      failed = sockets_.fail_send == 0;
      ExpectAllOnceInTheEnd();
      ASSERT_LT(n, 100);
    }
  }
}

TEST_F(PostFaultsTest, AnyReceiveThatFails) {
  bool failed = true;
  for (int n = 1; failed && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.fail_receive = n;
    sockets_.chunk = 5;
    Run();
    failed = sockets_.fail_receive == 0;
    ExpectAllOnceInTheEnd();
    ASSERT_LT(n, 100);
  }
}

TEST_F(PostFaultsTest, AbortAtAnySocketCall) {
  bool reached = true;
  for (int n = 1; reached && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    sockets_.on_call = [n](int call) {
      if (call == n) RequestAbort();
    };
    Run();
    reached = sockets_.calls >= n;
    ExpectAllOnceInTheEnd();
    ASSERT_LT(n, 100);
  }
}

TEST_F(PostFaultsTest, CancelAfterAnyProgressText) {
  bool cancelled = true;
  for (int n = 0; cancelled && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    fake.display.CancelProgressAfter(n);
    RunWithProgress(u"Preparing to download...", OpenConnection);
    ExpectNoneMissing();
    cancelled = AbortRequested();
    ExpectAllOnceInTheEnd();
    ASSERT_LT(n, 100);
  }
}

TEST_F(PostFaultsTest, WrongReplyAtAnyStep) {
  const std::string long_line(5000, 'x');
  for (const std::string wrong :
       {"500 what?\r\n", "400 closing\r\n", "440 no\r\n", "441 no\r\n", "340 more\r\n",
        "garbage\r\n", "\r\n", "no line end", "\0\r\n", "340 a\r\n240 b\r\n"}) {
    bool reached = true;
    for (int n = 1; reached && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("reply %d replaced by %s", n, wrong));
      StartAfresh();
      sockets_.on_reply = [&](int reply, const std::string& text) {
        return reply == n ? wrong : text;
      };
      Run();
      reached = sockets_.replies >= n;
      ExpectAllOnceInTheEnd();
      ASSERT_LT(n, 100);
    }
  }
}

TEST_F(PostFaultsTest, StoreThatFailsAtAnyMark) {
  for (const bool for_good : {false, true}) {
    for (int n = 1; n <= 4 && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("store %d fails%s", n, for_good ? " for good" : ""));
      StartAfresh();
      sockets_.on_reply = [](int, const std::string& text) {
        return text.starts_with("240") ? "441 no\r\n" : text;
      };
      // Refused though taken: what comes next is told as a duplicate.
      gFaultyStore = {n, for_good};
      Run();
      EXPECT_EQ(gFaultyStore.in == 0, n <= 3);
      ExpectAllOnceInTheEnd();
    }
  }
}

TEST_F(PostFaultsTest, DeletionThatFailsAtAnyPost) {
  for (const bool for_good : {false, true}) {
    for (int n = 1; n <= 3 && !HasFailure(); ++n) {
      SCOPED_TRACE(FormatNarrow("deletion %d fails%s", n, for_good ? " for good" : ""));
      StartAfresh();
      gFaultyDelete = {n, for_good};
      Run();
      EXPECT_EQ(CountPendingPosts(), for_good ? 4U - static_cast<unsigned>(n) : 1U);
      ExpectAllOnceInTheEnd();
    }
  }
}

TEST_F(PostFaultsTest, RegistryThatCannotBeWrittenOrRead) {
  for (int n = 1; n <= 3 && !HasFailure(); ++n) {
    SCOPED_TRACE(n);
    StartAfresh();
    fake.registry.FailOpen(n);
    fake.registry.FailSet(n);
    fake.registry.FailCreate(n);
    sockets_.close_after = 100;
    Run();
    fake.registry.FailOpen(0);
    fake.registry.FailSet(0);
    fake.registry.FailCreate(0);
    ExpectNoneMissing();
  }
}

}  // namespace
}  // namespace quillet
