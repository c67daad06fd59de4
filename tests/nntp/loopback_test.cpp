// The whole path over the system's sockets.
#include <chrono>
#include <thread>

#include "nntp/connection.h"
#include "port/linux/linux_sockets.h"
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

  port::LinuxSockets sockets_;
  port::Platform platform_{fake.display.Services(), fake.queues, fake.registry, sockets_,
                           fake.libraries,          fake.files,  fake.clock,    fake.shell,
                           fake.scheduler,          fake.dialler};
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

TEST_F(LoopbackTest, InterruptEndsAWaitForTheGreeting) {
  TranscriptServer server;
  server.Stalls();
  std::thread ending([this] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    RequestAbort();
    sockets_.Interrupt();
  });
  Run(server.port());
  ending.join();
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
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
