// SPDX-License-Identifier: GPL-3.0-or-later
// The handshake under every disturbance, and the bytes of an encrypted connection.
#include <gtest/gtest.h>
#include <openssl/bio.h>
#include <openssl/err.h>

#include <atomic>
#include <future>

#include "tests/port/linux_tls_fixture.h"

namespace quillet::port {
namespace {

using namespace std::chrono_literals;

const ServerWish& GoodServer() {
  static const ServerWish wish{.identity = &GoodIdentity()};
  return wish;
}

std::thread InterruptSoon(LinuxSockets& sockets) {
  return std::thread([&sockets] {
    std::this_thread::sleep_for(100ms);
    sockets.Interrupt(InterruptReason::kCancel);
  });
}

// The records that a client sends: their types, as far as they are whole.
std::string RecordTypes(const std::string& bytes) {
  std::string types;
  for (std::size_t at = 0; at + 5 <= bytes.size();) {
    types += bytes[at];
    at += 5 + (static_cast<unsigned char>(bytes[at + 3]) << 8U) +
          static_cast<unsigned char>(bytes[at + 4]);
  }
  return types;
}

// Sends the first `count` bytes of what the server of that version answers to the client's first
// flight, then closes. `size` is how many there are, `more` what the client sends after them.
void AnswerBeginning(int client, SSL_CTX* context, std::size_t count, std::size_t& size,
                     std::string& more) {
  const std::string header = ReceiveExactly(client, 5);
  if (header.size() < 5) return;
  const std::size_t length =
      (static_cast<std::size_t>(static_cast<unsigned char>(header[3])) << 8U) +
      static_cast<unsigned char>(header[4]);
  const std::string hello = header + ReceiveExactly(client, length);
  const std::unique_ptr<SSL, FreedBy<SSL_free>> ssl(SSL_new(context));
  BIO* const in = BIO_new(BIO_s_mem());
  BIO* const out = BIO_new(BIO_s_mem());
  SSL_set_bio(ssl.get(), in, out);
  BIO_write(in, hello.data(), static_cast<int>(hello.size()));
  SSL_accept(ssl.get());
  char* flight = nullptr;
  size = static_cast<std::size_t>(BIO_get_mem_data(out, &flight));
  SendAll(client, {flight, std::min(count, size)});
  shutdown(client, SHUT_WR);
  more = ReceiveExactly(client, 100'000);
}

class CutHandshake : public LinuxTls, public testing::WithParamInterface<int> {};

TEST_P(CutHandshake, AtAnyByteOfTheFirstAnswerEndsTheConnection) {
  ServerWish wish = GoodServer();
  wish.lowest = wish.highest = GetParam();
  const SslContext context = MakeServerContext(wish);
  std::size_t count = 0, size = 0;
  std::string more;
  do {
    {
      LoopbackServer server(
          [&](int client) { AnswerBeginning(client, context.get(), count, size, more); });
      const TlsResult result = Try(server.port());
      if (count < size || size == 0) {
        ASSERT_EQ(result.outcome, TlsOutcome::kFailed) << count;
        ASSERT_EQ(result.problem,
                  u"The connection to news.example.org ended during the TLS handshake.")
            << count;
        ExpectDead();
      }
      sockets_.Close(socket_);
    }
    if (count >= size) break;
    // An alert at most (in TLS 1.3 as "application data" once there are keys): 21 and 23, not 22.
    for (const char type : RecordTypes(more)) ASSERT_NE(type, 22) << count;
    ASSERT_LT(more.size(), 60U) << count;
  } while (++count <= size);
  EXPECT_GT(size, 500U);
}
INSTANTIATE_TEST_SUITE_P(OfBothVersions, CutHandshake,
                         testing::Values(TLS1_2_VERSION, TLS1_3_VERSION));

TEST_F(LinuxTls, ServerThatSpeaksInTheClearIsTold) {
  for (const std::string text : {"200 news.example.org ready\r\n", "500 What?\r\n"}) {
    LoopbackServer server([&](int client) {
      if (text[0] == '5') ReceiveExactly(client, 50);
      SendAll(client, text);
      ReceiveExactly(client, 10'000);
    });
    const TlsResult result = Try(server.port());
    EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
    EXPECT_EQ(result.problem, u"news.example.org does not speak TLS on this port.");
    ExpectDead();
    sockets_.Close(socket_);
  }
}

TEST_F(LinuxTls, NoiseThatBeginsLikeTlsIsRefused) {
  LoopbackServer server([](int client) {
    ReceiveExactly(client, 50);
    SendAll(client, std::string("\x16\x03\x03\x00\x10", 5) + std::string(64, '\x7F'));
    ReceiveExactly(client, 10'000);
  });
  const TlsResult result = Try(server.port());
  EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
  EXPECT_TRUE(
      result.problem.starts_with(u"No encrypted connection to news.example.org is possible: "));
  ExpectDead();
}

TEST_F(LinuxTls, ReplyInTheClearBeforeTheHandshakeIsThrownAway) {
  const SslContext context = MakeServerContext(GoodServer());
  LoopbackServer server([&](int client) {
    EXPECT_EQ(ReceiveExactly(client, 10), "STARTTLS\r\n");
    SendAll(client, "382 go on\r\n281 injected\r\n");
    TlsPeer peer(context.get(), client);
    ASSERT_TRUE(peer.Accept());
    EXPECT_TRUE(peer.Send("200 encrypted\r\n"));
    peer.ReceiveAll();
  });
  socket_ = ConnectedTo(server.port());
  ASSERT_TRUE(sockets_.Send(socket_, "STARTTLS\r\n"));
  EXPECT_EQ(Receive(11, 11), "382 go on\r\n");
  EXPECT_EQ(sockets_.StartTls(socket_, {"news.example.org", ""}).outcome, TlsOutcome::kDone);
  EXPECT_EQ(Receive(15), "200 encrypted\r\n");
  sockets_.Close(socket_);
}

TEST_F(LinuxTls, ReplyInTheClearThatComesLateIsThrownAwayToo) {
  const SslContext context = MakeServerContext(GoodServer());
  std::promise<void> read, injected;
  LoopbackServer server([&](int client) {
    SendAll(client, "382 go on\r\n");
    read.get_future().wait();
    SendAll(client, "281 injected\r\n");
    injected.set_value();
    TlsPeer peer(context.get(), client);
    ASSERT_TRUE(peer.Accept());
    EXPECT_TRUE(peer.Send("200 encrypted\r\n"));
    peer.ReceiveAll();
  });
  const int fd = NextDescriptor();
  socket_ = ConnectedTo(server.port());
  EXPECT_EQ(Receive(11), "382 go on\r\n");
  read.set_value();
  injected.get_future().wait();
  pollfd arrived{fd, POLLIN, 0};
  ASSERT_EQ(poll(&arrived, 1, 10'000), 1);
  EXPECT_EQ(sockets_.StartTls(socket_, {"news.example.org", ""}).outcome, TlsOutcome::kDone);
  EXPECT_EQ(Receive(15), "200 encrypted\r\n");
  sockets_.Close(socket_);
}

TEST_F(LinuxTls, SecondHandshakeOnOneConnectionIsRefused) {
  const TlsServer server(GoodServer(), [](TlsPeer& peer) { EXPECT_EQ(peer.ReceiveAll(), ""); });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  EXPECT_EQ(sockets_.StartTls(socket_, {"news.example.org", ""}).outcome, TlsOutcome::kFailed);
  ExpectDead();
}

TEST_F(LinuxTls, SilenceInTheHandshakeEndsAtTheStallLimit) {
  LoopbackServer server([](int client) { ReceiveExactly(client, 1'000'000); });
  socket_ = ConnectedTo(server.port());
  sockets_.SetStallLimit(socket_, 50);
  const TlsResult result = sockets_.StartTls(socket_, {"news.example.org", ""});
  EXPECT_EQ(result.outcome, TlsOutcome::kFailed);
  EXPECT_EQ(result.problem, u"news.example.org was silent during the TLS handshake.");
  EXPECT_EQ(sockets_.LastError(), kErrorStalled);
  ExpectDead();
}

TEST_F(LinuxTls, InterruptEndsTheHandshakeAtItsEveryWait) {
  LoopbackServer server([](int client) { ReceiveExactly(client, 1'000'000); });
  for (const InterruptReason reason : {InterruptReason::kCancel, InterruptReason::kSessionEnd}) {
    socket_ = ConnectedTo(server.port());
    std::thread interrupter([&] {
      std::this_thread::sleep_for(100ms);
      sockets_.Interrupt(reason);
    });
    const StopWatch watch;
    const TlsResult result = sockets_.StartTls(socket_, {"news.example.org", ""});
    EXPECT_LT(watch.Milliseconds(), 5000);
    interrupter.join();
    EXPECT_EQ(result.outcome, TlsOutcome::kInterrupted);
    EXPECT_EQ(result.problem, u"");
    ExpectDead();
    sockets_.Close(socket_);
  }
}

TEST_F(LinuxTls, BytesGoBothWaysWithAnyBuffer) {
  std::string large(3'000'000, '\0');
  for (std::size_t i = 0; i < large.size(); ++i) large[i] = static_cast<char>(i * 31 + i / 4096);
  for (const int version : {TLS1_2_VERSION, TLS1_3_VERSION}) {
    ServerWish wish = GoodServer();
    wish.lowest = wish.highest = version;
    const TlsServer server(wish, [&](TlsPeer& peer) {
      EXPECT_TRUE(peer.ReceiveExactly(large.size()) == large);
      EXPECT_TRUE(peer.Send(std::string_view(large).substr(0, 20'000)));
      EXPECT_TRUE(peer.Send(large));
    });
    ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
    EXPECT_TRUE(sockets_.Send(socket_, large));
    EXPECT_TRUE(Receive(20'000, 7).substr(0, 20'000) == large.substr(0, 20'000));
    EXPECT_TRUE(Receive(large.size(), 100'000).size() >= large.size() - 7);
    sockets_.Close(socket_);
  }
}

TEST_F(LinuxTls, SmallExchangesGoOnAfterEachOther) {
  const TlsServer server(GoodServer(), [](TlsPeer& peer) {
    for (std::string line; !(line = peer.ReceiveExactly(6)).empty();) {
      EXPECT_TRUE(peer.Send("221 1 <a@b>\r\n"));
      EXPECT_TRUE(peer.Send("x\r\n.\r\n"));
    }
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  for (int i = 0; i < 500; ++i) {
    ASSERT_TRUE(sockets_.Send(socket_, "HEAD\r\n"));
    ASSERT_EQ(Receive(19), "221 1 <a@b>\r\nx\r\n.\r\n");
  }
  EXPECT_TRUE(sockets_.Send(socket_, ""));
  sockets_.Close(socket_);
}

TEST_F(LinuxTls, NewKeysInTheMiddleAreFollowed) {
  ServerWish wish = GoodServer();
  wish.lowest = TLS1_3_VERSION;
  const TlsServer server(wish, [](TlsPeer& peer) {
    for (int i = 0; i < 5; ++i) {
      ASSERT_EQ(SSL_key_update(peer.ssl(), SSL_KEY_UPDATE_REQUESTED), 1);
      ASSERT_TRUE(peer.Send("new keys\r\n"));
      ASSERT_EQ(peer.ReceiveExactly(6), "taken\n");
    }
    peer.ReceiveAll();
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  for (int i = 0; i < 5; ++i) {
    ASSERT_EQ(Receive(10), "new keys\r\n");
    ASSERT_TRUE(sockets_.Send(socket_, "taken\n"));
  }
  sockets_.Close(socket_);
}

TEST_F(LinuxTls, CloseIsToldAndWaitsForNothing) {
  std::atomic<bool> told{false}, done{false};
  const TlsServer server(GoodServer(), [&](TlsPeer& peer) {
    EXPECT_EQ(peer.ReceiveAll(), "QUIT\r\n");
    told = peer.farewell();
    done = true;
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  EXPECT_TRUE(sockets_.Send(socket_, "QUIT\r\n"));
  sockets_.Close(socket_);
  EXPECT_TRUE(Eventually([&] { return done.load(); }));
  EXPECT_TRUE(told);
}

TEST_F(LinuxTls, LastCleanupTellsTheCloseToo) {
  std::atomic<bool> told{false};
  const TlsServer server(GoodServer(), [&](TlsPeer& peer) {
    peer.ReceiveAll();
    told = peer.farewell();
  });
  sockets_.Startup({1, 1});
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  sockets_.Cleanup();
  EXPECT_TRUE(Eventually([&] { return told.load(); }));
}

TEST_F(LinuxTls, ServerThatClosesWithOrWithoutAFarewellHasClosed) {
  for (const bool farewell : {true, false}) {
    const TlsServer server(GoodServer(), [farewell](TlsPeer& peer) {
      EXPECT_TRUE(peer.Send("205 bye\r\n"));
      if (farewell) SSL_shutdown(peer.ssl());
    });
    ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
    EXPECT_EQ(Receive(9), "205 bye\r\n");
    char buffer[10];
    EXPECT_EQ(sockets_.Receive(socket_, buffer), 0);
    EXPECT_EQ(sockets_.Receive(socket_, buffer), 0);
    sockets_.Close(socket_);
  }
}

TEST_F(LinuxTls, RecordCutInTheMiddleGivesNothingOfIt) {
  const TlsServer server(GoodServer(), [](TlsPeer& peer) {
    EXPECT_TRUE(peer.Send("200 whole\r\n"));
    SendAll(peer.client(), std::string("\x17\x03\x03\x01\x00", 5) + std::string(100, 'x'));
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  EXPECT_EQ(Receive(1000), "200 whole\r\n");
}

TEST_F(LinuxTls, RecordThatWasChangedOnTheWayIsAnError) {
  const TlsServer server(GoodServer(), [](TlsPeer& peer) {
    SendAll(peer.client(), std::string("\x17\x03\x03\x00\x20", 5) + std::string(32, 'x'));
    peer.ReceiveAll();
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  char buffer[100];
  EXPECT_EQ(sockets_.Receive(socket_, buffer), -1);
  EXPECT_EQ(sockets_.LastError(), EPROTO);
  EXPECT_FALSE(sockets_.Send(socket_, "x"));
}

TEST_F(LinuxTls, SendToAServerThatWentAwayFailsWithoutASignal) {
  const TlsServer server(GoodServer(), [](TlsPeer& peer) { peer.ReceiveExactly(10); });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  EXPECT_FALSE(sockets_.Send(socket_, std::string(64U << 20U, 'x')));
  EXPECT_FALSE(sockets_.Send(socket_, "x"));
  sockets_.Close(socket_);
}

TEST_F(LinuxTls, InterruptEndsAReceiveAndTheLastWordStillGoes) {
  std::string last;
  {
    const TlsServer server(GoodServer(), [&](TlsPeer& peer) { last = peer.ReceiveAll(); });
    ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
    std::thread interrupter = InterruptSoon(sockets_);
    char buffer[10];
    const StopWatch watch;
    EXPECT_EQ(sockets_.Receive(socket_, buffer), -1);
    EXPECT_LT(watch.Milliseconds(), 5000);
    EXPECT_EQ(sockets_.LastError(), ECANCELED);
    interrupter.join();
    EXPECT_TRUE(sockets_.Send(socket_, "QUIT\r\n"));
    sockets_.AwaitClose(socket_, 60'000);
    sockets_.Close(socket_);
    EXPECT_TRUE(Eventually([&] { return !last.empty(); }));
  }
  EXPECT_EQ(last, "QUIT\r\n");
}

TEST_F(LinuxTls, InterruptEndsASend) {
  std::atomic<bool> done{false};
  const TlsServer server(GoodServer(), [&](TlsPeer&) {
    while (!done) std::this_thread::sleep_for(1ms);
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  std::thread interrupter = InterruptSoon(sockets_);
  EXPECT_FALSE(sockets_.Send(socket_, std::string(64U << 20U, 'x')));  // waits for ever otherwise
  EXPECT_EQ(sockets_.LastError(), ECANCELED);
  EXPECT_FALSE(sockets_.Send(socket_, "x")) << "nothing goes behind half a record";
  sockets_.Close(socket_);
  done = true;
  interrupter.join();
}

TEST_F(LinuxTls, SilenceEndsAReceiveAtTheStallLimitAndTheLastWordStillGoes) {
  std::atomic<bool> done{false};
  std::string last;
  const TlsServer server(GoodServer(), [&](TlsPeer& peer) {
    last = peer.ReceiveAll();
    done = true;
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  sockets_.SetStallLimit(socket_, 50);
  char buffer[10];
  EXPECT_EQ(sockets_.Receive(socket_, buffer), -1);
  EXPECT_EQ(sockets_.LastError(), kErrorStalled);
  EXPECT_TRUE(sockets_.Send(socket_, "QUIT\r\n"));
  sockets_.Close(socket_);
  EXPECT_TRUE(Eventually([&] { return done.load(); }));
  EXPECT_EQ(last, "QUIT\r\n");
}

TEST_F(LinuxTls, ServerThatTakesNothingEndsASendAtTheStallLimitAndTheCloseDoesNotWait) {
  std::atomic<bool> done{false};
  const TlsServer server(GoodServer(), [&](TlsPeer&) {
    while (!done) std::this_thread::sleep_for(1ms);
  });
  ASSERT_EQ(Try(server.port()).outcome, TlsOutcome::kDone);
  sockets_.SetStallLimit(socket_, 50);
  EXPECT_FALSE(sockets_.Send(socket_, std::string(64U << 20U, 'x')));  // waits for ever otherwise
  EXPECT_EQ(sockets_.LastError(), kErrorStalled);
  sockets_.SetStallLimit(socket_, 0);
  sockets_.Close(socket_);
  done = true;
}

TEST_F(LinuxTls, Ipv6IsEncryptedToo) {
  const FileDescriptor probe(socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const Address six{true, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 0};
  const NativeAddress native = ToNative(six, 0);
  if (!probe.valid() || bind(probe.get(), native.get(), native.size) != 0) {
    GTEST_SKIP() << "no IPv6";
  }
  const Identity identity =
      MakeIdentity({.common_name = "x", .alternative = "IP:::1"}, &TrustedAuthority());
  const TlsServer server(
      {.identity = &identity}, [](TlsPeer& peer) { EXPECT_TRUE(peer.Send("200 six\r\n")); }, six);
  socket_ = ConnectedTo(server.port(), six);
  EXPECT_EQ(sockets_.StartTls(socket_, {"::1", ""}).outcome, TlsOutcome::kDone);
  EXPECT_EQ(Receive(9), "200 six\r\n");
}

}  // namespace
}  // namespace quillet::port
