// SPDX-License-Identifier: GPL-3.0-or-later
// The whole path over the system's sockets.
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

#include "nntp/connection.h"
#include "nntp/post_text.h"
#include "port/linux/linux_sockets.h"
#include "store/pending_posts.h"
#include "tests/nntp/loopback_news.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

class LoopbackTest : public NntpTest {
 protected:
  LoopbackTest() {
    gPlatform = &platform_;
    gPrefs->servers = {u"127.0.0.1"};
    OpenStore();
  }
  ~LoopbackTest() override {
    CloseDatabases();
    gPlatform = &fake.platform;
  }

  void Run(std::uint16_t port) {
    gPrefs->port = {port};
    ASSERT_TRUE(StartInet());
    RunWithProgress(u"Preparing to download...", [] { return OpenConnection(); });
    StopInet();
    EXPECT_EQ(gConnection.wire.socket(), 0U);
    EXPECT_FALSE(gConnection.server_name.has_value());
  }

  // Shared with the thread of a lookup, which may outlive the test.
  std::shared_ptr<std::atomic<bool>> hanging_ = std::make_shared<std::atomic<bool>>(false);
  port::LinuxSockets sockets_{
      [hanging = hanging_](const std::string&, std::vector<port::Address>& addresses) {
        while (*hanging) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        addresses = {port::Ipv4(127, 0, 0, 1)};
        return 0;
      }};
  port::Platform platform_{fake.display.Services(), fake.queues,  fake.registry, sockets_,
                           fake.libraries,          fake.files,   fake.clock,    fake.shell,
                           fake.scheduler,          fake.dialler, fake.mail,     fake.contacts,
                           fake.security,           fake.secrets};
};

void LayOneArticle(TranscriptServer& server) {
  server.Client("GROUP comp.lang.misc\r\n");
  server.Server("211 1 5 5 comp.lang.misc\r\n");
  server.Client("STAT 5\r\n");
  server.Server("223 5 <a@x>\r\n");
  server.Client("HEAD\r\n");
}

TEST_F(LoopbackTest, WholeTransactionOverARealSocket) {
  ChooseGroups({0});
  gPrefs->useauths = {1};
  gPrefs->authusers = {u"ann"};
  gPrefs->authpasses = {u"secret"};
  TranscriptServer server;
  server.Server("200 ready\r\n");
  server.Client("AUTHINFO USER ann\r\n");
  server.Server("381 more\r\n");
  server.Client("AUTHINFO PASS secret\r\n");
  server.Server("281 ok\r\n");
  LayOneArticle(server);
  server.Server("221 5 <a@x>\r\n");
  server.Server("Message-ID: <a@x>\r\nSubject: s\r\nFrom: f\r\n.\r\n");
  server.Client("BODY\r\n");
  server.Trickle("222 5 <a@x>\r\nsome text\r\n.\r\n");
  server.Client("QUIT\r\n");
  Run(server.port());
  EXPECT_EQ(server.Problem(), "");
  EXPECT_EQ(ErrorLog(), u"");
  ASSERT_NE(FetchArticle("<a@x>"), nullptr);
  EXPECT_EQ(FetchArticle("<a@x>")->body, "some text");
  EXPECT_EQ(SavedProgress(), (std::vector<std::uint32_t>{5, 0}));
}

TEST_F(LoopbackTest, ServerThatClosesIsALostConnection) {
  ChooseGroups({0});
  TranscriptServer server;
  server.Server("200 ready\r\n");
  LayOneArticle(server);
  server.Server("221 5 <a@x>\r\nMessage-ID: <a@x>\r\n");
  Run(server.port());
  EXPECT_EQ(ErrorLog(), u"socket destroyed\r\n");
  EXPECT_EQ(FetchArticle("<a@x>"), nullptr);
}

TEST_F(LoopbackTest, PortWithoutAServerRefuses) {
  std::uint16_t port = 0;
  { port = port::PortOf(port::ListenOnLoopback(1).get()); }
  Run(port);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"An unexpected error (connect: the news server refused the "
                            u"connection) occurred in OpenConnection."});
}

// An abort while the server is waited for. The bound is far above what it takes and far below what
// it took to wait for the server, or for its answer to QUIT.
class AbortTest : public LoopbackTest {
 protected:
  AbortTest() { ChooseGroups({0}); }

  void RunAborted(std::uint16_t port, bool session_ends = false) {
    std::chrono::steady_clock::time_point asked;
    std::thread asking([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      asked = std::chrono::steady_clock::now();
      session_ends ? BeginSessionEnd() : RequestAbort();
    });
    Run(port);
    const auto ended = std::chrono::steady_clock::now();
    asking.join();
    EXPECT_GE(ended, asked);
    EXPECT_LT(ended - asked, std::chrono::milliseconds(1000));
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_TRUE(fake.display.boxes().empty());
  }
};

TEST_F(AbortTest, LookupThatHangs) {
  gPrefs->servers = {u"news.example.org"};
  for (const bool session_ends : {false, true}) {
    *hanging_ = true;
    RunAborted(119, session_ends);
    *hanging_ = false;
  }
}

TEST_F(AbortTest, ServerThatDoesNotGreet) {
  for (const bool session_ends : {false, true}) {
    TranscriptServer server;
    server.Stalls();
    RunAborted(server.port(), session_ends);
    EXPECT_EQ(server.Problem(), "");  // left without a word
  }
}

TEST_F(AbortTest, ServerThatFallsSilentInABody) {
  for (const bool session_ends : {false, true}) {
    TranscriptServer server;
    server.Server("200 ready\r\n");
    LayOneArticle(server);
    server.Server("221 5 <a@x>\r\nMessage-ID: <a@x>\r\nSubject: s\r\n.\r\n");
    server.Client("BODY\r\n");
    server.Server("222 5 <a@x>\r\nhalf");
    server.Client("QUIT\r\n");
    server.Stalls();
    RunAborted(server.port(), session_ends);
    EXPECT_EQ(server.Problem(), "");
    EXPECT_EQ(FetchArticle("<a@x>"), nullptr);
    EXPECT_EQ(SavedProgress(), (std::vector<std::uint32_t>{0, 0}));
    ChooseGroups({0});
  }
}

void Queue(const std::string& key, const std::string& body) {
  AsciiArticle post;
  post.messageId = key;
  post.headers = "Newsgroups: a.b\r\n";
  post.body = body;
  ASSERT_TRUE(StoreAsciiGDBMPost(post));
}

// The server takes the beginning of a text that is larger than all buffers on the way.
TEST_F(AbortTest, ServerThatStopsTakingAPost) {
  constexpr std::string_view kBeginning = "Newsgroups: a.b\r\n";
  for (const bool session_ends : {false, true}) {
    std::atomic<bool> in_text{false}, asked{false}, gone{false};
    std::string rest;  // read here when `gone`
    Queue("1", std::string(20'000'000, 'x'));
    const port::LoopbackServer server([&](int client) {
      port::SendAll(client, "200 ready\r\n");
      EXPECT_EQ(port::ReceiveExactly(client, 6), "POST\r\n");
      port::SendAll(client, "340 send it\r\n");
      EXPECT_EQ(port::ReceiveExactly(client, kBeginning.size()), kBeginning);
      in_text = true;
      while (!asked) std::this_thread::sleep_for(std::chrono::milliseconds(5));
      rest = port::ReceiveExactly(client, 30'000'000);
      gone = true;
    });
    std::thread asking([&] {
      while (!in_text) std::this_thread::sleep_for(std::chrono::milliseconds(5));
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
      session_ends ? BeginSessionEnd() : RequestAbort();
    });
    Run(server.port());
    asking.join();
    asked = true;
    for (int i = 0; i < 1000 && !gone; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(gone);
    // Some more of it, and then the end of the connection: no end of the text, no command behind.
    EXPECT_LT(rest.size(), 20'000'000U);
    EXPECT_EQ(rest.find_first_not_of("x\r\n", rest.find("\r\n\r\n")), std::string::npos);
    EXPECT_EQ(ErrorLog(), u"");
    EXPECT_EQ(CountPendingPosts(), 1U);
    EXPECT_EQ(FetchPendingPost("1")->read, 0U);
  }
}

TEST_F(LoopbackTest, PostsOfEverySizeArriveWhole) {
  ChooseGroups({});
  NewsModel model;
  std::vector<std::string> bodies = {"", ".\r\n", "one\r\n"};
  std::string large;
  while (large.size() < 2'000'000) large += "> a line of " + std::to_string(large.size()) + "\r\n";
  bodies.push_back(large);
  for (std::size_t i = 0; i < bodies.size(); ++i) Queue(std::to_string(i), bodies[i]);
  {
    const ModelServer server(model);
    Run(server.port());
  }
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(CountPendingPosts(), 0U);
  ASSERT_EQ(model.posts.size(), bodies.size());
  for (const ModelPost& post : model.posts) {
    const std::string& body = bodies[static_cast<std::size_t>(post.id[1] - '0')];
    EXPECT_EQ(post.text + ".\r\n",
              BuildPostText("Newsgroups: a.b\r\n", body, "Message-ID: " + post.id));
  }
}

TEST_F(AbortTest, ServerThatDripsItsReplies) {
  std::atomic<bool> gone{false};
  const port::LoopbackServer server([&](int client) {
    while (port::SendAll(client, "2")) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    gone = true;
  });
  RunAborted(server.port());
  for (int i = 0; i < 500 && !gone; ++i) std::this_thread::sleep_for(std::chrono::milliseconds(10));
  EXPECT_TRUE(gone);
}

TEST_F(AbortTest, ServerThatDoesNotCloseAfterQuit) {
  TranscriptServer server;
  server.Server("200 ready\r\n");
  server.Client("GROUP comp.lang.misc\r\n");
  server.Server("411 no such group\r\n");
  server.Client("QUIT\r\n");
  server.Stalls();
  std::thread asking([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    RequestAbort();
  });
  const auto start = std::chrono::steady_clock::now();
  Run(server.port());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  asking.join();
  EXPECT_EQ(server.Problem(), "");
}

TEST_F(LoopbackTest, ServerThatClosesAfterQuitIsNotWaitedFor) {
  ChooseGroups({});
  TranscriptServer server;
  server.Server("200 ready\r\n");
  server.Client("QUIT\r\n");
  server.Server("205 bye\r\n");
  const auto start = std::chrono::steady_clock::now();
  Run(server.port());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1500));
  EXPECT_EQ(server.Problem(), "");
}

TEST_F(LoopbackTest, ServerThatDoesNotCloseAfterQuitIsWaitedForTwoSeconds) {
  ChooseGroups({});
  TranscriptServer server;
  server.Server("200 ready\r\n");
  server.Client("QUIT\r\n");
  server.Stalls();
  const auto start = std::chrono::steady_clock::now();
  Run(server.port());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1990));
  EXPECT_EQ(server.Problem(), "");
}

TEST_F(LoopbackTest, LargeBodiesAndManyArticlesArriveWhole) {
  NewsModel model;
  std::string line;
  for (std::uint32_t n = 1; n <= 300; ++n) {
    line += static_cast<char>('a' + n % 26);
    std::string body = line;
    body.append("\r\n..\r\n").append(line).append("\r\n");
    model.Add("comp.lang.misc", n, FormatNarrow("<%lu@x>", n), body);
  }
  std::string large;
  for (int i = 0; i < 80'000; ++i) large += "0123456789012345678901234567890123456789\r\n";
  model.Add("alt.test", 7, "<large@x>", large);
  model.Add("alt.test", 8, "<small@x>", "small\r\n");
  gPrefs->maxarticles = 1000;
  const ModelServer server(model);
  Run(server.port());
  EXPECT_EQ(ErrorLog(), u"");
  EXPECT_EQ(gReadInfo[0]->totalCount, 300U);
  EXPECT_EQ(gReadInfo[1]->totalCount, 2U);
  for (const ModelArticle& article : model.groups[0].articles) {
    const auto stored = FetchArticle(article.id);
    ASSERT_NE(stored, nullptr) << article.id;
    EXPECT_EQ(*stored->body + "\r\n", article.body);
    EXPECT_EQ(stored->articleNumber, article.number);
  }
  EXPECT_EQ(FetchArticle("<large@x>")->body,
            "Quillet notification: message exceeds maximum size.\r\n");
  EXPECT_EQ(FetchArticle("<small@x>")->body, "small");

  ChooseGroups({0, 1});
  Run(server.port());  // nothing new
  EXPECT_EQ(gReadInfo[0]->totalCount, 300U);
}

}  // namespace
}  // namespace quillet
