// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/post_queue.h"

#include <algorithm>
#include <map>

#include "base/extensions.h"
#include "base/upward_calls.h"
#include "mime/decoding.h"
#include "res/resource.h"
#include "store/compression.h"
#include "store/pending_posts.h"
#include "store/refusals.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using port::SocketCall;
using Keys = std::vector<std::string>;

constexpr char kGoAhead[] = "340 send it";

class PostQueueTest : public NntpTest {
 protected:
  PostQueueTest() {
    OpenStore();
    gPrefs->returnmailaddress = u"ann@example.org";
    fake.registry.PutDword(kExtensionsPath, u"postmessageidmark", 0x00C0FFEE);
    gConnection.posting_allowed = true;
    Connected();
  }

  // The wire to the letter.
  void WithoutIds() { fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0); }

  static void Queue(const std::string& key, const std::string& subject = "s",
                    const std::string& body = "text\r\n",
                    const std::string& headers = "Newsgroups: a.b\r\n") {
    AsciiArticle post;
    post.messageId = key;
    post.headers = headers;
    post.body = body;
    post.subject = subject;
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  // Three posts, in the order in which they are sent.
  static Keys QueueThree() {
    for (const char* key : {"1", "2", "3"}) Queue(key, std::string("no. ") + key);
    return Queued();
  }
  static Keys Queued() {
    Keys keys;
    for (auto key = NextPendingPostKey({}); key; key = NextPendingPostKey(key)) {
      keys.push_back(*key);
    }
    EXPECT_EQ(gPendingPostCount, keys.size());
    return keys;
  }

  static std::string TextOfPost(const std::string& key, const std::string& body = "text\r\n") {
    const bool ids = ReadExtensions().postmessageids;
    return "Newsgroups: a.b\r\n" +
           (ids ? "Message-ID: <" + key + ".00c0ffee@example.org>\r\n" : "") +
           "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" + body + "\r\n.\r\n";
  }
  // The whole way of one post.
  void Posts(const std::string& key, const std::string& reply) {
    Exchange("POST", kGoAhead);
    Client(TextOfPost(key));
    Server(reply + "\r\n");
  }

  RunEnd Run() {
    const RunEnd end = RunWithProgress(u"Preparing to download...", PostQueuedArticles);
    fake.sockets.Verify();
    return end;
  }

  void Disconnect() {
    ReleaseConnection();
    gConnection.error_log = TextLog();
    fake.sockets.Release();
  }

  static std::uint32_t MarkOf(const std::string& key) {
    const auto post = FetchPendingPost(key);
    return post ? post->read : 99;
  }
};

// --- the way of the posts ---

TEST_F(PostQueueTest, EmptyQueueSendsAndSaysNothing) {
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  gConnection.posting_allowed = false;
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(Titles(), (std::vector<std::u16string>(2, u"Preparing to download...")));
  EXPECT_EQ(fake.registry.FindDword(kExtensionsPath, u"postmessageidmark"), 0x00C0FFEEU);
}

TEST_F(PostQueueTest, PostingNotAllowedIsSaidOnceAndTheRunGoesOn) {
  gConnection.posting_allowed = false;
  Queue("1");
  Queue("2");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"The news server does not allow posting. Skipping queued posts.\r\n");
  EXPECT_EQ(fake.sockets.sent(), "");
  EXPECT_EQ(Queued().size(), 2U);
  EXPECT_EQ(Titles(), std::vector<std::u16string>{u"Preparing to download..."});
}

TEST_F(PostQueueTest, AcceptedPostsLeaveTheQueue) {
  for (const std::string& key : QueueThree()) Posts(key, "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(PostQueueTest, AnyReplyThatBeginsWithTwoOrThreeWillDo) {
  WithoutIds();
  Queue("1");
  Exchange("POST", "3");
  Client(TextOfPost("1"));
  Server("2\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, LogHoldsTheCommandsAndRepliesAndNotTheText) {
  Queue("1");
  Posts("1", "240 got it");
  Run();
  EXPECT_EQ(TransactionLog(), "POST\r\n340 send it\r\n240 got it\r\n");
}

TEST_F(PostQueueTest, ProgressTellsSubjectAndPlace) {
  const Keys keys = QueueThree();
  std::vector<int> positions;
  for (const std::string& key : keys) {
    Client("POST\r\n");
    fake.sockets.Then([&] {
      const auto bar = fake.display.Control(gProgressDialog, kControlProgressBar);
      positions.insert(positions.end(), {bar->lower, bar->upper, bar->position});
    });
    Server("340 go\r\n");
    Client(TextOfPost(key));
    Server("240 got it\r\n");
  }
  Run();
  EXPECT_EQ(positions, (std::vector<int>{0, 3, 1, 0, 3, 2, 0, 3, 3}));
  EXPECT_EQ(Titles(),
            (std::vector<std::u16string>{u"Preparing to download...", u"Posting queued articles"}));
  std::vector<std::u16string> details;
  for (const std::string& key : keys) {
    details.push_back(u"Posting article 'no. " + Widen(key) + u"'");
  }
  EXPECT_EQ(Details(), details);
}

TEST_F(PostQueueTest, SubjectIsWidened) {
  Queue("1", "J\xF6rg \x80");
  Posts("1", "240 got it");
  Run();
  EXPECT_EQ(Details(), std::vector<std::u16string>{u"Posting article 'J\u00F6rg \u20AC'"});
}

TEST_F(PostQueueTest, EncodedSubjectIsShownDecodedUnlessNothingIs) {
  for (const bool decoding : {true, false}) {
    SetDecoding(decoding);
    Queue("1", "=?UTF-8?Q?=CE=A9?=");
    Posts("1", "240 got it");
    Run();
    Disconnect();
    Connected();
  }
  SetDecoding(true);
  EXPECT_EQ(Details(), (std::vector<std::u16string>{u"Posting article '\u03A9'",
                                                    u"Posting article '=?UTF-8?Q?=CE=A9?='"}));
}

TEST_F(PostQueueTest, SubjectWithoutMemoryIsLeftOut) {
  Queue("1", std::string(300'000, 's'));
  Client("POST\r\n");
  fake.sockets.Then([] { testing::LimitNew(0); });
  Server("340 go\r\n");
  Client(TextOfPost("1"));
  Server("240 got it\r\n");
  testing::LimitNew(500'000);  // the record fits, the wide subject does not
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  testing::LimitNew(0);
  EXPECT_EQ(Details(), std::vector<std::u16string>{u"Posting article"});
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, BodyIsWrappedAndHeadersAreNot) {
  WithoutIds();
  const std::string words = std::string(74, 'x') + " yy";
  Queue("1", "s", words + "\r\n.\r\n", "X: " + words + "\r\n");
  Exchange("POST", kGoAhead);
  Client("X: " + words + "\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\n" + std::string(74, 'x') +
         "\r\nyy\r\n..\r\n\r\n.\r\n");
  Server("240 got it\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
}

TEST_F(PostQueueTest, TextOfAMegabyteIsSentWhole) {
  std::string body;
  for (int i = 0; body.size() < 1'000'000; ++i) body += ".line " + std::to_string(i) + "\r\n";
  std::string stuffed;
  for (const char c : body) stuffed += c == '.' ? std::string("..") : std::string(1, c);
  Queue("1", "s", body);
  Exchange("POST", kGoAhead);
  Client(TextOfPost("1", stuffed));
  Server("240 got it\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, CompressedPostIsSentAsItWasWritten) {
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Queue("1");
  Posts("1", "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, RepliesInSinglePiecesAreReadWhole) {
  fake.sockets.SetChunk(1);
  for (const std::string& key : QueueThree()) Posts(key, "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

// --- replies ---

TEST_F(PostQueueTest, RefusedPostCommandEndsTheRunAndLeavesThePostAlone) {
  for (const std::string reply : {"440 posting not allowed", "240 what?", "500 what?", "435 no"}) {
    Queue("1");
    Exchange("POST", reply);
    EXPECT_EQ(Run(), RunEnd::kRefused) << reply;
    EXPECT_EQ(ErrorLog(),
              u"An error occurred while posting articles. I send POST, and the server "
              u"replied: " +
                  Widen(reply) + u"\r\n\r\n");
    EXPECT_EQ(Queued(), Keys{"1"});
    EXPECT_EQ(MarkOf("1"), 0U);
    EXPECT_EQ(RefusalOfPost("1"), u"");
    gConnection.error_log = TextLog();
  }
}

TEST_F(PostQueueTest, RejectedPostIsMarkedAndTheOthersAreSent) {
  const Keys keys = QueueThree();
  Posts(keys[0], "441 437 no such group");
  Posts(keys[1], "240 got it");
  Posts(keys[2], "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"Article rejected by server: 441 437 no such group\r\n\r\n");
  EXPECT_EQ(Queued(), Keys{keys[0]});
  EXPECT_EQ(MarkOf(keys[0]), 1U);
  EXPECT_EQ(RefusalOfPost(keys[0]), u"441 437 no such group");
}

TEST_F(PostQueueTest, EveryRejectionIsLogged) {
  const Keys keys = QueueThree();
  for (const std::string& key : keys) Posts(key, "441 no");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(),
            u"Article rejected by server: 441 no\r\n\r\n"
            u"Article rejected by server: 441 no\r\n\r\n"
            u"Article rejected by server: 441 no\r\n\r\n");
  EXPECT_EQ(Queued().size(), 3U);
}

TEST_F(PostQueueTest, ServerThatTakesNoPostsEndsTheRun) {
  const Keys keys = QueueThree();
  Posts(keys[0], "440 not now");
  EXPECT_EQ(Run(), RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(), u"The server is not accepting posts: 440 not now\r\n\r\n");
  EXPECT_EQ(Queued().size(), 3U);
  EXPECT_EQ(MarkOf(keys[0]), 1U);
  EXPECT_EQ(RefusalOfPost(keys[0]), u"440 not now");
  EXPECT_EQ(MarkOf(keys[1]), 0U);
}

TEST_F(PostQueueTest, AnyOtherReplyEndsTheRun) {
  for (const std::string reply : {"400 closing", "340 more", "503 no", "garbage", "", "44"}) {
    Queue("1");
    Posts("1", reply);
    EXPECT_EQ(Run(), RunEnd::kRefused) << reply;
    EXPECT_EQ(ErrorLog(),
              u"An error occurred while posting articles: " + Widen(reply) + u"\r\n\r\n");
    EXPECT_EQ(Queued(), Keys{"1"});
    EXPECT_EQ(MarkOf("1"), 1U);
    EXPECT_EQ(RefusalOfPost("1"), Widen(reply));
    gConnection.error_log = TextLog();
  }
}

TEST_F(PostQueueTest, MarkedPostIsOfferedAgainAndLeavesWithItsReply) {
  Queue("1");
  Posts("1", "441 no");
  Run();
  EXPECT_EQ(RefusalOfPost("1"), u"441 no");
  Posts("1", "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
  EXPECT_EQ(RefusalOfPost("1"), u"");
}

TEST_F(PostQueueTest, MarkIsStoredInTheFormThatIsAskedFor) {
  LoadCompressionLibrary();
  Queue("1");
  gPrefs->usecompression = 1;
  Posts("1", "441 no");
  Run();
  const auto value = FetchValue(DatabaseIndex::kPendingPosts, std::string_view("1\0", 2));
  ASSERT_TRUE(value);
  EXPECT_EQ(GetU32(*value, 0), 2U);
  EXPECT_EQ(GetU32(*value, 4), 1U);
  EXPECT_EQ(FetchPendingPost("1")->body, "text\r\n");
  EXPECT_EQ(FetchPendingPost("1")->headers, "Newsgroups: a.b\r\n");
  EXPECT_EQ(FetchPendingPost("1")->subject, "s");
}

// --- keys and records ---

TEST_F(PostQueueTest, KeysAreTakenBeforeTheWalk) {
  Keys keys;
  for (int i = 0; i < 40; ++i) Queue(std::to_string(1000 + i));
  keys = Queued();
  // Every second one is stored back, longer than before.
  gPrefs->usecompression = 0;
  for (std::size_t i = 0; i < keys.size(); ++i) Posts(keys[i], i % 2 == 0 ? "441 no" : "240 ok");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  Keys left = Queued();
  Keys want;
  for (std::size_t i = 0; i < keys.size(); i += 2) want.push_back(keys[i]);
  std::sort(left.begin(), left.end());
  std::sort(want.begin(), want.end());
  EXPECT_EQ(left, want);
}

TEST_F(PostQueueTest, PostThatCannotBeFetchedIsPassedOver) {
  QueueThree();
  const Keys keys = Queued();
  ASSERT_TRUE(StoreValue(DatabaseIndex::kPendingPosts, keys[1] + std::string(1, '\0'),
                         std::string(8, '\7'), StoreMode::kReplace));
  Posts(keys[0], "240 got it");
  Posts(keys[2], "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(Queued(), Keys{keys[1]});
  EXPECT_EQ(ErrorLog(), u"");
}

TEST_F(PostQueueTest, PostThatVanishesOnTheWayIsPassedOver) {
  const Keys keys = QueueThree();
  Exchange("POST", kGoAhead);
  Client(TextOfPost(keys[0]));
  fake.sockets.Then([&] { DeletePendingPost(keys[1]); });
  Server("240 got it\r\n");
  Posts(keys[2], "240 got it");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, RefusedPostThatVanishedIsNotStoredBack) {
  Queue("1");
  Exchange("POST", kGoAhead);
  Client(TextOfPost("1"));
  fake.sockets.Then([] { DeletePendingPost("1"); });
  Server("441 no\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
  EXPECT_EQ(RefusalOfPost("1"), u"");
}

TEST_F(PostQueueTest, RecordUnderAnotherKeyStaysOne) {
  Queue("inside", "s");
  const auto value = FetchValue(DatabaseIndex::kPendingPosts, std::string_view("inside\0", 7));
  DeletePendingPost("inside");
  ASSERT_TRUE(StoreValue(DatabaseIndex::kPendingPosts, std::string_view("outside\0", 8), *value,
                         StoreMode::kInsert));
  gPendingPostCount = 1;
  Posts("outside", "441 no");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(Queued(), Keys{"outside"});
  EXPECT_EQ(MarkOf("outside"), 1U);
}

TEST_F(PostQueueTest, PostUnderEditIsLeftOutAndSaid) {
  gUpwardCalls.is_being_edited = [](std::string_view key) { return key == "2"; };
  for (const std::string& key : QueueThree()) {
    if (key != "2") Posts(key, "240 got it");
  }
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(Queued(), Keys{"2"});
  EXPECT_EQ(MarkOf("2"), 0U);
  EXPECT_EQ(ErrorLog(), u"The article 'no. 2' is being edited and was not posted.\r\n");
}

TEST_F(PostQueueTest, LinesOfTheErrorLogStandInTheOrderOfThePosts) {
  gUpwardCalls.is_being_edited = [](std::string_view key) {
    return key != *NextPendingPostKey({});
  };
  const Keys keys = QueueThree();
  Posts(keys[0], "441 no");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  std::u16string log = u"Article rejected by server: 441 no\r\n\r\n";
  for (const std::string& key : {keys[1], keys[2]}) {
    log += u"The article 'no. " + Widen(key) + u"' is being edited and was not posted.\r\n";
  }
  EXPECT_EQ(ErrorLog(), log);
}

TEST_F(PostQueueTest, DeliveredPostLeavesTheQueueWhateverComesNext) {
  const Keys keys = QueueThree();
  Posts(keys[0], "240 got it");
  fake.sockets.FailNth(SocketCall::kSend, 3, 10054);  // the next POST
  EXPECT_EQ(Run(), RunEnd::kLost);
  EXPECT_EQ(Queued(), (Keys{keys[1], keys[2]}));
}

TEST_F(PostQueueTest, WithoutTheExtensionADeliveredPostLeavesAtOnce) {
  WithoutIds();
  const Keys keys = QueueThree();
  Posts(keys[0], "240 got it");
  bool there = true;
  fake.sockets.on_call = [&](SocketCall call, int n) {
    if (call == SocketCall::kSend && n == 3) there = FetchPendingPost(keys[0]) != nullptr;
  };
  Exchange("POST", "500 what?");
  EXPECT_EQ(Run(), RunEnd::kRefused);
  EXPECT_FALSE(there);
}

TEST_F(PostQueueTest, CountOfPostsHoldsThoseThatAreLeftOut) {
  gUpwardCalls.is_being_edited = [](std::string_view key) { return key != "2"; };
  const Keys keys = QueueThree();
  const auto place = std::find(keys.begin(), keys.end(), "2") - keys.begin() + 1;
  int upper = 0;
  int position = 0;
  Client("POST\r\n");
  fake.sockets.Then([&] {
    const auto bar = fake.display.Control(gProgressDialog, kControlProgressBar);
    upper = bar->upper;
    position = bar->position;
  });
  Server("340 go\r\n");
  Client(TextOfPost("2"));
  Server("240 got it\r\n");
  Run();
  EXPECT_EQ(upper, 3);
  EXPECT_EQ(position, place);
}

// --- the Message-ID ---

TEST_F(PostQueueTest, SecondAttemptCarriesTheSameMessageId) {
  Queue("2024123115905123");
  Exchange("POST", kGoAhead);
  Client(
      "Newsgroups: a.b\r\nMessage-ID: <2024123115905123.00c0ffee@example.org>\r\n"
      "X-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
  fake.sockets.Closes();
  EXPECT_EQ(Run(), RunEnd::kLost);
  Connected();
  Posts("2024123115905123", "441 435 Duplicate");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_TRUE(Queued().empty());
}

TEST_F(PostQueueTest, UsersOwnMessageIdIsLeftAlone) {
  Queue("1", "s", "b\r\n", "From: a\r\nmessage-ID: <own@x.y>\r\n");
  Exchange("POST", kGoAhead);
  Client(
      "From: a\r\nmessage-ID: <own@x.y>\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\nb\r\n\r\n.\r\n");
  Server("240 got it\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
}

TEST_F(PostQueueTest, WithoutTheExtensionThereIsNone) {
  WithoutIds();
  fake.registry.Erase(kExtensionsPath, u"postmessageidmark");
  Queue("1");
  Exchange("POST", kGoAhead);
  Client("Newsgroups: a.b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\ntext\r\n\r\n.\r\n");
  Server("240 got it\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_FALSE(fake.registry.Find(kExtensionsPath, u"postmessageidmark"));
}

TEST_F(PostQueueTest, DuplicateCountsAsDelivered) {
  for (const std::string reply :
       {"441 435 Duplicate", "441 duplicate article", "435 not wanted", "441 Duplicate id",
        "441 (435)", "435 Duplicate", "441 1435 uplicate"}) {
    Queue("1");
    Posts("1", reply);
    EXPECT_EQ(Run(), RunEnd::kGoOn) << reply;
    EXPECT_TRUE(Queued().empty()) << reply;
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_TRUE(TransactionLog().ends_with(
        reply + "\r\nThe server has this article already: it leaves the queue.\r\n"));
  }
}

TEST_F(PostQueueTest, OtherRefusalsAreNoDuplicates) {
  for (const std::string reply : {"441 437 too old", "441 4350 bytes", "441 DUPLICATE",
                                  "441 line 1435", "440 435 Duplicate", "437 Duplicate"}) {
    Queue("1");
    Posts("1", reply);
    EXPECT_EQ(Run(), reply.starts_with("441") ? RunEnd::kGoOn : RunEnd::kRefused) << reply;
    EXPECT_EQ(MarkOf("1"), 1U) << reply;
  }
}

TEST_F(PostQueueTest, WithoutTheExtensionADuplicateIsARejection) {
  WithoutIds();
  Queue("1");
  Posts("1", "441 435 Duplicate");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(MarkOf("1"), 1U);
  EXPECT_EQ(ErrorLog(), u"Article rejected by server: 441 435 Duplicate\r\n\r\n");
  gConnection.error_log = TextLog();
  Posts("1", "435 Duplicate");
  EXPECT_EQ(Run(), RunEnd::kRefused);
  EXPECT_EQ(ErrorLog(), u"An error occurred while posting articles: 435 Duplicate\r\n\r\n");
}

// --- posts in every language ---

// What the editor stores: the wire has the same bytes, in columns of characters.
constexpr char kMimeLines[] =
    "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=UTF-8\r\n"
    "Content-Transfer-Encoding: 8bit\r\n";

TEST_F(PostQueueTest, TextsOfEveryScriptGoOutAsTheyAreStored) {
  WithoutIds();
  const std::vector<std::string> bodies = {
      "\xCE\x93\xCE\xB5\xCE\xB9\xCE\xAC \xCF\x83\xCE\xB1\xCF\x82\r\n",       // Greek
      "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x80\x82\r\n",                // Japanese
      ".\xF0\x9F\x98\x80\r\n.\r\n",                                          // an emoji
      "plain, \xD0\x96 \xE2\x82\xAC, caf\xC3\xA9 and e\xCC\x81\r\n\r\nend",  // of all kinds
  };
  const std::vector<std::string> sent = {
      "\xCE\x93\xCE\xB5\xCE\xB9\xCE\xAC \xCF\x83\xCE\xB1\xCF\x82\r\n",
      "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\xE3\x80\x82\r\n",
      "..\xF0\x9F\x98\x80\r\n..\r\n",
      "plain, \xD0\x96 \xE2\x82\xAC, caf\xC3\xA9 and e\xCC\x81\r\n\r\nend\r\n",
  };
  const std::string head = std::string("Newsgroups: a.b\r\n") + kMimeLines;
  for (std::size_t i = 0; i < bodies.size(); ++i) Queue(std::to_string(i), "s", bodies[i], head);
  for (const std::string& key : Queued()) {
    Exchange("POST", kGoAhead);
    Client(head + "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" + sent[std::stoul(key)] + "\r\n.\r\n");
    Server("240 ok\r\n");
  }
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(Queued().empty());
}

std::string Suns(std::size_t count) {
  std::string suns;
  while (count-- > 0) suns += "\xE6\x97\xA5";
  return suns;
}

TEST_F(PostQueueTest, LinesOfWideCharactersAreBrokenByColumns) {
  WithoutIds();
  const std::string head = std::string("Newsgroups: a.b\r\n") + kMimeLines;
  Queue("1", "s", Suns(37) + " " + Suns(400) + "\r\n", head);
  Exchange("POST", kGoAhead);
  Client(head + "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" + Suns(37) + "\r\n" + Suns(332) + "\r\n" +
         Suns(68) + "\r\n\r\n.\r\n");
  Server("240 ok\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
}

TEST_F(PostQueueTest, SwitchedOffTheyAreBrokenByBytes) {
  WithoutIds();
  fake.registry.PutDword(kExtensionsPath, u"postcharsets", 0);
  const std::string head = std::string("Newsgroups: a.b\r\n") + kMimeLines;
  // Column 76 is a blank when each byte is a column, and 499 bytes end in the middle of a
  // character.
  Queue("1", "s", Suns(25) + " " + Suns(200) + "\r\n", head);
  Exchange("POST", kGoAhead);
  Client(head + "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" + Suns(25) + "\r\n" + Suns(166) +
         "\xE6\r\n\x97\xA5" + Suns(33) + "\r\n\r\n.\r\n");
  Server("240 ok\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
}

TEST_F(PostQueueTest, ServerThatRefusesEightBitsRefusesAsAlways) {
  WithoutIds();
  const std::string head = std::string("Newsgroups: a.b\r\n") + kMimeLines;
  Queue("1", "s", Suns(1) + "\r\n", head);
  Exchange("POST", kGoAhead);
  Client(head + "X-Newsreader: Quillet CE 1.14r3\r\n\r\n" + Suns(1) + "\r\n\r\n.\r\n");
  Server("441 8bit is not taken here\r\n");
  EXPECT_EQ(Run(), RunEnd::kGoOn);
  EXPECT_EQ(ErrorLog(), u"Article rejected by server: 441 8bit is not taken here\r\n\r\n");
  EXPECT_EQ(MarkOf("1"), 1U);
  EXPECT_EQ(FetchPendingPost("1")->body, Suns(1) + "\r\n");
}

// --- loss, silence, Cancel ---

TEST_F(PostQueueTest, FailingSendIsALossAtEveryStep) {
  for (int n = 1; n <= 6; ++n) {
    SCOPED_TRACE(n);
    Disconnect();
    while (gPendingPostCount > 0) DeletePendingPost(*NextPendingPostKey({}));
    const Keys keys = QueueThree();
    Connected();
    for (int i = 0; i < n - 1; ++i) {
      if (i % 2 == 0) {
        Exchange("POST", kGoAhead);
      } else {
        Client(TextOfPost(keys[static_cast<std::size_t>(i / 2)]));
        Server("240 got it\r\n");
      }
    }
    fake.sockets.FailNth(SocketCall::kSend, n, 10054);
    EXPECT_EQ(Run(), RunEnd::kLost);
    EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
    EXPECT_EQ(Queued().size(), 3U - static_cast<std::size_t>((n - 1) / 2));
    for (const std::string& key : Queued()) EXPECT_EQ(MarkOf(key), 0U);
  }
}

TEST_F(PostQueueTest, FailingReceiveIsALossAtEveryStep) {
  for (int n = 1; n <= 6; ++n) {
    SCOPED_TRACE(n);
    Disconnect();
    while (gPendingPostCount > 0) DeletePendingPost(*NextPendingPostKey({}));
    const Keys keys = QueueThree();
    Connected();
    for (int i = 0; i < n; ++i) {
      if (i % 2 == 0) {
        Exchange("POST", kGoAhead);
      } else {
        Client(TextOfPost(keys[static_cast<std::size_t>(i / 2)]));
        Server("240 got it\r\n");
      }
    }
    Quits();
    fake.sockets.FailNth(SocketCall::kReceive, n, 10054);
    EXPECT_EQ(Run(), RunEnd::kLost);
    EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
    EXPECT_EQ(Queued().size(), 3U - static_cast<std::size_t>((n - 1) / 2));
    for (const std::string& key : Queued()) EXPECT_EQ(MarkOf(key), 0U);
  }
}

TEST_F(PostQueueTest, ServerThatClosesWhilePostingIsALoss) {
  for (const bool after_text : {false, true}) {
    Disconnect();
    Queue("1");
    Connected();
    Client("POST\r\n");
    if (after_text) {
      Server("340 go\r\n");
      Client(TextOfPost("1"));
    }
    Server("24");
    fake.sockets.Closes();
    EXPECT_EQ(Run(), RunEnd::kLost);
    EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
    EXPECT_EQ(Queued(), Keys{"1"});
    EXPECT_EQ(MarkOf("1"), 0U);
  }
}

TEST_F(PostQueueTest, CancelBetweenTwoPostsLeavesTheRest) {
  const Keys keys = QueueThree();
  Exchange("POST", kGoAhead);
  Client(TextOfPost(keys[0]));
  Server("240 got it\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  EXPECT_EQ(Run(), RunEnd::kCancelled);
  EXPECT_EQ(Queued(), (Keys{keys[1], keys[2]}));
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(gConnection.wire.IsOpen());  // for QUIT
}

TEST_F(PostQueueTest, CancelBeforeTheTextSendsNoneOfIt) {
  for (const bool session : {false, true}) {
    for (const bool silent : {false, true}) {
      Disconnect();
      Queue("1");
      Connected();
      Client("POST\r\n");
      if (!silent) Server("340 go\r\n");
      fake.sockets.Then([session] { session ? BeginSessionEnd() : RequestAbort(); });
      if (silent) fake.sockets.Stalls();
      const std::size_t before = fake.sockets.sent().size();
      EXPECT_EQ(Run(), session ? RunEnd::kSessionEnds : RunEnd::kCancelled);
      EXPECT_EQ(fake.sockets.sent().substr(before), "POST\r\n");
      EXPECT_FALSE(gConnection.wire.IsOpen());
      EXPECT_EQ(Queued(), Keys{"1"});
      EXPECT_EQ(MarkOf("1"), 0U);
      EXPECT_EQ(ErrorLog(), u"");
    }
  }
}

TEST_F(PostQueueTest, CancelInTheMiddleOfTheTextClosesWithoutQuit) {
  Queue("1");
  Exchange("POST", kGoAhead);
  fake.sockets.on_call = [](SocketCall call, int n) {
    if (call == SocketCall::kSend && n == 2) RequestAbort();
  };
  fake.sockets.FailNth(SocketCall::kSend, 2, 10054);
  EXPECT_EQ(Run(), RunEnd::kCancelled);
  EXPECT_FALSE(gConnection.wire.IsOpen());
  EXPECT_EQ(Queued(), Keys{"1"});
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(TransactionLog().ends_with(
      "340 send it\r\nEnded before the article was sent whole. It stays in the queue.\r\n"));
}

TEST_F(PostQueueTest, CancelWhileTheLastReplyIsWaitedForKeepsThePost) {
  Queue("1");
  Exchange("POST", kGoAhead);
  Client(TextOfPost("1"));
  fake.sockets.Then([] { RequestAbort(); });
  fake.sockets.Stalls();
  EXPECT_EQ(Run(), RunEnd::kCancelled);
  EXPECT_EQ(Queued(), Keys{"1"});
  EXPECT_EQ(MarkOf("1"), 0U);
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_TRUE(gConnection.wire.IsOpen());
}

TEST_F(PostQueueTest, TextThatMemoryDoesNotHoldEndsTheRun) {
  Queue("1", "s", std::string(1'000'000, '.'));
  Exchange("POST", kGoAhead);
  fake.sockets.on_call = [](SocketCall call, int n) {
    if (call == SocketCall::kSend && n == 1) testing::LimitNew(900'000);
    if (call == SocketCall::kReceive) testing::LimitNew(0);
  };
  EXPECT_EQ(Run(), RunEnd::kNoMemory);
  testing::LimitNew(0);
  EXPECT_EQ(ErrorLog(),
            u"Quillet ran out of memory while posting articles. Skipping queued articles.\r\n");
  EXPECT_EQ(Queued(), Keys{"1"});
  EXPECT_EQ(MarkOf("1"), 0U);
}

// --- in the connection ---

class PostConnectionTest : public PostQueueTest {
 protected:
  PostConnectionTest() {
    Disconnect();
    ChooseGroups({0});
  }
  RunEnd Connect() {
    const RunEnd end = RunWithProgress(u"Preparing to download...", OpenConnection);
    EXPECT_EQ(fake.sockets.open_sockets(), 0);
    fake.sockets.Verify();
    return end;
  }
};

TEST_F(PostConnectionTest, PostsGoOutBeforeTheDownload) {
  Queue("1");
  Server("200 hi\r\n");
  Posts("1", "441 no");
  Exchange("GROUP comp.lang.misc", "411 gone");
  Quits();
  EXPECT_EQ(Connect(), RunEnd::kGoOn);
  EXPECT_EQ(MarkOf("1"), 1U);
}

TEST_F(PostConnectionTest, ServerWithoutPostingIsStillReadFrom) {
  Queue("1");
  Queue("2");
  Server("201 read only\r\n");
  Exchange("GROUP comp.lang.misc", "411 gone");
  Quits();
  EXPECT_EQ(Connect(), RunEnd::kGoOn);
  EXPECT_TRUE(ErrorLog().starts_with(
      u"The news server does not allow posting. Skipping queued posts.\r\n"));
  EXPECT_EQ(Queued().size(), 2U);
}

TEST_F(PostConnectionTest, RefusalClosesTheConnectionWithoutADownload) {
  Queue("1");
  Server("200 hi\r\n");
  Exchange("POST", "440 no");
  Quits();
  EXPECT_EQ(Connect(), RunEnd::kRefused);
  EXPECT_EQ(BoxTexts().size(), 1U);
}

TEST_F(PostConnectionTest, CancelledTextIsFollowedByNothing) {
  Queue("1");
  Server("200 hi\r\n");
  Client("POST\r\n");
  Server("340 go\r\n");
  fake.sockets.Then([] { RequestAbort(); });
  EXPECT_EQ(Connect(), RunEnd::kCancelled);
  EXPECT_EQ(fake.sockets.sent(), "POST\r\n");
  EXPECT_TRUE(BoxTexts().empty());
}

}  // namespace
}  // namespace quillet
